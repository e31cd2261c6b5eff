// What a data set says of instances in other files.
#ifndef LIB_MEND_STUDY_REFERENCES_H
#define LIB_MEND_STUDY_REFERENCES_H

#include "mend/consistency/study.h"

namespace lib_mend {

/** Adds the instances that a data set refers to, anywhere, to what is compared of it. */
void Gather_References(const Data_Set& set, Study_Facts& facts);

}  // namespace lib_mend

#endif
