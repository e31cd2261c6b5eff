// DS, PS3.5 section 6.2: a decimal number of 16 characters at the most, with or without an exponent.
//
//     3.05171124637127E-05    -> 3.05171124637E-5    the nearest number of 16 characters
//     -1.2345678901234E+005   -> -123456.78901234
//     1,5                     -> 1.5                 one comma between digits is a decimal point
//     1.5D-3                  -> 1.5E-3              the double precision of FORTRAN
//     NaN, 1.2.3, --5, 1/2    stays
#include "mend/healing/forms.h"

#include <algorithm>
#include <array>

namespace lib_mend {

namespace {

constexpr std::size_t Longest = 16;

/** 0.DIGITS times ten to the exponent; no digits stand for zero. */
struct Decimal {
    bool negative = false;
    std::string digits;
    int exponent = 0;
    /** The exponent is beyond all that can be counted. */
    bool unbounded = false;
};

/** Takes digits off the front. */
std::string_view Take_Digits(std::string_view& text)
{
    const std::size_t end = std::min(text.find_first_not_of("0123456789"), text.size());
    const std::string_view digits = text.substr(0, end);
    text.remove_prefix(end);
    return digits;
}

bool Take_Sign(std::string_view& text)
{
    const bool negative = text.starts_with('-');
    text.remove_prefix(negative || text.starts_with('+') ? 1 : 0);
    return negative;
}

/** Reads a number of the form of a DS; false for anything else. */
bool Parse(std::string_view text, Decimal& decimal)
{
    constexpr std::size_t Most_Exponent_Digits = 6;
    decimal.negative = Take_Sign(text);
    const std::string_view whole = Take_Digits(text);
    std::string_view fraction;
    if (text.starts_with('.')) {
        text.remove_prefix(1);
        fraction = Take_Digits(text);
    }
    if (whole.empty() && fraction.empty()) {
        return false;
    }
    int exponent = 0;
    if (text.starts_with('E') || text.starts_with('e')) {
        text.remove_prefix(1);
        const bool negative = Take_Sign(text);
        std::string_view digits = Take_Digits(text);
        if (digits.empty()) {
            return false;
        }
        digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size() - 1));
        decimal.unbounded = digits.size() > Most_Exponent_Digits;
        exponent = decimal.unbounded ? 0 : negative ? -Number_In(digits) : Number_In(digits);
    }
    decimal.digits = std::string(whole) + std::string(fraction);
    const std::size_t zeros =
        std::min(decimal.digits.find_first_not_of('0'), decimal.digits.size());
    decimal.digits.erase(0, zeros);
    decimal.exponent = exponent + static_cast<int>(whole.size()) - static_cast<int>(zeros);
    return text.empty();
}

/** Rounds half to even; the digits do not end in a zero then. */
void Round(Decimal& decimal, std::size_t count)
{
    std::string& digits = decimal.digits;
    if (digits.size() > count) {
        const std::string_view rest = std::string_view(digits).substr(count);
        const bool beyond_half = rest.find_first_not_of('0', 1) != rest.npos;
        const bool is_odd = (digits[count - 1] - '0') % 2 != 0;
        const bool up = rest[0] > '5' || (rest[0] == '5' && (beyond_half || is_odd));
        digits.erase(count);
        std::size_t at = count;
        while (up && at > 0 && digits[at - 1] == '9') {
            digits[--at] = '0';
        }
        if (up && at > 0) {
            ++digits[at - 1];
        } else if (up) {
            digits.insert(digits.begin(), '1');
            ++decimal.exponent;
        }
    }
    digits.erase(digits.find_last_not_of('0') + 1);
}

std::string Fixed_Text(const Decimal& decimal, std::string_view zero)
{
    const auto size = static_cast<int>(decimal.digits.size());
    const int point = decimal.exponent;
    constexpr int Most_Zeros = static_cast<int>(Longest);
    if (point > Most_Zeros || point < -Most_Zeros) {
        return std::string(Longest + 1, '0');
    }
    if (point <= 0) {
        return std::string(zero) + '.' + std::string(static_cast<std::size_t>(-point), '0') +
               decimal.digits;
    }
    const auto whole = static_cast<std::size_t>(point);
    return point >= size ? decimal.digits + std::string(whole - decimal.digits.size(), '0')
                         : decimal.digits.substr(0, whole) + '.' + decimal.digits.substr(whole);
}

/** @param whole  digits in front of the point */
std::string Exponent_Text(const Decimal& decimal, std::size_t whole)
{
    const int exponent = decimal.exponent - static_cast<int>(whole);
    const std::string tail = 'E' + std::to_string(exponent);
    return whole == decimal.digits.size()
               ? decimal.digits + tail
               : decimal.digits.substr(0, whole) + '.' + decimal.digits.substr(whole) + tail;
}

/** The text of a number, in the plainest of the forms that are short enough; empty for none. */
std::string Digits_Of(const Decimal& decimal)
{
    if (decimal.digits.empty()) {
        return "0";
    }
    const std::size_t room = decimal.negative ? Longest - 1 : Longest;
    const std::array<std::string, 4> forms = {Fixed_Text(decimal, "0"), Exponent_Text(decimal, 1),
                                              Fixed_Text(decimal, ""),
                                              Exponent_Text(decimal, decimal.digits.size())};
    for (const std::string& form : forms) {
        if (form.size() <= room) {
            return (decimal.negative ? "-" : "") + form;
        }
    }
    return {};
}

/** The nearest number whose text is short enough. */
std::string Nearest_Text(Decimal decimal)
{
    // Beyond these digits only whether there is anything more decides how to round.
    constexpr std::size_t Enough = 2 * Longest;
    if (decimal.unbounded) {
        return {};
    }
    if (decimal.digits.size() > Enough) {
        const bool more = decimal.digits.find_first_not_of('0', Enough) != decimal.digits.npos;
        decimal.digits.replace(Enough, decimal.digits.npos, more ? "1" : "");
    }
    std::string text;
    for (std::size_t count = Longest; text.empty() && count > 0; --count) {
        Decimal rounded = decimal;
        Round(rounded, count);
        text = Digits_Of(rounded);
    }
    return text;
}

/** Another way to write a point or an exponent, which has one meaning only. */
std::string In_Usual_Form(std::string text)
{
    constexpr std::string_view Digits = "0123456789";
    const auto stands_between = [&](std::size_t at, std::string_view behind) {
        return at != text.npos && at > 0 && at + 1 < text.size() &&
               Digits.find(text[at - 1]) != Digits.npos && behind.find(text[at + 1]) != behind.npos;
    };
    const std::size_t comma = text.find(',');
    if (stands_between(comma, Digits) && text.find('.') == text.npos) {
        text[comma] = '.';
    }
    const std::size_t letter = text.find_first_of("Dd");
    if (letter != text.npos && letter > 0 && text[letter - 1] == '.') {
        text[letter] = 'E';
    } else if (stands_between(letter, "0123456789+-")) {
        text[letter] = 'E';
    }
    return text;
}

}  // namespace

bool Is_Short_Decimal(std::string_view text)
{
    const bool fits = text.size() <= Longest;
    text.remove_prefix(text.starts_with('-') ? 1 : 0);
    const std::size_t point = std::min(text.find('.'), text.size());
    return fits && Is_Number(text.substr(0, point)) &&
           (point == text.size() || Is_Number(text.substr(point + 1)));
}

void Heal_Decimal_String(Piece& piece)
{
    if (Is_Short_Decimal(piece.Text())) {
        return;
    }
    std::string text = In_Usual_Form(std::string(piece.Text()));
    Decimal decimal;
    if (!Parse(text, decimal)) {
        piece.Stays(Fault::Number, "no decimal number");
        return;
    }
    if (text != piece.Text()) {
        piece.Becomes(text, Fault::Number, "decimal number in another form");
    }
    if (text.size() > Longest) {
        std::string nearest = Nearest_Text(decimal);
        if (nearest.empty()) {
            piece.Stays(Fault::Length, "decimal number that 16 characters do not hold");
        } else {
            piece.Becomes(std::move(nearest), Fault::Length,
                          "rounded to the nearest number of 16 characters");
        }
    }
}

}  // namespace lib_mend
