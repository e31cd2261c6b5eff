// The reading loop: from the bytes of a file to a nested data set.
#ifndef LIB_MEND_READER_H
#define LIB_MEND_READER_H

#include "mend/io/spool.h"
#include "mend/reading/data_set.h"

#include <memory>

namespace lib_mend {

/**
 * Reads a file: finds preamble and group 0002, settles the transfer syntax, reads all elements and
 * nests them. A fault ends the reading at its place; what precedes it is kept. Values above 1024
 * bytes stay in the source. Throws std::bad_alloc.
 *
 * @param findings  receives what is wrong; a Library_Session has to direct messages there
 * @param limits    how what has to be unpacked is kept
 */
Data_Set Read_Data_Set(const std::shared_ptr<Source>& file, Findings& findings,
                       const Spool_Limits& limits = {});

/** Brings the transfer syntax in line with the form in which the pixel data really stands. */
void Settle_Pixel_Syntax(Data_Set& set, Findings& findings);

}  // namespace lib_mend

#endif
