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

void Trace_Scope::Trace_Exit() const
{
    const int name_size = static_cast<int>(std::strcspn(call_, "("));
    Error_Fct(handle_, severity_, "<<< out %.*hs(%hs)", name_size, call_, reason_);
}

}  // namespace lib_dicom
