// Texts: padding, length, and the forms of times and application entities.
#include "attributes/repair/value_work.h"

#include <algorithm>

namespace lib_dicom {

namespace {

/** Takes the VR's padding off the value as a whole: the right one, or one byte of the wrong one. */
void Fix_Padding(Value_Work& work)
{
    if (work.rule.padding == VR_Padding::Kept) {
        return;
    }
    std::string& value = work.value;
    const bool pads_with_blanks = work.rule.pad == ' ';
    value.resize(Trim_End(value, work.rule.pad).size());
    if (value.ends_with(pads_with_blanks ? '\0' : ' ')) {
        work.Note("%hs invalid padding char used in \"\001%.*hs\002\" (%hs)", Shown(value),
                  value.data(),
                  pads_with_blanks ? "NULL instead of SPACE" : "SPACE instead of NULL");
        value.pop_back();
    } else if (work.rule.padding == VR_Padding::Around) {
        value.erase(0, value.size() - Trim_Start(value, ' ').size());
    }
}

bool Is_Too_Long(const Value_Work& work, std::string_view text)
{
    const auto max = static_cast<std::size_t>(work.rule.max_length);
    return max != 0 && text.size() > max;
}

/** One value of several: cut with the blanks around it, then without them. */
std::string_view Repair_One(Value_Work& work, std::string_view text)
{
    if (Is_Too_Long(work, text)) {
        const std::string_view kept =
            text.substr(0, static_cast<std::size_t>(work.rule.max_length));
        const std::string_view cut = text.substr(kept.size());
        work.Warn("%hs String too long! (\001%d\002/vs/\001%d max\002) Truncated to "
                  "\"\001%.*hs\002\"(\004%.*hs\002)",
                  Shown(text), work.rule.max_length, Shown(kept), kept.data(), Shown(cut),
                  cut.data());
        text = kept;
    }
    return Trim_Start(Trim_End(text, ' '), ' ');
}

std::size_t Multiple(Value_Work& work)
{
    Trace(work.handle, Trace_Structure, work.policy.multiple_trace, work.record.group,
          work.record.element);
    if (work.value.empty()) {
        return 1;
    }
    work.Check_Last_Backslash();
    return work.Rebuild(
        [&work](std::string_view text, std::string& result) { result += Repair_One(work, text); });
}

std::size_t Single(Value_Work& work)
{
    if (Is_Too_Long(work, work.value)) {
        const char* const text = work.value.data();
        const auto kept = static_cast<std::size_t>(work.rule.max_length);
        work.Warn("%hs String too long! (\001%d\002/vs/\001%d max\002) Truncated to \"\001%20.20hs "
                  "\002...\001 %20.20hs\002\"(\004%.*hs\002) ",
                  Shown(work.value), work.rule.max_length, text, text + kept - 20,
                  Shown(std::string_view(work.value).substr(kept)), text + kept);
        work.value.resize(kept);
    }
    return 1;
}

/** Takes the two separators out of hh:mm:ss or hh.mm.ss, of the whole value like the steps before. */
void Remove_Time_Separators(Value_Work& work)
{
    const auto is_separator = [&work](std::size_t at) {
        return at < work.value.size() && (work.value[at] == ':' || work.value[at] == '.');
    };
    if (!is_separator(2)) {
        return;
    }
    const std::string old = work.value;
    if (is_separator(5)) {
        work.value.erase(5, 1);
    }
    work.value.erase(2, 1);
    work.Note_Old_Syntax(old, work.value);
}

void Replace_Unprintable(Value_Work& work)
{
    const auto is_unprintable = [](char c) {
        return c < ' ' || c > '~';
    };
    const auto count = std::count_if(work.value.begin(), work.value.end(), is_unprintable);
    if (count != 0) {
        work.Note("%hs %d Invalid character in data", static_cast<int>(count));
        std::replace_if(work.value.begin(), work.value.end(), is_unprintable, '_');
    }
}

}  // namespace

std::size_t Repair_Text(Value_Work& work)
{
    const VR_Rule& rule = work.rule;
    if (rule.repair == VR_Repair::Integer && work.value.find('.') != work.value.npos &&
        !Convert_Decimals(work)) {
        return 0;
    }
    Fix_Padding(work);
    work.Check_Set();
    if (rule.repair == VR_Repair::Integer && !Check_Integers(work)) {
        return 0;
    }
    const std::size_t count = rule.kind == VR_Kind::Text_Multiple ? Multiple(work) : Single(work);
    if (rule.repair == VR_Repair::Printable) {
        Replace_Unprintable(work);
    } else if (rule.repair == VR_Repair::Time) {
        Remove_Time_Separators(work);
    }
    return count;
}

}  // namespace lib_dicom
