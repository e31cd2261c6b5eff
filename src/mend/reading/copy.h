// Copies of data sets, which share the source.
#ifndef LIB_MEND_COPY_H
#define LIB_MEND_COPY_H

#include "mend/reading/data_set.h"

namespace lib_mend {

/**
 * A copy of a list with all items below. Values that are in memory are copied, those that were left
 * in the source are left there. Throws std::bad_alloc.
 */
Record_List Copy_Of(const DICOM_List* list);

/** A copy of a data set, to be healed and written by itself. Throws std::bad_alloc. */
Data_Set Copy_Of(const Data_Set& set);

}  // namespace lib_mend

#endif
