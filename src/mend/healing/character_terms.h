// The defined terms of (0008,0005), and what equipment writes for them (PS3.3 section C.12.1.1.2).
#ifndef LIB_MEND_CHARACTER_TERMS_H
#define LIB_MEND_CHARACTER_TERMS_H

#include "mend/healing/repertoires.h"

#include <string>
#include <string_view>

namespace lib_mend {

inline constexpr std::string_view UTF_8_Term = "ISO_IR 192";

/** A value of (0008,0005) and what is to be said of it. */
struct Character_Terms {
    /** The value with its misspelt terms put right; everything else stays byte for byte. */
    std::string value;
    bool respelt = false;
    /** A term is none that the standard lists, and no misspelling of one. */
    bool has_unknown = false;
    /** A set without escape sequences is declared beside others. */
    bool is_crowded = false;
};

Character_Terms Read_Character_Terms(std::string_view value);

/** The set of a value of one term or none; null when it has several, or one that is not known. */
const Repertoire* Single_Repertoire(std::string_view value);

/**
 * Tells whether a text can be declared: defined terms, or misspellings whose meaning is clear,
 * with backslashes between them.
 */
bool Is_Character_Set(std::string_view terms);

}  // namespace lib_mend

#endif
