// What date and time records have in common: a value that is set, numeric or a text with its template.
#ifndef LIB_DICOM_SRC_VALUES_VALUE_RECORD_H
#define LIB_DICOM_SRC_VALUES_VALUE_RECORD_H

#include <Lib_DICOM/values.h>

#include "values/date_text.h"
#include "values/owned_text.h"

#include <optional>
#include <utility>

namespace lib_dicom {

/** What tells one kind of record from the other: its strings, and how its value is found. */
template <class Record>
struct Record_Kind;

template <>
struct Record_Kind<OrisWare_Date> {
    using Value = Calendar_Date;
    static constexpr auto Text = &OrisWare_Date::date_str;
    static constexpr auto Template = &OrisWare_Date::date_template;
    static constexpr const char* Text_Name = "date->date_str";
    static constexpr const char* Template_Name = "date->date_template";
    static constexpr auto Parse = &Parse_Date;

    static std::optional<Value> Numbers(const OrisWare_Date& date)
    {
        return Checked_Date(date.year, date.month, date.day);
    }
    static OrisWare_Date Numeric(const Value& value)
    {
        OrisWare_Date date = {};
        date.state = Oris_State_Numeric;
        date.year = value.year;
        date.month = static_cast<unsigned char>(value.month);
        date.day = static_cast<unsigned char>(value.day);
        return date;
    }
};

template <>
struct Record_Kind<OrisWare_Time> {
    using Value = Clock_Time;
    static constexpr auto Text = &OrisWare_Time::time_str;
    static constexpr auto Template = &OrisWare_Time::time_template;
    static constexpr const char* Text_Name = "time->time_str";
    static constexpr const char* Template_Name = "time->time_template";
    static constexpr auto Parse = &Parse_Time;

    static std::optional<Value> Numbers(const OrisWare_Time& time)
    {
        return Checked_Time(time.hour, time.minute, time.seconds);
    }
    static OrisWare_Time Numeric(const Value& value)
    {
        OrisWare_Time time = {};
        time.state = Oris_State_Numeric;
        time.hour = static_cast<unsigned char>(value.hour);
        time.minute = static_cast<unsigned char>(value.minute);
        time.seconds = value.seconds;
        return time;
    }
};

template <class Record>
using Value_Of_Kind = std::optional<typename Record_Kind<Record>::Value>;

template <class Record>
void Release(Record& record)
{
    std::free(record.*Record_Kind<Record>::Text);
    std::free(record.*Record_Kind<Record>::Template);
    record = {};
}

/** The value of a record, none when it is unset or impossible. Clients may have filled it. */
template <class Record>
Value_Of_Kind<Record> Value_Of(const Record* record)
{
    using Kind = Record_Kind<Record>;
    if (record == nullptr || record->state == Oris_State_Unset) {
        return std::nullopt;
    }
    return record->state == Oris_State_Text
               ? Kind::Parse(Trimmed(record->*Kind::Text), Trimmed(record->*Kind::Template))
               : Kind::Numbers(*record);
}

/** Gives a record copies of two texts; what its pointers named before is not its own. */
template <class Record>
bool Copy_Texts(Place place, Record& record, const char* text, const char* text_template)
{
    using Kind = Record_Kind<Record>;
    record.*Kind::Text = record.*Kind::Template = nullptr;
    return Copy_Text(place, record.*Kind::Text, text, Kind::Text_Name) &&
           Copy_Text(place, record.*Kind::Template, text_template, Kind::Template_Name);
}

/** Puts a new record, whose strings are its own, in the place of an old one. */
template <class Record>
void Replace(Record& old, const Record& made)
{
    Release(old);
    old = made;
}

/** Makes a record of numbers, or unset. False when there is no value, or no record. */
template <class Record>
bool Make_Numeric(Record* record, const Value_Of_Kind<Record>& value)
{
    if (record == nullptr) {
        return false;
    }
    Replace(*record, value.has_value() ? Record_Kind<Record>::Numeric(*value) : Record{});
    return value.has_value();
}

/** Makes a record of a text that fits its template, else unset. False without a record or memory. */
template <class Record>
bool Make_Text(Place place, Record* record, const char* text, const char* text_template)
{
    const auto value = Record_Kind<Record>::Parse(Trimmed(text), Trimmed(text_template));
    if (record == nullptr) {
        return false;
    }
    Record made = {};
    if (value.has_value()) {
        made = Record_Kind<Record>::Numeric(*value);
        made.state = Oris_State_Text;
        if (!Copy_Texts(place, made, text, text_template)) {
            Release(made);
        }
    }
    Replace(*record, made);
    return made.state != Oris_State_Unset;
}

/** Copies a record, null as an unset one. False without a target or memory. */
template <class Record>
bool Copy(Place place, Record* target, const Record* source)
{
    if (target == nullptr) {
        return false;
    }
    using Kind = Record_Kind<Record>;
    Record made = source == nullptr ? Record{} : *source;
    const bool copied = Copy_Texts(place, made, made.*Kind::Text, made.*Kind::Template);
    if (!copied) {
        Release(made);
    }
    Replace(*target, made);
    return copied;
}

/** Puts records without a value last. */
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

/** The text of a value by the first template that is not faulty; none when all are. */
template <class Value, class Format, class... Templates>
std::optional<std::string> Format_By_First(const Value& value, Format format,
                                           Templates... templates)
{
    for (const char* const pieces : {templates...}) {
        if (auto text = format(value, pieces == nullptr ? "" : pieces)) {
            return text;
        }
    }
    return std::nullopt;
}

template <class Value, class Target>
void Store(Target* target, Value value)
{
    if (target != nullptr) {
        *target = value;
    }
}

/** The result of an exported function, with the reason of a failure for the trace. */
inline int Result(Trace_Scope& trace, bool done, const char* reason)
{
    return done ? 1 : trace.Leave(0, reason);
}

}  // namespace lib_dicom

#endif
