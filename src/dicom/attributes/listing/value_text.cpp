#include "attributes/listing/value_text.h"

#include "frame/vr_rules.h"
#include "read/very_long.h"
#include "util/older_libraries.h"

#include <Lib_DICOM/dictionary.h>
#include <Lib_DICOM/values.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace lib_dicom {

namespace {

constexpr char Separator = '\\';
constexpr char Escape = '\033';

/* ---- texts ---- */

bool Is_Control(char c)
{
    return (static_cast<unsigned char>(c) & 0xE0) == 0 || c == '\x7F';
}

bool Is_Printable(char c)
{
    return static_cast<unsigned char>(c) < 0x80 && !Is_Control(c);
}

/**
 * Tells whether a text begins with an escape sequence that designates a registered character set
 * (ISO 2022, PS3.5 section 6.1.2.5.3): ESC, intermediate characters, a final character.
 */
bool Is_Designation(std::string_view text)
{
    std::size_t at = 1;
    if (text.substr(at).starts_with('$')) {
        ++at;
    }
    if (at < text.size() && text[at] >= '(' && text[at] <= '/') {
        ++at;
    }
    return at > 1 && at < text.size() && text[at] >= '@' && text[at] <= '~';
}

std::string_view Trimmed(std::string_view text)
{
    constexpr std::string_view Padding(" \0", 2);
    const std::size_t first = std::min(text.find_first_not_of(Padding), text.size());
    const std::size_t end = text.find_last_not_of(Padding) + 1;
    return first == text.size() ? std::string_view() : text.substr(first, end - first);
}

/** The front of a text; a cut does not leave a part of a letter in UTF-8. */
std::string_view Front(std::string_view text, std::size_t size)
{
    constexpr std::size_t Longest_Rest = 3;
    if (text.size() <= size) {
        return text;
    }
    std::size_t end = size;
    while (end > 0 && end > size - Longest_Rest &&
           (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {
        --end;
    }
    return text.substr(0, end);
}

/** One value in the form for people; the text itself when it is no such value. */
using Form = std::string (*)(const std::string& text);

std::string Text_Or(const char* form, const std::string& text)
{
    return form != nullptr ? form : text;
}

std::string Date_Form(const std::string& text)
{
    OrisWare_Date date = {};
    const bool known = Date_From_DICOM(&date, text.c_str()) != 0;
    std::string form = known ? Text_Or(Date_2_Str(&date), text) : text;
    Date_Free(&date);
    return form;
}

std::string Time_Form(const std::string& text)
{
    OrisWare_Time time = {};
    const bool known = Time_From_DICOM(&time, text.c_str()) != 0;
    std::string form = known ? Text_Or(Time_2_Str(&time), text) : text;
    Time_Free(&time);
    return form;
}

std::string Name_Form(const std::string& text)
{
    OrisWare_Name name = {};
    const bool known = Name_From_DICOM(&name, text.c_str()) != 0;
    std::string form = known ? Text_Or(Name_2_Str(&name), text) : text;
    Name_Free(&name);
    return form;
}

std::string UID_Form(const std::string& text)
{
    const char* const name = DICOM_UID_Name(text.c_str());
    return name != nullptr ? text + " (" + name + ")" : text;
}

Form Form_Of(unsigned short vr)
{
    switch (vr) {
    case VR_DA:
        return &Date_Form;
    case VR_TM:
        return &Time_Form;
    case VR_PN:
        return &Name_Form;
    case VR_UI:
        return &UID_Form;
    default:
        return nullptr;
    }
}

/** Puts each of several values into its form; of a cut text, the last one may be a part. */
std::string Each_Value(std::string_view text, Form form, bool is_cut)
{
    std::string all;
    for (;;) {
        const std::size_t end = std::min(text.find(Separator), text.size());
        const bool is_last = end == text.size();
        const std::string value(Trimmed(text.substr(0, end)));
        all += is_last && is_cut ? value : form(value);
        if (is_last) {
            return all;
        }
        all += Separator;
        text.remove_prefix(end + 1);
    }
}

/**
 * A form for people needs a value without NUL, and without escape sequences: behind one the
 * separators of components and values may be halves of letters.
 */
Value_Text Text_Value(unsigned short vr, std::string_view value, std::size_t limit)
{
    const std::string_view text = Trimmed(Front(value, limit));
    const bool is_cut = value.size() > limit;
    const Form form = Form_Of(vr);
    const bool has_form =
        form != nullptr && text.find_first_of(std::string_view("\0\033", 2)) == text.npos;
    return {Visible(has_form ? Each_Value(text, form, is_cut) : std::string(text)), is_cut};
}

/* ---- numbers ---- */

template <class Number>
std::string Decimal(Number number)
{
    char text[40];
    const std::to_chars_result result =
        lib_util::to_chars(std::begin(text), std::end(text), number);
    return {text, result.ptr};
}

struct Number_Form {
    unsigned short vr;
    std::size_t width;
    std::string (*text)(unsigned char order, const char* bytes);
};

std::string Tag_Number(unsigned char order, const char* bytes)
{
    char text[16];
    std::snprintf(text, sizeof text, "(%04x,%04x)", Get_UShort(order, bytes),
                  Get_UShort(order, bytes + 2));
    return text;
}

std::string Unsigned_Short(unsigned char order, const char* bytes)
{
    return Decimal(Get_UShort(order, bytes));
}

constexpr Number_Form Number_Forms[] = {
    {VR_AT, 4, &Tag_Number},
    {VR_FD, 8,
     [](unsigned char order, const char* bytes) {
         return Decimal(Get_Double(order, bytes));
     }},
    {VR_FL, 4,
     [](unsigned char order, const char* bytes) {
         return Decimal(Get_Float(order, bytes));
     }},
    {VR_SL, 4,
     [](unsigned char order, const char* bytes) {
         return Decimal(Get_Int(order, bytes));
     }},
    {VR_SS, 2,
     [](unsigned char order, const char* bytes) {
         return Decimal(Get_Short(order, bytes));
     }},
    {VR_SV, 8,
     [](unsigned char order, const char* bytes) {
         return Decimal(static_cast<std::int64_t>(Convert_Unsigned_Long(order, bytes)));
     }},
    {VR_UH, 2, &Unsigned_Short},
    {VR_UL, 4,
     [](unsigned char order, const char* bytes) {
         return Decimal(static_cast<unsigned int>(Get_Int(order, bytes)));
     }},
    {VR_US, 2, &Unsigned_Short},
    {VR_UV, 8,
     [](unsigned char order, const char* bytes) {
         return Decimal(Convert_Unsigned_Long(order, bytes));
     }},
};

std::string Hexadecimal(std::string_view bytes)
{
    constexpr char Digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(2 * bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += Digits[byte >> 4];
        text += Digits[byte & 0xF];
    }
    return text;
}

Value_Text Numbers(const Number_Form& form, unsigned char order, std::string_view value,
                   std::size_t limit)
{
    const std::string_view shown = value.substr(0, limit);
    Value_Text result = {{}, shown.size() < value.size()};
    std::size_t at = 0;
    for (; at + form.width <= shown.size(); at += form.width) {
        result.text += at == 0 ? "" : "\\";
        result.text += form.text(order, shown.data() + at);
    }
    if (at < shown.size() && !result.is_cut) {
        result.text += (at == 0 ? "(rest " : " (rest ") + Hexadecimal(shown.substr(at)) + ")";
    }
    return result;
}

/* ---- the choice ---- */

/**
 * Unknown VRs of private elements often hold plain texts. A letter or two in front of NUL are more
 * likely a small number.
 */
bool Looks_Like_Text(std::string_view value)
{
    constexpr std::size_t Least_Before_NUL = 4;
    const std::string_view text = Trimmed(value);
    const std::size_t least = value.ends_with('\0') ? Least_Before_NUL : 1;
    return text.size() >= least && std::all_of(text.begin(), text.end(), &Is_Printable);
}

bool Is_Text(unsigned short vr, std::string_view front)
{
    const VR_Rule* const rule = Find_VR_Rule(vr);
    if (vr == VR_UN || (rule == nullptr && vr != VR_OX)) {
        return Looks_Like_Text(front);
    }
    return rule != nullptr && rule->kind != VR_Kind::Binary && rule->kind != VR_Kind::Opaque;
}

}  // namespace

std::string Visible(std::string_view text)
{
    std::string shown;
    shown.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (!Is_Control(c) || (c == Escape && Is_Designation(text.substr(i)))) {
            shown += c;
        } else {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned char>(c));
            shown += escape;
        }
    }
    return shown;
}

Value_Text Text_Of_Value(const DICOM_List& record, const Value_Limit& limit)
{
    if (record.data == nullptr || record.size <= 0) {
        return {};
    }
    const unsigned short vr = Effective_VR(record);
    const std::string_view value(reinterpret_cast<const char*>(record.data),
                                 static_cast<std::size_t>(record.size));
    const auto* const number =
        std::find_if(std::begin(Number_Forms), std::end(Number_Forms),
                     [vr](const Number_Form& form) { return form.vr == vr; });
    if (number != std::end(Number_Forms)) {
        return Numbers(*number, record.byte_order, value, limit.other);
    }
    if (Is_Text(vr, value.substr(0, limit.text))) {
        return Text_Value(vr, value, limit.text);
    }
    return {Hexadecimal(value.substr(0, limit.other)), value.size() > limit.other};
}

}  // namespace lib_dicom
