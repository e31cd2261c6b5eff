// Message texts from a format and its arguments. The C library's own formatting is not used for
// texts, because it converts them by the process's locale and fails on bytes that are foreign to
// it, and because `%s` in a wide format means another thing on every platform.
#ifndef LIB_UTIL_SRC_UTIL_MESSAGE_FORMAT_H
#define LIB_UTIL_SRC_UTIL_MESSAGE_FORMAT_H

#include <cstdarg>
#include <string>

namespace lib_util {

/**
 * Formats like printf, with the rules for texts of Error_Fct. The precision of a text counts bytes
 * of narrow and characters of wide text, and nothing behind it is read.
 *
 * A conversion that is unknown (and `%n`) ends the formatting: it and the rest of the format are
 * taken literally, since the argument that belongs to it cannot be stepped over.
 */
std::string Format_Message(const char* format, std::va_list arguments);
/** The same in UTF-8 for a wide format, whose markup characters stay single bytes. */
std::string Format_Message(const wchar_t* format, std::va_list arguments);

}  // namespace lib_util

#endif
