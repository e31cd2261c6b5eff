#include "support/mutants.h"

#include "mend/verify/verify.h"

#include <algorithm>
#include <utility>

using namespace lib_mend;

namespace {

bool Is_Conditional(unsigned short type)
{
    return type == Type_1C || type == Type_2C;
}

bool Is_Required(unsigned short type)
{
    return type == Type_1 || type == Type_2;
}

/** A value that a set does not name, of the VR of an element. */
std::string Outsider(const DICOM_Value_Set& set, const Made_Element& element)
{
    Made_Element candidate = {element.vr, {element.vr == "AT" ? "00100010" : "211"}, {}};
    const bool is_text = element.vr != "AT" && !element.Holds_Numbers();
    if (is_text) {
        candidate.values[0] = element.vr == "UI" ? "1.2.3.211" : "NEVER";
    }
    const bool is_named = std::any_of(set.values, set.values + set.count,
                                      [&](auto* text) { return candidate.Equals(0, text); });
    return is_named ? std::string() : candidate.values[0];
}

/** The number that makes a comparison hold. */
long long Fitting_Number(const DICOM_Step& step)
{
    const bool is_above =
        step.relation == DICOM_Step::Greater || step.relation == DICOM_Step::Unequal;
    return step.number + (is_above ? 1 : step.relation == DICOM_Step::Less ? -1 : 0);
}

/** The comparison that a condition is; null when it is more, or compares more than one attribute. */
const DICOM_Step* Only_Comparison(const DICOM_Condition& condition)
{
    // "or unknown" leaves it to other reasons what holds when the comparison does not.
    const bool is_open = condition.step_count == 3 &&
                         condition.steps[1].kind == DICOM_Step::Unknown &&
                         condition.steps[2].kind == DICOM_Step::Or;
    if (condition.step_count != 1 && !is_open) {
        return nullptr;
    }
    const DICOM_Step& step = condition.steps[0];
    const bool compares = step.kind == DICOM_Step::Text || step.kind == DICOM_Step::Number;
    return compares && step.tag_count == 1 && step.origin != DICOM_Step::Frame &&
                   step.tags[0] >> 16U != 0x0002
               ? &step
               : nullptr;
}

/** How many attributes of each module are there, with a value, that belong to no other. */
std::vector<int> Witnesses_In(const Made_Set& object, DICOM_List* module)
{
    std::vector<int> witnesses(Part_Lines(module).size());
    for (const DICOM_List& node : Records(module)) {
        const std::span<const DICOM_Rule> rules = Rule_Lines(node);
        const Made_Element* const element = object.Find(Tag_Of(node));
        if (rules.size() == 1 && rules[0].part >= 0 && rules[0].is_own_level != 0 &&
            element != nullptr && !element->Is_Empty()) {
            ++witnesses[static_cast<std::size_t>(rules[0].part)];
        }
    }
    return witnesses;
}

/** A macro for some items of a sequence: its condition is one of the item. */
bool Is_Of_Items(const DICOM_Part& part)
{
    return part.outer >= 0 || (part.sequence != nullptr && part.sequence->group != 0x5200);
}

class Mutant_Finder {
public:
    Mutant_Finder(Made_Set& object, DICOM_List* module)
        : object_(object), module_(module), parts_(Part_Lines(module)),
          witnesses_(Witnesses_In(object, module))
    {
    }

    std::vector<Mutant> Find()
    {
        Made_Place top = {{&object_}, {}};
        For_Each_Line(module_, top, [&](const DICOM_List& node, const Made_Place& place) {
            Look_At(node, place);
        });
        return std::move(mutants_);
    }

private:
    /** Whether a rule is in force, also without one of the attributes that are there. */
    bool Is_In_Force(const DICOM_Rule& rule) const
    {
        if (rule.part < 0) {
            return true;
        }
        const auto index = static_cast<std::size_t>(rule.part);
        return parts_[index].usage == 'M' || parts_[index].sequence != nullptr ||
               witnesses_[index] > 1;
    }
    bool Is_Of_Optional_Part(const DICOM_Rule& rule) const
    {
        return rule.part >= 0 && rule.is_own_level != 0 &&
               parts_[static_cast<std::size_t>(rule.part)].usage != 'M';
    }
    /** Whether a module that need not be there is, also without the attribute of a line. */
    bool Is_Told_Otherwise(const DICOM_Rule& rule, const DICOM_List& node) const
    {
        const auto index = static_cast<std::size_t>(rule.part);
        if (parts_[index].sequence != nullptr || parts_[index].outer >= 0) {
            return false;
        }
        const bool is_one = Rule_Lines(node).size() == 1 && !object_.Find(Tag_Of(node))->Is_Empty();
        return witnesses_[index] > (is_one ? 1 : 0);
    }

    /** Whether a functional group is required and stands in one place: shared, or in a frame. */
    bool Is_Only_Group(const DICOM_Part& part, Tag tag) const
    {
        const Made_Place top = {{&object_}, {}};
        std::ptrdiff_t places = 0;
        for (const Tag sequence : {Tag{0x5200, 0x9229}, Tag{0x5200, 0x9230}}) {
            if (const Made_Element* const groups = object_.Find(sequence)) {
                places += std::count_if(groups->items.begin(), groups->items.end(),
                                        [&](auto& item) { return item.Find(tag) != nullptr; });
            }
        }
        return part.sequence != nullptr && part.sequence->group == 0x5200 && places == 1 &&
               Plain_Truth(part.required, top, Plain::Open) == Plain::Yes;
    }

    void Look_At(const DICOM_List& node, const Made_Place& place)
    {
        const Tag tag = Tag_Of(node);
        const Made_Element* const element = place.Here().Find(tag);
        bool is_demanded = false;
        for (const DICOM_Rule& rule : Rule_Lines(node)) {
            if (element != nullptr) {
                Try_Values(rule, node, place, *element);
                Try_Items(rule, node, place, *element);
                is_demanded = is_demanded || Demands(rule, node, place);
            } else {
                Try_Condition(rule, node, place);
            }
            Try_Operand(rule, place);
        }
        if (is_demanded) {
            Add(Mutant::Deleted, place.way, tag, {}, Fault::Missing, Path_Text(place.way, tag),
                Rule_Lines(node));
        }
    }

    bool Demands(const DICOM_Rule& rule, const DICOM_List& node, const Made_Place& place) const
    {
        const bool counts = Is_Required(node.type) || Is_Conditional(node.type);
        if (!counts || !Is_In_Force(rule)) {
            return false;
        }
        if (Is_Required(rule.type)) {
            if (Is_Of_Optional_Part(rule)) {
                const DICOM_Part& part = parts_[static_cast<std::size_t>(rule.part)];
                return Is_Of_Items(part)
                           ? Plain_Truth(part.required, place, Plain::Open) == Plain::Yes
                           : Is_Told_Otherwise(rule, node) || Is_Only_Group(part, Tag_Of(node));
            }
            // A line outside of the modules may have made a condition of it.
            return Is_Required(node.type);
        }
        return Is_Conditional(rule.type) &&
               Plain_Truth(rule.required, place, Plain::Open) == Plain::Yes;
    }

    bool Holds(const DICOM_Condition& condition, const Made_Place& place) const
    {
        return condition.step_count == 0 ||
               Plain_Truth(condition, place, Plain::Open) == Plain::Yes;
    }

    void Try_Values(const DICOM_Rule& rule, const DICOM_List& node, const Made_Place& place,
                    const Made_Element& element)
    {
        const bool is_alone = Rule_Lines(node).size() == 1;
        for (int i = 0; i < rule.value_set_count && (is_alone || Is_In_Force(rule)); ++i) {
            const DICOM_Value_Set& set = rule.value_sets[i];
            const std::size_t index = set.value_number != 0 ? set.value_number - 1U : 0;
            const bool is_enumerated = set.is_extensible == 0 && set.has_more == 0;
            if (!is_enumerated || index >= element.values.size() || !Holds(set.when, place)) {
                continue;
            }
            Made_Element changed = element;
            changed.values[index] = Outsider(set, element);
            if (!changed.values[index].empty()) {
                Add(Mutant::Other_Value, place.way, Tag_Of(node), changed, Fault::Enumerated_Value,
                    Path_Text(place.way, Tag_Of(node)));
            }
        }
    }

    void Try_Items(const DICOM_Rule& rule, const DICOM_List& node, const Made_Place& place,
                   const Made_Element& element)
    {
        const bool is_alone = Rule_Lines(node).size() == 1;
        for (int i = 0; i < rule.item_count_count && (is_alone || Is_In_Force(rule)); ++i) {
            const DICOM_Item_Count& count = rule.item_counts[i];
            if (count.max < 0 || element.vr != "SQ" || !Holds(count.when, place)) {
                continue;
            }
            Made_Element changed = element;
            const Made_Set more = element.items.empty() ? Made_Set() : element.items.front();
            changed.items.resize(static_cast<std::size_t>(count.max) + 1, more);
            Add(Mutant::Too_Many_Items, place.way, Tag_Of(node), changed, Fault::Item_Number,
                Path_Text(place.way, Tag_Of(node)));
        }
    }

    /** The item that a comparison looks at, and the element in it; null when it is absent. */
    static const Made_Element* Operand_Of(const DICOM_Step& step, const Made_Place& place,
                                          Path& way)
    {
        const std::size_t depth = step.origin == DICOM_Step::Top ? 0 : place.way.size() - step.up;
        if (step.origin != DICOM_Step::Top && step.up > place.way.size()) {
            return nullptr;
        }
        way = Path(place.way.begin(), place.way.begin() + static_cast<long>(depth));
        return place.levels[depth]->Find(Operand_Tag(step));
    }
    static Tag Operand_Tag(const DICOM_Step& step)
    {
        return {static_cast<unsigned short>(step.tags[0] >> 16U),
                static_cast<unsigned short>(step.tags[0] & 0xFFFFU)};
    }

    void Try_Condition(const DICOM_Rule& rule, const DICOM_List& node, const Made_Place& place)
    {
        const DICOM_Step* const step = Only_Comparison(rule.required);
        Path way;
        const Made_Element* const operand =
            step != nullptr ? Operand_Of(*step, place, way) : nullptr;
        if (operand == nullptr || operand->Is_Empty() || !Is_In_Force(rule) ||
            !Is_Conditional(rule.type) || !Is_Conditional(node.type) ||
            Plain_Truth(rule.required, place, Plain::Open) == Plain::Yes) {
            return;
        }
        const std::size_t index = step->value_number != 0 ? step->value_number - 1U : 0;
        const bool differs = step->relation == DICOM_Step::Unequal;
        Made_Element changed = *operand;
        changed.values.resize(differs ? index + 1 : std::max(index + 1, changed.values.size()),
                              changed.values.front());
        const DICOM_Value_Set named = {0, 0, 0, step->text_count, step->texts, {}};
        const std::string value = step->kind == DICOM_Step::Number
                                      ? std::to_string(Fitting_Number(*step))
                                  : differs ? Outsider(named, *operand)
                                            : std::string(step->texts[0]);
        std::fill(changed.values.begin() + static_cast<long>(differs ? 0 : index),
                  changed.values.begin() + static_cast<long>(index) + 1, value);
        const Tag tag = Tag_Of(node);
        Add(Mutant::Made_To_Hold, way, Operand_Tag(*step), changed, Fault::Missing,
            Path_Text(place.way, tag), Rule_Lines(node));
    }

    void Try_Operand(const DICOM_Rule& rule, const Made_Place& place)
    {
        const DICOM_Step* const step = Only_Comparison(rule.required);
        Path way;
        if (step != nullptr && Operand_Of(*step, place, way) != nullptr) {
            Add(Mutant::No_Operand, way, Operand_Tag(*step), {}, Fault::Missing, {});
        }
    }

    void Add(Mutant::Kind kind, const Path& way, Tag tag, std::optional<Made_Element> now,
             Fault fault, std::string path, std::span<const DICOM_Rule> rules = {})
    {
        std::vector<std::string> modules;
        for (const DICOM_Rule& rule : rules) {
            if (rule.part >= 0) {
                modules.emplace_back(parts_[static_cast<std::size_t>(rule.part)].name);
            }
        }
        mutants_.push_back({kind, way, tag, std::move(now), fault, std::move(path), modules});
    }

    Made_Set& object_;
    DICOM_List* module_;
    std::span<const DICOM_Part> parts_;
    /** Attributes of each module that are there and belong to no other. */
    std::vector<int> witnesses_;
    std::vector<Mutant> mutants_;
};

bool Is_True(const DICOM_Condition& condition, const Made_Place& place)
{
    return Plain_Truth(condition, place, Plain::No) == Plain::Yes;
}

/** Tells whether a rule asks for its attribute by a type or a condition that holds. */
bool Requires(const DICOM_Rule& rule, const Made_Place& place, DICOM_List* module)
{
    const std::span<const DICOM_Part> parts = Part_Lines(module);
    if (Is_Conditional(rule.type)) {
        return Is_True(rule.required, place);
    }
    if (!Is_Required(rule.type) || rule.part < 0 || rule.is_own_level == 0) {
        return Is_Required(rule.type);
    }
    const auto index = static_cast<std::size_t>(rule.part);
    if (Is_Of_Items(parts[index])) {
        return Is_True(parts[index].required, place);
    }
    return parts[index].usage == 'M' ||
           Is_True(parts[index].required, {{place.levels.front()}, {}}) ||
           Witnesses_In(*place.levels.front(), module)[index] != 0;
}

/** Tells whether a condition of a rule holds, or is not decided. */
bool May_Require(const DICOM_Rule& rule, const Made_Place& place)
{
    return Is_Conditional(rule.type) && rule.required.step_count != 0 &&
           Plain_Truth(rule.required, place, Plain::Open) != Plain::No;
}

/** Tells whether one of the sets, or of the numbers of items, holds in any case or here. */
template <class Limit>
bool Any_Holds(const Limit* limits, int count, const Made_Place& place)
{
    return std::any_of(limits, limits + count, [&](const Limit& limit) {
        return limit.when.step_count == 0 || Is_True(limit.when, place);
    });
}

/** Of a module or functional group that is missing, or not foreseen. */
std::string Objection_To_Part(const Finding& finding, Made_Set& object, DICOM_List* module)
{
    const Made_Place top = {{&object}, {}};
    const bool is_too_much = finding.text.starts_with("belongs to");
    for (const DICOM_Part& part : Part_Lines(module)) {
        const bool is_right = is_too_much
                                  ? Plain_Truth(part.required, top, Plain::Open) == Plain::No
                                  : part.usage == 'M' || Is_True(part.required, top);
        if (is_right && finding.text.find("the " + std::string(part.name)) != std::string::npos) {
            return {};
        }
    }
    return "no condition of a module is known to call for it";
}

}  // namespace

void Mutant::Swap_With(Made_Set& object)
{
    std::map<Tag, Made_Element>& elements = Made_Place::At(object, way).Here().elements;
    std::optional<Made_Element> before;
    if (const auto found = elements.find(tag); found != elements.end()) {
        before = std::move(found->second);
        elements.erase(found);
    }
    if (now) {
        elements.emplace(tag, std::move(*now));
    }
    now = std::move(before);
}

std::vector<Mutant> Mutants_Of(Made_Set& object, DICOM_List* module)
{
    return Mutant_Finder(object, module).Find();
}

std::string Objection(const Finding& finding, Made_Set& object, DICOM_List* module)
{
    if (finding.fault == Fault::Module || finding.fault == Fault::Functional_Group ||
        finding.text.starts_with("belongs to")) {
        return Objection_To_Part(finding, object, module);
    }
    const auto [way, tag] = Path_Of(finding.path);
    const DICOM_List* const node = Node_At(module, way, tag);
    if (node == nullptr) {
        return "no line of the IOD is about it";
    }
    const Made_Place place = Made_Place::At(object, way);
    const std::span<const DICOM_Rule> rules = Rule_Lines(*node);
    const auto needs = [&](auto&& right, const char* objection) {
        return std::any_of(rules.begin(), rules.end(), right) ? "" : objection;
    };
    switch (finding.fault) {
    case Fault::Missing:
    case Fault::Module_Incomplete:
        return needs([&](auto& rule) { return Requires(rule, place, module); },
                     "no condition that holds asks for it");
    case Fault::Not_Allowed:
    case Fault::Not_Expected:
        return std::any_of(rules.begin(), rules.end(),
                           [&](auto& rule) { return May_Require(rule, place); })
                   ? "a condition that is not decided, or holds, lets it be there"
                   : "";
    case Fault::Enumerated_Value:
        return needs(
            [&](auto& rule) { return Any_Holds(rule.value_sets, rule.value_set_count, place); },
            "no set of values is known to hold");
    case Fault::Item_Number:
        return needs(
            [&](auto& rule) { return Any_Holds(rule.item_counts, rule.item_count_count, place); },
            "no number of items is known to hold");
    default:
        return {};
    }
}
