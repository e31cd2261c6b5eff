// Whether the parts of a data set agree with each other.
#ifndef LIB_MEND_CONSISTENCY_H
#define LIB_MEND_CONSISTENCY_H

#include "mend/reading/data_set.h"

namespace lib_mend {

/**
 * Reports references that lead nowhere, numbers that count something else, UIDs that identify two things
 * and dates in the wrong order. Nothing is changed: which side of a contradiction is right, no one but
 * the user knows. Throws std::bad_alloc.
 */
void Check_Consistency(const Data_Set& set, Findings& findings);

}  // namespace lib_mend

#endif
