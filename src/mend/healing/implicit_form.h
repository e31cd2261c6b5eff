// Bytes that implicit VR cannot carry: without a VR, readers take them for the items of a sequence, or
// for a group length.
#ifndef LIB_MEND_IMPLICIT_FORM_H
#define LIB_MEND_IMPLICIT_FORM_H

#include "mend/reading/data_set.h"

#include <string>

namespace lib_mend {

/** First element whose bytes would be taken for others in implicit VR; null when there is none. */
DICOM_List* Find_Unfit_For_Implicit(const Data_Set& set, Path& way);

/** What the bytes of such an element would be taken for, as words of a finding. */
std::string Mistaken_For(const DICOM_List& unfit);

/** Says that a data set in implicit VR has to be written in explicit VR, and why. */
void Check_Implicit_Form(const Data_Set& set, Findings& findings);

}  // namespace lib_mend

#endif
