// Dates and times of day as digits; what dates, times and both together have in common.
#ifndef LIB_MEND_DATES_H
#define LIB_MEND_DATES_H

#include <string>
#include <string_view>

namespace lib_mend {

/** Digits of a date. */
inline constexpr std::size_t Date_Size = 8;

/** @param month  1 to 12 */
int Days_In(int year, int month);

/** Tells whether a text is YYYYMMDD of a day that there is. */
bool Is_Date(std::string_view text);

/** YYYYMMDD of YYYY.MM.DD, YYYY-MM-DD or YYYY/MM/DD of a day that there is; empty for anything else. */
std::string Date_Without_Separators(std::string_view text);

/** Tells whether a text is HH, HHMM or HHMMSS; a second may be a leap second. */
bool Is_Clock(std::string_view text);

/** What becomes of a time of day. */
enum class Time_Form { Sound, Separated, Rounded, Too_Long, None };

/**
 * Brings HH[MM[SS[.FFFFFF]]] into form: HH:MM[:SS] and HH.MM.SS lose their separators, and a fraction
 * is rounded to six digits as long as the second of the clock stays below 60; else it is too long.
 *
 * @param time  receives the form; only for Separated and Rounded
 */
Time_Form Form_Of_Time(std::string_view text, std::string& time);

}  // namespace lib_mend

#endif
