// An encoded file, read like one on the disk before it is there.
#ifndef LIB_MEND_ENCODED_SOURCE_H
#define LIB_MEND_ENCODED_SOURCE_H

#include "mend/writing/output.h"

#include <memory>
#include <string>

namespace lib_mend {

/**
 * The bytes of an encoded file as a source. Nothing is copied, but for what is deflated.
 * Throws std::bad_alloc, and Spool_Failure where there is no room for what is deflated.
 */
std::shared_ptr<Source> Source_Of(std::shared_ptr<const Encoded_File> file,
                                  const std::string& name);

/**
 * Tells whether an encoded file has the bytes of a source. Values that it takes from the same place of
 * that source are not read.
 */
bool Has_Bytes_Of(const Encoded_File& file, const std::shared_ptr<Source>& source);

}  // namespace lib_mend

#endif
