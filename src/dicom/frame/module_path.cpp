#include "frame/module_path.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace lib_dicom {

std::string Module_Path()
{
#if defined(_WIN32)
    char path[MAX_PATH] = "";
    HMODULE module = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                           GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCSTR>(&Module_Path), &module);
    GetModuleFileNameA(module, path, MAX_PATH);
    return path;
#else
    Dl_info info = {};
    const bool found = dladdr(reinterpret_cast<const void*>(&Module_Path), &info) != 0;
    return found && info.dli_fname != nullptr ? info.dli_fname : "";
#endif
}

}  // namespace lib_dicom
