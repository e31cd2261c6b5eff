#include "process.h"

#include "mend/io/windows_names.h"

#include <cstdio>

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <shellapi.h>

namespace dicom_mend {

std::vector<std::string> Start_Tool(int, char**)
{
    // What is read and written are bytes, and those of texts are UTF-8.
    for (std::FILE* const stream : {stdin, stdout, stderr}) {
        _setmode(_fileno(stream), _O_BINARY);
    }
    SetConsoleOutputCP(CP_UTF8);
    std::vector<std::string> words;
    int count = 0;
    wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 1; wide != nullptr && i < count; ++i) {
        words.push_back(lib_mend::Narrow_Name(wide[i]));
    }
    LocalFree(wide);
    return words;
}

std::size_t Terminal_Width(int descriptor)
{
    CONSOLE_SCREEN_BUFFER_INFO screen = {};
    const auto console = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
    return GetConsoleScreenBufferInfo(console, &screen) != 0
               ? static_cast<std::size_t>(screen.srWindow.Right - screen.srWindow.Left + 1)
               : 0;
}

}  // namespace dicom_mend
