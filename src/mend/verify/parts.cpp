#include "mend/verify/parts.h"

#include "mend/verify/value_view.h"
#include "mend/verify/verify.h"

#include <algorithm>
#include <map>

namespace lib_mend {

namespace {

bool Is_Functional_Group(const DICOM_Part& part)
{
    return part.sequence != nullptr && (Tag_Of(*part.sequence) == Shared_Groups_Tag ||
                                        Tag_Of(*part.sequence) == Frame_Groups_Tag);
}

/** A macro that is included for some items of a module, and judged in each of them. */
bool Is_Inside(const DICOM_Part& part)
{
    return (part.sequence != nullptr || part.outer >= 0) && !Is_Functional_Group(part);
}

bool Is_Required_Type(unsigned short type)
{
    return type == Type_1 || type == Type_2;
}

bool Holds_Any(DICOM_List* item, const std::vector<Tag>& tags)
{
    return std::any_of(tags.begin(), tags.end(),
                       [&](Tag tag) { return Find_Record(item, tag) != nullptr; });
}

/** The functional groups of one sequence of a module list: their file, and the tags they consist of. */
std::map<std::string_view, std::vector<Tag>> Tags_Of_Groups(DICOM_List* module, Tag sequence,
                                                            std::span<const DICOM_Part> parts)
{
    std::map<std::string_view, std::vector<Tag>> tags;
    const DICOM_List* const node = Find_Record(module, sequence);
    for (const DICOM_List& inner : Records(node != nullptr ? Item_Of(*node, 0) : nullptr)) {
        for (const DICOM_Rule& rule : Rules_Of(inner)) {
            if (rule.part >= 0 && rule.is_own_level != 0) {
                tags[parts[static_cast<std::size_t>(rule.part)].file].push_back(Tag_Of(inner));
            }
        }
    }
    return tags;
}

/** Groups that repeat are overlays each; all others make up one module. */
unsigned short Group_Of_Evidence(unsigned short group)
{
    const auto first = static_cast<unsigned short>(group & 0xFF00U);
    return Object::Repeats(first) ? group : static_cast<unsigned short>(0);
}

}  // namespace

std::span<const DICOM_Rule> Rules_Of(const DICOM_List& node)
{
    const DICOM_Rule* first = nullptr;
    const int count = DICOM_Module_Rules(&node, &first);
    return {first, static_cast<std::size_t>(count)};
}

Parts::Parts(Object& object, Conditions& conditions, DICOM_List* module)
    : object_(object), conditions_(conditions), module_(module)
{
    const DICOM_Part* first = nullptr;
    const int count = DICOM_Module_Parts(module, &first);
    parts_ = {first, static_cast<std::size_t>(count)};
    states_.resize(parts_.size());
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        const DICOM_Part& part = parts_[i];
        states_[i].required = part.usage == 'M'   ? Truth::True
                              : part.usage == 'U' ? Truth::False
                                                  : conditions_.Evaluate(part.required, 0).truth;
    }
    for (const DICOM_List& node : Records(module)) {
        Look_At(node);
    }
    if (std::any_of(states_.begin(), states_.end(), [](const State& state) {
            return !state.is_there && state.required == Truth::True;
        })) {
        Ask_Absent();
    }
}

void Parts::Ask_Absent()
{
    for (const DICOM_List& node : Records(module_)) {
        if (node.type == Type_3 || node.type == 0) {
            continue;
        }
        const DICOM_Rule* alone = nullptr;
        int modules = 0;
        for (const DICOM_Rule& rule : Rules_Of(node)) {
            modules += rule.part >= 0 ? 1 : 0;
            alone = rule.part >= 0 ? &rule : alone;
        }
        if (modules == 1 && alone->is_own_level != 0 && Is_Required_Type(alone->type)) {
            states_[static_cast<std::size_t>(alone->part)].asks = true;
        }
    }
}

bool Parts::Is_Ruled_Out(const DICOM_Rule& rule) const
{
    const DICOM_Part* const part = Part_Of(rule);
    return part != nullptr && part->usage == 'C' && State_Of(*part).required == Truth::False;
}

bool Parts::Fits(const DICOM_Rule& rule, const DICOM_List& record) const
{
    const DICOM_Part* const part = Part_Of(rule);
    if (part == nullptr || part->usage == 'M' || rule.value_set_count == 0) {
        return true;
    }
    const Value_View value(object_.Set(), record);
    return !value.Is_Known() || std::all_of(rule.value_sets, rule.value_sets + rule.value_set_count,
                                            [&](const DICOM_Value_Set& set) {
                                                const bool is_closed = set.is_extensible == 0 &&
                                                                       set.has_more == 0 &&
                                                                       set.when.step_count == 0;
                                                return !is_closed || First_Outside(value, set) == 0;
                                            });
}

Parts::Owners Parts::Owners_Of(std::span<const DICOM_Rule> rules, const DICOM_List& record) const
{
    Owners owners;
    for (const DICOM_Rule& rule : rules) {
        if (rule.part >= 0) {
            const bool fits = Fits(rule, record);
            owners.all += 1;
            owners.fitting += fits ? 1 : 0;
            owners.likely += fits && !Is_Ruled_Out(rule) ? 1 : 0;
        }
    }
    return owners;
}

void Parts::Look_At(const DICOM_List& node)
{
    if (!Object::Repeats(node.group)) {
        if (const DICOM_List* const record = object_.Find(Tag_Of(node))) {
            Look_At(node, *record);
        }
        return;
    }
    for (const unsigned short group : object_.Repetitions(node.group)) {
        if (const DICOM_List* const record = object_.Find({group, node.element})) {
            Look_At(node, *record);
        }
    }
}

void Parts::Look_At(const DICOM_List& node, const DICOM_List& record)
{
    const std::span<const DICOM_Rule> rules = Rules_Of(node);
    const Owners owners = Owners_Of(rules, record);
    for (const DICOM_Rule& rule : rules) {
        if (rule.part < 0 || rule.is_own_level == 0) {
            continue;
        }
        const bool fits = owners.all == 1 || Fits(rule, record);
        const bool is_own = owners.all == 1 || (owners.fitting == 1 && fits);
        // What a macro brings belongs to the module around it.
        for (int part = rule.part; part >= 0; part = parts_[static_cast<std::size_t>(part)].outer) {
            State& state = states_[static_cast<std::size_t>(part)];
            state.is_there = true;
            if (is_own && state.own == nullptr) {
                state.own = &record;
            }
        }
        if (is_own || (owners.likely == 1 && fits && !Is_Ruled_Out(rule))) {
            Add_Evidence(rule, record, is_own);
        }
    }
}

void Parts::Add_Evidence(const DICOM_Rule& rule, const DICOM_List& record, bool is_own)
{
    const DICOM_Part& part = parts_[static_cast<std::size_t>(rule.part)];
    if (part.usage == 'M' || part.sequence != nullptr || part.outer >= 0 ||
        Is_Empty(object_.Set(), record)) {
        return;
    }
    State& state = states_[static_cast<std::size_t>(rule.part)];
    const bool is_clear = is_own && rule.type != Type_3 && !Is_Ruled_Out(rule);
    const auto known =
        std::find_if(state.evidence.begin(), state.evidence.end(), [&](const Evidence& each) {
            return Group_Of_Evidence(each.record->group) == Group_Of_Evidence(record.group);
        });
    if (known == state.evidence.end()) {
        state.evidence.push_back({&record, &part, is_clear});
    } else if (is_clear && !known->is_clear) {
        *known = {&record, &part, is_clear};
    }
}

std::string Parts::Evidence::Reason() const
{
    const std::string module = "the " + std::string(part->name) + " Module";
    const std::string name = Spoken_Name(Tag_Of(*record));
    return is_clear ? name + " tells that " + module + " is there"
                    : module + ", to which " + name + " belongs";
}

Parts::Evidence Parts::Evidence_For(const DICOM_Rule& rule, unsigned short group) const
{
    const DICOM_Part* const part = Part_Of(rule);
    if (part == nullptr || rule.is_own_level == 0 || !Is_Required_Type(rule.type)) {
        return {};
    }
    for (const Evidence& each : State_Of(*part).evidence) {
        if (Group_Of_Evidence(each.record->group) == Group_Of_Evidence(group)) {
            return each;
        }
    }
    return {};
}

Truth Parts::Required(const DICOM_Part& part, unsigned short group)
{
    State& state = states_[static_cast<std::size_t>(&part - parts_.data())];
    if (!Is_Inside(part) || part.usage != 'C') {
        return state.required;
    }
    // The lines of a macro ask one after the other, in the same item.
    if (Object::Repeats(group & 0xFF00U) || state.turn != object_.Turn() + 1) {
        state.turn = object_.Turn() + 1;
        state.here = conditions_.Evaluate(part.required, group).truth;
    }
    return state.here;
}

Truth Parts::Applies(const DICOM_Rule& rule, unsigned short group)
{
    const DICOM_Part* const part = Part_Of(rule);
    if (part == nullptr || part->usage == 'M' || Is_Functional_Group(*part)) {
        return Truth::True;
    }
    if (Is_Inside(*part)) {
        // One without a condition tells by its own rules, and what is nested is there by its sequence.
        const bool is_asked = part->required.step_count != 0 && rule.is_own_level != 0;
        return is_asked ? Required(*part, group) : Truth::True;
    }
    const State& state = State_Of(*part);
    return state.own != nullptr ? Truth::True : state.required;
}

const DICOM_Part* Parts::Required_Part(const DICOM_Rule& rule, unsigned short group)
{
    const DICOM_Part* const part = Part_Of(rule);
    const bool is_conditional = part != nullptr && part->usage == 'C' &&
                                part->required.step_count != 0 && !Is_Functional_Group(*part);
    return is_conditional && rule.is_own_level != 0 && Is_Required_Type(rule.type) &&
                   Required(*part, group) == Truth::True
               ? part
               : nullptr;
}

bool Parts::Is_In_Excluded_Module(const DICOM_Rule& rule) const
{
    const DICOM_Part* const part = Part_Of(rule);
    const DICOM_Part* const module = part != nullptr ? &Outermost(*part) : nullptr;
    return module != nullptr && module->sequence == nullptr && module->usage == 'C' &&
           State_Of(*module).required == Truth::False;
}

Parts::Presence Parts::Presence_Of(const DICOM_Part& part) const
{
    const State& state = State_Of(part);
    return state.own != nullptr ? Presence::Own
           : state.is_there     ? Presence::Shared
                                : Presence::None;
}

bool Parts::Is_Missing(const DICOM_Rule& rule) const
{
    const DICOM_Part* const part = Part_Of(rule);
    if (part == nullptr || part->sequence != nullptr || Is_Inside(*part)) {
        return false;
    }
    const State& state = State_Of(*part);
    return state.asks && !state.is_there && state.required == Truth::True;
}

void Parts::Report(Findings& findings)
{
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        if (parts_[i].sequence == nullptr && parts_[i].outer < 0) {
            Report_Module(parts_[i], states_[i], findings);
        }
    }
    Report_Groups(findings);
}

void Parts::Report_Module(const DICOM_Part& part, const State& state, Findings& findings)
{
    const std::string module = std::string(part.name) + " Module";
    const auto reason = [&](const char* word) {
        const std::string text = conditions_.Reason(part.required, 0);
        return part.usage == 'C' && !text.empty() ? word + text : std::string();
    };
    if (state.required == Truth::True && state.asks && !state.is_there) {
        findings.Report(Fault::Module, Level::Kept, {},
                        "the " + module + " is missing" + reason(", required since "));
    } else if (part.usage == 'C' && state.required == Truth::False && state.own != nullptr &&
               !conditions_.Evaluate(part.required, 0).lacks_operand) {
        // The definitions tell when a module is required, not whether it may be there otherwise.
        findings.Report(Fault::Unlikely, Level::Info, At(*state.own, Path()),
                        "belongs to the " + module + ", which is not required" + reason(" since "),
                        {}, "PS3.3 A.1.3");
    }
}

void Parts::Report_Groups(Findings& findings)
{
    if (object_.Find(Shared_Groups_Tag) == nullptr && object_.Find(Frame_Groups_Tag) == nullptr) {
        return;
    }
    auto tags = Tags_Of_Groups(module_, Shared_Groups_Tag, parts_);
    tags.merge(Tags_Of_Groups(module_, Frame_Groups_Tag, parts_));
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        const DICOM_Part& part = parts_[i];
        // A group is included in both sequences; it is said once.
        const auto group = Is_Functional_Group(part) ? tags.find(part.file) : tags.end();
        if (group == tags.end()) {
            continue;
        }
        if (states_[i].required == Truth::True && part.usage == 'C') {
            Report_Group(part, group->second, findings);
        }
        Report_Both(part, group->second, findings);
        tags.erase(group);
    }
}

void Parts::Report_Group(const DICOM_Part& part, const std::vector<Tag>& tags, Findings& findings)
{
    const DICOM_List* const shared = object_.Find(Shared_Groups_Tag);
    if (shared != nullptr && Holds_Any(Item_Of(*shared, 0), tags)) {
        return;
    }
    const DICOM_List* const frames = object_.Find(Frame_Groups_Tag);
    const int count = frames != nullptr ? Item_Count(*frames) : 0;
    int missing = 0;
    for (int i = 0; i < count; ++i) {
        missing += Holds_Any(Item_Of(*frames, i), tags) ? 0 : 1;
    }
    if (count != 0 && missing == 0) {
        return;
    }
    const std::string where = missing == count ? " is missing"
                                               : " is missing in " + std::to_string(missing) +
                                                     " of " + std::to_string(count) + " frames";
    const std::string reason = conditions_.Reason(part.required, 0);
    findings.Report(Fault::Functional_Group, Level::Kept, {true, tags.front(), VR_SQ},
                    "the " + std::string(part.name) + " functional group" + where +
                        (reason.empty() ? "" : ", required since " + reason));
}

void Parts::Report_Both(const DICOM_Part& part, const std::vector<Tag>& tags, Findings& findings)
{
    const DICOM_List* const shared = object_.Find(Shared_Groups_Tag);
    const DICOM_List* const frames = object_.Find(Frame_Groups_Tag);
    if (shared == nullptr || frames == nullptr || !Holds_Any(Item_Of(*shared, 0), tags)) {
        return;
    }
    for (int i = 0; Item_Of(*frames, i) != nullptr; ++i) {
        if (Holds_Any(Item_Of(*frames, i), tags)) {
            findings.Report(Fault::Functional_Group, Level::Kept, {true, tags.front(), VR_SQ},
                            "the " + std::string(part.name) +
                                " functional group is both shared and in frames");
            return;
        }
    }
}

}  // namespace lib_mend
