#include "definitions/definition_files.h"

#include "definitions/definition_text.h"
#include "frame/c_memory.h"
#include "frame/module_path.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

#if defined(_WIN32)
#include "util/windows_names.h"
#endif

namespace fs = std::filesystem;

namespace lib_dicom {

namespace {

#if defined(_WIN32)

// The runtime library takes the mark of a long name for a wildcard when it looks at a file.
bool Is_Directory(const fs::path& path)
{
    return lib_util::Is_There(path.wstring(), true);
}

bool Is_File(const fs::path& path)
{
    return lib_util::Is_There(path.wstring(), false);
}

std::ifstream Opened(const fs::path& path)
{
    return std::ifstream(fs::path(lib_util::Long_Name(path.wstring())), std::ios::binary);
}

/** The directory that users chose; empty for none. */
fs::path Chosen_Directory()
{
    const wchar_t* const path = _wgetenv(L"LIB_DICOM_DEFINITIONS");
    return path != nullptr ? path : L"";
}

#else

bool Is_Directory(const fs::path& path)
{
    std::error_code error;
    return fs::is_directory(path, error);
}

bool Is_File(const fs::path& path)
{
    std::error_code error;
    return fs::is_regular_file(path, error);
}

std::ifstream Opened(const fs::path& path)
{
    return std::ifstream(path, std::ios::binary);
}

fs::path Chosen_Directory()
{
    const char* const path = std::getenv("LIB_DICOM_DEFINITIONS");
    return path != nullptr ? path : "";
}

#endif

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
    const fs::path library = Full_Directory(Module_Path().parent_path());
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
    directory_text_ = directory_.string();
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
    if (const fs::path chosen = Chosen_Directory(); !chosen.empty()) {
        Set_Directory(chosen, why);
    } else if (!Set_Directory(Installed_Directory(), why)) {
        why = "no definition files are installed with the library; name their directory in "
              "LIB_DICOM_DEFINITIONS";
    }
    return directory_;
}

bool Definition_Files::Read(std::string_view name, std::size_t max_size, Definition_File& file,
                            std::string& why)
{
    if (!Stays_Inside(name)) {
        why = Shown(name) + " is not below the definition directory";
        return false;
    }
    if (Directory(why).empty()) {
        return false;
    }
    const fs::path path = directory_ / Narrow_Path(name);
    file.path = path.string();
    return Read_Text_File(path, max_size, file.text, why);
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
    const std::string file_name = std::string(name) + ".txt";
    std::string key = directory_text_ + file_name;
    const auto found = files_.find(key);
    if (found != files_.end()) {
        return &found->second;
    }
    Definition_File file;
    if (!Read(file_name, Max_Definition_File, file, why)) {
        return nullptr;
    }
    Drop_Mark(file.text);
    return &files_.emplace(std::move(key), std::move(file)).first->second;
}

fs::path Wide_Path(const wchar_t* text)
{
#if defined(_WIN32)
    return text;
#else
    const C_Array<char> narrow(Wchar_2_Char(text));
    return narrow != nullptr ? narrow.get() : fs::path();
#endif
}

fs::path Narrow_Path(std::string_view text)
{
    return std::u8string(text.begin(), text.end());
}

bool Stays_Inside(std::string_view name)
{
    const std::string_view separators = "/\\";
    if (name.empty() || separators.find(name.front()) != name.npos || name.find(':') != name.npos) {
        return false;
    }
    while (!name.empty()) {
        const std::size_t end = std::min(name.find_first_of(separators), name.size());
        if (name.substr(0, end) == "..") {
            return false;
        }
        name.remove_prefix(std::min(end + 1, name.size()));
    }
    return true;
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

bool Read_Text_File(const fs::path& path, std::size_t max_size, std::string& text, std::string& why)
{
    if (!Is_File(path)) {
        why = path.string() + " is no file";
        return false;
    }
    std::ifstream file = Opened(path);
    text.clear();
    char part[16384];
    while (file && text.size() <= max_size) {
        file.read(part, sizeof part);
        text.append(part, static_cast<std::size_t>(file.gcount()));
    }
    if (!file.eof()) {
        why =
            path.string() + (text.size() > max_size ? " is larger than 16 MB" : " cannot be read");
        return false;
    }
    return true;
}

void Drop_Mark(std::string& text)
{
    if (text.starts_with("\xEF\xBB\xBF")) {
        text.erase(0, 3);
    }
}

}  // namespace lib_dicom
