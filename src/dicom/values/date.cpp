// Dates.
#include "values/result_ring.h"
#include "values/value_record.h"

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "conv_time_fct";

/** The date by a template of its own, else the application's, else in the built-in form. */
std::string Date_For_People(const Calendar_Date& date, const char* date_template)
{
    return Format_By_First(date, &Format_Date, date_template,
                           static_cast<const char*>(Oris_Date_Template), "yyyy-mm-dd")
        .value();
}

}  // namespace

const char* lib_dicom::DICOM_Date_Template(std::size_t size)
{
    switch (size) {
    case 6:
        return "yymmdd";
    case 8:
        return "yyyymmdd";
    case 10:
        return "yyyy.mm.dd";
    default:
        return nullptr;
    }
}

int Make_Oris_Date(OrisWare_Date* date, const char* text, const char* date_template)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Make_Oris_Date(%hs,%hs)", text, date_template);
    return Result(trace, Make_Text(This_Unit, date, text, date_template), "! text");
}

int Make_Oris_Date(OrisWare_Date* date, unsigned short year, unsigned short month,
                   unsigned short day)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Make_Oris_Date(%d,%d,%d)", year, month, day);
    return Result(trace, Make_Numeric(date, Checked_Date(year, month, day)), "! date");
}

int Date_From_DICOM(OrisWare_Date* date, const char* text)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Date_From_DICOM(%hs)", text);
    const std::string_view value = Trimmed(text);
    const char* const date_template = DICOM_Date_Template(value.size());
    const bool is_made = Make_Numeric(
        date, date_template != nullptr ? Parse_Date(value, date_template) : std::nullopt);
    return Result(trace, is_made, "! text");
}

int Get_Oris_Date(const OrisWare_Date* date, unsigned short* year, unsigned short* month,
                  unsigned short* day)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Get_Oris_Date()");
    const auto value = Value_Of(date);
    if (!value.has_value()) {
        return trace.Leave(0, "! date");
    }
    Store(year, value->year);
    Store(month, value->month);
    Store(day, value->day);
    return 1;
}

const char* Date_2_DICOM(const OrisWare_Date* date)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Date_2_DICOM()");
    return Formatted(This_Unit, [date]() -> std::string {
        const auto value = Value_Of(date);
        return value.has_value() ? Format_Date(*value, "yyyymmdd").value() : "";
    });
}

const char* Date_2_Str(const OrisWare_Date* date, const char* date_template)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Date_2_Str(%hs)", date_template);
    return Formatted(This_Unit, [date, date_template]() -> std::string {
        const auto value = Value_Of(date);
        return value.has_value() ? Date_For_People(*value, date_template) : "";
    });
}

const char* Date_2_Str(const OrisWare_Date* date)
{
    return Date_2_Str(date, nullptr);
}

int Oris_Date_Cmp(const OrisWare_Date* first, const OrisWare_Date* second)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Oris_Date_Cmp()");
    return Compare(first, second);
}

int Oris_Date_Postproc(OrisWare_Date* date)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Oris_Date_Postproc()");
    return Result(trace, Make_Numeric(date, Value_Of(date)), "! date");
}

int Date_Copy(OrisWare_Date* target, const OrisWare_Date* source)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Date_Copy()");
    return Result(trace, Copy(This_Unit, target, source), "! target");
}

void Date_Swap(OrisWare_Date* first, OrisWare_Date* second)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Date_Swap()");
    Swap(first, second);
}

void Date_Free(OrisWare_Date* date)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Date_Free()");
    if (date != nullptr) {
        Release(*date);
    }
}

int Get_Month_From_Str(const char* text)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Get_Month_From_Str(%hs)", text);
    std::string_view rest = Trimmed(text);
    std::optional<int> month = Take_Month_Name(rest);
    if (!month.has_value() && rest.size() <= 2) {
        month = Take_Number(rest, rest.size());
    }
    const bool is_month = month.has_value() && *month >= 1 && *month <= 12 && rest.empty();
    return is_month ? *month : trace.Leave(0, "! text");
}

const char* Get_Month_From_Number(int month)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Get_Month_From_Number(%d)", month);
    if (month < 1 || month > 12) {
        return trace.Leave(static_cast<const char*>(nullptr), "! month");
    }
    return Month_Names[static_cast<std::size_t>(month - 1)];
}
