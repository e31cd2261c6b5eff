// Writing a file so that it is there whole or not at all.
#ifndef LIB_MEND_SAFE_FILE_H
#define LIB_MEND_SAFE_FILE_H

#include <algorithm>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace lib_mend {

/** Why `path` cannot be the target of Write_Safely, as things stand; empty when it can. */
std::string Target_Fault(const std::string& path, bool replace);

/**
 * Writes pieces one after the other to a temporary file in the target's folder, syncs it, and
 * renames it to the target. A process that is killed leaves the old file or the whole new one.
 * A replaced file hands on its rights and, where the process may, its owner and group.
 *
 * SIGINT, SIGTERM and SIGHUP take effect when the temporary file is gone again. For threads other
 * than the caller's, that is left to the program.
 *
 * @param replace  an existing regular file may be replaced; nothing else ever is
 * @return empty, or the reason of the failure; then the target is as it was, unless the reason
 *         says that only the syncing of the folder failed
 */
std::string Write_Safely(const std::string& path,
                         const std::vector<std::span<const unsigned char>>& pieces, bool replace);

/** Takes one piece; false when it could not be written. */
using Piece_Taker = std::function<bool(std::span<const unsigned char>)>;

/**
 * Has the system copy bytes of another file, which then need not pass through the process.
 *
 * @return number of bytes from the front that are copied; fewer where the system cannot do it, and
 *         the rest has to be handed over as pieces
 */
using Range_Taker =
    std::function<std::int64_t(int descriptor, std::int64_t offset, std::int64_t size)>;

/** The file that is being written. */
struct File_Taker {
    Piece_Taker take;
    Range_Taker copy;
};

/**
 * Writes what `give` hands to its argument, so that it need not be in memory together. `give` returns
 * false when its argument did, or when it has not got what it should give.
 */
std::string Write_Safely(const std::string& path,
                         const std::function<bool(const File_Taker&)>& give, bool replace);

/**
 * Writes what `give` hands to its argument to a file that waits to be moved to its place: under its name at
 * once, over what a killed process left there, and without syncing, which costs less for many files together.
 *
 * @return empty, or the reason of the failure; there is no file then
 */
std::string Write_Staged(const std::string& path,
                         const std::function<bool(const File_Taker&)>& give);

inline std::string Write_Safely(const std::string& path,
                                const std::vector<std::span<const unsigned char>>& pieces,
                                bool replace)
{
    const auto give = [&](const File_Taker& file) {
        return std::all_of(pieces.begin(), pieces.end(), file.take);
    };
    return Write_Safely(path, std::function<bool(const File_Taker&)>(give), replace);
}

}  // namespace lib_mend

#endif
