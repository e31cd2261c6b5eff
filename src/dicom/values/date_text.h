// Dates and times of day as plain numbers, and their conversion from and to text by templates.
#ifndef LIB_DICOM_SRC_VALUES_DATE_TEXT_H
#define LIB_DICOM_SRC_VALUES_DATE_TEXT_H

#include <array>
#include <compare>
#include <optional>
#include <string>
#include <string_view>

namespace lib_dicom {

/** A date that exists. */
struct Calendar_Date {
    unsigned short year;
    unsigned short month;
    unsigned short day;

    auto operator<=>(const Calendar_Date&) const = default;
};

/** A time of day that exists. */
struct Clock_Time {
    unsigned short hour;
    unsigned short minute;
    float seconds;

    auto operator<=>(const Clock_Time&) const = default;
};

inline constexpr std::array<const char*, 12> Month_Names = {
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December"};

/** The date or time of these numbers, none when it does not exist. */
std::optional<Calendar_Date> Checked_Date(int year, int month, int day);
std::optional<Clock_Time> Checked_Time(int hour, int minute, float seconds);

/** Takes the name of a month, or its first three letters, off a text. */
std::optional<int> Take_Month_Name(std::string_view& text);
/** Takes exactly so many digits off a text; none when there are fewer. */
std::optional<int> Take_Number(std::string_view& text, std::size_t digits);

/** The template of a DA value, which goes by its length; null for a length that none has. */
const char* DICOM_Date_Template(std::size_t size);

/**
 * The template of a TM value, of the old syntax with separators or of today's.
 *
 * @param old_decimals  decimals that the old syntax may have
 */
const char* DICOM_Time_Template(std::string_view text, int old_decimals);

/** Reads a text by a template, see Make_Oris_Date and Make_Oris_Time. */
std::optional<Calendar_Date> Parse_Date(std::string_view text, std::string_view date_template);
std::optional<Clock_Time> Parse_Time(std::string_view text, std::string_view time_template);

/** Writes a text by a template; none when the template is empty or faulty. */
std::optional<std::string> Format_Date(const Calendar_Date& date, std::string_view date_template);
std::optional<std::string> Format_Time(const Clock_Time& time, std::string_view time_template);

}  // namespace lib_dicom

#endif
