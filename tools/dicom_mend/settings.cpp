#include "settings.h"

#include "mend/healing/character_set.h"
#include "mend/healing/image.h"
#include "mend/interface/element_change.h"
#include "mend/reading/tree.h"
#include "mend/reading/vr_forms.h"
#include "suggestions.h"

#include <algorithm>
#include <optional>

namespace dicom_mend {

namespace {

using lib_mend::Bytes;
using lib_mend::Data_Set;
using lib_mend::Fault;
using lib_mend::Findings;
using lib_mend::Level;
using lib_mend::Path;
using lib_mend::Path_Step;
using lib_mend::Target;

/** The item of a step below a list; nothing when the step cannot be taken. */
std::optional<Target> Step_Into(Data_Set& set, const Target& around, const Path_Step& step)
{
    DICOM_List* const list = around.item != nullptr ? around.item : set.records.Head();
    const DICOM_List* const sequence = lib_mend::Find_Record(list, step.sequence);
    const Target target = {around.item, step.sequence};
    if (lib_mend::VR_For(set, target, "") != VR_SQ ||
        (sequence != nullptr && !lib_mend::Holds_Items(*sequence) &&
         lib_mend::Size_Of(*sequence) > 0)) {
        return std::nullopt;
    }
    const int count = sequence != nullptr ? lib_mend::Item_Count(*sequence) : 0;
    if (step.item > count) {
        return std::nullopt;
    }
    if (step.item < count) {
        return Target{lib_mend::Item_Of(*sequence, step.item), {}};
    }
    DICOM_List* const item = lib_mend::Add_Item(set, target);
    // What is found in it can stand nowhere but in the sequence.
    lib_mend::Take_Place(
        *item, *lib_mend::Find_Record(around.item != nullptr ? around.item : set.records.Head(),
                                      step.sequence));
    return Target{item, {}};
}

/** The bytes of a text; nothing when the character set of the file has not all of its letters. */
std::optional<Bytes> Encoded(const Data_Set& set, unsigned short vr, const std::string& value)
{
    const bool is_plain =
        std::all_of(value.begin(), value.end(), [](char c) { return (c & 0x80) == 0; });
    const lib_mend::Character_Set characters(
        lib_mend::Text_In(set, set.records.Head(), lib_mend::Character_Set_Tag));
    if (!is_plain && characters.To_UTF_8_Without_Loss(value, vr) != value) {
        return std::nullopt;
    }
    return Bytes(value.begin(), value.end());
}

/** Why users have no say in an element; empty where they have. */
std::string Refusal_Of(lib_mend::Tag tag)
{
    constexpr unsigned short Meta_Group = 0x0002;
    constexpr unsigned short First_Group = 0x0008;
    if (tag.group == Meta_Group) {
        return "the file meta information follows the data set; --syntax chooses the transfer "
               "syntax";
    }
    if (tag.group < First_Group || tag.element == 0) {
        return "is no attribute of a data set";
    }
    return {};
}

bool Set_One(Data_Set& set, const Setting& setting, Findings& findings)
{
    const auto fail = [&](const char* text) {
        findings.Report(Fault::Not_Written, Level::Error,
                        {.has_tag = true, .tag = setting.path.tag, .path = &setting.path.way},
                        text);
        return false;
    };
    Target target;
    for (const Path_Step& step : setting.path.way) {
        const std::optional<Target> item = Step_Into(set, target, step);
        if (!item) {
            return fail("cannot be set: there is no such sequence, or no item so far behind");
        }
        target = *item;
    }
    target.tag = setting.path.tag;
    const unsigned short vr = lib_mend::VR_For(set, target, "");
    if (vr == 0 || vr == VR_SQ) {
        return fail("cannot be set: it is a sequence, or its VR is not known");
    }
    const bool is_text = lib_mend::Is_Text(vr);
    const std::optional<Bytes> bytes = is_text
                                           ? Encoded(set, vr, setting.value)
                                           : lib_mend::Encoded_Text_Of_Numbers(vr, setting.value);
    if (!bytes) {
        return fail(is_text ? "cannot be set: its letters have no form in the character set of the "
                              "file; --to-utf8 takes all letters"
                            : "cannot be set: the value has no form in its VR");
    }
    // The file meta information follows what was asked for, and not what was read.
    Set_Value(set, target, vr, *bytes).flags |= DICOM_Mark_Forced;
    return true;
}

}  // namespace

std::string Take_Setting(const std::string& text, std::vector<Setting>& settings)
{
    const std::size_t equals = text.find('=');
    if (equals == text.npos) {
        return "expected TAG=VALUE or KEYWORD=VALUE, for example Modality=CT";
    }
    const std::string name = text.substr(0, equals);
    const auto path = lib_mend::Parse_Path(name);
    if (!path) {
        return Path_Fault(name);
    }
    settings.push_back({*path, text.substr(equals + 1)});
    return Refusal_Of(path->tag);
}

bool Set_All(Data_Set& set, const std::vector<Setting>& settings, Findings& findings)
{
    return std::all_of(settings.begin(), settings.end(),
                       [&](const Setting& setting) { return Set_One(set, setting, findings); });
}

void Heal_Settings(Data_Set& set, const std::vector<Setting>& settings,
                   lib_mend::Heal_Options options, Findings& findings)
{
    if (settings.empty()) {
        return;
    }
    // What was kept is said already, and what users set is no change of what the file said.
    options.record = false;
    set.healed = false;
    const auto setting_of = [&settings](const lib_mend::Finding& finding) {
        return std::find_if(settings.begin(), settings.end(), [&](const Setting& each) {
            return finding.has_tag && finding.path == Path_Text(each.path.way, each.path.tag);
        });
    };
    Findings again;
    again.Take_Only(
        [&](const lib_mend::Finding& finding) { return setting_of(finding) != settings.end(); });
    Heal(set, options, again);
    for (const lib_mend::Finding& finding : again.All()) {
        findings.Report(finding.fault, finding.level,
                        {.has_tag = true,
                         .tag = finding.tag,
                         .vr = finding.vr,
                         .path = &setting_of(finding)->path.way},
                        finding.text, {finding.before, finding.after}, finding.clause);
    }
}

}  // namespace dicom_mend
