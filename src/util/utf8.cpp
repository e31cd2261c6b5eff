#include "utf8.h"

#include <type_traits>

namespace lib_util {

namespace {

constexpr char32_t Replacement = 0xFFFD;
constexpr char32_t Last_Code = 0x10FFFF;

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

/** Size of the character that a lead byte announces, 0 for a byte that leads none. */
constexpr std::size_t Announced_Size(unsigned char lead)
{
    return lead < 0x80   ? 1
           : lead < 0xC0 ? 0
           : lead < 0xE0 ? 2
           : lead < 0xF0 ? 3
           : lead < 0xF8 ? 4
                         : 0;
}

constexpr char32_t Unit(wchar_t unit)
{
    return static_cast<char32_t>(static_cast<std::make_unsigned_t<wchar_t>>(unit));
}

}  // namespace

bool Is_Character(char32_t code)
{
    return code <= Last_Code && !Is_High_Surrogate(code) && !Is_Low_Surrogate(code);
}

Utf8_Char Decode_Utf8(std::string_view text)
{
    constexpr Utf8_Char none = {0, 0};
    if (text.empty()) {
        return none;
    }
    const auto lead = static_cast<unsigned char>(text[0]);
    const std::size_t size = Announced_Size(lead);
    if (size == 0 || size > text.size()) {
        return none;
    }
    if (size == 1) {
        return {lead, 1};
    }
    char32_t code = lead & (0x7FU >> size);
    for (const char part : text.substr(1, size - 1)) {
        const auto byte = static_cast<unsigned char>(part);
        if ((byte & 0xC0U) != 0x80U) {
            return none;
        }
        code = code << 6 | (byte & 0x3FU);
    }
    return Is_Character(code) && Utf8_Size(code) == size ? Utf8_Char{code, size} : none;
}

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
