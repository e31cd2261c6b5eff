// Writing a file so that it is there whole or not at all.
#ifndef CLIENT_SAFE_FILE_H
#define CLIENT_SAFE_FILE_H

#include <span>
#include <string>
#include <vector>

namespace dicom_client {

/** True when both paths name the same existing file. */
bool Is_Same_File(const std::string& path, const std::string& other);

/**
 * Writes pieces one after the other to a temporary file in the target's folder, syncs it, and
 * renames it to the target.
 *
 * @param replace  an existing file may be replaced
 * @return empty, or the reason of the failure; then the target is as it was
 */
std::string Write_Safely(const std::string& path,
                         const std::vector<std::span<const unsigned char>>& pieces, bool replace);

}  // namespace dicom_client

#endif
