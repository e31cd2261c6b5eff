// TM, PS3.5 section 6.2: HH[MM[SS[.FFFFFF]]].
//
//     10:11:12, 10.11.12, 10:11  -> 101112, 101112, 1011   forms of ACR-NEMA
//     120102.1234567             -> 120102.123457          microseconds are the last digit
//     235959.9999999             stays                     the next microsecond is in another minute
//     120102.                    -> 120102
//     12.5, 250000, 256100       stays                     no time that there is
//     120102+0100, 01:02 PM      stays                     says more than a TM can
#include "mend/healing/dates.h"
#include "mend/healing/forms.h"

#include <algorithm>

namespace lib_mend {

namespace {

constexpr std::size_t Fraction_Digits = 6;
constexpr std::size_t Clock_Size = 6;

/** HHMM or HHMMSS of a text with separators; a point alone may stand for anything. */
std::string Time_Without_Separators(std::string_view text)
{
    constexpr std::size_t Short_Size = 5;
    constexpr std::size_t Long_Size = 8;
    const bool is_short = text.size() == Short_Size;
    if ((!is_short && text.size() != Long_Size) || (text[2] != ':' && text[2] != '.') ||
        (is_short && text[2] == '.') || (!is_short && text[2] != text[Short_Size])) {
        return {};
    }
    std::string time(text.substr(0, 2));
    time += text.substr(3, 2);
    if (!is_short) {
        time += text.substr(Short_Size + 1);
    }
    return time;
}

/** Adds the second that the rounding of a fraction carries over; false when a minute is full. */
bool Carry_Second(std::string& clock)
{
    constexpr int Last = 59;
    const int second = Number_In(std::string_view(clock).substr(4));
    if (second >= Last) {
        return false;
    }
    clock[4] = static_cast<char>('0' + (second + 1) / 10);
    clock[5] = static_cast<char>('0' + (second + 1) % 10);
    return true;
}

}  // namespace

bool Is_Clock(std::string_view text)
{
    constexpr int Hours = 24;
    constexpr int Minutes = 60;
    constexpr int Leap_Second = 60;
    if ((text.size() != 2 && text.size() != 4 && text.size() != Clock_Size) || !Is_Number(text)) {
        return false;
    }
    return Number_In(text.substr(0, 2)) < Hours &&
           (text.size() < 4 || Number_In(text.substr(2, 2)) < Minutes) &&
           (text.size() < Clock_Size || Number_In(text.substr(4)) <= Leap_Second);
}

Time_Form Form_Of_Time(std::string_view text, std::string& time)
{
    const std::size_t last_colon = text.rfind(':');
    constexpr std::size_t Old_Size = 8;
    // The point of the old form is no decimal point.
    const bool old = text.size() >= Old_Size && text[2] == '.' && text[5] == '.';
    const std::size_t point = text.find('.', old                       ? Old_Size
                                             : last_colon != text.npos ? last_colon
                                                                       : 0);
    std::string clock(text.substr(0, std::min(point, text.size())));
    const std::string separated = Time_Without_Separators(clock);
    const bool was_separated = !separated.empty();
    if (was_separated) {
        clock = separated;
    }
    if (!Is_Clock(clock) || (point != text.npos && clock.size() != Clock_Size)) {
        return Time_Form::None;
    }
    std::string fraction(point != text.npos ? text.substr(point + 1) : std::string_view());
    if (!fraction.empty() && !Is_Number(fraction)) {
        return Time_Form::None;
    }
    const bool is_long = fraction.size() > Fraction_Digits;
    if (is_long && !Round_Fraction(fraction, Fraction_Digits) && !Carry_Second(clock)) {
        return Time_Form::Too_Long;
    }
    const bool bare_point = point != text.npos && fraction.empty();
    if (!is_long && !was_separated && !bare_point) {
        return Time_Form::Sound;
    }
    time = fraction.empty() ? clock : clock + '.' + fraction;
    return is_long ? Time_Form::Rounded : Time_Form::Separated;
}

void Heal_Time(Piece& piece)
{
    std::string time;
    switch (Form_Of_Time(piece.Text(), time)) {
    case Time_Form::Sound:
        return;
    case Time_Form::Separated:
        piece.Becomes(std::move(time), Fault::Old_Syntax, "time in another form");
        return;
    case Time_Form::Rounded:
        piece.Becomes(std::move(time), Fault::Length,
                      "fraction of a second is rounded to six digits");
        return;
    case Time_Form::Too_Long:
        piece.Stays(Fault::Length, "more than six digits in the fraction of a second");
        return;
    case Time_Form::None:
        piece.Stays(Fault::Date, "no time that there is");
        return;
    }
}

}  // namespace lib_mend
