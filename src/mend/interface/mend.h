// The main job: a data set that was read becomes a clean Part 10 file.
#ifndef LIB_MEND_MEND_H
#define LIB_MEND_MEND_H

#include "mend/interface/options.h"
#include "mend/reading/data_set.h"
#include "mend/writing/output.h"

namespace lib_mend {

/**
 * Completes, repairs, sorts and encodes a data set. Everything that changes is reported. Values
 * that lie in the source are read when `out` is. Throws std::bad_alloc.
 *
 * @return false after an error finding: there is no output
 */
bool Mend(Data_Set& set, const Mend_Options& options, Findings& findings, Encoded_File& out);

}  // namespace lib_mend

#endif
