// Which values a report may quote: none that may identify a person (PS3.15 annex E).
#ifndef LIB_MEND_PRIVACY_H
#define LIB_MEND_PRIVACY_H

#include "mend/findings/findings.h"

#include <string_view>

namespace lib_mend {

/**
 * Tells whether a value of an attribute identifies nobody: outside the groups on patients, visits and
 * requests a number where the VR holds numbers, a tag, a UID of the registry, or a term that the
 * standard lists for the attribute. Free text that merely stands where a code should be is none of
 * these, and values of private elements may be anything.
 *
 * @param value  without padding; several are separated by backslashes, each has to be harmless
 */
bool Is_Harmless(Tag tag, unsigned short vr, std::string_view value);

}  // namespace lib_mend

#endif
