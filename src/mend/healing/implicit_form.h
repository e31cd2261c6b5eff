// Bytes that implicit VR cannot carry: without a VR, readers take them for the items of a sequence.
#ifndef LIB_MEND_IMPLICIT_FORM_H
#define LIB_MEND_IMPLICIT_FORM_H

#include "mend/reading/data_set.h"

namespace lib_mend {

/** First element whose bytes would be taken for items in implicit VR; null when there is none. */
DICOM_List* Find_Unfit_For_Implicit(const Data_Set& set, Path& way);

/** Says that a data set in implicit VR has to be written in explicit VR, and why. */
void Check_Implicit_Form(const Data_Set& set, Findings& findings);

}  // namespace lib_mend

#endif
