#include "values/date_text.h"

#include "values/owned_text.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace lib_dicom {

namespace {

/* ---- templates ---- */

/** What a piece of a template stands for. */
enum class Field : unsigned char {
    Faulty,
    Literal,
    Year,
    Year_Of_Century,
    Month,
    Month_Short,
    Month_Long,
    Day,
    Hour,
    Minute,
    Second,
    Fraction
};

struct Field_Name {
    char letter;
    /** Number of letters, 0 for any. */
    std::size_t size;
    Field field;
};

struct Template_Piece {
    Field field;
    std::string_view text;
};

constexpr Field_Name Date_Fields[] = {{'y', 4, Field::Year},       {'y', 2, Field::Year_Of_Century},
                                      {'m', 2, Field::Month},      {'m', 3, Field::Month_Short},
                                      {'m', 4, Field::Month_Long}, {'d', 2, Field::Day}};
constexpr Field_Name Time_Fields[] = {{'h', 2, Field::Hour},
                                      {'m', 2, Field::Minute},
                                      {'s', 2, Field::Second},
                                      {'f', 0, Field::Fraction}};

/** Takes the first piece off a template that is not empty: a run of a field's letter, or a byte. */
Template_Piece Take_Piece(std::string_view& rest, std::span<const Field_Name> fields)
{
    const char letter = Lower(rest.front());
    std::size_t size = 1;
    while (size < rest.size() && Lower(rest[size]) == letter) {
        ++size;
    }
    Field found = Field::Literal;
    for (const Field_Name& field : fields) {
        if (field.letter == letter) {
            if (field.size == size || field.size == 0) {
                found = field.field;
                break;
            }
            found = Field::Faulty;
        }
    }
    if (found == Field::Literal) {
        size = 1;
    }
    const Template_Piece piece = {found, rest.substr(0, size)};
    rest.remove_prefix(size);
    return piece;
}

/* ---- reading ---- */

std::string_view Take_Digits(std::string_view& text, std::size_t most)
{
    const std::size_t size = std::min({text.find_first_not_of("0123456789"), text.size(), most});
    const std::string_view digits = text.substr(0, size);
    text.remove_prefix(size);
    return digits;
}

bool Take_Literal(std::string_view& text, char literal)
{
    if (text.empty() || text.front() != literal) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

/** Fills a part that no earlier field of the template has filled. */
template <class Value>
bool Fill(std::optional<Value>& part, std::optional<Value> value)
{
    if (part.has_value() || !value.has_value()) {
        return false;
    }
    part = value;
    return true;
}

/** Years of two digits are 1960 to 2059, as in the repair of six-digit DA values. */
std::optional<int> Take_Year_Of_Century(std::string_view& text)
{
    const std::optional<int> year = Take_Number(text, 2);
    if (!year.has_value()) {
        return year;
    }
    return *year + (*year < 60 ? 2000 : 1900);
}

std::optional<double> Take_Fraction(std::string_view& text, std::size_t most)
{
    const std::string_view digits = Take_Digits(text, most);
    if (digits.empty()) {
        return std::nullopt;
    }
    double fraction = 0;
    double weight = 1;
    for (const char digit : digits) {
        weight /= 10;
        fraction += (digit - '0') * weight;
    }
    return fraction;
}

struct Date_Parts {
    std::optional<int> year;
    std::optional<int> month;
    std::optional<int> day;
};

bool Take_Date_Piece(const Template_Piece& piece, std::string_view& text, Date_Parts& parts)
{
    switch (piece.field) {
    case Field::Literal:
        return Take_Literal(text, piece.text.front());
    case Field::Year:
        return Fill(parts.year, Take_Number(text, 4));
    case Field::Year_Of_Century:
        return Fill(parts.year, Take_Year_Of_Century(text));
    case Field::Month:
        return Fill(parts.month, Take_Number(text, 2));
    case Field::Month_Short:
    case Field::Month_Long:
        return Fill(parts.month, Take_Month_Name(text));
    case Field::Day:
        return Fill(parts.day, Take_Number(text, 2));
    default:
        return false;
    }
}

struct Time_Parts {
    std::optional<int> hour;
    std::optional<int> minute;
    std::optional<int> second;
    std::optional<double> fraction;

    /** Nothing is missing but the smallest units. */
    bool Are_Complete() const
    {
        return hour && (minute || !second) && (second || !fraction);
    }
};

bool Take_Time_Piece(const Template_Piece& piece, std::string_view& text, Time_Parts& parts)
{
    switch (piece.field) {
    case Field::Literal:
        // ACR-NEMA files write 12.30.45 as well as 12:30:45.
        return Take_Literal(text, piece.text.front()) ||
               (piece.text == ":" && Take_Literal(text, '.'));
    case Field::Hour:
        return Fill(parts.hour, Take_Number(text, 2));
    case Field::Minute:
        return Fill(parts.minute, Take_Number(text, 2));
    case Field::Second:
        return Fill(parts.second, Take_Number(text, 2));
    case Field::Fraction:
        return Fill(parts.fraction, Take_Fraction(text, piece.text.size()));
    default:
        return false;
    }
}

/** Seconds with their fraction, which rounding to a float must not carry into the next second. */
float Joined_Seconds(int second, double fraction)
{
    const float next = static_cast<float>(second + 1);
    const float seconds = static_cast<float>(second + fraction);
    return seconds < next ? seconds : std::nextafter(next, 0.0F);
}

/* ---- writing ---- */

/** A number in decimal, filled up with zeros. */
std::string Digits(int number, std::size_t width)
{
    const std::string digits = std::to_string(number);
    return std::string(width - std::min(width, digits.size()), '0') + digits;
}

/** Seconds as a whole number and a fraction in so many decimal digits. */
struct Split_Seconds {
    int whole;
    int fraction;
    std::size_t digits;
};

/** A float of seconds holds no more decimals than these scales stand for. */
constexpr int Scales[] = {1, 10, 100, 1000, 10000, 100000, 1000000};

/** Splits seconds, rounded to the decimals but not into the next minute. */
Split_Seconds Split(float seconds, std::size_t decimals)
{
    if (decimals == 0) {
        return {static_cast<int>(seconds), 0, 0};
    }
    const std::size_t digits = std::min(decimals, std::size(Scales) - 1);
    const int scale = Scales[digits];
    const int limit = (seconds < 60 ? 60 : 61) * scale - 1;
    const int units = std::min(static_cast<int>(std::lround(double{seconds} * scale)), limit);
    return {units / scale, units % scale, digits};
}

/** Number of digits that a time template gives the fraction. */
std::size_t Decimals(std::string_view time_template)
{
    while (!time_template.empty()) {
        const Template_Piece piece = Take_Piece(time_template, Time_Fields);
        if (piece.field == Field::Fraction) {
            return piece.text.size();
        }
    }
    return 0;
}

std::string Date_Piece(const Template_Piece& piece, const Calendar_Date& date)
{
    const char* const month = Month_Names[date.month - 1U];
    switch (piece.field) {
    case Field::Year:
        return Digits(date.year, 4);
    case Field::Year_Of_Century:
        return Digits(date.year % 100, 2);
    case Field::Month:
        return Digits(date.month, 2);
    case Field::Month_Short:
        return std::string(month, 3);
    case Field::Month_Long:
        return month;
    case Field::Day:
        return Digits(date.day, 2);
    default:
        return std::string(piece.text);
    }
}

std::string Fraction_Piece(const Split_Seconds& seconds, std::size_t width)
{
    std::string digits = Digits(seconds.fraction, seconds.digits);
    digits.resize(width, '0');
    return digits;
}

std::string Time_Piece(const Template_Piece& piece, const Clock_Time& time,
                       const Split_Seconds& seconds)
{
    switch (piece.field) {
    case Field::Hour:
        return Digits(time.hour, 2);
    case Field::Minute:
        return Digits(time.minute, 2);
    case Field::Second:
        return Digits(seconds.whole, 2);
    case Field::Fraction:
        return Fraction_Piece(seconds, piece.text.size());
    default:
        return std::string(piece.text);
    }
}

/** Strings the texts of a template's pieces together. */
template <class Write>
std::optional<std::string> Format(std::string_view pieces, std::span<const Field_Name> fields,
                                  Write write)
{
    if (pieces.empty()) {
        return std::nullopt;
    }
    std::string text;
    while (!pieces.empty()) {
        const Template_Piece piece = Take_Piece(pieces, fields);
        if (piece.field == Field::Faulty) {
            return std::nullopt;
        }
        text += write(piece);
    }
    return text;
}

}  // namespace

std::optional<Calendar_Date> Checked_Date(int year, int month, int day)
{
    constexpr int Days[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (year < 1 || year > 9999 || month < 1 || month > 12 || day < 1 || day > Days[month - 1]) {
        return std::nullopt;
    }
    const bool leap_year = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    if (month == 2 && day == 29 && !leap_year) {
        return std::nullopt;
    }
    return Calendar_Date{static_cast<unsigned short>(year), static_cast<unsigned short>(month),
                         static_cast<unsigned short>(day)};
}

std::optional<Clock_Time> Checked_Time(int hour, int minute, float seconds)
{
    const bool seconds_exist = seconds >= 0 && seconds < 61;  // false for NaN
    if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || !seconds_exist) {
        return std::nullopt;
    }
    return Clock_Time{static_cast<unsigned short>(hour), static_cast<unsigned short>(minute),
                      seconds};
}

std::optional<int> Take_Month_Name(std::string_view& text)
{
    for (std::size_t i = 0; i < Month_Names.size(); ++i) {
        const std::string_view name = Month_Names[i];
        const auto end = std::mismatch(name.begin(), name.end(), text.begin(), text.end(),
                                       [](char a, char b) { return Lower(a) == Lower(b); });
        const auto size = static_cast<std::size_t>(end.first - name.begin());
        if (size >= 3) {
            text.remove_prefix(size == name.size() ? size : 3);
            return static_cast<int>(i) + 1;
        }
    }
    return std::nullopt;
}

std::optional<int> Take_Number(std::string_view& text, std::size_t digits)
{
    const std::string_view taken = Take_Digits(text, digits);
    if (taken.size() != digits) {
        return std::nullopt;
    }
    int number = 0;
    for (const char digit : taken) {
        number = number * 10 + (digit - '0');
    }
    return number;
}

std::optional<Calendar_Date> Parse_Date(std::string_view text, std::string_view date_template)
{
    Date_Parts parts;
    while (!date_template.empty()) {
        if (!Take_Date_Piece(Take_Piece(date_template, Date_Fields), text, parts)) {
            return std::nullopt;
        }
    }
    if (!text.empty() || !parts.year || !parts.month || !parts.day) {
        return std::nullopt;
    }
    return Checked_Date(*parts.year, *parts.month, *parts.day);
}

std::optional<Clock_Time> Parse_Time(std::string_view text, std::string_view time_template)
{
    Time_Parts parts;
    bool may_end = false;
    while (!time_template.empty() && !(may_end && text.empty())) {
        const Template_Piece piece = Take_Piece(time_template, Time_Fields);
        if (!Take_Time_Piece(piece, text, parts)) {
            return std::nullopt;
        }
        may_end = piece.field != Field::Literal;
    }
    if (!text.empty() || !parts.Are_Complete()) {
        return std::nullopt;
    }
    const float seconds = Joined_Seconds(parts.second.value_or(0), parts.fraction.value_or(0));
    return Checked_Time(*parts.hour, parts.minute.value_or(0), seconds);
}

std::optional<std::string> Format_Date(const Calendar_Date& date, std::string_view date_template)
{
    return Format(date_template, Date_Fields,
                  [&date](const Template_Piece& piece) { return Date_Piece(piece, date); });
}

std::optional<std::string> Format_Time(const Clock_Time& time, std::string_view time_template)
{
    const Split_Seconds seconds = Split(time.seconds, Decimals(time_template));
    return Format(time_template, Time_Fields, [&time, &seconds](const Template_Piece& piece) {
        return Time_Piece(piece, time, seconds);
    });
}

}  // namespace lib_dicom
