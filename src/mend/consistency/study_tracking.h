// The Tracking UIDs of a file, to be compared with those of others.
#ifndef LIB_MEND_STUDY_TRACKING_H
#define LIB_MEND_STUDY_TRACKING_H

#include "mend/consistency/study.h"

namespace lib_mend {

/** Adds the Tracking UIDs of a data set to its facts. */
void Gather_Trackings(const Data_Set& set, Study_Facts& facts);

}  // namespace lib_mend

#endif
