#include "mend/healing/image.h"

#include <charconv>

namespace lib_mend {

namespace {

const DICOM_List* Find_In(const DICOM_List* list, Tag tag)
{
    for (; list != nullptr; list = list->next) {
        if (Tag_Of(*list) == tag) {
            return list;
        }
    }
    return nullptr;
}

std::optional<std::int64_t> Number_In_Text(const Bytes& value, int index)
{
    std::string text = Trimmed(value);
    for (; index > 0 && !text.empty(); --index) {
        const std::size_t end = text.find('\\');
        text = end != text.npos ? text.substr(end + 1) : "";
    }
    text = Trimmed(Bytes(text.begin(), text.end()));
    std::int64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    const bool is_number = error == std::errc() && (stop == end || *stop == '\\' || *stop == ' ');
    return is_number ? std::optional(number) : std::nullopt;
}

std::optional<std::int64_t> Binary_Number(const Bytes& value, unsigned char order,
                                          unsigned short vr, int index)
{
    const std::size_t width = vr == VR_UL || vr == VR_SL ? 4 : 2;
    const std::size_t at = width * static_cast<std::size_t>(index);
    if (at + width > value.size()) {
        return std::nullopt;
    }
    if (width == 4) {
        const int number = Get_Int(order, value.data() + at);
        return vr == VR_SL ? number : static_cast<std::int64_t>(static_cast<std::uint32_t>(number));
    }
    return vr == VR_SS ? Get_Short(order, value.data() + at)
                       : static_cast<std::int64_t>(Get_UShort(order, value.data() + at));
}

}  // namespace

std::optional<std::int64_t> Number_In(const Data_Set& set, const DICOM_List* list, Tag tag,
                                      int index)
{
    constexpr std::size_t Enough = 64;
    const DICOM_List* const record = Find_In(list, tag);
    if (record == nullptr || !Has_Value(*record)) {
        return std::nullopt;
    }
    const Bytes value = set.Value(*record, Enough);
    const unsigned short vr = VR_Of(*record);
    if (vr == VR_IS || vr == VR_DS) {
        return Number_In_Text(value, index);
    }
    return Binary_Number(value, record->byte_order, vr, index);
}

std::string Text_In(const Data_Set& set, const DICOM_List* list, Tag tag)
{
    constexpr std::size_t Enough = 64;
    const DICOM_List* const record = Find_In(list, tag);
    return record != nullptr && Has_Value(*record) ? Trimmed(set.Value(*record, Enough))
                                                   : std::string();
}

std::uint64_t Product(std::initializer_list<std::uint64_t> factors)
{
    std::uint64_t product = 1;
    for (const std::uint64_t factor : factors) {
        if (__builtin_mul_overflow(product, factor, &product)) {
            return Image::Too_Large;
        }
    }
    return product;
}

std::optional<std::uint64_t> Image::Size() const
{
    if (!rows.has_value() || !columns.has_value() || !bits_allocated.has_value() || frames < 1 ||
        *rows < 1 || *columns < 1 || *bits_allocated < 1 || samples.value_or(1) < 1) {
        return std::nullopt;
    }
    // Of subsampled colours a pixel has its own luminance, and half of two chrominances.
    const bool is_halved = photometric == "YBR_FULL_422" || photometric == "YBR_PARTIAL_422";
    const std::uint64_t bits =
        Product({static_cast<std::uint64_t>(*rows), static_cast<std::uint64_t>(*columns),
                 is_halved ? 2 : static_cast<std::uint64_t>(samples.value_or(1)),
                 static_cast<std::uint64_t>(*bits_allocated), static_cast<std::uint64_t>(frames)});
    constexpr std::uint64_t Bits_Of_A_Byte = 8;
    return bits == Too_Large ? bits : bits / Bits_Of_A_Byte + (bits % Bits_Of_A_Byte != 0 ? 1 : 0);
}

Image Image_Of(const Data_Set& set, const DICOM_List* list)
{
    Image image;
    image.rows = Number_In(set, list, Rows_Tag);
    image.columns = Number_In(set, list, Columns_Tag);
    image.samples = Number_In(set, list, Samples_Tag);
    image.bits_allocated = Number_In(set, list, Bits_Allocated_Tag);
    image.photometric = Text_In(set, list, Photometric_Tag);
    image.frames = Number_In(set, list, Frames_Tag).value_or(1);
    return image;
}

}  // namespace lib_mend
