// The check of a whole file: what mending would find, without writing anything.
#ifndef LIB_MEND_CHECK_H
#define LIB_MEND_CHECK_H

#include "mend/interface/options.h"
#include "mend/reading/data_set.h"

namespace lib_mend {

/**
 * Heals a data set that was read, in memory, so that the findings are those of mending: VRs, values,
 * order, groups, pixel data and group 0002.
 */
void Check(Data_Set& set, const Heal_Options& options, Findings& findings);

}  // namespace lib_mend

#endif
