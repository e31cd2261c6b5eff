// Dates and times of day. The two families are alike: the functions that follow first know of a
// record only how it is released, how its value is found, and which strings it owns.
#include <Lib_DICOM/values.h>

#include "values/date_text.h"
#include "values/owned_text.h"
#include "values/result_ring.h"

#include <chrono>
#include <ctime>
#include <initializer_list>
#include <utility>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "conv_time_fct";

void Release(OrisWare_Date& date)
{
    std::free(date.date_str);
    std::free(date.date_template);
    date = {};
}

void Release(OrisWare_Time& time)
{
    std::free(time.time_str);
    std::free(time.time_template);
    time = {};
}

/** The value of a record, none when it is unset or impossible. Clients may have filled it. */
std::optional<Calendar_Date> Value_Of(const OrisWare_Date* date)
{
    if (date == nullptr || date->state == Oris_State_Unset) {
        return std::nullopt;
    }
    if (date->state == Oris_State_Text) {
        return Parse_Date(Trimmed(date->date_str), Trimmed(date->date_template));
    }
    return Checked_Date(date->year, date->month, date->day);
}

std::optional<Clock_Time> Value_Of(const OrisWare_Time* time)
{
    if (time == nullptr || time->state == Oris_State_Unset) {
        return std::nullopt;
    }
    if (time->state == Oris_State_Text) {
        return Parse_Time(Trimmed(time->time_str), Trimmed(time->time_template));
    }
    return Checked_Time(time->hour, time->minute, time->seconds);
}

OrisWare_Date Numeric(const Calendar_Date& value)
{
    return {Oris_State_Numeric,
            value.year,
            static_cast<unsigned char>(value.month),
            static_cast<unsigned char>(value.day),
            nullptr,
            nullptr};
}

OrisWare_Time Numeric(const Clock_Time& value)
{
    return {Oris_State_Numeric,
            static_cast<unsigned char>(value.hour),
            static_cast<unsigned char>(value.minute),
            value.seconds,
            nullptr,
            nullptr};
}

/** Gives a record copies of two texts; what its pointers named before is not its own. */
bool Copy_Texts(OrisWare_Date& date, const char* text, const char* date_template)
{
    date.date_str = date.date_template = nullptr;
    return Copy_Text(This_Unit, date.date_str, text, "date->date_str") &&
           Copy_Text(This_Unit, date.date_template, date_template, "date->date_template");
}

bool Copy_Texts(OrisWare_Time& time, const char* text, const char* time_template)
{
    time.time_str = time.time_template = nullptr;
    return Copy_Text(This_Unit, time.time_str, text, "time->time_str") &&
           Copy_Text(This_Unit, time.time_template, time_template, "time->time_template");
}

/** Puts a new record, whose strings are its own, in the place of an old one. */
template <class Record>
void Replace(Record& old, const Record& made)
{
    Release(old);
    old = made;
}

template <class Record, class Value>
bool Make_Numeric(Record* record, const std::optional<Value>& value)
{
    if (record == nullptr) {
        return false;
    }
    Replace(*record, value.has_value() ? Numeric(*value) : Record{});
    return value.has_value();
}

template <class Record, class Value>
bool Make_Text(Record* record, const std::optional<Value>& value, const char* text,
               const char* text_template)
{
    if (record == nullptr) {
        return false;
    }
    Record made = {};
    if (value.has_value()) {
        made = Numeric(*value);
        made.state = Oris_State_Text;
        if (!Copy_Texts(made, text, text_template)) {
            Release(made);
        }
    }
    Replace(*record, made);
    return made.state != Oris_State_Unset;
}

template <class Record>
bool Copy(Record* target, Record source, const char* text, const char* text_template)
{
    if (target == nullptr) {
        return false;
    }
    const bool copied = Copy_Texts(source, text, text_template);
    if (!copied) {
        Release(source);
    }
    Replace(*target, source);
    return copied;
}

template <class Record>
int Compare(const Record* first, const Record* second)
{
    const auto a = Value_Of(first);
    const auto b = Value_Of(second);
    if (!a.has_value() || !b.has_value()) {
        return static_cast<int>(!a.has_value()) - static_cast<int>(!b.has_value());
    }
    return static_cast<int>(*b < *a) - static_cast<int>(*a < *b);
}

template <class Record>
void Swap(Record* first, Record* second)
{
    if (first != nullptr && second != nullptr) {
        std::swap(*first, *second);
    }
}

template <class Value, class Target>
void Store(Target* target, Value value)
{
    if (target != nullptr) {
        *target = value;
    }
}

/** The result of an exported function, with the reason of a failure for the trace. */
int Result(Trace_Scope& trace, bool done, const char* reason)
{
    return done ? 1 : trace.Leave(0, reason);
}

/** A text that ends in three decimals, without them when they are zero. */
std::string Without_Zero_Fraction(std::string text)
{
    constexpr std::string_view Zero = ".000";
    if (text.ends_with(Zero)) {
        text.resize(text.size() - Zero.size());
    }
    return text;
}

/** The date by the first template that is not faulty, else in the built-in form. */
std::string Date_For_People(const Calendar_Date& date, const char* date_template)
{
    for (const char* const pieces :
         std::initializer_list<const char*>{date_template, Oris_Date_Template}) {
        if (auto text = Format_Date(date, pieces == nullptr ? "" : pieces)) {
            return *std::move(text);
        }
    }
    return Format_Date(date, "yyyy-mm-dd").value();
}

std::string Time_For_People(const Clock_Time& time, const char* time_template)
{
    for (const char* const pieces :
         std::initializer_list<const char*>{time_template, Oris_Time_Template}) {
        if (auto text = Format_Time(time, pieces == nullptr ? "" : pieces)) {
            return *std::move(text);
        }
    }
    return Without_Zero_Fraction(Format_Time(time, "hh:mm:ss.fff").value());
}

/** The template of a DA value goes by its length; an empty one fits no date. */
const char* DICOM_Date_Template(std::size_t size)
{
    switch (size) {
    case 6:
        return "yymmdd";
    case 8:
        return "yyyymmdd";
    case 10:
        return "yyyy.mm.dd";
    default:
        return "";
    }
}

const char* DICOM_Time_Template(std::string_view text)
{
    const bool has_separators = text.size() > 2 && (text[2] == ':' || text[2] == '.');
    return has_separators ? "hh:mm:ss.ffffff" : "hhmmss.ffffff";
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

/* ---- dates ---- */

int Make_Oris_Date(OrisWare_Date* date, const char* text, const char* date_template)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Make_Oris_Date(%hs,%hs)", text, date_template);
    const auto value = Parse_Date(Trimmed(text), Trimmed(date_template));
    return Result(trace, Make_Text(date, value, text, date_template), "! text");
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
    return Result(trace, Make_Numeric(date, Parse_Date(value, DICOM_Date_Template(value.size()))),
                  "! text");
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
    const OrisWare_Date from = source == nullptr ? OrisWare_Date{} : *source;
    return Result(trace, Copy(target, from, from.date_str, from.date_template), "! target");
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

/* ---- times of day ---- */

int Make_Oris_Time(OrisWare_Time* time, const char* text, const char* time_template)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Make_Oris_Time(%hs,%hs)", text, time_template);
    const auto value = Parse_Time(Trimmed(text), Trimmed(time_template));
    return Result(trace, Make_Text(time, value, text, time_template), "! text");
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
    return Result(trace, Make_Numeric(time, Parse_Time(value, DICOM_Time_Template(value))),
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
    const OrisWare_Time from = source == nullptr ? OrisWare_Time{} : *source;
    return Result(trace, Copy(target, from, from.time_str, from.time_template), "! target");
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
