// Names of files as the functions of Windows take them, however long they are.
#ifndef LIB_UTIL_WINDOWS_NAMES_H
#define LIB_UTIL_WINDOWS_NAMES_H

#include <string>

#include <windows.h>

namespace lib_util {

/** A whole path in the form that is taken at any length: "\\?\C:\a", and "\\?\UNC\server\share\a". */
inline std::wstring Without_Limit(const std::wstring& whole)
{
    if (whole.starts_with(L"\\\\?\\") || whole.starts_with(L"\\\\.\\")) {
        return whole;
    }
    return whole.starts_with(L"\\\\") ? L"\\\\?\\UNC" + whole.substr(1) : L"\\\\?\\" + whole;
}

/** The same path in its plain form. */
inline std::wstring With_Limit(const std::wstring& name)
{
    if (name.starts_with(L"\\\\?\\UNC\\")) {
        return L"\\\\" + name.substr(8);
    }
    return name.starts_with(L"\\\\?\\") ? name.substr(4) : name;
}

/** A path of any form; one that is too long for the system becomes a whole one without its limit. */
inline std::wstring Long_Name(std::wstring path)
{
    // 260 characters are the most, of which a folder leaves 12 for the names in it.
    constexpr DWORD Longest = 240;
    const DWORD needed = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    if (needed < Longest || path.starts_with(L"\\\\?\\")) {
        return path;
    }
    std::wstring whole(needed, L'\0');
    whole.resize(GetFullPathNameW(path.c_str(), needed, whole.data(), nullptr));
    return Without_Limit(whole);
}

/** Whether there is a file or a folder of a name, whichever is asked for. */
inline bool Is_There(const std::wstring& path, bool is_folder)
{
    const DWORD attributes = GetFileAttributesW(Long_Name(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES &&
           ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) == is_folder;
}

}  // namespace lib_util

#endif
