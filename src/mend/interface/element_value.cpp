#include "mend/interface/element_value.h"

#include "mend/healing/value.h"
#include "mend/reading/tree.h"
#include "mend/reading/vr_forms.h"
#include "mend/writing/encoder.h"
#include "util/older_libraries.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

namespace lib_mend {

namespace {

constexpr std::size_t Longest_Terms = 1024;

/** An unsigned number of up to 8 bytes. */
std::uint64_t Number_Of(const Bytes& bytes)
{
    std::uint64_t number = 0;
    for (std::size_t i = bytes.size(); i > 0; --i) {
        number = number << 8 | bytes[i - 1];
    }
    return number;
}

std::int64_t Signed_Number_Of(const Bytes& bytes)
{
    const auto unused = static_cast<int>(64 - 8 * bytes.size());
    return static_cast<std::int64_t>(Number_Of(bytes) << unused) >> unused;
}

bool Is_Signed(unsigned short vr)
{
    return vr == VR_SS || vr == VR_SL || vr == VR_SV;
}

/** Bytes of one value; 0 for texts. */
std::size_t Value_Width(unsigned short vr)
{
    constexpr std::size_t Tag_Size = 4;
    if (Is_Text(vr)) {
        return 0;
    }
    return vr == VR_AT ? Tag_Size : static_cast<std::size_t>(Swap_Width(vr));
}

bool Is_Real(unsigned short vr)
{
    return vr == VR_FL || vr == VR_FD || vr == VR_OF || vr == VR_OD;
}

double Real_Of(const Bytes& bytes)
{
    return bytes.size() == sizeof(float)
               ? double{lib_util::bit_cast<float>(static_cast<std::uint32_t>(Number_Of(bytes)))}
               : lib_util::bit_cast<double>(Number_Of(bytes));
}

Bytes Number_Bytes(const Data_Set& set, const DICOM_List& record, std::size_t index)
{
    const std::size_t width = Value_Width(VR_Of(record));
    const auto size = static_cast<std::size_t>(std::max<std::int64_t>(Size_Of(record), 0));
    if (!Has_Value(record) || index >= size / width) {
        return {};
    }
    Bytes bytes = Little_Endian_Bytes(set, record, index * width, width);
    return bytes.size() == width ? bytes : Bytes();
}

/** Blanks in front of a value mean nothing where PS3.5 table 6.2-1 says so, those behind it anywhere. */
std::string_view Unpadded(std::string_view text, unsigned short vr)
{
    constexpr std::array Both = {VR_AE, VR_CS, VR_DS, VR_IS, VR_LO, VR_SH};
    constexpr std::string_view Padding(" \0", 2);
    const std::size_t last = text.find_last_not_of(Padding);
    text = text.substr(0, last == text.npos ? 0 : last + 1);
    const bool both = std::find(Both.begin(), Both.end(), vr) != Both.end();
    text.remove_prefix(both ? std::min(text.find_first_not_of(' '), text.size()) : 0);
    return text;
}

template <class Number>
std::optional<Number> Parsed(std::string_view text)
{
    text.remove_prefix(text.starts_with('+') ? 1 : 0);
    Number number = {};
    const auto [end, error] = lib_util::from_chars(text.data(), text.data() + text.size(), number);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && !text.empty() ? std::optional(number) : std::nullopt;
}

template <class Number>
std::string Printed(Number number)
{
    char text[40];
    const auto [end, error] = lib_util::to_chars(text, text + sizeof text, number);
    return {text, end};
}

}  // namespace

Bytes Little_Endian_Bytes(const Data_Set& set, const DICOM_List& record, std::size_t offset,
                          std::size_t size)
{
    const auto whole = static_cast<std::size_t>(
        Has_Value(record) ? std::max<std::int64_t>(Size_Of(record), 0) : 0);
    if (offset >= whole) {
        return {};
    }
    const std::size_t wanted = std::min(size, whole - offset);
    const bool is_big = (record.byte_order & DICOM_Order_Big_Endian) != 0;
    const auto width = static_cast<std::size_t>(is_big ? Swap_Width(VR_Of(record)) : 1);
    // Whole units around the bytes that are wanted.
    const std::size_t first = offset / width * width;
    const std::size_t end = std::min((offset + wanted + width - 1) / width * width, whole);
    Bytes bytes = set.Value(record, end - first, first);
    Reverse_Units(bytes, static_cast<int>(width));
    bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(
                                                   std::min(offset - first, bytes.size())));
    bytes.resize(std::min(bytes.size(), wanted));
    return bytes;
}

std::size_t Value_Reader::Count(DICOM_List& record)
{
    if (!Has_Value(record) || record.size <= 0) {
        return 0;
    }
    const std::size_t width = Value_Width(VR_Of(record));
    return width != 0 ? static_cast<std::size_t>(Size_Of(record)) / width
                      : Pieces_Of(record).size();
}

std::optional<std::string> Value_Reader::Text(DICOM_List& record, std::size_t index)
{
    const unsigned short vr = VR_Of(record);
    if (Value_Width(vr) == 0) {
        const std::vector<std::string_view>& pieces = Pieces_Of(record);
        return index < pieces.size()
                   ? std::optional(Characters_Of(record).To_UTF_8(Unpadded(pieces[index], vr), vr))
                   : std::nullopt;
    }
    const Bytes bytes = Number_Bytes(set_, record, index);
    if (bytes.empty()) {
        return std::nullopt;
    }
    if (vr == VR_AT) {
        // Group and element, each little endian by itself.
        const std::uint64_t number = Number_Of(bytes);
        return Tag_Text({static_cast<unsigned short>(number & 0xFFFF),
                         static_cast<unsigned short>(number >> 16)});
    }
    if (Is_Real(vr)) {
        const double real = Real_Of(bytes);
        return bytes.size() == sizeof(float) ? Printed(static_cast<float>(real)) : Printed(real);
    }
    return Is_Signed(vr) ? Printed(Signed_Number_Of(bytes)) : Printed(Number_Of(bytes));
}

std::optional<double> Value_Reader::Real(DICOM_List& record, std::size_t index)
{
    const unsigned short vr = VR_Of(record);
    if (Value_Width(vr) == 0) {
        const std::vector<std::string_view>& pieces = Pieces_Of(record);
        return index < pieces.size() ? Parsed<double>(Unpadded(pieces[index], VR_DS))
                                     : std::nullopt;
    }
    const Bytes bytes = Number_Bytes(set_, record, index);
    if (bytes.empty() || vr == VR_AT) {
        return std::nullopt;
    }
    return Is_Real(vr)     ? Real_Of(bytes)
           : Is_Signed(vr) ? static_cast<double>(Signed_Number_Of(bytes))
                           : static_cast<double>(Number_Of(bytes));
}

std::optional<std::int64_t> Value_Reader::Integer(DICOM_List& record, std::size_t index)
{
    const unsigned short vr = VR_Of(record);
    if (Value_Width(vr) == 0) {
        const std::vector<std::string_view>& pieces = Pieces_Of(record);
        return index < pieces.size() ? Parsed<std::int64_t>(Unpadded(pieces[index], VR_IS))
                                     : std::nullopt;
    }
    const Bytes bytes = Number_Bytes(set_, record, index);
    if (bytes.empty() || vr == VR_AT) {
        return std::nullopt;
    }
    if (Is_Real(vr)) {
        constexpr double Limit = 9007199254740992.0;
        const double real = Real_Of(bytes);
        const bool is_whole =
            std::isfinite(real) && std::trunc(real) == real && std::abs(real) <= Limit;
        return is_whole ? std::optional(static_cast<std::int64_t>(real)) : std::nullopt;
    }
    if (!Is_Signed(vr) && Number_Of(bytes) > std::numeric_limits<std::int64_t>::max()) {
        return std::nullopt;
    }
    return Is_Signed(vr) ? Signed_Number_Of(bytes) : static_cast<std::int64_t>(Number_Of(bytes));
}

const Character_Set& Value_Reader::Characters_Of(DICOM_List& record)
{
    if (!knows_characters_) {
        Learn_Characters();
    }
    const auto other = others_.find(&record);
    return other != others_.end() ? *other->second : top_;
}

void Value_Reader::Forget()
{
    last_ = nullptr;
    knows_characters_ = false;
    others_.clear();
}

const std::vector<std::string_view>& Value_Reader::Pieces_Of(DICOM_List& record)
{
    if (last_ != &record) {
        last_ = nullptr;
        const Bytes bytes = Has_Value(record) ? set_.Value(record) : Bytes();
        text_.assign(bytes.begin(), bytes.end());
        pieces_.clear();
        if (Is_Multiple(VR_Of(record)) && !text_.empty()) {
            pieces_ = Characters_Of(record).Split(text_, '\\', VR_Of(record));
        } else if (!text_.empty()) {
            pieces_.emplace_back(text_);
        }
        last_ = &record;
    }
    return pieces_;
}

void Value_Reader::Learn_Characters()
{
    others_.clear();
    const auto declared_by = [&](const DICOM_List& terms) {
        return Character_Set(Trimmed(set_.Value(terms, Longest_Terms)));
    };
    const DICOM_List* const at_top = Find_Record(set_.records.Head(), Character_Set_Tag);
    top_ = at_top != nullptr ? declared_by(*at_top) : Character_Set();
    Inherited<std::shared_ptr<const Character_Set>> lists(nullptr);
    For_Each_Element(set_.records.Head(), [&](DICOM_List& record, const Path& way) {
        const auto& own = lists.At(record, way, [&](DICOM_List& first, const auto& around) {
            const DICOM_List* const terms =
                way.empty() ? nullptr : Find_Record(&first, Character_Set_Tag);
            return terms != nullptr ? std::make_shared<const Character_Set>(declared_by(*terms))
                                    : around;
        });
        if (own != nullptr) {
            others_.emplace(&record, own);
        }
    });
    knows_characters_ = true;
}

}  // namespace lib_mend
