// The files below folders.
#ifndef TOOLS_DICOM_MEND_FILES_H
#define TOOLS_DICOM_MEND_FILES_H

#include <string>
#include <vector>

namespace dicom_mend {

struct Found_File {
    std::string path;
    /** It stands in a folder that was named, and was not named itself. */
    bool is_found = false;
};

/**
 * The regular files of folders and of all folders below, and everything else that was named, in the order
 * of their names. Symbolic links in folders are not followed. What is named twice is there once.
 *
 * @param complete  becomes false, after a report, when a folder cannot be read
 */
std::vector<Found_File> Files_Of(const std::vector<std::string>& paths, bool& complete);

}  // namespace dicom_mend

#endif
