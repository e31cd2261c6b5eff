// The number of values that the registry allows (PS3.6 section 6).
#ifndef LIB_MEND_MULTIPLICITY_H
#define LIB_MEND_MULTIPLICITY_H

#include "mend/reading/data_set.h"

namespace lib_mend {

/** Tells whether an element may have so many values. No value is always allowed here. */
bool Fits_Multiplicity(const DICOM_List& record, std::size_t count);

/** What is wrong with a number of values, as a clause for a finding. */
std::string Multiplicity_Text(const DICOM_List& record, std::size_t count);

}  // namespace lib_mend

#endif
