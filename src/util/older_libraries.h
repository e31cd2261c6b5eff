// What standard libraries of old lack: std::bit_cast, and numbers with a point from and to characters.
// Where they have it, it is theirs. Emscripten of Debian 12 and Xcode before 16 need what stands here.
#ifndef LIB_UTIL_SRC_UTIL_OLDER_LIBRARIES_H
#define LIB_UTIL_SRC_UTIL_OLDER_LIBRARIES_H

#include <algorithm>
#include <bit>
#include <cctype>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace lib_util {

/** By snprintf and strtod, which C demands to be exact; here always, so that it can be compared. */
namespace by_hand {

/** Replaces one point by another: that of the process's locale comes and goes. */
inline void Exchange_Point(std::string& text, std::string_view from, std::string_view to)
{
    const std::size_t at = text.find(from);
    if (at != text.npos) {
        text.replace(at, from.size(), to);
    }
}

template <class Real>
Real Parsed(std::string text)
{
    Exchange_Point(text, ".", std::localeconv()->decimal_point);
    if constexpr (std::is_same_v<Real, float>) {
        return std::strtof(text.c_str(), nullptr);
    } else {
        return std::strtod(text.c_str(), nullptr);
    }
}

inline std::string Printed(const char* format, int precision, double number)
{
    std::string text(
        static_cast<std::size_t>(std::max(std::snprintf(nullptr, 0, format, precision, number), 0)),
        '\0');
    std::snprintf(text.data(), text.size() + 1, format, precision, number);
    Exchange_Point(text, std::localeconv()->decimal_point, ".");
    return text;
}

inline std::to_chars_result Handed_Out(const std::string& text, char* first, char* last)
{
    if (last - first < static_cast<std::ptrdiff_t>(text.size())) {
        return {last, std::errc::value_too_large};
    }
    return {std::copy(text.begin(), text.end(), first), std::errc()};
}

inline const char* Behind_Digits(const char* at, const char* last)
{
    return std::find_if(at, last, [](char c) { return c < '0' || c > '9'; });
}

/** The end of "inf", "nan" and their longer forms at a place; the place itself when there is none. */
inline const char* Behind_Name(const char* at, const char* last)
{
    for (const std::string_view name : {"infinity", "inf", "nan"}) {
        const bool is_there = last - at >= static_cast<std::ptrdiff_t>(name.size()) &&
                              std::equal(name.begin(), name.end(), at,
                                         [](char a, char b) { return a == (b | 0x20); });
        if (!is_there) {
            continue;
        }
        at += name.size();
        const char* const close =
            name == "nan" && at != last && *at == '('
                ? std::find_if(at + 1, last,
                               [](char c) {
                                   return c != '_' && !std::isalnum(static_cast<unsigned char>(c));
                               })
                : last;
        return close != last && *close == ')' ? close + 1 : at;
    }
    return at;
}

template <class Real>
std::from_chars_result From_Chars(const char* first, const char* last, Real& value)
{
    const char* const start = first != last && *first == '-' ? first + 1 : first;
    const char* end = Behind_Digits(start, last);
    std::ptrdiff_t digits = end - start;
    if (end != last && *end == '.') {
        const char* const fraction = end + 1;
        end = Behind_Digits(fraction, last);
        digits += end - fraction;
    }
    if (digits == 0) {
        end = Behind_Name(start, last);
        if (end == start) {
            return {first, std::errc::invalid_argument};
        }
        value = Parsed<Real>({first, end});
        return {end, std::errc()};
    }
    const bool is_zero = std::all_of(start, end, [](char c) { return c == '0' || c == '.'; });
    if (end != last && (*end | 0x20) == 'e') {
        const char* const sign = end + 1;
        const char* const power = sign != last && (*sign == '+' || *sign == '-') ? sign + 1 : sign;
        const char* const behind = Behind_Digits(power, last);
        end = behind != power ? behind : end;
    }
    const Real number = Parsed<Real>({first, end});
    if (std::isinf(number) || (number == 0 && !is_zero)) {
        return {end, std::errc::result_out_of_range};
    }
    value = number;
    return {end, std::errc()};
}

/** A positive number as its digits without a point, and the power of ten of the first. */
struct Decimal {
    std::string digits;
    int exponent = 0;

    explicit Decimal(const std::string& scientific)
    {
        const std::size_t mark = scientific.find('e');
        digits = scientific.substr(0, mark);
        digits.erase(std::remove(digits.begin(), digits.end(), '.'), digits.end());
        exponent = std::atoi(scientific.c_str() + mark + 1);
    }
    /** Adds one to the last digit. */
    void Step_Up()
    {
        std::size_t at = digits.size();
        while (at > 0 && digits[at - 1] == '9') {
            digits[--at] = '0';
        }
        if (at > 0) {
            ++digits[at - 1];
        } else {
            digits.insert(0, 1, '1');
            digits.pop_back();
            ++exponent;
        }
    }
    std::string Scientific() const
    {
        const int power = std::abs(exponent);
        return digits.substr(0, 1) + (digits.size() > 1 ? "." + digits.substr(1) : "") +
               (exponent < 0 ? "e-" : "e+") + (power < 10 ? "0" : "") + std::to_string(power);
    }
    std::string Fixed(double number) const
    {
        const int whole = exponent + 1;
        if (whole <= 0) {
            return "0." + std::string(static_cast<std::size_t>(-whole), '0') + digits;
        }
        if (whole >= static_cast<int>(digits.size())) {
            return Printed("%.*f", 0, number);
        }
        return std::string(digits).insert(static_cast<std::size_t>(whole), 1, '.');
    }
};

/** The fewest digits that give a positive number back; of as few, those that are nearest to it. */
template <class Real>
Decimal Shortest(Real number)
{
    int power = 0;
    // Below a power of two numbers lie closer, so that the nearest digits may be too low, and the next ones fit.
    const bool is_uneven = std::frexp(number, &power) == Real{0.5};
    for (int precision = 0;; ++precision) {
        Decimal decimal(Printed("%.*e", precision, static_cast<double>(number)));
        const bool is_last = precision + 1 >= std::numeric_limits<Real>::max_digits10;
        if (is_last || Parsed<Real>(decimal.Scientific()) == number) {
            return decimal;
        }
        decimal.Step_Up();
        if (is_uneven && Parsed<Real>(decimal.Scientific()) == number) {
            return decimal;
        }
    }
}

template <class Real>
std::to_chars_result To_Chars(char* first, char* last, Real value)
{
    const std::string sign = std::signbit(value) ? "-" : "";
    const Real number = std::abs(value);
    if (!std::isfinite(value) || number == 0) {
        const char* const name = std::isnan(value) ? "nan" : std::isinf(value) ? "inf" : "0";
        return Handed_Out(sign + name, first, last);
    }
    const Decimal decimal = Shortest(number);
    const std::string scientific = decimal.Scientific();
    // Before it is made, a text of three hundred digits need not be.
    const bool is_far = std::abs(decimal.exponent) > 40;
    const std::string fixed = is_far ? "" : decimal.Fixed(static_cast<double>(number));
    const bool is_fixed = !is_far && fixed.size() <= scientific.size();
    return Handed_Out(sign + (is_fixed ? fixed : scientific), first, last);
}

template <class Real>
std::to_chars_result To_Chars(char* first, char* last, Real value, std::chars_format form,
                              int precision)
{
    const char* const format = form == std::chars_format::fixed        ? "%.*f"
                               : form == std::chars_format::scientific ? "%.*e"
                                                                       : "%.*g";
    return Handed_Out(Printed(format, precision, static_cast<double>(value)), first, last);
}

}  // namespace by_hand

using std::from_chars;
using std::to_chars;

#if defined(__cpp_lib_bit_cast)
using std::bit_cast;
#else
template <class To, class From>
To bit_cast(const From& from)
{
    static_assert(sizeof(To) == sizeof(From) && std::is_trivially_copyable_v<To> &&
                  std::is_trivially_copyable_v<From>);
    To to;
    std::memcpy(&to, &from, sizeof to);
    return to;
}
#endif

#if !defined(__cpp_lib_to_chars)
// A library that has a part of it wins: functions come before templates.
template <class Real>
requires std::is_floating_point_v<Real> std::from_chars_result
from_chars(const char* first, const char* last, Real& value)
{
    return by_hand::From_Chars(first, last, value);
}
template <class Real, class... Form>
requires std::is_floating_point_v<Real> std::to_chars_result to_chars(char* first, char* last,
                                                                      Real value, Form... form)
{
    return by_hand::To_Chars(first, last, value, form...);
}
#endif

}  // namespace lib_util

#endif
