// Tells at a glance that a text is in form, as nearly all are, so that it needs no closer look.
#ifndef LIB_MEND_SOUND_VALUES_H
#define LIB_MEND_SOUND_VALUES_H

#include "mend/healing/value.h"

namespace lib_mend {

/**
 * Number of values of a text that is beyond doubt in the form of its VR, padding included; 0 where only
 * the rules of the VR can tell.
 */
std::size_t Count_Sound_Values(const Value& value);

}  // namespace lib_mend

#endif
