// The content of structured reports: how content items may relate (PS3.3 section C.17.3).
#ifndef LIB_MEND_CONTENT_ITEMS_H
#define LIB_MEND_CONTENT_ITEMS_H

#include "mend/reading/data_set.h"

namespace lib_mend {

/**
 * Reports relationships between content items that no report may have, at any depth, and those by
 * reference where the class of the report has none.
 */
void Check_Content_Items(const Data_Set& set, Findings& findings);

}  // namespace lib_mend

#endif
