// A value at work: the steps of the repair change a copy of it, and say what they find.
#ifndef LIB_DICOM_SRC_ATTRIBUTES_VALUE_WORK_H
#define LIB_DICOM_SRC_ATTRIBUTES_VALUE_WORK_H

#include "attributes/repair/value_engine.h"

#include <algorithm>
#include <climits>
#include <string_view>

namespace lib_dicom {

/** Calls `visit` with each of the values between backslashes and returns how many there are. */
template <class Visit>
std::size_t For_Each_Value(std::string_view text, Visit&& visit)
{
    std::size_t count = 1;
    for (std::size_t end = text.find('\\'); end != text.npos; end = text.find('\\'), ++count) {
        visit(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    visit(text);
    return count;
}

/** Text and its length for "%.*hs": values are not terminated and may be of any length. */
inline int Shown(std::string_view text)
{
    return static_cast<int>(std::min<std::size_t>(text.size(), INT_MAX));
}

std::string_view Trim_Start(std::string_view text, char pad);
std::string_view Trim_End(std::string_view text, char pad);

class Value_Work {
public:
    Value_Work(HWND handle_, const DICOM_List& record_, const VR_Rule& rule_,
               const Value_Policy& policy_);

    template <class... Args>
    void Note(const char* text, Args... args) const
    {
        Report_Note(handle, text, note_label.c_str(), args...);
    }
    template <class... Args>
    void Warn(const char* text, Args... args) const
    {
        Report_Warning(handle, text, warning_label.c_str(), args...);
    }
    void Mark(unsigned short mark)
    {
        marks = static_cast<unsigned short>(marks | mark);
    }
    /** Warns of a size that makes the value invalid; 0, the number of values of such a value. */
    std::size_t Invalid_Size(const char* expected, std::size_t size);
    void Note_Old_Syntax(std::string_view old, std::string_view made) const;

    /** Takes out what is not in the VR's set. */
    void Check_Set();
    /** Takes off a backslash at the end of a value in a standard group. */
    void Check_Last_Backslash();

    /** Rebuilds the value from what `repair` appends for each part; returns the number of parts. */
    template <class Repair>
    std::size_t Rebuild(Repair&& repair)
    {
        std::string rebuilt;
        rebuilt.reserve(value.size());
        bool first = true;
        const std::size_t count = For_Each_Value(value, [&](std::string_view part) {
            rebuilt.append(first ? 0 : 1, '\\');
            first = false;
            repair(part, rebuilt);
        });
        value = std::move(rebuilt);
        return count;
    }

    const HWND handle;
    const DICOM_List& record;
    const VR_Rule& rule;
    const Value_Policy& policy;
    const std::string note_label;
    const std::string warning_label;

    /** What the value has become so far. */
    std::string value;
    unsigned short marks = 0;
};

/* ---- the repairs of kinds of VRs; each returns the number of values, 0 when they are of no use ---- */

/** DA: brings old forms into that of today. */
std::size_t Repair_Date(Value_Work& work);
/** All texts, with what IS, TM and AE have of their own. */
std::size_t Repair_Text(Value_Work& work);

/* ---- IS; false after a warning, when the value is of no use ---- */

bool Convert_Decimals(Value_Work& work);
bool Check_Integers(Value_Work& work);

}  // namespace lib_dicom

#endif
