// `--keep-garbage`: what was skipped while reading, in a file of its own.
#ifndef TOOLS_DICOM_MEND_GARBAGE_H
#define TOOLS_DICOM_MEND_GARBAGE_H

#include "mend/reading/data_set.h"

#include <string>

namespace dicom_mend {

/**
 * Writes the skipped bytes of a file one after the other, and says where they are. Nothing is written
 * when nothing was skipped.
 *
 * @return empty, or the reason of a failure
 */
std::string Keep_Garbage(const lib_mend::Data_Set& set, const std::string& path, bool replace,
                         lib_mend::Findings& findings);

/** Tells whether two paths would name the same file, which need not exist yet. */
bool Is_Same_Target(const std::string& path, const std::string& other);

}  // namespace dicom_mend

#endif
