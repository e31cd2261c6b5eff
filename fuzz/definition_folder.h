// A definition directory of the process's own, whose files the targets write.
#ifndef FUZZ_DEFINITION_FOLDER_H
#define FUZZ_DEFINITION_FOLDER_H

#include "fuzz_target.h"

#include <Lib_DICOM/definitions.h>

#include <filesystem>
#include <fstream>
#include <string_view>
#include <unistd.h>

namespace fuzz {

class Definition_Folder {
public:
    Definition_Folder()
        : path_(std::filesystem::temp_directory_path() /
                ("fuzz_definitions_" + std::to_string(getpid())))
    {
        for (const char* const name : {"iods", "modules", "macros", "private", "codes"}) {
            std::filesystem::create_directories(path_ / name);
        }
        Use();
    }
    Definition_Folder(const Definition_Folder&) = delete;
    Definition_Folder& operator=(const Definition_Folder&) = delete;
    ~Definition_Folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    /** Makes it the library's, which DICOM_Module_Cleanup forgets. */
    void Use() const
    {
        Require(DICOM_Module_Setup(nullptr, path_.wstring().c_str()) != nullptr,
                "the folder can be used");
    }
    void Write(const char* name, std::string_view text) const
    {
        std::ofstream(path_ / name, std::ios::binary) << text;
    }

private:
    std::filesystem::path path_;
};

}  // namespace fuzz

#endif
