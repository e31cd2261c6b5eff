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

/** Tells whether the codes in items of a sequence may stand for a person, or say something of one. */
bool Is_About_Person(Tag sequence);

/**
 * Tells whether a report may say that an attribute has the value that a rule compares it with: one that
 * is harmless, outside the groups on patients, visits and requests any code and tag too, since a rule
 * knows it, and in all but that on patients a term that the standard lists.
 */
bool Is_Harmless_Match(Tag tag, std::string_view text);

/** The same for a text that it does not have, such as each of those that are allowed. */
bool Is_Harmless_Choice(Tag tag, std::string_view text);

}  // namespace lib_mend

#endif
