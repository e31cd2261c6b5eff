#include "mend/verify/value_view.h"

#include "mend/reading/tree.h"
#include "mend/reading/vr_forms.h"
#include "util/older_libraries.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>

namespace lib_mend {

namespace {

/** Longer values than any that a definition names. */
constexpr std::size_t Longest = 4096;

std::optional<double> Number_Of(std::string_view text)
{
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    double number = 0;
    const char* const end = text.data() + text.size();
    const auto result = lib_util::from_chars(text.data(), end, number);
    const bool is_number = result.ec == std::errc() && result.ptr == end && std::isfinite(number);
    return is_number ? std::optional(number) : std::nullopt;
}

std::string_view Without_Padding(std::string_view text)
{
    constexpr std::string_view Padding(" \0", 2);
    const std::size_t begin = text.find_first_not_of(Padding);
    return begin == text.npos ? std::string_view()
                              : text.substr(begin, text.find_last_not_of(Padding) + 1 - begin);
}

/** "0018106A" for "0018,106a", which definitions may write too. */
std::string Digits_Of_Tag(std::string_view text)
{
    std::string digits;
    for (const char c : text) {
        if (c != ',') {
            digits += c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c;
        }
    }
    return digits;
}

bool Is_Multiple(unsigned short vr)
{
    return vr != VR_LT && vr != VR_ST && vr != VR_UT && vr != VR_UR;
}

/** Bytes of a number; 0 where the VR holds none that can be compared. */
int Number_Width(unsigned short vr)
{
    constexpr unsigned short Numbers[] = {VR_US, VR_SS, VR_UL, VR_SL, VR_FL,
                                          VR_FD, VR_UV, VR_SV, VR_AT};
    const bool is_number =
        std::find(std::begin(Numbers), std::end(Numbers), vr) != std::end(Numbers);
    return !is_number ? 0 : vr == VR_AT ? 4 : Swap_Width(vr);
}

}  // namespace

Value_View::Value_View(const Data_Set& set, const DICOM_List& record)
    : record_(record), vr_(VR_Of(record)), width_(Number_Width(vr_))
{
    if (record.size <= 0 || !Has_Value(record)) {
        return;
    }
    const auto size = static_cast<std::size_t>(Size_Of(record));
    is_known_ = size <= Longest;
    if (record.data != nullptr) {
        bytes_ = {reinterpret_cast<const char*>(record.data), std::min(size, Longest)};
    } else {
        loaded_ = set.Value(record, Longest);
        bytes_ = {reinterpret_cast<const char*>(loaded_.data()), loaded_.size()};
    }
    if (width_ != 0) {
        count_ = static_cast<int>(size / static_cast<std::size_t>(width_));
    } else if (Is_Text(vr_)) {
        const auto separators =
            Is_Multiple(vr_) ? std::count(bytes_.begin(), bytes_.end(), '\\') : 0;
        count_ = Without_Padding(bytes_).empty() ? 0 : static_cast<int>(separators) + 1;
    } else {
        count_ = 1;
        is_known_ = false;
    }
}

std::string_view Value_View::Part(int index) const
{
    std::string_view rest = bytes_;
    if (count_ == 1) {
        return Without_Padding(rest);
    }
    for (; index > 0; --index) {
        rest.remove_prefix(std::min(rest.find('\\'), rest.size() - 1) + 1);
    }
    return Without_Padding(Is_Multiple(vr_) ? rest.substr(0, rest.find('\\')) : rest);
}

double Value_View::Binary(int index) const
{
    const auto* const begin =
        reinterpret_cast<const unsigned char*>(bytes_.data()) + index * width_;
    std::uint64_t bits = 0;
    const bool is_big = (record_.byte_order & DICOM_Order_Big_Endian) != 0;
    for (int i = 0; i < width_; ++i) {
        bits = bits << 8U | begin[is_big ? i : width_ - 1 - i];
    }
    switch (vr_) {
    case VR_FL:
        return static_cast<double>(lib_util::bit_cast<float>(static_cast<std::uint32_t>(bits)));
    case VR_FD:
        return lib_util::bit_cast<double>(bits);
    case VR_SS:
        return static_cast<std::int16_t>(bits);
    case VR_SL:
        return static_cast<std::int32_t>(bits);
    case VR_SV:
        return static_cast<double>(static_cast<std::int64_t>(bits));
    default:
        return static_cast<double>(bits);
    }
}

std::string Value_View::Text(int index) const
{
    if (width_ == 0) {
        return std::string(Part(index));
    }
    char text[32];
    if (vr_ == VR_AT) {
        // Two numbers of 16 bits, each in the byte order of the stream.
        const auto* const tag =
            reinterpret_cast<const unsigned char*>(bytes_.data()) + index * width_;
        std::snprintf(text, sizeof text, "%04X%04X", Get_UShort(record_.byte_order, tag),
                      Get_UShort(record_.byte_order, tag + 2));
    } else {
        std::snprintf(text, sizeof text, "%.17g", Binary(index));
    }
    return text;
}

std::optional<double> Value_View::Number(int index) const
{
    if (vr_ == VR_AT || (width_ == 0 && vr_ != VR_IS && vr_ != VR_DS)) {
        return std::nullopt;
    }
    return width_ != 0 ? Binary(index) : Number_Of(Part(index));
}

bool Value_View::Equals(int index, std::string_view text) const
{
    if (vr_ == VR_AT) {
        return Text(index) == Digits_Of_Tag(text);
    }
    const std::optional<double> number = Number(index);
    return number && number == Number_Of(text);
}

const char* Value_View::Equal_Of(int index, const char* const* texts, int count) const
{
    const bool is_text = width_ == 0 && vr_ != VR_IS && vr_ != VR_DS;
    const std::string_view part = is_text ? Part(index) : std::string_view();
    const auto* const found = std::find_if(texts, texts + count, [&](const char* text) {
        return is_text ? part == text : Equals(index, text);
    });
    return found != texts + count ? *found : nullptr;
}

int First_Outside(const Value_View& value, const DICOM_Value_Set& set)
{
    const int first = set.value_number != 0 ? set.value_number - 1 : 0;
    const int end = set.value_number != 0 ? std::min(first + 1, value.Count()) : value.Count();
    for (int i = first; i < end; ++i) {
        if (!value.Is_Empty(i) && value.Equal_Of(i, set.values, set.count) == nullptr) {
            return i + 1;
        }
    }
    return 0;
}

std::optional<int> Value_Count(const Data_Set& set, const DICOM_List& record)
{
    if (VR_Of(record) == VR_SQ || Item_Of(record, 0) != nullptr) {
        return Item_Count(record);
    }
    const Value_View value(set, record);
    return value.Is_Known() ? std::optional(value.Count()) : std::nullopt;
}

}  // namespace lib_mend
