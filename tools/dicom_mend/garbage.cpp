#include "garbage.h"

#include "mend/io/safe_file.h"
#include "mend/io/system_files.h"
#include "mend/writing/output.h"

namespace dicom_mend {

std::string Keep_Garbage(const lib_mend::Data_Set& set, const std::string& path, bool replace,
                         lib_mend::Findings& findings)
{
    lib_mend::Encoded_File garbage;
    for (const lib_mend::Skipped& skipped : set.skipped) {
        garbage.Copy({skipped.source != nullptr ? skipped.source : set.source, skipped.offset,
                      skipped.size, 1});
    }
    const std::int64_t size = garbage.Size();
    if (size == 0) {
        return {};
    }
    const auto give = [&](const lib_mend::File_Taker& file) {
        return garbage.Give(file);
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
    const auto whole = [](const std::string& name) {
        return lib_mend::Whole_Path(lib_mend::Native_Path(name));
    };
    return lib_mend::Is_Same_File(path, other) || whole(path) == whole(other);
}

}  // namespace dicom_mend
