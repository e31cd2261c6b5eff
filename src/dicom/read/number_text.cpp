#include "read/number_text.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>
#include <locale.h>
#include <stdlib.h>

namespace lib_dicom {

int Parse_Integer(const char* text)
{
    constexpr std::int64_t Largest = std::numeric_limits<int>::max();
    constexpr std::int64_t Smallest = std::numeric_limits<int>::min();
    text += std::strspn(text, " \t\n\v\f\r");
    const bool is_negative = *text == '-';
    text += is_negative || *text == '+' ? 1 : 0;
    std::int64_t number = 0;
    for (; *text >= '0' && *text <= '9'; ++text) {
        number = std::min(number * 10 + (*text - '0'), -Smallest);
    }
    return static_cast<int>(is_negative ? -number : std::min(number, Largest));
}

double Parse_Double(const char* text)
{
#if defined(_WIN32)
    static const _locale_t locale = _create_locale(LC_ALL, "C");
    const char* const begin = text + std::strspn(text, " \t\n\v\f\r");
    const char* const digits = begin + (*begin == '-' || *begin == '+' ? 1 : 0);
    if (digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) {
        // The runtime library of Windows does not know them.
        double number = 0;
        std::from_chars(digits + 2, digits + std::strlen(digits), number, std::chars_format::hex);
        return *begin == '-' ? -number : number;
    }
    return _strtod_l(text, nullptr, locale);
#else
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtod_l(text, nullptr, locale);
#endif
}

}  // namespace lib_dicom
