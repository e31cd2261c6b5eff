#include "utf8.h"

#include <type_traits>

namespace lib_util {

namespace {

constexpr char32_t Replacement = 0xFFFD;

constexpr bool Is_High_Surrogate(char32_t code)
{
    return code >= 0xD800 && code <= 0xDBFF;
}

constexpr bool Is_Low_Surrogate(char32_t code)
{
    return code >= 0xDC00 && code <= 0xDFFF;
}

constexpr std::size_t Utf8_Size(char32_t code)
{
    return code < 0x80 ? 1 : code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
}

constexpr char32_t Unit(wchar_t unit)
{
    return static_cast<char32_t>(static_cast<std::make_unsigned_t<wchar_t>>(unit));
}

}  // namespace

void Append_Utf8(std::string& text, char32_t code)
{
    if (!Is_Character(code)) {
        code = Replacement;
    }
    const std::size_t size = Utf8_Size(code);
    if (size == 1) {
        text += static_cast<char>(code);
        return;
    }
    std::size_t shift = 6 * (size - 1);
    text += static_cast<char>((0xF00U >> size & 0xFFU) | code >> shift);
    while (shift > 0) {
        shift -= 6;
        text += static_cast<char>(0x80U | (code >> shift & 0x3FU));
    }
}

char32_t Take_Wide(std::wstring_view& text)
{
    const char32_t first = Unit(text[0]);
    if (Is_High_Surrogate(first) && text.size() > 1 && Is_Low_Surrogate(Unit(text[1]))) {
        const char32_t code = 0x10000 + ((first - 0xD800) << 10) + (Unit(text[1]) - 0xDC00);
        text.remove_prefix(2);
        return code;
    }
    text.remove_prefix(1);
    return first;
}

}  // namespace lib_util
