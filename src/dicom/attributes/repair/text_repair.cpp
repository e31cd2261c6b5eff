// Texts: padding, length, and the forms of times and application entities.
#include "attributes/repair/character_text.h"
#include "attributes/repair/value_work.h"

#include <algorithm>

namespace lib_dicom {

namespace {

void Note_Padding(Value_Work& work, std::string_view text)
{
    if (work.padding_noted) {
        return;
    }
    work.padding_noted = true;
    work.Note("%hs invalid padding char used in \"\001%.*hs\002\" (%hs)", Shown(text), text.data(),
              work.rule.pad == '\0' ? "SPACE instead of NULL" : "NULL instead of SPACE");
}

/** Takes off pads at the end of a value; a NUL among them is no padding of text. */
std::string_view Trim_Value(Value_Work& work, std::string_view text, std::string_view pads)
{
    const std::string_view trimmed = Trim_End(text, pads);
    if (text.find('\0', trimmed.size()) != text.npos) {
        Note_Padding(work, text);
    }
    return trimmed;
}

std::string_view Strip_Value(Value_Work& work, std::string_view text)
{
    return Trim_Start(work.current ? Trim_Value(work, text, Blanks_And_NULs) : Trim_End(text, " "),
                      ' ');
}

/** The fixed rules take off one wrong character and then end, which a result of true says. */
bool Fix_Trailing_Padding(Value_Work& work)
{
    const char pad = work.rule.pad;
    const char wrong = pad == ' ' ? '\0' : ' ';
    if (work.current) {
        const std::size_t size = Trim_End(work.value, Blanks_And_NULs).size();
        if (work.value.find(wrong, size) != work.value.npos) {
            Note_Padding(work, work.value);
        }
        work.value.resize(size);
        return false;
    }
    work.value.resize(Trim_End(work.value, std::string_view(&pad, 1)).size());
    if (!work.value.ends_with(wrong)) {
        return false;
    }
    Note_Padding(work, work.value);
    work.value.pop_back();
    return true;
}

void Fix_Padding(Value_Work& work)
{
    const bool is_done = work.rule.padding != VR_Padding::Kept && Fix_Trailing_Padding(work);
    if (!is_done && work.rule.padding == VR_Padding::Around) {
        work.value.erase(0, work.value.size() - Trim_Start(work.value, ' ').size());
    }
}

/** What is left of a text that may be too long. An application entity knows no letters but ASCII. */
std::size_t Kept_Size(const Value_Work& work, std::string_view text)
{
    const auto max = static_cast<std::size_t>(work.rule.max_length);
    if (max == 0 || text.size() <= max) {
        return text.size();
    }
    return work.current && work.rule.repair != VR_Repair::Printable ? Fitting_Size(text, max) : max;
}

/** One value of several, no longer than allowed and without the blanks around it. */
std::string_view Repair_One(Value_Work& work, std::string_view text)
{
    // The fixed rules measure a value with its blanks; by the current standard they are no part of
    // it, and must not cost it its last characters.
    text = work.current ? Strip_Value(work, text) : text;
    if (Kept_Size(work, text) < text.size()) {
        const std::string_view kept = text.substr(0, Kept_Size(work, text));
        const std::string_view cut = text.substr(kept.size());
        work.Warn("%hs String too long! (\001%d\002/vs/\001%d max\002) Truncated to "
                  "\"\001%.*hs\002\"(\004%.*hs\002)",
                  Shown(text), work.rule.max_length, Shown(kept), kept.data(), Shown(cut),
                  cut.data());
        text = kept;
    }
    return Strip_Value(work, text);
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
    if (Kept_Size(work, work.value) < work.value.size()) {
        const char* const text = work.value.data();
        const std::size_t kept = Kept_Size(work, work.value);
        work.Warn("%hs String too long! (\001%d\002/vs/\001%d max\002) Truncated to \"\001%20.20hs "
                  "\002...\001 %20.20hs\002\"(\004%.*hs\002) ",
                  Shown(work.value), work.rule.max_length, text, text + kept - 20,
                  Shown(std::string_view(work.value).substr(kept)), text + kept);
        work.value.resize(kept);
    }
    return 1;
}

/** Turns the old hh:mm:ss and hh.mm.ss into hhmmss. */
void Rewrite_Time(Value_Work& work)
{
    constexpr std::string_view separators = ":.";
    if (work.value.size() < 3 || separators.find(work.value[2]) == separators.npos) {
        return;
    }
    const std::string old = work.value;
    for (const std::size_t pos : {std::size_t{2}, std::size_t{4}}) {
        const std::size_t start = std::min(pos, work.value.size());
        const std::size_t end = work.value.find_first_not_of(separators, start);
        work.value.erase(start, std::min(end, work.value.size()) - start);
    }
    work.Note_Old_Syntax(old, work.value);
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

std::size_t Text_Pass(Value_Work& work)
{
    Fix_Padding(work);
    if (work.rule.repair == VR_Repair::Time && work.current) {
        // Before the set check, which would take the colons of the old syntax for mere dirt.
        Rewrite_Time(work);
    }
    work.Check_Set();
    if (work.rule.repair == VR_Repair::Integer && !Check_Integers(work)) {
        return 0;
    }
    const std::size_t count =
        work.rule.kind == VR_Kind::Text_Multiple ? Multiple(work) : Single(work);
    if (work.rule.repair == VR_Repair::Printable) {
        Replace_Unprintable(work);
    } else if (work.rule.repair == VR_Repair::Time && !work.current) {
        Remove_Time_Separators(work);
    }
    return count;
}

}  // namespace

/**
 * The repairs of a text. One repair may uncover another: a cut may leave blanks at the end, blanks
 * may hide a backslash. By the current standard a mended value is one that needs no repair, so the
 * passes go on until one takes nothing off. Every pass but the last shortens the value, and all
 * that a run of characters calls for is done in one, so that their number stays small.
 */
std::size_t Repair_Text(Value_Work& work)
{
    if (work.rule.repair == VR_Repair::Integer && work.value.find('.') != work.value.npos &&
        !Convert_Decimals(work)) {
        return 0;
    }
    std::size_t count = 0;
    std::size_t size = 0;
    do {
        size = work.value.size();
        count = Text_Pass(work);
    } while (work.current && count != 0 && work.value.size() != size);
    return count;
}

}  // namespace lib_dicom
