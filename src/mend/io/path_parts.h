// The folder and the name in a path.
#ifndef LIB_MEND_PATH_PARTS_H
#define LIB_MEND_PATH_PARTS_H

#include <string>

namespace lib_mend {

#ifdef _WIN32
inline constexpr char Path_Separators[] = "/\\";
#else
inline constexpr char Path_Separators[] = "/";
#endif

/** Folder of a path, with its separator. */
inline std::string Folder_Of(const std::string& path)
{
    const std::size_t slash = path.find_last_of(Path_Separators);
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

inline std::string Name_Of(const std::string& path)
{
    return path.substr(path.find_last_of(Path_Separators) + 1);
}

}  // namespace lib_mend

#endif
