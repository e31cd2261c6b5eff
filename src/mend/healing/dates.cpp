// DA, PS3.5 section 6.2: YYYYMMDD.
//
//     1998.05.17            -> 19980517     the form of ACR-NEMA
//     2024-01-02, 2024/01/02 -> 20240102    the form of ISO 8601, which has one order only
//     980517, 11.11.11      stays           nobody knows the century, or what is the day
//     00000000, 20241301    stays           there is no such day
//     19790101-20300101     stays           a range belongs in a query
#include "mend/healing/dates.h"

#include "mend/healing/forms.h"

#include <algorithm>
#include <array>

namespace lib_mend {

namespace {

constexpr std::size_t Year_Size = 4;
constexpr std::size_t Separated_Size = 10;

bool Is_Range(std::string_view text)
{
    const std::size_t dash = text.find('-');
    const auto is_end = [](std::string_view part) {
        return part.empty() || Is_Date(part);
    };
    return dash != text.npos && text.size() > 1 && is_end(text.substr(0, dash)) &&
           is_end(text.substr(dash + 1));
}

}  // namespace

int Days_In(int year, int month)
{
    constexpr std::array Days = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    constexpr int February = 2;
    const bool is_leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month == February && is_leap ? 29 : Days[static_cast<std::size_t>(month - 1)];
}

bool Is_Date(std::string_view text)
{
    constexpr int Months = 12;
    if (text.size() != Date_Size || !Is_Number(text)) {
        return false;
    }
    const int year = Number_In(text.substr(0, Year_Size));
    const int month = Number_In(text.substr(Year_Size, 2));
    const int day = Number_In(text.substr(Year_Size + 2));
    return year > 0 && month >= 1 && month <= Months && day >= 1 && day <= Days_In(year, month);
}

std::string Date_Without_Separators(std::string_view text)
{
    constexpr std::string_view Separators = ".-/";
    constexpr std::size_t First = 4;
    constexpr std::size_t Second = 7;
    if (text.size() != Separated_Size || Separators.find(text[First]) == Separators.npos ||
        text[First] != text[Second]) {
        return {};
    }
    std::string date(text.substr(0, First));
    date += text.substr(First + 1, 2);
    date += text.substr(Second + 1);
    return Is_Date(date) ? date : std::string();
}

void Heal_Date(Piece& piece)
{
    const std::string_view text = piece.Text();
    if (Is_Date(text)) {
        return;
    }
    std::string date = Date_Without_Separators(text);
    if (!date.empty()) {
        piece.Becomes(std::move(date), Fault::Old_Syntax, "date in another form");
    } else if (Is_Range(text)) {
        piece.Stays(Fault::Date, "range of dates, which belongs in a query");
    } else {
        piece.Stays(Fault::Date, "no date that there is");
    }
}

}  // namespace lib_mend
