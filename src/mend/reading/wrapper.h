// What may stand around a whole file.
#ifndef LIB_MEND_WRAPPER_H
#define LIB_MEND_WRAPPER_H

#include "mend/io/deflate.h"
#include "mend/reading/data_set.h"

namespace lib_mend {

/**
 * Takes a file out of its wrapper: `set.source` becomes what is inside. The places of all findings are
 * then those inside. Throws Spool_Failure.
 *
 * @param budget  receives the limit of what was unpacked
 */
void Unwrap(Data_Set& set, const Spool_Limits& limits, Memory_Budget& budget, Findings& findings);

}  // namespace lib_mend

#endif
