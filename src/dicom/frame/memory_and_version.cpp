// Memory helpers for clients and the version query.
#include "frame/module_path.h"
#include "frame/report.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "OrisWare_DICOM";

constexpr char Version[] = "21.9";
constexpr char Revision[] = "b";

/** Tells whether a piece of a file name behind a '.' is the platform's: "so", or a version. */
bool Is_Platform_Suffix(std::string_view suffix)
{
    return suffix == "so" || suffix.find_first_not_of("0123456789") == std::string_view::npos;
}

/** Name of a library's file without what platforms add: "lib" in front, ".so.21.9" behind. */
std::string Library_Name(const std::string& path)
{
    std::string_view name = Get_Generic_Name(path.c_str(), nullptr, nullptr, nullptr);
    for (std::size_t dot = name.rfind('.');
         dot != std::string_view::npos && Is_Platform_Suffix(name.substr(dot + 1));
         dot = name.rfind('.')) {
        name = name.substr(0, dot);
    }
    if (name.substr(0, 3) == "lib") {
        name.remove_prefix(3);
    }
    return std::string(name);
}

}  // namespace

int DICOM_Lib_Realloc(char** buffer, unsigned int size)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_Lib_Realloc(%u)", size);
    if (size == 0) {
        DICOM_Lib_Free(buffer);
        return 1;
    }
    // A kept quirk: a failure leaves null in place of the old buffer, which is not released.
    *buffer = static_cast<char*>(std::realloc(*buffer, size));
    if (*buffer == nullptr) {
        Report_Memory(hwnd, This_Unit, "realloc", "*buffer", static_cast<int>(size));
        return trace.Leave(0, "! *buffer");
    }
    return 1;
}

void DICOM_Lib_Free(char** buffer)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_Lib_Free()");
    std::free(*buffer);
    *buffer = nullptr;
}

char* Get_Version_DICOM(char* expected)
{
    static char version[128];

    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Get_Version_DICOM(%hs)", expected);
    if (expected != nullptr && std::strcmp(expected, Version) != 0) {
        return trace.Leave(static_cast<char*>(nullptr), "! version");
    }
    return Guarded(hwnd, This_Unit, static_cast<char*>(nullptr), [] {
        const std::u8string path = Module_Path().u8string();
        const std::string name =
            Is_In_Program() ? "Lib_DICOM" : Library_Name({path.begin(), path.end()});
        std::snprintf(version, sizeof version, "%s.dll%s %s (rev-%s)", name.c_str(), "", Version,
                      Revision);
        return version;
    });
}
