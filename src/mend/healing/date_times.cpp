// DT, PS3.5 section 6.2: YYYY[MM[DD[HH[MM[SS[.FFFFFF]]]]]][&ZZXX].
//
//     20240102120000Z            -> 20240102120000+0000
//     2024-01-02T12:00:00+01:00  -> 20240102120000+0100    ISO 8601
//     20240102T120000            -> 20240102120000         its basic form
//     2024-01-02, 2024.01.02     -> 20240102
//     20240102120000.1234567     -> 20240102120000.123457
//     2024, 202401               legal: what is missing is not known
//     20240102120000-0000        stays: the standard forbids it, and what it says is not known
#include "mend/healing/dates.h"
#include "mend/healing/forms.h"

#include <algorithm>

namespace lib_mend {

namespace {

constexpr std::size_t Offset_Size = 5;

bool Is_Start_Of_Date(std::string_view text)
{
    constexpr std::size_t Year = 4;
    constexpr std::size_t Month = 6;
    return (text.size() == Year && Is_Date(std::string(text) + "0101")) ||
           (text.size() == Month && Is_Date(std::string(text) + "01")) || Is_Date(text);
}

/** An offset from universal time: -1200 to +1400, but not -0000. */
bool Is_Offset(std::string_view text)
{
    constexpr int West = 1200;
    constexpr int East = 1400;
    constexpr int Minutes = 60;
    if (text.size() != Offset_Size || (text[0] != '+' && text[0] != '-') ||
        !Is_Number(text.substr(1))) {
        return false;
    }
    const int offset = Number_In(text.substr(1));
    return offset % 100 < Minutes &&
           (text[0] == '+' ? offset <= East : offset > 0 && offset <= West);
}

/** Digits of a date and time of ISO 8601, which are separated throughout or not at all. */
std::string Without_Separators(std::string_view text)
{
    constexpr std::size_t Shortest = 16;
    std::string date = Date_Without_Separators(text);
    if (!date.empty()) {
        return date;
    }
    if (text.size() > Date_Size + 1 && text[Date_Size] == 'T' &&
        Is_Number(text.substr(Date_Size + 1, 1))) {
        return date.append(text.substr(0, Date_Size)).append(text.substr(Date_Size + 1));
    }
    if (text.size() < Shortest || text[4] != '-' || text[7] != '-' ||
        (text[10] != 'T' && text[10] != ' ') || text[13] != ':') {
        return std::string(text);
    }
    std::string plain(text.substr(0, 4));
    plain += text.substr(5, 2);
    plain += text.substr(8, 2);
    std::string rest(text.substr(11));
    const std::size_t sign = rest.find_first_of("+-");
    constexpr std::size_t Colon_Of_Offset = 3;
    if (sign != rest.npos && sign + Colon_Of_Offset < rest.size() &&
        rest[sign + Colon_Of_Offset] == ':') {
        rest.erase(sign + Colon_Of_Offset, 1);
    }
    return plain + rest;
}

/** Brings a date and time without its offset into form. */
Time_Form Form_Moment(std::string& moment)
{
    if (moment.size() <= Date_Size) {
        return Is_Start_Of_Date(moment) ? Time_Form::Sound : Time_Form::None;
    }
    std::string time;
    const std::string_view clock = std::string_view(moment).substr(Date_Size);
    const Time_Form form = Form_Of_Time(clock, time);
    if (!Is_Date(std::string_view(moment).substr(0, Date_Size))) {
        return Time_Form::None;
    }
    if (form == Time_Form::Separated || form == Time_Form::Rounded) {
        moment.replace(Date_Size, moment.npos, time);
    }
    return form;
}

}  // namespace

void Heal_Date_Time(Piece& piece)
{
    const std::string plain = Without_Separators(piece.Text());
    const std::size_t end = std::min(plain.find_first_of("+-Z"), plain.size());
    std::string moment = plain.substr(0, end);
    std::string offset = plain.substr(end);
    if (offset == "Z") {
        offset = "+0000";
    }
    const Time_Form form = Form_Moment(moment);
    const bool rounded = form == Time_Form::Rounded;
    if (form == Time_Form::None || (!offset.empty() && !Is_Offset(offset))) {
        piece.Stays(Fault::Date, "no date and time that there is");
        return;
    }
    if (form == Time_Form::Too_Long) {
        piece.Stays(Fault::Length, "more than six digits in the fraction of a second");
        return;
    }
    moment += offset;
    if (moment == piece.Text()) {
        return;
    }
    piece.Becomes(std::move(moment), rounded ? Fault::Length : Fault::Old_Syntax,
                  rounded ? "fraction of a second is rounded to six digits"
                          : "date and time in another form");
}

}  // namespace lib_mend
