#include "frame/report.h"

#include <cstring>

namespace lib_dicom {

void Report_Place(HWND handle, Place place)
{
    Error_Fct(handle, Severity_Place, "file:%hs line:%d", place.unit, place.line);
}

void Report_Internal(HWND handle, Place place)
{
    Error_Fct(handle, Severity_Memory, "Error: file:%hs line:%d", place.unit, place.line);
}

void Report_Memory(HWND handle, Place place, const char* function, const char* variable, int dim,
                   int width)
{
    Error_Fct(handle, Severity_Memory,
              "line %-4d of %hs \nmemory error in %hs (var=%hs, dim=%dx%d)", place.line, place.unit,
              function, variable, dim, width);
}

void Report_Text_Memory(HWND handle, Place place, const char* variable)
{
    Error_Fct(handle, Severity_Memory, "line %-4d of %hs \nmemory error in _strdup (var=%hs)",
              place.line, place.unit, variable);
}

void Trace_Out(HWND handle, unsigned int severity, const char* call, const char* reason)
{
    if (Error_Wanted(severity)) {
        const int name_size = static_cast<int>(std::strcspn(call, "("));
        Error_Fct(handle, severity, "<<< out %.*hs(%hs)", name_size, call, reason);
    }
}

}  // namespace lib_dicom
