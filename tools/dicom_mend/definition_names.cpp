#include "definition_names.h"

#include <Lib_DICOM/Lib_DICOM.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace dicom_mend {

namespace {

/** Names of the text files in a part of the definition directory, without their ending. */
std::vector<std::string> Files_Of(const char* part)
{
    std::vector<std::string> names;
    const wchar_t* const directory = DICOM_Module_Setup(nullptr, nullptr);
    if (directory == nullptr) {
        return names;
    }
    std::error_code error;
    std::filesystem::directory_iterator file(std::filesystem::path(directory) / part, error);
    for (; !error && file != std::filesystem::directory_iterator(); file.increment(error)) {
        if (file->path().extension() == ".txt" && file->path().stem() != "index") {
            names.push_back(file->path().stem().string());
        }
    }
    return names;
}

}  // namespace

std::vector<std::string> Module_Codes()
{
    std::vector<std::string> codes = Files_Of("iods");
    std::sort(codes.begin(), codes.end());
    return codes;
}

std::vector<std::string> Table_Numbers()
{
    // A file is called "cid-0029", or "cid-0029-srt" where it is an older one of the same number.
    std::vector<int> numbers;
    for (const std::string& name : Files_Of("codes")) {
        if (name.starts_with("cid-") && name.find('-', 4) == name.npos) {
            numbers.push_back(std::atoi(name.c_str() + 4));
        }
    }
    std::sort(numbers.begin(), numbers.end());
    std::vector<std::string> texts;
    for (const int number : numbers) {
        texts.push_back(std::to_string(number));
    }
    return texts;
}

}  // namespace dicom_mend
