// Letters of UTF-8 taken from bytes. All libraries include this; none of them exports it.
#ifndef LIB_UTIL_SRC_UTIL_UTF8_DECODING_H
#define LIB_UTIL_SRC_UTIL_UTF8_DECODING_H

#include <cstddef>
#include <string_view>

namespace lib_util {

struct Utf8_Char {
    char32_t code;
    /** Number of bytes, 0 when the text does not begin with a well-formed character. */
    std::size_t size;
};

/** Neither half of a pair of UTF-16, nor beyond the last plane. */
constexpr bool Is_Character(char32_t code)
{
    return code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
}

/** The first character of a text; overlong forms, surrogates and cut characters are refused. */
constexpr Utf8_Char Decode_Utf8(std::string_view text)
{
    constexpr Utf8_Char None = {0, 0};
    if (text.empty()) {
        return None;
    }
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80) {
        return {lead, 1};
    }
    // What would lead a form longer than needed, or a code beyond the last plane, leads none.
    const std::size_t size = lead < 0xC2   ? 0
                             : lead < 0xE0 ? 2
                             : lead < 0xF0 ? 3
                             : lead < 0xF5 ? 4
                                           : 0;
    if (size == 0 || size > text.size()) {
        return None;
    }
    char32_t code = lead & (0x7FU >> size);
    for (std::size_t i = 1; i < size; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xC0U) != 0x80U) {
            return None;
        }
        code = code << 6 | (byte & 0x3FU);
    }
    constexpr char32_t Smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    return code >= Smallest[size] && Is_Character(code) ? Utf8_Char{code, size} : None;
}

/** The whole of a text is UTF-8. */
constexpr bool Is_Utf8(std::string_view text)
{
    while (!text.empty()) {
        const std::size_t size = Decode_Utf8(text).size;
        if (size == 0) {
            return false;
        }
        text.remove_prefix(size);
    }
    return true;
}

}  // namespace lib_util

#endif
