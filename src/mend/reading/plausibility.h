// Whether a header makes sense where it stands.
#ifndef LIB_MEND_PLAUSIBILITY_H
#define LIB_MEND_PLAUSIBILITY_H

#include "mend/reading/level.h"

namespace lib_mend {

enum class Grade : unsigned char {
    Impossible,
    /** All but the length makes sense. */
    Length_Impossible,
    /** The tag makes sense, the VR does not exist. */
    VR_Impossible,
    /** It may be: of unknown tag, out of order, of a VR that is not the registry's, of odd length. */
    Doubtful,
    Sound
};

/** True for a VR that the entry allows, and for UN. */
bool Allows(const TAG_db_Elems& entry, unsigned short vr);

/** What a VR that does not exist should be: its letters as capitals, that of the entry, or UN. */
unsigned short Meant_VR(unsigned short vr, const TAG_db_Elems* entry);

/** True when the element is a sequence or encapsulated, by its VR, its length or the dictionary. */
bool Has_Nested_Content(const Element_Header& header, const TAG_db_Elems* entry);

/**
 * Judges the header of a data element in a list. Group FFFE is never an element.
 *
 * @param at  position of the header
 */
Grade Judge(const Element_Header& header, std::int64_t at, const Level_View& list);

}  // namespace lib_mend

#endif
