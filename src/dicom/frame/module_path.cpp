#include "frame/module_path.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#include <link.h>

#include <filesystem>
#include <system_error>
#endif

namespace lib_dicom {

#if defined(_WIN32)

std::string Module_Path()
{
    char path[MAX_PATH] = "";
    HMODULE module = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                           GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCSTR>(&Module_Path), &module);
    GetModuleFileNameA(module, path, MAX_PATH);
    return path;
}

bool Is_In_Program()
{
    return false;
}

#else

bool Is_In_Program()
{
#if defined(__GLIBC__)
    Dl_info info = {};
    void* map = nullptr;
    return dladdr1(reinterpret_cast<const void*>(&Is_In_Program), &info, &map, RTLD_DL_LINKMAP) !=
               0 &&
           map != nullptr && *static_cast<const link_map*>(map)->l_name == '\0';
#else
    return false;
#endif
}

std::string Module_Path()
{
    // Of a program the loader knows how it was called only: no folder, when it was found by PATH.
    if (Is_In_Program()) {
        std::error_code error;
        return std::filesystem::read_symlink("/proc/self/exe", error).string();
    }
    Dl_info info = {};
    const bool found = dladdr(reinterpret_cast<const void*>(&Module_Path), &info) != 0;
    return found && info.dli_fname != nullptr ? info.dli_fname : "";
}

#endif

}  // namespace lib_dicom
