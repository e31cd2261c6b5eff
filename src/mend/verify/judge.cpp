#include "mend/verify/judge.h"

#include "mend/verify/value_view.h"
#include "mend/verify/verify.h"

#include <algorithm>

namespace lib_mend {

namespace {

constexpr Tag Modality_Tag = {0x0008, 0x0060};

bool Is_Conditional(unsigned short type)
{
    return type == Type_1C || type == Type_2C;
}

/** Tells whether a condition names an attribute of the same item that is to be absent. */
bool Names_Absent(const DICOM_Condition* condition, Tag tag)
{
    for (int i = 0; condition != nullptr && i + 1 < condition->step_count; ++i) {
        const DICOM_Step& step = condition->steps[i];
        if (step.kind == DICOM_Step::Present && condition->steps[i + 1].kind == DICOM_Step::Not &&
            step.origin == DICOM_Step::Here && step.up == 0 && step.tag_count == 1 &&
            step.tags[0] == (static_cast<unsigned int>(tag.group) << 16U | tag.element)) {
            return true;
        }
    }
    return false;
}

/** What is certain counts first, then type 1. */
bool Is_Stricter(const Judge::Demand& demand, const Judge::Demand& other)
{
    return other.type == 0 || (demand.is_certain && !other.is_certain) ||
           (demand.is_certain == other.is_certain && demand.type >> 8 == '1' &&
            other.type >> 8 == '2');
}

/** The type that a line outside of all modules gives; 0 for none. */
unsigned short Type_Outside(std::span<const DICOM_Rule> rules)
{
    const auto outside = std::find_if(rules.begin(), rules.end(),
                                      [](const DICOM_Rule& rule) { return rule.part < 0; });
    return outside != rules.end() ? outside->type : static_cast<unsigned short>(0);
}

std::string Items_Text(int count)
{
    return std::to_string(count) + (count == 1 ? " item" : " items");
}

}  // namespace

Judge::Judge(Object& object, DICOM_List* module, Purpose purpose, const Findings& found)
    : conditions_(object), parts_(object, conditions_, module), object_(object), purpose_(purpose),
      is_modality_said_(
          std::any_of(found.All().begin(), found.All().end(),
                      [](const Finding& each) { return each.fault == Fault::Modality; }))
{
}

bool Judge::Holds(const DICOM_Condition& condition, unsigned short group)
{
    return condition.step_count == 0 || conditions_.Evaluate(condition, group).Holds();
}

bool Judge::Is_Silent(const DICOM_Rule& rule) const
{
    return (purpose_ == Purpose::Report && parts_.Is_Missing(rule)) ||
           (purpose_ == Purpose::Add && parts_.Is_In_Excluded_Module(rule));
}

std::vector<const DICOM_Rule*> Judge::Deciding(std::span<const DICOM_Rule> rules)
{
    std::vector<const DICOM_Rule*> deciding;
    bool has_module = false;
    for (const DICOM_Rule& rule : rules) {
        if (rule.part < 0 && rule.required.step_count != 0) {
            return {&rule};
        }
        has_module = has_module || (rule.part >= 0 && rule.type != 0);
        deciding.push_back(&rule);
    }
    std::erase_if(deciding, [=](const DICOM_Rule* rule) {
        return rule->type == 0 || (has_module && rule->part < 0);
    });
    return deciding;
}

Judge::Demand Judge::Demand_For(const DICOM_List& node, unsigned short group)
{
    // Most of what an IOD names is of type 3.
    if (node.type == Type_3 || node.type == 0) {
        return {};
    }
    const std::span<const DICOM_Rule> rules = Rules_Of(node);
    if (node.type == Type_1 || node.type == Type_2) {
        const auto is_silent = [this](const DICOM_Rule& rule) {
            return Is_Silent(rule);
        };
        // What another module asks for too is said as part of the one that is missing.
        const bool asks = purpose_ == Purpose::Add
                              ? rules.empty() || !std::all_of(rules.begin(), rules.end(), is_silent)
                              : std::none_of(rules.begin(), rules.end(), is_silent);
        return asks ? Demand{node.type, {}} : Demand();
    }
    Demand demand;
    for (const DICOM_Rule* const rule : Deciding(rules)) {
        Demand other = Conditional_Demand(*rule, group);
        if (other.type != 0 && Is_Stricter(other, demand)) {
            demand = std::move(other);
        }
    }
    const unsigned short outside = Type_Outside(rules);
    demand.type = Is_Conditional(demand.type) && Is_Conditional(outside) ? outside : demand.type;
    return demand;
}

Judge::Demand Judge::Conditional_Demand(const DICOM_Rule& rule, unsigned short group)
{
    if (Is_Silent(rule)) {
        return {};
    }
    if (const DICOM_Part* const part = parts_.Required_Part(rule, group)) {
        return {rule.type, conditions_.Reason(part->required, group)};
    }
    if (!Is_Conditional(rule.type)) {
        return Demand_Of_Present(rule, group);
    }
    if (rule.required.step_count == 0 || parts_.Applies(rule, group) != Truth::True ||
        !Holds(rule.required, group)) {
        return {};
    }
    return {rule.type, conditions_.Reason(rule.required, group), &rule.required};
}

Judge::Demand Judge::Demand_Of_Present(const DICOM_Rule& rule, unsigned short group) const
{
    const Parts::Evidence evidence = parts_.Evidence_For(rule, group);
    return evidence.record == nullptr
               ? Demand()
               : Demand{rule.type, evidence.Reason(), nullptr, evidence.is_clear};
}

bool Judge::Stands_In_For_Said(Tag tag, const Demand& demand)
{
    const Path& way = object_.Way();
    if (!std::equal(way.begin(), way.end(), said_way_.begin(), said_way_.end(),
                    [](const Path_Step& a, const Path_Step& b) {
                        return a.sequence == b.sequence && a.item == b.item;
                    })) {
        said_way_ = way;
        said_.clear();
    }
    const bool is_said = std::any_of(said_.begin(), said_.end(), [&](const auto& each) {
        return Names_Absent(each.second, tag) &&
               demand.reason.find(Spoken_Name(each.first) + " is not there") != std::string::npos;
    });
    said_.emplace_back(tag, demand.condition);
    return is_said;
}

Judge::Ban Judge::Ban_Of(const DICOM_Rule& rule, unsigned short group)
{
    if (!Is_Conditional(rule.type) || rule.required.step_count == 0 ||
        rule.otherwise == DICOM_Rule::Free) {
        return Ban::None;
    }
    const Verdict verdict = conditions_.Evaluate(rule.required, group);
    if (verdict.truth != Truth::False || verdict.lacks_operand) {
        return Ban::None;
    }
    if (rule.otherwise == DICOM_Rule::Limited) {
        const Verdict allowed = conditions_.Evaluate(rule.allowed, group);
        return allowed.truth == Truth::False && !allowed.lacks_operand ? Ban::Forbidden : Ban::None;
    }
    return rule.otherwise == DICOM_Rule::Absent ? Ban::Forbidden : Ban::Unsaid;
}

void Judge::Check_Allowed(const DICOM_List& node, std::span<const DICOM_Rule> rules,
                          const DICOM_List& record, Findings& findings)
{
    if (!Is_Conditional(node.type)) {
        return;
    }
    // Any module that lets the attribute be there is enough.
    const DICOM_Rule* by = nullptr;
    Ban ban = Ban::None;
    for (const DICOM_Rule* const rule : Deciding(rules)) {
        const Ban other = Ban_Of(*rule, record.group);
        if (other == Ban::None) {
            return;
        }
        by = by == nullptr || other < ban ? rule : by;
        ban = by == rule ? other : ban;
    }
    if (by == nullptr) {
        return;
    }
    const bool is_limited = by->otherwise == DICOM_Rule::Limited;
    const std::string reason =
        conditions_.Reason(by->required, record.group, is_limited ? &by->allowed : nullptr);
    const bool is_forbidden = ban == Ban::Forbidden;
    findings.Report(is_forbidden ? Fault::Not_Allowed : Fault::Not_Expected, Level::Kept,
                    At(record, object_.Way()),
                    (is_forbidden ? "is not allowed" : "is not foreseen") +
                        (reason.empty() ? std::string() : " since " + reason));
}

void Judge::Report_Once(Fault fault, const DICOM_List& record, const std::string& text,
                        const Values& values, Said& said, Findings& findings) const
{
    const std::pair<Fault, std::string> words(fault, text);
    if (std::find(said.begin(), said.end(), words) == said.end()) {
        said.push_back(words);
        findings.Report(fault, Level::Kept, At(record, object_.Way()), text, values);
    }
}

void Judge::Check_Values(const DICOM_Rule& rule, const DICOM_List& record, Said& said,
                         Findings& findings)
{
    const Value_View value(object_.Set(), record);
    for (int i = 0; value.Is_Known() && i < rule.value_set_count; ++i) {
        const DICOM_Value_Set& set = rule.value_sets[i];
        const int outside = First_Outside(value, set);
        if (outside == 0 || set.has_more != 0 || !Holds(set.when, record.group) ||
            (is_modality_said_ && Tag_Of(record) == Modality_Tag)) {
            continue;
        }
        const bool is_hint = set.is_extensible != 0;
        const std::string which =
            value.Count() > 1 ? "value " + std::to_string(outside) : std::string("the value");
        const std::string reason =
            set.when.step_count != 0 ? conditions_.Reason(set.when, record.group) : std::string();
        const std::string text =
            which + " is not " +
            Spoken_Choices(Tag_Of(record), object_.Way(), set.values, set.count) +
            (reason.empty() ? "" : ", as it has to be since " + reason);
        Report_Once(is_hint ? Fault::Defined_Term : Fault::Enumerated_Value, record, text,
                    {value.Text(outside - 1), {}}, said, findings);
    }
}

void Judge::Check_Items(const DICOM_Rule& rule, const DICOM_List& record, Said& said,
                        Findings& findings)
{
    const int count = Item_Count(record);
    for (int i = 0; i < rule.item_count_count && count != 0; ++i) {
        const DICOM_Item_Count& allowed = rule.item_counts[i];
        const bool fits = count >= allowed.min && (allowed.max < 0 || count <= allowed.max);
        if (fits || !Holds(allowed.when, record.group)) {
            continue;
        }
        const bool is_less = count < allowed.min;
        const std::string text = "has " + Items_Text(count) + " where " +
                                 (is_less ? "at least " + Items_Text(allowed.min) + " are asked for"
                                          : Items_Text(allowed.max) + " at most may be");
        Report_Once(Fault::Item_Number, record, text, {}, said, findings);
    }
}

void Judge::Check(const DICOM_List& node, const DICOM_List* record, unsigned short group,
                  Findings& findings)
{
    if (record != nullptr) {
        Check_Present(node, *record, findings);
    } else {
        Check_Absent(node, group, findings);
    }
}

void Judge::Check_Absent(const DICOM_List& node, unsigned short group, Findings& findings)
{
    const Demand demand = Demand_For(node, group);
    if (demand.type == 0 || Stands_In_For_Said({group, node.element}, demand)) {
        return;
    }
    // The item that should hold it tells the place, where it was read: no item begins a file.
    const bool in_item =
        !object_.Way().empty() && object_.List() != nullptr && Position_Of(*object_.List()) > 0;
    const Place place = {true,
                         {group, node.element},
                         0,
                         &object_.Way(),
                         in_item ? Position_Of(*object_.List()) : Finding::Nowhere};
    const std::string type = " type " + Type_Text(demand.type);
    if (demand.is_certain) {
        findings.Report(Fault::Missing, Level::Kept, place,
                        "Missing required value for" + type + " tag" +
                            (demand.reason.empty() ? "" : ", required since " + demand.reason));
    } else {
        findings.Report(Fault::Module_Incomplete, Level::Kept, place,
                        "may be missing: it is of" + type + " in " + demand.reason);
    }
}

void Judge::Check_Present(const DICOM_List& node, const DICOM_List& record, Findings& findings)
{
    if ((node.type == Type_1 || node.type == Type_1C) && Is_Empty(object_.Set(), record)) {
        findings.Report(Fault::Empty, Level::Kept, At(record, object_.Way()),
                        "Empty required value for type " + Type_Text(node.type) + " tag");
    }
    const std::span<const DICOM_Rule> rules = Rules_Of(node);
    Check_Allowed(node, rules, record, findings);
    if (std::none_of(rules.begin(), rules.end(), [](const DICOM_Rule& rule) {
            return rule.value_set_count != 0 || rule.item_count_count != 0;
        })) {
        return;
    }
    const bool is_asked = std::any_of(rules.begin(), rules.end(), [&](const DICOM_Rule& rule) {
        return parts_.Applies(rule, record.group) == Truth::True;
    });
    Said said;
    for (const DICOM_Rule& rule : rules) {
        // A module that need not be there says nothing of what another one may have put there.
        const bool is_certain = parts_.Applies(rule, record.group) == Truth::True;
        if (!is_certain && (is_asked || rules.size() > 1)) {
            continue;
        }
        if (rule.value_set_count != 0) {
            Check_Values(rule, record, said, findings);
        }
        if (rule.item_count_count != 0) {
            Check_Items(rule, record, said, findings);
        }
    }
}

}  // namespace lib_mend
