#include "value_text.h"

#include "mend/findings/letters.h"
#include "mend/reading/vr_forms.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstring>
#include <iterator>
#include <string_view>

namespace dicom_mend {

namespace {

constexpr std::size_t Longest_Text = 256;
constexpr std::size_t Longest_Other = 64;

using Byte_View = std::span<const unsigned char>;

template <class Number>
void Append(std::string& out, Number number)
{
    char text[40];
    const std::to_chars_result result = std::to_chars(std::begin(text), std::end(text), number);
    out.append(text, result.ptr);
}

/** The digits of all bytes, so that each costs one look-up. */
struct Digit_Pairs {
    constexpr Digit_Pairs()
    {
        constexpr char Digits[] = "0123456789abcdef";
        for (std::size_t byte = 0; byte < text.size(); ++byte) {
            text[byte] = {Digits[byte >> 4], Digits[byte & 0xF]};
        }
    }

    std::array<std::array<char, 2>, 256> text = {};
};

constexpr Digit_Pairs Pairs;

/** @param out  has room for two digits a byte */
void Put_Hexadecimal(char* out, Byte_View bytes)
{
    for (const unsigned char byte : bytes) {
        std::memcpy(out, Pairs.text[byte].data(), 2);
        out += 2;
    }
}

/** An unsigned number of up to eight bytes, sign and fraction not yet understood. */
std::uint64_t Number_Of(Byte_View bytes, bool is_big)
{
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        number = number << 8 | bytes[is_big ? i : bytes.size() - 1 - i];
    }
    return number;
}

struct Number_Form {
    unsigned short vr;
    std::size_t width;
    void (*append)(std::string& out, std::uint64_t number);
};

constexpr Number_Form Number_Forms[] = {
    {VR_US, 2,
     [](std::string& out, std::uint64_t number) {
         Append(out, number);
     }},
    {VR_UL, 4,
     [](std::string& out, std::uint64_t number) {
         Append(out, number);
     }},
    {VR_UV, 8,
     [](std::string& out, std::uint64_t number) {
         Append(out, number);
     }},
    {VR_SS, 2,
     [](std::string& out, std::uint64_t number) {
         Append(out, static_cast<std::int16_t>(number));
     }},
    {VR_SL, 4,
     [](std::string& out, std::uint64_t number) {
         Append(out, static_cast<std::int32_t>(number));
     }},
    {VR_SV, 8,
     [](std::string& out, std::uint64_t number) {
         Append(out, static_cast<std::int64_t>(number));
     }},
    {VR_FL, 4,
     [](std::string& out, std::uint64_t number) {
         Append(out, std::bit_cast<float>(static_cast<std::uint32_t>(number)));
     }},
    {VR_FD, 8,
     [](std::string& out, std::uint64_t number) {
         Append(out, std::bit_cast<double>(number));
     }},
};

const Number_Form* Number_Form_Of(unsigned short vr)
{
    const auto* const found = std::find_if(std::begin(Number_Forms), std::end(Number_Forms),
                                           [vr](const Number_Form& form) { return form.vr == vr; });
    return found != std::end(Number_Forms) ? found : nullptr;
}

void Append_Tag_Value(std::string& out, Byte_View bytes, bool is_big)
{
    out += '(';
    Append_Tag(out, {static_cast<unsigned short>(Number_Of(bytes.first(2), is_big)),
                     static_cast<unsigned short>(Number_Of(bytes.last(2), is_big))});
    out += ')';
}

/** Numbers with backslashes between them; a rest that is no whole number stays bytes. */
void Append_Numbers(std::string& out, unsigned short vr, Byte_View bytes, bool is_big)
{
    constexpr std::size_t Tag_Size = 4;
    const Number_Form* const form = Number_Form_Of(vr);
    const std::size_t width = form != nullptr ? form->width : Tag_Size;
    std::size_t at = 0;
    for (; at + width <= bytes.size(); at += width) {
        out += at == 0 ? "" : "\\";
        if (form != nullptr) {
            form->append(out, Number_Of(bytes.subspan(at, width), is_big));
        } else {
            Append_Tag_Value(out, bytes.subspan(at, width), is_big);
        }
    }
    if (at < bytes.size()) {
        out += at == 0 ? "(rest " : " (rest ";
        Append_Hexadecimal(out, bytes.subspan(at));
        out += ')';
    }
}

std::string_view Without_Padding(std::string_view text)
{
    constexpr std::string_view Padding(" \0", 2);
    return text.substr(0, text.find_last_not_of(Padding) + 1);
}

/** The front of a text, which does not end inside a letter of UTF-8. */
std::string_view Whole_Letters(std::string_view text)
{
    constexpr std::size_t Longest_Rest = 3;
    for (std::size_t rest = 1; rest <= std::min(Longest_Rest, text.size()); ++rest) {
        const auto byte = static_cast<unsigned char>(text[text.size() - rest]);
        if ((byte & 0xC0) != 0x80) {
            return byte >= 0xC0 ? text.substr(0, text.size() - rest) : text;
        }
    }
    return text;
}

/** Well-known UIDs have their name behind them. */
void Append_UIDs(std::string& out, std::string_view text, UID_Form form)
{
    constexpr std::string_view Registry = "1.2.840.10008.";
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\\'), text.size());
        const std::string_view uid = Without_Padding(text.substr(0, end));
        const char* const name =
            uid.starts_with(Registry) ? DICOM_UID_Name(std::string(uid).c_str()) : nullptr;
        if (name != nullptr && form == UID_Form::Name_First) {
            out.append(name).append(" (").append(uid).append(")");
        } else {
            lib_mend::Append_Printable(out, uid);
        }
        if (name != nullptr && form == UID_Form::Number_First) {
            out.append(" (").append(name).append(")");
        }
        out += end < text.size() ? "\\" : "";
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

void Append_Text(std::string& out, unsigned short vr, std::string_view text,
                 const lib_mend::Character_Set& characters, UID_Form form)
{
    text = Without_Padding(text);
    if (vr == VR_UI) {
        Append_UIDs(out, text, form);
    } else if (characters.Is_Plain(text)) {
        out += text;
    } else {
        lib_mend::Append_Printable(out, characters.To_UTF_8(text, vr));
    }
}

/**
 * Unknown VRs of private elements often hold plain texts. A letter or two in front of NUL are more
 * likely a small number.
 */
bool Looks_Like_Text(std::string_view value)
{
    constexpr std::size_t Least_Before_NUL = 4;
    const std::string_view text = Without_Padding(value);
    const std::size_t least = value.ends_with('\0') ? Least_Before_NUL : 1;
    return text.size() >= least && lib_mend::Is_Plain_ASCII(text);
}

/** The definition of a private element may know numbers that the file has as UN. */
unsigned short Shown_VR(const DICOM_List& record)
{
    const unsigned short vr = lib_mend::VR_Of(record);
    // Which order UN has in a big-endian file depends on where it came from.
    if (vr != VR_UN || record.group % 2 == 0 || (record.byte_order & DICOM_Order_Big_Endian) != 0) {
        return vr;
    }
    const Number_Form* const form = Number_Form_Of(record.vr_default);
    return form != nullptr &&
                   lib_mend::Size_Of(record) % static_cast<std::int64_t>(form->width) == 0
               ? form->vr
               : vr;
}

std::string_view Characters(Byte_View bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

void Append_VR(std::string& out, unsigned short vr)
{
    const char letters[2] = {static_cast<char>(vr >> 8), static_cast<char>(vr & 0xFF)};
    if (vr == 0) {
        out += "--";
    } else if (lib_mend::Is_Known_VR(vr)) {
        out.append(letters, sizeof letters);
    } else {
        lib_mend::Append_Printable(out, {letters, sizeof letters});
    }
}

void Append_Number(std::string& out, std::int64_t number)
{
    Append(out, number);
}

void Append_Hexadecimal(std::string& out, std::span<const unsigned char> bytes)
{
    while (!bytes.empty()) {
        char text[2 * Longest_Other];
        const std::size_t count = std::min(bytes.size(), Longest_Other);
        Put_Hexadecimal(text, bytes.first(count));
        out.append(text, 2 * count);
        bytes = bytes.subspan(count);
    }
}

void Append_Tag(std::string& out, lib_mend::Tag tag)
{
    const auto high = [](unsigned short number) {
        return static_cast<unsigned char>(number >> 8);
    };
    const auto low = [](unsigned short number) {
        return static_cast<unsigned char>(number & 0xFF);
    };
    const unsigned char group[] = {high(tag.group), low(tag.group)};
    const unsigned char element[] = {high(tag.element), low(tag.element)};
    char text[] = "gggg,eeee";
    Put_Hexadecimal(text, group);
    Put_Hexadecimal(text + 5, element);
    out.append(text, sizeof text - 1);
}

Front_Of_Value::Front_Of_Value(const lib_mend::Data_Set& set, const DICOM_List& record,
                               std::size_t most)
{
    if (!lib_mend::Has_Value(record) || record.size <= 0) {
        return;
    }
    const auto size = static_cast<std::size_t>(lib_mend::Size_Of(record));
    is_cut_ = size > most;
    if (record.data != nullptr) {
        bytes_ = {record.data, std::min(size, most)};
    } else {
        read_ = set.Value(record, most);
        bytes_ = read_;
    }
}

void Append_Value(std::string& out, const lib_mend::Data_Set& set, const DICOM_List& record,
                  const lib_mend::Character_Set& characters, UID_Form form)
{
    const unsigned short vr = Shown_VR(record);
    const bool is_known = vr != VR_UN && lib_mend::Is_Known_VR(vr);
    const bool may_be_text = lib_mend::Is_Text(vr) || !is_known;
    const Front_Of_Value front(set, record, may_be_text ? Longest_Text : Longest_Other);
    const bool is_big = (record.byte_order & DICOM_Order_Big_Endian) != 0;
    bool is_cut = front.Is_Cut();
    if (vr == VR_AT || Number_Form_Of(vr) != nullptr) {
        Append_Numbers(out, vr, front.Bytes(), is_big);
    } else if (lib_mend::Is_Text(vr) || (!is_known && Looks_Like_Text(Characters(front.Bytes())))) {
        const std::string_view text = Characters(front.Bytes());
        Append_Text(out, vr, is_cut ? Whole_Letters(text) : text, characters, form);
    } else {
        is_cut = is_cut || front.Bytes().size() > Longest_Other;
        Append_Hexadecimal(out, front.Bytes().first(std::min(front.Bytes().size(), Longest_Other)));
    }
    out += is_cut ? "..." : "";
}

}  // namespace dicom_mend
