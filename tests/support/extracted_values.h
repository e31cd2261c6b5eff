// What the typed extractors make of a record, as texts that compare at once.
#ifndef TESTS_EXTRACTED_VALUES_H
#define TESTS_EXTRACTED_VALUES_H

#include <Lib_DICOM/read.h>

#include <cstdio>
#include <string>
#include <type_traits>

inline std::string Show(const char* text)
{
    return text == nullptr ? "" : text;
}

inline std::string Show(const OrisWare_Name& name)
{
    return Show(name.family) + "^" + Show(name.given) + "^" + Show(name.middle) + "^" +
           Show(name.prefix) + "^" + Show(name.suffix);
}

inline std::string Show(const OrisWare_Date& date)
{
    unsigned short year = 0;
    unsigned short month = 0;
    unsigned short day = 0;
    const int is_set = Get_Oris_Date(&date, &year, &month, &day);
    return is_set == 0 ? "unset" : std::to_string(year * 10000 + month * 100 + day);
}

inline std::string Show(const OrisWare_Time& time)
{
    unsigned short hour = 0;
    unsigned short minute = 0;
    float seconds = 0;
    const int is_set = Get_Oris_Time(&time, &hour, &minute, &seconds);
    char text[64];
    std::snprintf(text, sizeof text, "%d:%d:%g", hour, minute, static_cast<double>(seconds));
    return is_set == 0 ? "unset" : text;
}

template <class Number, class = std::enable_if_t<std::is_arithmetic_v<Number>>>
std::string Show(Number number)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.*g", std::is_integral_v<Number> ? 10 : 6,
                  static_cast<double>(number));
    return text;
}

/** The values with a semicolon behind each, or "null". */
template <class Values>
std::string Show_All(const Values* values, const DICOM_List& record)
{
    std::string text = values == nullptr ? "null" : "";
    for (unsigned int i = 0; values != nullptr && i < record.vm; ++i) {
        text += Show(values[i]) + ";";
    }
    return text;
}

/** Calls the extractor with this name; bytes are shown one by one. */
inline std::string Extract(const std::string& name, DICOM_List& record, unsigned short vr = 0)
{
    const auto show = [&](auto extract) {
        return Show_All(extract(nullptr, &record, vr), record);
    };
    if (name != "Hex") {
        return name == "Str"     ? show(&NEMA_Value_Str)
               : name == "Int"   ? show(&NEMA_Value_Int)
               : name == "Float" ? show(&NEMA_Value_Float)
               : name == "Name"  ? show(&NEMA_Value_Name)
               : name == "Date"  ? show(&NEMA_Value_Date)
                                 : show(&NEMA_Value_Time);
    }
    const unsigned char* const bytes = NEMA_Value_Hex(nullptr, &record, vr);
    return bytes == nullptr ? "null" : std::string(bytes, bytes + record.size) + Show(record.vm);
}

#endif
