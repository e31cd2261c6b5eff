// Tells whether a value is one of its VR.
#ifndef LIB_MEND_CONFORMITY_H
#define LIB_MEND_CONFORMITY_H

#include "mend/healing/character_set.h"

namespace lib_mend {

/** Tells whether a value keeps all rules of a VR (PS3.5 section 6.2) in its character sets. */
bool Conforms(Tag tag, unsigned short vr, const Bytes& value, const Character_Set& characters);

}  // namespace lib_mend

#endif
