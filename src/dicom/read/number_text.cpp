#include "read/number_text.h"

#include <algorithm>
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
    return _strtod_l(text, nullptr, locale);
#else
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtod_l(text, nullptr, locale);
#endif
}

}  // namespace lib_dicom
