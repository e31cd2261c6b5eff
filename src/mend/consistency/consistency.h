// Whether the parts of a data set agree with each other.
#ifndef LIB_MEND_CONSISTENCY_H
#define LIB_MEND_CONSISTENCY_H

#include "mend/consistency/watched.h"

namespace lib_mend {

/**
 * Reports references that lead nowhere, numbers that count something else, UIDs that identify two things
 * and dates in the wrong order. Nothing is changed: which side of a contradiction is right, no one but
 * the user knows. Throws std::bad_alloc.
 */
void Check_Consistency(const Data_Set& set, Findings& findings);

/** The same for what was watched of a data set that is in order. */
void Check_Watched(Subject_Set& subject, Findings& findings);

}  // namespace lib_mend

#endif
