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
 * What is written of a damaged file is read and mended again, until nothing is found to mend any more:
 * bytes behind damage may make another sense once all that stands around them is in order. The data
 * set is that of the last round then.
 *
 * @return false after an error finding: there is no output
 */
bool Mend(Data_Set& set, const Mend_Options& options, Findings& findings, Encoded_File& out);

/** Tells what cannot be written without harm, which is an error; false then. */
bool Can_Be_Written(const Data_Set& set, Output_Syntax syntax, Findings& findings);

/**
 * Brings a healed data set that was damaged, and is fitted to an encoding, into the form in which mending
 * leaves it: see Mend. What only that shows is reported.
 *
 * @return false when it was in that form
 */
bool Settle_Unwritten(Data_Set& set, const Heal_Options& options, const Encoding& encoding,
                      Findings& findings);

}  // namespace lib_mend

#endif
