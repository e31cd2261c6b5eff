// The file meta information, group 0002 (PS3.10 section 7.1).
#ifndef LIB_MEND_FILE_META_H
#define LIB_MEND_FILE_META_H

#include "mend/reading/data_set.h"

#include <string_view>

namespace lib_mend {

/**
 * Completes group 0002 of a data set: version, SOP class and instance of the data set, the transfer
 * syntax, and the implementation where none is named. A UID that was read and differs from the data
 * set's stays. The group length is left to the writer.
 */
void Complete_Meta(Data_Set& set, std::string_view syntax, Findings& findings);

}  // namespace lib_mend

#endif
