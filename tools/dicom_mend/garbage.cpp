#include "garbage.h"

#include "mend/io/safe_file.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace dicom_mend {

namespace {

/** Hands over the bytes in blocks; false when they cannot be read or taken. */
bool Give(const lib_mend::Source& source, const lib_mend::Skipped& skipped,
          const lib_mend::Piece_Taker& take)
{
    constexpr std::int64_t Block_Size = std::int64_t{1} << 16;
    lib_mend::Bytes block;
    for (std::int64_t done = 0; done < skipped.size; done += Block_Size) {
        block.resize(static_cast<std::size_t>(std::min(skipped.size - done, Block_Size)));
        if (source.Read(skipped.offset + done, block) != block.size() || !take(block)) {
            return false;
        }
    }
    return true;
}

}  // namespace

std::string Keep_Garbage(const lib_mend::Data_Set& set, const std::string& path, bool replace,
                         lib_mend::Findings& findings)
{
    std::int64_t size = 0;
    for (const lib_mend::Skipped& skipped : set.skipped) {
        size += skipped.size;
    }
    if (size == 0) {
        return {};
    }
    const auto give = [&](const lib_mend::Piece_Taker& take) {
        return std::all_of(set.skipped.begin(), set.skipped.end(), [&](const auto& skipped) {
            return Give(skipped.source != nullptr ? *skipped.source : *set.source, skipped, take);
        });
    };
    std::string error = lib_mend::Write_Safely(path, give, replace);
    if (error.empty()) {
        findings.Report(lib_mend::Fault::Garbage, lib_mend::Level::Kept, {},
                        std::to_string(size) + " bytes that belong to no element are kept in " +
                            path);
    }
    return error;
}

bool Is_Same_Target(const std::string& path, const std::string& other)
{
    std::error_code error;
    const auto whole = [&](const std::string& name) {
        return std::filesystem::weakly_canonical(name, error);
    };
    return lib_mend::Is_Same_File(path, other) || whole(path) == whole(other);
}

}  // namespace dicom_mend
