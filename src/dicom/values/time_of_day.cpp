// Times of day, and the present moment.
#include "values/result_ring.h"
#include "values/value_record.h"

#include <chrono>
#include <ctime>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "conv_time_fct";

/** A text that ends in three decimals, without them when they are zero. */
std::string Without_Zero_Fraction(std::string text)
{
    constexpr std::string_view Zero = ".000";
    if (text.ends_with(Zero)) {
        text.resize(text.size() - Zero.size());
    }
    return text;
}

/** The time by a template of its own, else the application's, else in the built-in form. */
std::string Time_For_People(const Clock_Time& time, const char* time_template)
{
    const auto text = Format_By_First(time, &Format_Time, time_template,
                                      static_cast<const char*>(Oris_Time_Template));
    return text.has_value() ? *text
                            : Without_Zero_Fraction(Format_Time(time, "hh:mm:ss.fff").value());
}

bool Local_Time(std::time_t moment, std::tm& local)
{
#if defined(_WIN32)
    return localtime_s(&local, &moment) == 0;
#else
    return localtime_r(&moment, &local) != nullptr;
#endif
}

}  // namespace

const char* lib_dicom::DICOM_Time_Template(std::string_view text, int old_decimals)
{
    if (text.size() < 3 || (text[2] != ':' && text[2] != '.')) {
        return "hhmmss.ffffff";
    }
    return old_decimals == 4 ? "hh:mm:ss.ffff" : "hh:mm:ss.ffffff";
}

int Make_Oris_Time(OrisWare_Time* time, const char* text, const char* time_template)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Make_Oris_Time(%hs,%hs)", text, time_template);
    return Result(trace, Make_Text(This_Unit, time, text, time_template), "! text");
}

int Make_Oris_Time(OrisWare_Time* time, unsigned short hour, unsigned short minute, float seconds)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Make_Oris_Time(%d,%d,%g)", hour, minute,
                      double{seconds});
    return Result(trace, Make_Numeric(time, Checked_Time(hour, minute, seconds)), "! time");
}

int Time_From_DICOM(OrisWare_Time* time, const char* text)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Time_From_DICOM(%hs)", text);
    const std::string_view value = Trimmed(text);
    return Result(trace, Make_Numeric(time, Parse_Time(value, DICOM_Time_Template(value, 6))),
                  "! text");
}

int Get_Oris_Time(const OrisWare_Time* time, unsigned short* hour, unsigned short* minute,
                  float* seconds)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Get_Oris_Time()");
    const auto value = Value_Of(time);
    if (!value.has_value()) {
        return trace.Leave(0, "! time");
    }
    Store(hour, value->hour);
    Store(minute, value->minute);
    Store(seconds, value->seconds);
    return 1;
}

const char* Time_2_DICOM(const OrisWare_Time* time)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Time_2_DICOM()");
    return Formatted(This_Unit, [time]() -> std::string {
        const auto value = Value_Of(time);
        return value.has_value() ? Without_Zero_Fraction(Format_Time(*value, "hhmmss.fff").value())
                                 : "";
    });
}

const char* Time_2_Str(const OrisWare_Time* time, const char* time_template)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Time_2_Str(%hs)", time_template);
    return Formatted(This_Unit, [time, time_template]() -> std::string {
        const auto value = Value_Of(time);
        return value.has_value() ? Time_For_People(*value, time_template) : "";
    });
}

const char* Time_2_Str(const OrisWare_Time* time)
{
    return Time_2_Str(time, nullptr);
}

int Oris_Time_Cmp(const OrisWare_Time* first, const OrisWare_Time* second)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Oris_Time_Cmp()");
    return Compare(first, second);
}

int Oris_Time_Postproc(OrisWare_Time* time)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Oris_Time_Postproc()");
    return Result(trace, Make_Numeric(time, Value_Of(time)), "! time");
}

int Time_Copy(OrisWare_Time* target, const OrisWare_Time* source)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Time_Copy()");
    return Result(trace, Copy(This_Unit, target, source), "! target");
}

void Time_Swap(OrisWare_Time* first, OrisWare_Time* second)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Time_Swap()");
    Swap(first, second);
}

void Time_Free(OrisWare_Time* time)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Time_Free()");
    if (time != nullptr) {
        Release(*time);
    }
}

int Get_Oris_Now(OrisWare_Date* date, OrisWare_Time* time)
{
    using namespace std::chrono;

    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Get_Oris_Now()");
    const auto now = system_clock::now();
    const auto second = floor<seconds>(now);
    const float fraction = duration<float>(floor<milliseconds>(now) - second).count();
    std::tm local = {};
    const bool known = Local_Time(system_clock::to_time_t(second), local);
    const auto day =
        known ? Checked_Date(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday) : std::nullopt;
    const auto clock = known ? Checked_Time(local.tm_hour, local.tm_min,
                                            static_cast<float>(local.tm_sec) + fraction)
                             : std::nullopt;
    Make_Numeric(date, day);
    Make_Numeric(time, clock);
    return Result(trace, day.has_value() && clock.has_value(), "! local time");
}
