// UIDs for data sets that have none.
#ifndef LIB_MEND_NEW_UID_H
#define LIB_MEND_NEW_UID_H

#include "mend/reading/data_set.h"

#include <string>

namespace lib_mend {

/**
 * A UID of the data set's own (PS3.5 section B.2): the same bytes and purpose give the same one.
 *
 * @param set      keeps the sum of its values, which is made once, however large they are
 * @param purpose  the attribute that it is for
 */
std::string Make_UID(Data_Set& set, Tag purpose);

}  // namespace lib_mend

#endif
