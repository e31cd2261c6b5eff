#include "definitions/definition_files.h"

#include "definitions/definition_text.h"
#include "frame/c_memory.h"
#include "frame/module_path.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <fstream>

namespace fs = std::filesystem;

namespace lib_dicom {

namespace {

constexpr std::size_t Max_File = std::size_t{16} << 20U;

bool Is_Directory(const fs::path& path)
{
    std::error_code error;
    return fs::is_directory(path, error);
}

fs::path Full_Directory(const fs::path& path)
{
    std::error_code error;
    const fs::path full = fs::absolute(path, error);
    return ((error ? path : full) / "").lexically_normal();
}

/** Where an installation and a build tree have the files, the likeliest first. */
fs::path Installed_Directory()
{
    const fs::path part = fs::path("share") / "Lib_DICOM" / "definitions";
    const fs::path library = Full_Directory(fs::path(Module_Path()).parent_path());
    for (const fs::path& path :
         {library / ".." / part, library / ".." / ".." / part, fs::path(LIB_DICOM_DEFINITIONS)}) {
        if (Is_Directory(path)) {
            return path;
        }
    }
    return {};
}

}  // namespace

bool Definition_Files::Set_Directory(const fs::path& directory, std::string& why)
{
    if (directory.empty() || !Is_Directory(directory)) {
        why = "the definition directory " + directory.string() + " does not exist";
        return false;
    }
    directory_ = Full_Directory(directory);
#if defined(_WIN32)
    wide_ = directory_.wstring();
#else
    const C_Array<wchar_t> wide(Char_2_Wchar(directory_.c_str()));
    wide_ = wide != nullptr ? wide.get() : throw std::bad_alloc();
#endif
    return true;
}

const fs::path& Definition_Files::Directory(std::string& why)
{
    if (!directory_.empty()) {
        return directory_;
    }
    const char* const chosen = std::getenv("LIB_DICOM_DEFINITIONS");
    if (chosen != nullptr && *chosen != '\0') {
        Set_Directory(chosen, why);
    } else if (!Set_Directory(Installed_Directory(), why)) {
        why = "no definition files are installed with the library; name their directory in "
              "LIB_DICOM_DEFINITIONS";
    }
    return directory_;
}

const Definition_File* Definition_Files::Load(std::string_view name, std::string& why)
{
    if (!Is_Definition_Name(name)) {
        why = Shown(name) + " is no name of a file below the definition directory";
        return nullptr;
    }
    if (Directory(why).empty()) {
        return nullptr;
    }
    const fs::path path = directory_ / (std::string(name) + ".txt");
    const auto found = files_.find(path.string());
    if (found != files_.end()) {
        return &found->second;
    }
    Definition_File file{path.string(), {}};
    if (!Read_Text_File(path, file.text, why)) {
        return nullptr;
    }
    return &files_.emplace(path.string(), std::move(file)).first->second;
}

fs::path Wide_Path(const wchar_t* text)
{
#if defined(_WIN32)
    return text;
#else
    try {
        return std::u32string(text, text + std::wcslen(text));
    } catch (const fs::filesystem_error&) {
        return {};
    }
#endif
}

bool Is_Definition_Name(std::string_view name)
{
    constexpr std::size_t Max_Name = 255;
    constexpr std::string_view Allowed =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_./";
    if (name.size() > Max_Name || name.find_first_not_of(Allowed) != name.npos) {
        return false;
    }
    // A part that begins with a dot would lead upwards, or be a second name of the same file.
    for (std::size_t begin = 0; begin <= name.size();) {
        const std::size_t end = std::min(name.find('/', begin), name.size());
        if (end == begin || name[begin] == '.') {
            return false;
        }
        begin = end + 1;
    }
    return true;
}

bool Read_Text_File(const fs::path& path, std::string& text, std::string& why)
{
    std::error_code error;
    if (!fs::is_regular_file(path, error)) {
        why = path.string() + " is no file";
        return false;
    }
    std::ifstream file(path, std::ios::binary);
    text.clear();
    char part[16384];
    while (file && text.size() <= Max_File) {
        file.read(part, sizeof part);
        text.append(part, static_cast<std::size_t>(file.gcount()));
    }
    if (!file.eof()) {
        why =
            path.string() + (text.size() > Max_File ? " is larger than 16 MB" : " cannot be read");
        return false;
    }
    if (text.starts_with("\xEF\xBB\xBF")) {
        text.erase(0, 3);
    }
    return true;
}

}  // namespace lib_dicom
