// Names of files on Windows: paths are UTF-8 here as elsewhere, and the system takes them in UTF-16.
#ifndef LIB_MEND_WINDOWS_NAMES_H
#define LIB_MEND_WINDOWS_NAMES_H

#include <string>

namespace lib_mend {

/** A path as the system takes it, of any length. */
std::wstring Wide_Name(const std::string& path);

/** UTF-16 as UTF-8. */
std::string Narrow_Name(const std::wstring& name);

}  // namespace lib_mend

#endif
