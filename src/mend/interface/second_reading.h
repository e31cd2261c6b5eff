// What a second reading of a damaged file makes of the elements that the first one found.
#ifndef LIB_MEND_SECOND_READING_H
#define LIB_MEND_SECOND_READING_H

#include "mend/reading/data_set.h"

namespace lib_mend {

/**
 * Says which elements of a data set another reading of it has not, or has with another value, where no
 * finding has said so.
 */
void Report_Differences(const Data_Set& before, const Data_Set& after, Findings& findings);

}  // namespace lib_mend

#endif
