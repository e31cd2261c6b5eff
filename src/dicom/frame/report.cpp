#include "frame/report.h"

#include <cstring>

namespace lib_dicom {

void Report_Place(HWND handle, Place place)
{
    const std::string_view unit = Source_Unit(place.file);
    Error_Fct(handle, Severity_Place, "file:%.*hs line:%d", static_cast<int>(unit.size()),
              unit.data(), place.line);
}

void Report_Internal(HWND handle, Place place)
{
    const std::string_view unit = Source_Unit(place.file);
    Error_Fct(handle, Severity_Memory, "Error: file:%.*hs line:%d", static_cast<int>(unit.size()),
              unit.data(), place.line);
}

void Report_Memory(HWND handle, const char* function, const char* variable, int dim, int width,
                   Place place)
{
    const std::string_view unit = Source_Unit(place.file);
    Error_Fct(handle, Severity_Memory,
              "line %-4d of %.*hs \nmemory error in %hs (var=%hs, dim=%dx%d)", place.line,
              static_cast<int>(unit.size()), unit.data(), function, variable, dim, width);
}

void Report_Text_Memory(HWND handle, const char* variable, Place place)
{
    const std::string_view unit = Source_Unit(place.file);
    Error_Fct(handle, Severity_Memory, "line %-4d of %.*hs \nmemory error in _strdup (var=%hs)",
              place.line, static_cast<int>(unit.size()), unit.data(), variable);
}

void Trace_Scope::Trace_Exit() const
{
    const int name_size = static_cast<int>(std::strcspn(call_, "("));
    Error_Fct(handle_, severity_, "<<< out %.*hs(%hs)", name_size, call_, reason_);
}

}  // namespace lib_dicom
