// The SHA-256 of files.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_FILE_SUM_H
#define TOOLS_DICOM_MEND_ARCHIVE_FILE_SUM_H

#include <string>

namespace dicom_mend {

/** In hexadecimal; empty when the file cannot be read. */
std::string Sum_Of_File(const std::string& path);

}  // namespace dicom_mend

#endif
