#include "definitions/text_form.h"

#include "util/older_libraries.h"

#include <Lib_DICOM/frame.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>

namespace lib_dicom {

namespace {

bool Are_Digits(std::string_view text)
{
    return text.find_first_not_of("0123456789") == text.npos;
}

/** Takes digits off the front of a text, as many as asked for; -1 when it has less. */
int Take_Number(std::string_view& text, std::size_t digits)
{
    int number = -1;
    if (text.size() >= digits && Are_Digits(text.substr(0, digits))) {
        std::from_chars(text.data(), text.data() + digits, number);
        text.remove_prefix(digits);
    }
    return number;
}

/** A point and one to six digits, or nothing. */
bool Is_Fraction(std::string_view text)
{
    constexpr std::size_t Longest = 7;
    return text.empty() || (text.front() == '.' && text.size() > 1 && text.size() <= Longest &&
                            Are_Digits(text.substr(1)));
}

bool Is_Clock(std::string_view text)
{
    // A second may be a leap second.
    constexpr int Last[] = {23, 59, 60};
    std::size_t taken = 0;
    for (; taken < std::size(Last) && !text.empty() && text.front() != '.'; ++taken) {
        const int number = Take_Number(text, 2);
        if (number < 0 || number > Last[taken]) {
            return false;
        }
    }
    return taken > 0 && (text.empty() || (taken == std::size(Last) && Is_Fraction(text)));
}

int Days_In(int year, int month)
{
    constexpr std::array Days = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool is_leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month == 2 && is_leap ? 29 : Days[static_cast<std::size_t>(month - 1)];
}

/** Takes a day off the front, or where it may be short a month or a year. */
bool Take_Day(std::string_view& text, bool may_be_short)
{
    const int year = Take_Number(text, 4);
    if (year <= 0 || (may_be_short && text.empty())) {
        return year > 0;
    }
    const int month = Take_Number(text, 2);
    if (month < 1 || month > 12 || (may_be_short && text.empty())) {
        return month >= 1 && month <= 12;
    }
    const int day = Take_Number(text, 2);
    return day >= 1 && day <= Days_In(year, month);
}

bool Is_Age(std::string_view text)
{
    return text.size() == 4 && Are_Digits(text.substr(0, 3)) &&
           std::string_view("DWMY").find(text[3]) != std::string_view::npos;
}

bool Is_Day(std::string_view text)
{
    return Take_Day(text, false) && text.empty();
}

bool Is_Moment(std::string_view text)
{
    // &ZZXX, from -1200 to +1400.
    const std::size_t sign = std::min(text.find_first_of("+-"), text.size());
    if (std::string_view zone = text.substr(sign); !zone.empty()) {
        const bool is_east = zone.front() == '+';
        zone.remove_prefix(1);
        const int number = zone.size() == 4 ? Take_Number(zone, 4) : -1;
        if (number < 0 || number % 100 > 59 || number > (is_east ? 1400 : 1200)) {
            return false;
        }
    }
    text = text.substr(0, sign);
    return Take_Day(text, true) && (text.empty() || Is_Clock(text));
}

bool Is_UID(std::string_view text)
{
    while (true) {
        const std::size_t end = std::min(text.find('.'), text.size());
        const std::string_view number = text.substr(0, end);
        if (number.empty() || !Are_Digits(number) || (number.size() > 1 && number[0] == '0')) {
            return false;
        }
        if (end == text.size()) {
            return true;
        }
        text.remove_prefix(end + 1);
    }
}

template <class Number>
bool Is_Number(std::string_view text)
{
    if (text.starts_with('+') && !text.starts_with("+-")) {
        text.remove_prefix(1);
    }
    Number number = {};
    const char* const end = text.data() + text.size();
    const auto result = lib_util::from_chars(text.data(), end, number);
    return result.ec == std::errc() && result.ptr == end;
}

struct Form {
    unsigned short vr;
    bool (*has)(std::string_view text);
    const char* expected;
};

constexpr Form Forms[] = {
    {VR_AS, Is_Age, "three digits and one of D, W, M and Y"},
    {VR_DA, Is_Day, "a day YYYYMMDD that there is"},
    {VR_DS, Is_Number<double>, "a decimal number within its range"},
    {VR_DT, Is_Moment, "a time YYYYMMDDHHMMSS.FFFFFF&ZZXX that there is"},
    {VR_IS, Is_Number<std::int32_t>, "a whole number within its range"},
    {VR_TM, Is_Clock, "a time HHMMSS.FFFFFF that there is"},
    {VR_UI, Is_UID, "made of numbers without leading zeros between points"},
};

}  // namespace

const char* Missed_Form(unsigned short vr, std::string_view text)
{
    const auto* const form = std::find_if(std::begin(Forms), std::end(Forms),
                                          [=](const Form& each) { return each.vr == vr; });
    return form != std::end(Forms) && !form->has(text) ? form->expected : nullptr;
}

}  // namespace lib_dicom
