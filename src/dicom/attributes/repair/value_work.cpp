#include "attributes/repair/value_work.h"

#include <algorithm>
#include <bitset>
#include <cstdio>

namespace lib_dicom {

namespace {

std::string Label(const char* format, const DICOM_List& record, const VR_Rule& rule)
{
    char text[64];
    std::snprintf(text, sizeof text, format, record.group, record.element, rule.vr >> 8,
                  rule.vr & 0xFF);
    return text;
}

}  // namespace

std::string_view Trim_End(std::string_view text, char pad)
{
    return text.substr(0, text.find_last_not_of(pad) + 1);
}

std::string_view Trim_Start(std::string_view text, char pad)
{
    return text.substr(std::min(text.find_first_not_of(pad), text.size()));
}

Value_Work::Value_Work(HWND handle_, const DICOM_List& record_, const VR_Rule& rule_,
                       const Value_Policy& policy_)
    : handle(handle_), record(record_), rule(rule_), policy(policy_),
      note_label(Label(policy_.note_label, record_, rule_)),
      warning_label(Label(policy_.warning_label, record_, rule_))
{
}

std::size_t Value_Work::Invalid_Size(const char* expected, std::size_t size)
{
    Warn("%hs Invalid data! Expecting %hs but got %d bytes", expected, static_cast<int>(size));
    Mark(DICOM_Mark_Invalid);
    return 0;
}

void Value_Work::Note_Old_Syntax(std::string_view old, std::string_view made) const
{
    Note("%hs Old syntax! \001%.*hs\002 changed to \001%.*hs", Shown(old), old.data(), Shown(made),
         made.data());
}

void Value_Work::Check_Set()
{
    if (rule.set == nullptr) {
        return;
    }
    std::bitset<UCHAR_MAX + 1> allowed;
    for (const char c : std::string_view(rule.set)) {
        allowed.set(static_cast<unsigned char>(c));
    }
    const auto is_foreign = [&](char c) {
        return !allowed[static_cast<unsigned char>(c)];
    };
    const auto count = std::count_if(value.begin(), value.end(), is_foreign);
    if (count == 0) {
        return;
    }
    Note("%hs %d char in \"\001%.*hs\002\" not from set \"\001%hs\002\"", static_cast<int>(count),
         Shown(value), value.data(), rule.set);
    std::erase_if(value, is_foreign);
}

void Value_Work::Check_Last_Backslash()
{
    if (record.group % 2 == 0 && value.ends_with('\\')) {
        Note(policy.last_backslash);
        value.pop_back();
    }
}

}  // namespace lib_dicom
