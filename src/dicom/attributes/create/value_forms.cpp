#include "attributes/create/value_forms.h"

#include "frame/report.h"
#include "util/older_libraries.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>

namespace lib_dicom {

namespace {

/** Values are stored in the library's own byte order. */
constexpr unsigned char Order = DICOM_Order_Explicit_VR;

/** Seconds with three decimals when they have any, whatever the process's decimal point is. */
std::string Seconds_Text(float number)
{
    const double seconds = number;
    const double whole = std::trunc(seconds);
    const double fraction = seconds - whole;
    const bool is_whole = fraction < 0.001 || fraction > 0.999;
    // A kept quirk: 59.9995 becomes 60, which is not carried into the minutes.
    const double rounded = fraction < 0.001 ? whole : whole + 1;
    const double shown = !is_whole ? seconds : rounded == 0 ? 0 : rounded;  // no "-0"
    char text[64];
    const auto end = lib_util::to_chars(std::begin(text), std::end(text), shown,
                                        std::chars_format::fixed, is_whole ? 0 : 3);
    const std::size_t width = is_whole ? 2 : 6;
    const std::size_t size = static_cast<std::size_t>(end.ptr - text);
    return std::string(width - std::min(width, size), '0').append(text, size);
}

}  // namespace

void Write_Byte(Value_Buffer& value, unsigned char byte)
{
    value.Add_Number<1>(&byte);
}

void Write_Short(Value_Buffer& value, short number)
{
    value.Add_Number<2>(Put_Short(Order, number));
}

void Write_UShort(Value_Buffer& value, unsigned short number)
{
    value.Add_Number<2>(Put_UShort(Order, number));
}

void Write_Int(Value_Buffer& value, int number)
{
    value.Add_Number<4>(Put_Int(Order, number));
}

void Write_Float(Value_Buffer& value, float number)
{
    value.Add_Number<4>(Put_Float(Order, number));
}

void Write_Double(Value_Buffer& value, double number)
{
    value.Add_Number<8>(Put_Double(Order, number));
}

/** The accessors know no integer of 64 bits; one travels as the bits of a double. */
void Write_Wide(Value_Buffer& value, std::int64_t number)
{
    value.Add_Number<8>(Put_Double(Order, lib_util::bit_cast<double>(number)));
}

void Write_Integer_Text(Value_Buffer& value, int number)
{
    value.Add(std::to_string(number));
}

/** "%.7g" of a float, whatever the process's decimal point is. */
void Write_Decimal_Text(Value_Buffer& value, const float& number)
{
    constexpr int Digits = 7;
    char text[32];
    const auto end =
        lib_util::to_chars(std::begin(text), std::end(text), static_cast<double>(number),
                           std::chars_format::general, Digits);
    const std::string_view shown(text, static_cast<std::size_t>(end.ptr - text));
    // A kept quirk: the float just below 1 is written as 1, its negative is left as it is.
    value.Add(shown == "-0" ? "0" : shown == "0.9999999" ? "1" : shown);
}

void Write_Date(Value_Buffer& value, const OrisWare_Date& date)
{
    unsigned short year = 0;
    unsigned short month = 0;
    unsigned short day = 0;
    if (Get_Oris_Date(&date, &year, &month, &day) == 0) {
        Report_Warning(value.Handle(), "VR=DA: no date (%d,%d,%d), 00000000 is stored", date.year,
                       date.month, date.day);
    }
    char text[32];
    std::snprintf(text, sizeof text, "%04d%02d%02d", year, month, day);
    value.Add(text);
}

void Write_Time(Value_Buffer& value, const OrisWare_Time& time)
{
    unsigned short hour = time.hour;
    unsigned short minute = time.minute;
    float seconds = time.seconds;
    // The fields are written as they are, as 24:00:00 too; those of a text may not be filled in.
    const bool is_set = time.state == Oris_State_Text
                            ? Get_Oris_Time(&time, &hour, &minute, &seconds) != 0
                            : time.state != Oris_State_Unset && std::isfinite(seconds);
    if (!is_set) {
        seconds = std::isfinite(seconds) ? seconds : 0;
        Report_Warning(value.Handle(), "VR=TM: no time, %02d%02d%02d is stored", hour, minute,
                       static_cast<int>(std::clamp(seconds, 0.0F, 99.0F)));
    }
    char text[16];
    std::snprintf(text, sizeof text, "%02d%02d", hour, minute);
    value.Add(text + Seconds_Text(seconds));
}

}  // namespace lib_dicom
