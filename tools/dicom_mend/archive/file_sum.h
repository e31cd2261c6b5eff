// The SHA-256 of files.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_FILE_SUM_H
#define TOOLS_DICOM_MEND_ARCHIVE_FILE_SUM_H

#include <string>

namespace dicom_mend {

/** Not so what came through a pipe, which nobody may write to a second time. */
bool Can_Be_Read_Again(const std::string& path);

/** In hexadecimal; empty when the file cannot be read. */
std::string Sum_Of_File(const std::string& path);

}  // namespace dicom_mend

#endif
