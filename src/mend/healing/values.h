// The healing of all values of a data set.
#ifndef LIB_MEND_VALUES_H
#define LIB_MEND_VALUES_H

#include "mend/healing/character_set.h"
#include "mend/interface/options.h"
#include "mend/reading/data_set.h"

namespace lib_mend {

/** Heals the values of a list and of all items below, and reports what was wrong with them. */
void Heal_Values(Data_Set& set, Record_List& list, const Heal_Options& options, Findings& findings);

/** Heals the value of one element under the VR that it has. */
void Heal_Value_Of(const Data_Set& set, DICOM_List& record, const Path& way,
                   const Character_Set& characters, const Heal_Options& options,
                   Findings& findings);

}  // namespace lib_mend

#endif
