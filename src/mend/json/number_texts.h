// Numbers of the stream as numbers of JSON, and back.
#ifndef LIB_MEND_NUMBER_TEXTS_H
#define LIB_MEND_NUMBER_TEXTS_H

#include "mend/io/source.h"
#include "mend/json/value_forms.h"

#include <span>
#include <string>
#include <string_view>

namespace lib_mend {

/**
 * A number in little endian as JSON: the shortest form from which the same number comes back. What
 * JSON has no number for is a string.
 */
std::string JSON_Number(const JSON_Form& form, std::span<const unsigned char> bytes);

/** A NaN that the string "NaN" does not stand for. */
bool Is_Special_NaN(std::span<const unsigned char> bytes);

/**
 * Tells whether a value of IS or DS is a number of JSON that any program writes in the same way when
 * it has read it as an integer or a double.
 */
bool Is_Exact_JSON_Number(std::string_view text, unsigned short vr);

/**
 * Appends the number of a text in little endian; false when it is none, or none of the VR.
 *
 * @param is_string  the text stood in quotes
 */
bool Append_Number(const JSON_Form& form, std::string_view text, bool is_string, Bytes& out);

}  // namespace lib_mend

#endif
