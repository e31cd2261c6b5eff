// Private elements and the creators that reserve their blocks.
#ifndef LIB_MEND_CREATORS_H
#define LIB_MEND_CREATORS_H

#include "mend/reading/data_set.h"

namespace lib_mend {

/** Finds private elements that nobody reserved a block for (PS3.5 section 7.8.1). They stay. */
void Check_Creators(DICOM_List** list, Findings& findings);

}  // namespace lib_mend

#endif
