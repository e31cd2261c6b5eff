// Strings of JSON, from the bytes of files and file names.
#ifndef LIB_MEND_JSON_TEXT_H
#define LIB_MEND_JSON_TEXT_H

#include <string>
#include <string_view>

namespace lib_mend {

/** A file name as it is. Bytes that are no UTF-8, which JSON cannot hold, become U+FFFD. */
std::string JSON_Name(std::string_view name);

/** A text of a file. Bytes that are no UTF-8 are shown as \xHH, as on a terminal. */
std::string JSON_Text(std::string_view text);

}  // namespace lib_mend

#endif
