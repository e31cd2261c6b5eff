// The check of a whole file: what mending would find, without mending it.
#ifndef LIB_MEND_CHECK_H
#define LIB_MEND_CHECK_H

#include "mend/reading/data_set.h"

namespace lib_mend {

/**
 * Examines a data set that was read: VRs, values, order, groups, pixel data and group 0002. Values
 * stay as they are; records that occur twice and group lengths leave the lists.
 */
void Check(Data_Set& set, Findings& findings);

}  // namespace lib_mend

#endif
