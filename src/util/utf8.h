// UTF-8 by hand: the C library's conversions depend on the process's locale.
#ifndef LIB_UTIL_SRC_UTIL_UTF8_H
#define LIB_UTIL_SRC_UTIL_UTF8_H

#include "utf8_decoding.h"

#include <string>
#include <string_view>

namespace lib_util {

/** Appends a character; what is no Unicode character becomes U+FFFD. */
void Append_Utf8(std::string& text, char32_t code);

/** Bytes that are no UTF-8 stand in wide text as lone surrogates. */
constexpr char32_t Wide_Byte(unsigned char byte)
{
    return 0xDC00U + byte;
}
constexpr bool Is_Wide_Byte(char32_t code)
{
    return code >= 0xDC80 && code <= 0xDCFF;
}
/** The character that is shown for a byte that is no UTF-8: that of ISO 8859-1. */
constexpr char32_t Shown_Character(char32_t code)
{
    return Is_Wide_Byte(code) ? code & 0xFFU : code;
}

/**
 * Next character of a wide text, and moves `text` behind it. A surrogate pair is one character,
 * also where wchar_t is wide enough for either form.
 */
char32_t Take_Wide(std::wstring_view& text);

}  // namespace lib_util

#endif
