// The reading loop: from the bytes of a file to a nested data set.
#ifndef CLIENT_READER_H
#define CLIENT_READER_H

#include "client/data_set.h"

#include <memory>

namespace dicom_client {

/**
 * Reads a file: finds preamble and group 0002, settles the transfer syntax, reads all elements and
 * nests them. A fault ends the reading at its place; what precedes it is kept. Values above 1024
 * bytes stay in the source. Throws std::bad_alloc.
 *
 * @param findings  receives what is wrong; a Library_Session has to direct messages there
 */
Data_Set Read_Data_Set(const std::shared_ptr<Source>& file, Findings& findings);

}  // namespace dicom_client

#endif
