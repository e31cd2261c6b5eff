#include "value_text.h"

#include "terminal.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace dicom_mend {

namespace {

using dicom_client::Bytes;

/** Bytes of a value that are looked at; more than a line can show. */
constexpr std::size_t Shown_Bytes = 512;

bool Is_Text(unsigned short vr)
{
    constexpr std::string_view Texts = "AE AS CS DA DS DT IS LO LT PN SH ST TM UC UI UR UT";
    return Texts.find(VR_Text(vr)) != std::string_view::npos;
}

template <class Number>
std::string Number_Text(Number value)
{
    return std::to_string(value);
}

std::string Number_Text(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

std::string One_Number(unsigned short vr, unsigned char order, const unsigned char* bytes)
{
    char tag[16];
    std::int64_t wide = 0;
    switch (vr) {
    case VR_AT:
        std::snprintf(tag, sizeof tag, "(%04x,%04x)", Get_UShort(order, bytes),
                      Get_UShort(order, bytes + 2));
        return tag;
    case VR_FD:
        return Number_Text(Get_Double(order, bytes));
    case VR_FL:
        return Number_Text(static_cast<double>(Get_Float(order, bytes)));
    case VR_SL:
        return Number_Text(Get_Int(order, bytes));
    case VR_UL:
        return Number_Text(static_cast<unsigned int>(Get_Int(order, bytes)));
    case VR_SS:
        return Number_Text(Get_Short(order, bytes));
    case VR_US:
        return Number_Text(Get_UShort(order, bytes));
    default:
        // The accessors know no integer of 64 bits; its bits are those of a double.
        const double bits = Get_Double(order, bytes);
        std::memcpy(&wide, &bits, sizeof wide);
        return vr == VR_UV ? Number_Text(static_cast<std::uint64_t>(wide)) : Number_Text(wide);
    }
}

std::size_t Number_Width(unsigned short vr)
{
    switch (vr) {
    case VR_SS:
    case VR_US:
        return 2;
    case VR_AT:
    case VR_FL:
    case VR_SL:
    case VR_UL:
        return 4;
    case VR_FD:
    case VR_SV:
    case VR_UV:
        return 8;
    default:
        return 0;
    }
}

std::string Numbers_Text(const DICOM_List& record, const Bytes& value, std::size_t width)
{
    std::string text;
    for (std::size_t at = 0; at + width <= value.size(); at += width) {
        text += text.empty() ? "" : "\\";
        text += One_Number(dicom_client::VR_Of(record), record.byte_order, value.data() + at);
    }
    return text;
}

std::string Date_Text(const char* text)
{
    OrisWare_Date date = {};
    const bool known = Date_From_DICOM(&date, text) != 0;
    const char* const shown = known ? Date_2_Str(&date) : text;
    Date_Free(&date);
    return shown != nullptr ? shown : text;
}

std::string Time_Text(const char* text)
{
    OrisWare_Time time = {};
    const bool known = Time_From_DICOM(&time, text) != 0;
    const char* const shown = known ? Time_2_Str(&time) : text;
    Time_Free(&time);
    return shown != nullptr ? shown : text;
}

std::string Name_Text(const char* text)
{
    OrisWare_Name name = {};
    const bool known = Name_From_DICOM(&name, text) != 0;
    const char* const shown = known ? Name_2_Str(&name) : text;
    Name_Free(&name);
    return shown != nullptr ? shown : text;
}

/** Shows each of several values in the form for people. */
std::string Each_Value(const std::string& text, std::string (*shown)(const char*))
{
    std::string all;
    std::size_t start = 0;
    for (;;) {
        const std::size_t end = std::min(text.find('\\', start), text.size());
        all += shown(text.substr(start, end - start).c_str());
        if (end == text.size()) {
            return all;
        }
        all += '\\';
        start = end + 1;
    }
}

/** A text value for people: dates, times and names in their own forms. */
std::string Shown_Text(unsigned short vr, const std::string& text)
{
    switch (vr) {
    case VR_DA:
        return Each_Value(text, &Date_Text);
    case VR_TM:
        return Each_Value(text, &Time_Text);
    case VR_PN:
        return Each_Value(text, &Name_Text);
    default:
        return text;
    }
}

std::string Count_Text(int count, const char* one, const char* many)
{
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

}  // namespace

std::string VR_Text(unsigned short vr)
{
    if (vr == 0) {
        return "--";
    }
    return {static_cast<char>(vr >> 8), static_cast<char>(vr & 0xFF)};
}

std::string Hexadecimal(const Bytes& bytes)
{
    constexpr char Digits[] = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes) {
        text += Digits[byte >> 4];
        text += Digits[byte & 0xF];
    }
    return text;
}

std::string Value_Text(const dicom_client::Data_Set& set, const DICOM_List& record)
{
    const unsigned short vr = dicom_client::VR_Of(record);
    if (record.nb_item > 0 || vr == VR_SQ) {
        const int count = dicom_client::Item_Count(record);
        return vr == VR_SQ ? Count_Text(count, "item", "items")
                           : Count_Text(count, "fragment", "fragments");
    }
    const Bytes value = set.Value(record, Shown_Bytes);
    if (Is_Text(vr)) {
        return Printable(Shown_Text(vr, dicom_client::Trimmed(value)));
    }
    const std::size_t width = Number_Width(vr);
    return width != 0 ? Numbers_Text(record, value, width) : Hexadecimal(value);
}

}  // namespace dicom_mend
