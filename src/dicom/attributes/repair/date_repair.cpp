// Dates: the old forms, and the values that are of no use.
#include "attributes/repair/value_work.h"

#include <charconv>
#include <cstdio>
#include <utility>

namespace lib_dicom {

namespace {

int Number(std::string_view digits)
{
    int number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return number;
}

/** Two digits stand for the years 1960 to 2059. */
int Year_Of_Two_Digits(int number)
{
    const int year = number + 1900;
    return year < 1960 ? year + 100 : year;
}

/** A year that was printed as "19" and the years since 1900, as in "19100.01.1". */
bool Has_Year_2000_Fault(std::string_view date)
{
    return date.size() == 10 && date.starts_with("19") && date[5] == '.';
}

/** The eight bytes of three numbers; a month of three digits pushes the last one out. */
std::string Date_Of_Numbers(int year, int month, int day)
{
    char text[40];
    std::snprintf(text, sizeof text, "%04d%02d%02d", year, month, day);
    return std::string(text, 8);
}

/** A date of six or ten bytes as yyyymmdd. What is no number where one should stand counts as 0. */
std::string Date_By_Places(std::string_view date)
{
    if (date.size() == 10) {
        return Date_Of_Numbers(Number(date.substr(0, 4)), Number(date.substr(5, 2)),
                               Number(date.substr(8, 2)));
    }
    // Raising the month is kept on purpose.
    return Date_Of_Numbers(Year_Of_Two_Digits(Number(date.substr(0, 2))),
                           Number(date.substr(2, 2)) + 1, Number(date.substr(4, 2)));
}

void Warn_Of_Year_2000(Value_Work& work, std::string_view date)
{
    char read[16];
    std::snprintf(read, sizeof read, "%04d%.2s%.1s", 1900 + Number(date.substr(2, 3)),
                  date.data() + 6, date.data() + 9);
    work.Warn("%hs Y2K bug! \001%.*hs\002 = \001%7.7hs?\002 (Rejected since last digit of day is "
              "lost!)",
              Shown(date), date.data(), static_cast<const char*>(read));
    work.Mark(DICOM_Mark_Invalid);
}

}  // namespace

std::size_t Repair_Date(Value_Work& work)
{
    work.Check_Set();
    // The length of the whole value is looked at, and nothing else.
    const std::size_t size = work.value.size();
    if (size != 6 && size != 8 && size != 10) {
        return work.Invalid_Size("6, 8 or 10 bytes", size);
    }
    if (Has_Year_2000_Fault(work.value)) {
        // The value stays as it is: a part of a date is better than none.
        Warn_Of_Year_2000(work, work.value);
    } else if (size != 8) {
        const std::string old = std::exchange(work.value, Date_By_Places(work.value));
        work.Note_Old_Syntax(old, work.value);
    }
    return For_Each_Value(work.value, [](std::string_view) {});
}

}  // namespace lib_dicom
