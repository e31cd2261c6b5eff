// What a user may ask of mending.
#ifndef LIB_MEND_OPTIONS_H
#define LIB_MEND_OPTIONS_H

#include <string>

namespace lib_mend {

/** Transfer syntax of the output. */
enum class Output_Syntax { Keep, Implicit_Little, Explicit_Little, Explicit_Big };

/** How values and structure are healed. */
struct Heal_Options {
    /** Apply the library's fixed repairs in full: cut, filter, delete. Each loss is an error finding. */
    bool strict = false;
    /** Replace UIDs that are none by ones made from a hash of the old value. */
    bool replace_uids = false;
    /** Fill pixel data that is too short with zeros. */
    bool pad_pixels = false;
    /** Defined terms of the character set that the user knows; empty for those of the file. */
    std::string charset = {};
    /** Convert every text to UTF-8 and declare it. */
    bool to_utf8 = false;
    /** Keep what is changed inside the file (PS3.3 C.12.1.1.9). */
    bool record = false;
    /** The date and time of the mending that is recorded, a value of VR DT; empty for now. */
    std::string record_time = {};
    /** Private elements are left out behind the healing: their texts keep no others from conversion. */
    bool without_private = false;
};

struct Mend_Options {
    Heal_Options heal;
    Output_Syntax syntax = Output_Syntax::Keep;
    /** Leave private elements out. */
    bool drop_private = false;
    /** Put a group length in front of each group. */
    bool group_lengths = false;
    /** Give sequences and items defined lengths. */
    bool defined_lengths = false;
};

}  // namespace lib_mend

#endif
