// Coded entries that name their context group (PS3.3 section 8.6), against the tables of definition files.
#ifndef LIB_MEND_CODED_ENTRIES_H
#define LIB_MEND_CODED_ENTRIES_H

#include "mend/reading/data_set.h"

namespace lib_mend {

/**
 * Reports codes that are not in the context group which their entry names, and that are not said to
 * extend it. Groups that the definition files do not have are not judged.
 */
void Check_Coded_Entries(const Data_Set& set, Findings& findings);

}  // namespace lib_mend

#endif
