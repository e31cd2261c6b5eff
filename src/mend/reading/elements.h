// Reading the elements of a source, with everything that is wrong with their structure.
#ifndef LIB_MEND_ELEMENTS_H
#define LIB_MEND_ELEMENTS_H

#include "mend/io/deflate.h"
#include "mend/reading/data_set.h"

namespace lib_mend {

/**
 * Reads the elements of the data set from a position of `set.source` to its end, into `set.records`
 * and `set.skipped`. Values above 1024 bytes stay in the source. Throws
 * std::bad_alloc.
 *
 * @param mode    the byte-order code of the elements; items and elements in another one are found
 * @param budget  what the elements may cost; reading stops when it is spent
 */
void Read_Elements(Data_Set& set, std::int64_t start, unsigned char mode, Findings& findings,
                   const Memory_Budget& budget = {});

}  // namespace lib_mend

#endif
