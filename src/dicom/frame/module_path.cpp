#include "frame/module_path.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#include <link.h>
#include <sys/auxv.h>

#include <system_error>
#endif

namespace lib_dicom {

#if defined(_WIN32)

std::filesystem::path Module_Path()
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                           GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&Is_In_Program), &module);
    constexpr DWORD Longest = 0x8000;
    std::wstring path(Longest, L'\0');
    path.resize(GetModuleFileNameW(module, path.data(), Longest));
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
    // Of a static program no loader knows anything.
    return dladdr1(reinterpret_cast<const void*>(&Is_In_Program), &info, &map, RTLD_DL_LINKMAP) ==
               0 ||
           (map != nullptr && *static_cast<const link_map*>(map)->l_name == '\0');
#else
    return false;
#endif
}

std::filesystem::path Module_Path()
{
    // Of a program the loader knows how it was called only: no folder, when it was found by PATH.
    if (Is_In_Program()) {
        std::error_code error;
        const std::filesystem::path path = std::filesystem::read_symlink("/proc/self/exe", error);
        // Where nothing is mounted, the system knows still how the program was called.
        const auto* const called = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
        return path.empty() && called != nullptr ? std::filesystem::path(called) : path;
    }
    Dl_info info = {};
    const bool found = dladdr(reinterpret_cast<const void*>(&Module_Path), &info) != 0;
    return found && info.dli_fname != nullptr ? info.dli_fname : "";
}

#endif

}  // namespace lib_dicom
