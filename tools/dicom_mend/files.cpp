#include "files.h"

#include "report.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace dicom_mend {

namespace {

namespace fs = std::filesystem;

/** Goes through one folder; the folders in it are left to the caller. */
void Look_Into(const std::string& folder, std::vector<std::string>& folders,
               std::vector<Found_File>& files, bool& complete)
{
    std::error_code error;
    fs::directory_iterator entries(folder, error);
    for (; !error && entries != fs::directory_iterator(); entries.increment(error)) {
        std::error_code unknown;
        const fs::file_type type = entries->symlink_status(unknown).type();
        if (type == fs::file_type::directory) {
            folders.push_back(entries->path().string());
        } else if (type == fs::file_type::regular) {
            files.push_back({entries->path().string(), true});
        }
    }
    if (error) {
        Report_Failure(folder, error.message());
        complete = false;
    }
}

}  // namespace

std::vector<Found_File> Files_Of(const std::vector<std::string>& paths, bool& complete)
{
    std::vector<Found_File> files;
    std::vector<std::string> folders;
    for (const std::string& path : paths) {
        std::error_code error;
        if (fs::is_directory(path, error)) {
            folders.push_back(path);
        } else {
            files.push_back({path, false});
        }
    }
    while (!folders.empty()) {
        const std::string folder = folders.back();
        folders.pop_back();
        Look_Into(folder, folders, files, complete);
    }
    const auto place_of = [](const Found_File& file) {
        return fs::path(file.path).lexically_normal().string();
    };
    // What was named comes in front of the same file found, and stays.
    std::stable_sort(files.begin(), files.end(), [&](const Found_File& a, const Found_File& b) {
        const std::string first = place_of(a);
        const std::string second = place_of(b);
        return first != second ? first < second : a.is_found < b.is_found;
    });
    files.erase(std::unique(files.begin(), files.end(),
                            [&](const Found_File& a, const Found_File& b) {
                                return place_of(a) == place_of(b);
                            }),
                files.end());
    return files;
}

}  // namespace dicom_mend
