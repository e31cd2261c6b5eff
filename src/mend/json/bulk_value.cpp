#include "mend/json/bulk_value.h"

#include "mend/reading/tree.h"
#include "mend/reading/vr_forms.h"
#include "mend/writing/encoder.h"

#include <algorithm>
#include <array>

namespace lib_mend {

namespace {

constexpr unsigned char Little = DICOM_Order_Explicit_VR;

/** The bytes that are reversed together to give a value in little endian. */
int Reversal_Width(const DICOM_List& record, unsigned short vr)
{
    // Values of UN are little endian in every syntax.
    const bool is_big = (record.byte_order & DICOM_Order_Big_Endian) != 0 && vr != VR_UN;
    return is_big ? Swap_Width(vr) : 1;
}

void Put_Value(const Data_Set& set, const DICOM_List& record, int width, Output& out)
{
    const std::int64_t size = std::max<std::int64_t>(Size_Of(record), 0);
    if (record.data == nullptr) {
        Put_Stored(set.source, record, width, out);
        return;
    }
    if (width == 1) {
        out.Put({record.data, static_cast<std::size_t>(size)});
        return;
    }
    Bytes reversed(record.data, record.data + size);
    Reverse_Units(reversed, width);
    out.Put(reversed);
}

void Put_Header(Tag tag, std::int64_t size, Output& out)
{
    std::array<unsigned char, Item_Header_Size> header{};
    std::copy_n(Put_UShort(Little, tag.group), 2, header.begin());
    std::copy_n(Put_UShort(Little, tag.element), 2, header.begin() + 2);
    std::copy_n(Put_Int(Little, static_cast<int>(static_cast<std::uint32_t>(size))), 4,
                header.begin() + 4);
    out.Put(header);
}

/** Tells whether a place in the source holds the bytes of a record. */
bool Is_At(const Data_Set& set, const DICOM_List& record)
{
    if (record.size <= 0) {
        return record.size == 0;
    }
    if (record.data == nullptr) {
        return Value_Position_Of(record) + Size_Of(record) <= set.source->Size();
    }
    std::array<unsigned char, 16384> block;
    const std::span<const unsigned char> bytes(record.data, static_cast<std::size_t>(record.size));
    for (std::size_t at = 0; at < bytes.size(); at += block.size()) {
        const std::size_t size = std::min(block.size(), bytes.size() - at);
        const std::int64_t place = Value_Position_Of(record) + static_cast<std::int64_t>(at);
        if (set.source->Read(place, {block.data(), size}) != size ||
            !std::equal(block.data(), block.data() + size, bytes.data() + at)) {
            return false;
        }
    }
    return true;
}

std::optional<Extent> Place_Of_Fragments(const Data_Set& set, const DICOM_List& record)
{
    std::optional<Extent> place;
    bool is_one_piece = true;
    For_Each_Fragment(record, [&](const DICOM_List& fragment) {
        if (!place) {
            place = Extent{set.source, Position_Of(fragment), 0, 1};
        }
        const std::int64_t position = Position_Of(fragment);
        const std::int64_t size = std::max<std::int64_t>(Size_Of(fragment), 0);
        is_one_piece = is_one_piece && position == place->offset + place->size &&
                       Value_Position_Of(fragment) == position + Item_Header_Size &&
                       size % 2 == 0 && Is_At(set, fragment);
        place->size += Item_Header_Size + size;
    });
    return is_one_piece ? place : std::nullopt;
}

}  // namespace

Encoded_File Little_Endian_Value(const Data_Set& set, const DICOM_List& record, unsigned short vr)
{
    Encoded_File bytes;
    Put_Value(set, record, Reversal_Width(record, vr), bytes);
    return bytes;
}

Encoded_File Fragment_Stream(const Data_Set& set, const DICOM_List& record)
{
    Encoded_File stream;
    For_Each_Fragment(record, [&](const DICOM_List& fragment) {
        const std::int64_t size = std::max<std::int64_t>(Size_Of(fragment), 0);
        Put_Header(Item_Tag, size + size % 2, stream);
        Put_Value(set, fragment, 1, stream);
        constexpr unsigned char Padding[] = {0};
        stream.Put(std::span(Padding, static_cast<std::size_t>(size % 2)));
    });
    Put_Header(Sequence_End_Tag, 0, stream);
    return stream;
}

std::optional<std::vector<Value_Part>>
Split_Fragment_Stream(std::int64_t size,
                      const std::function<bool(std::int64_t at, Bytes& out)>& read)
{
    std::vector<Value_Part> fragments;
    Bytes header(Item_Header_Size);
    for (std::int64_t at = 0; at + std::ssize(header) <= size && read(at, header);) {
        const Tag tag = {Get_UShort(Little, header.data()), Get_UShort(Little, header.data() + 2)};
        const auto length = static_cast<std::uint32_t>(Get_Int(Little, header.data() + 4));
        at += std::ssize(header);
        if (tag == Sequence_End_Tag && length == 0 && at == size) {
            return fragments;
        }
        if (tag != Item_Tag || length > size - at) {
            break;
        }
        fragments.push_back({at, length});
        at += length;
    }
    return std::nullopt;
}

std::optional<Extent> Place_In_Source(const Data_Set& set, const DICOM_List& record,
                                      unsigned short vr)
{
    if (set.encoding.deflated || set.source->Is_Passing()) {
        return std::nullopt;
    }
    if (Holds_Fragments(record)) {
        return Place_Of_Fragments(set, record);
    }
    if (Reversal_Width(record, vr) != 1 || Stored_Size_Of(record) != Size_Of(record) ||
        !Is_At(set, record)) {
        return std::nullopt;
    }
    return Extent{set.source, Value_Position_Of(record), std::max<std::int64_t>(Size_Of(record), 0),
                  1};
}

}  // namespace lib_mend
