// The one way in which the library reports: traces, warnings, notes, errors and memory errors.
// Texts embed the one-byte markup codes of the reporting channel, written as octal escapes
// because a hexadecimal escape would swallow a letter that follows it.
#ifndef LIB_DICOM_SRC_FRAME_REPORT_H
#define LIB_DICOM_SRC_FRAME_REPORT_H

#include <Lib_DICOM/frame.h>

#include <cstdio>
#include <new>

namespace lib_dicom {

/** Severity words of the reporting channel; level 1 is the coarsest trace. */
enum Severity : unsigned int {
    Severity_Memory = 1,
    Severity_Error = 2,
    Severity_Place = 0x80000001U,
    Trace_1 = 0x90002001U,
    Trace_Value = 0x90002004U,
    Trace_Writer = 0x90002004U,
    Trace_Structure = 0x90002005U,
    Trace_Element = 0x90002006U,
    Trace_Step = 0x90002007U,
    Trace_List = 0x90002008U,
    Trace_Entry = 0x90002009U
};

/**
 * Name of a source unit, as messages quote it. Each file that reports has its own at its top:
 * `constexpr Unit This_Unit = "NEMA_Tag_Copy";`. Several files may belong to one unit.
 */
struct Unit {
    const char* name;

    constexpr Unit(const char* name_) : name(name_)
    {
    }
};

/** The place that reports: a unit, and the line of the call that the unit is handed to. */
struct Place {
    const char* unit;
    int line;

    constexpr Place(Unit unit_, int line_ = __builtin_LINE()) : unit(unit_.name), line(line_)
    {
    }
};

template <class... Args>
void Trace(HWND handle, unsigned int severity, const char* text, Args... args)
{
    if (Error_Wanted(severity)) {
        Error_Fct(handle, severity, text, args...);
    }
}

/** A message at the level that the application chose for warnings. */
template <class... Args>
void Report_Warning(HWND handle, const char* text, Args... args)
{
    Error_Fct(handle, static_cast<unsigned int>(Flag_Error_Warning), text, args...);
}

/** A message at the level that the application chose for reports. */
template <class... Args>
void Report_Note(HWND handle, const char* text, Args... args)
{
    Error_Fct(handle, static_cast<unsigned int>(Flag_Error_Report), text, args...);
}

/** The location line that precedes an error. */
void Report_Place(HWND handle, Place place);

template <class... Args>
void Report_Error(HWND handle, Place place, const char* text, Args... args)
{
    Report_Place(handle, place);
    Error_Fct(handle, Severity_Error, text, args...);
}

/** The message of an error of the library's own. */
void Report_Internal(HWND handle, Place place);

/**
 * The memory message.
 *
 * @param function  "malloc", "calloc", "realloc", "_strdup" or "new"
 * @param variable  the variable that was to hold the memory
 */
void Report_Memory(HWND handle, Place place, const char* function, const char* variable, int dim,
                   int width = 1);

/** The memory message of a text that could not be copied. */
void Report_Text_Memory(HWND handle, Place place, const char* variable);

/** Traces the entry of a function by hand, where a Trace_Scope does not fit. */
template <class... Args>
void Trace_In(HWND handle, unsigned int severity, const char* call, Args... args)
{
    if (Error_Wanted(severity)) {
        char format[160];
        std::snprintf(format, sizeof format, ">>> in  %s", call);
        Error_Fct(handle, severity, static_cast<const char*>(format), args...);
    }
}

/** Traces its exit. @param call  the same as at the entry, or the name alone */
void Trace_Out(HWND handle, unsigned int severity, const char* call, const char* reason = "");

/**
 * Traces the entry of a function when made, and its exit with the reason when left. A scope whose
 * level is hidden formats nothing.
 */
class Trace_Scope {
public:
    /** @param call  the name with its arguments as a format, "Lib_DICOM: Name(%04x,%04x)" */
    template <class... Args>
    Trace_Scope(HWND handle, unsigned int severity, const char* call, Args... args)
        : handle_(handle), severity_(severity), call_(call), wanted_(Error_Wanted(severity) != 0)
    {
        reason_[0] = '\0';
        if (wanted_) {
            Trace_In(handle, severity, call, args...);
        }
    }
    Trace_Scope(const Trace_Scope&) = delete;
    Trace_Scope& operator=(const Trace_Scope&) = delete;
    ~Trace_Scope()
    {
        if (wanted_) {
            Trace_Out(handle_, severity_, call_, reason_);
        }
    }

    /** Gives the reason of leaving, with printf arguments, and hands `result` through. */
    template <class Result, class... Args>
    Result Leave(Result result, const char* reason, Args... args)
    {
        if (wanted_) {
            Set_Reason(reason, args...);
        }
        return result;
    }

private:
    template <class... Args>
    void Set_Reason(const char* reason, Args... args)
    {
        if constexpr (sizeof...(args) == 0) {
            std::snprintf(reason_, sizeof reason_, "%s", reason);
        } else {
            std::snprintf(reason_, sizeof reason_, reason, args...);
        }
    }

    HWND handle_;
    unsigned int severity_;
    const char* call_;
    bool wanted_;
    /** Only its first byte is set at once: most scopes are hidden. */
    char reason_[160];
};

/**
 * The border: runs a body, and turns what it throws into a message and the failure result.
 *
 * @param variable  what the body makes, for the memory message
 */
template <class Result, class Body>
Result Guarded(HWND handle, Place place, Result failure, Body&& body,
               const char* variable = "buffer") noexcept
{
    try {
        return body();
    } catch (const std::bad_alloc&) {
        Report_Memory(handle, place, "new", variable, 1);
        return failure;
    } catch (...) {
        Report_Internal(handle, place);
        return failure;
    }
}

}  // namespace lib_dicom

#endif
