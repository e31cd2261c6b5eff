#include "support/object_maker.h"

#include "mend/findings/attributes.h"
#include "mend/verify/verify.h"
#include "support/mend_in_memory.h"
#include "support/mutants.h"
#include "support/stream_builder.h"

#include <algorithm>
#include <optional>

using namespace lib_mend;

namespace {

constexpr Tag SOP_Class_Tag = {0x0008, 0x0016};
constexpr Tag Shared_Groups = {0x5200, 0x9229};
constexpr Tag Frame_Groups = {0x5200, 0x9230};

std::string VR_Text(const DICOM_List& node)
{
    const std::optional<Attribute> attribute = Find_Attribute(Tag_Of(node));
    const unsigned short vr =
        attribute && !attribute->vrs.empty() ? attribute->vrs.front() : VR_Of(node);
    return {static_cast<char>(vr >> 8U), static_cast<char>(vr & 0xFFU)};
}

/** A value that is good for any attribute of a VR. */
std::string Plain_Value(const std::string& vr)
{
    constexpr std::pair<std::string_view, const char*> Values[] = {
        {"AS", "030Y"}, {"AT", "00181063"}, {"DA", "20200102"}, {"DT", "20200102030405"},
        {"PN", "A^B"},  {"TM", "030405"},   {"UI", "1.2.3.4"},  {"UR", "http://example.org"},
        {"CS", "ANY"},  {"AE", "ANY"},      {"LO", "ANY"},      {"SH", "ANY"},
        {"LT", "ANY"},  {"ST", "ANY"},      {"UT", "ANY"},      {"UC", "ANY"}};
    const auto* const found = std::find_if(std::begin(Values), std::end(Values),
                                           [&](const auto& each) { return each.first == vr; });
    return found != std::end(Values) ? found->second : "1";
}

bool Is_Raw(const std::string& vr)
{
    return vr[0] == 'O' || vr == "UN";
}

bool Names(const DICOM_Value_Set& set, const std::string& value)
{
    return std::any_of(set.values, set.values + set.count,
                       [&](const char* text) { return value == text; });
}

using Sets = std::vector<const DICOM_Value_Set*>;

/** The sets of values that hold in an item. */
Sets Sets_In_Force(const DICOM_List& node, const Made_Place& place)
{
    Sets sets;
    for (const DICOM_Rule& rule : Rule_Lines(node)) {
        for (int i = 0; i < rule.value_set_count; ++i) {
            const DICOM_Value_Set& set = rule.value_sets[i];
            if (set.when.step_count == 0 || Plain_Truth(set.when, place, Plain::No) == Plain::Yes) {
                sets.push_back(&set);
            }
        }
    }
    // Enumerated values come before defined terms.
    std::stable_sort(sets.begin(), sets.end(),
                     [](auto* a, auto* b) { return a->is_extensible < b->is_extensible; });
    return sets;
}

/** The first value that all enumerated sets for a number name, or what fits otherwise. */
std::string Value_For(const Sets& sets, std::size_t number, const std::string& otherwise)
{
    Sets of_number;
    std::copy_if(sets.begin(), sets.end(), std::back_inserter(of_number), [&](auto* set) {
        return set->count != 0 && (set->value_number == 0 || set->value_number == number);
    });
    for (const DICOM_Value_Set* const set : of_number) {
        for (const char* const* value = set->values; value != set->values + set->count; ++value) {
            if (std::all_of(of_number.begin(), of_number.end(), [&](auto* other) {
                    return other->is_extensible != 0 || Names(*other, *value);
                })) {
                return *value;
            }
        }
    }
    return of_number.empty() ? otherwise : of_number.front()->values[0];
}

std::vector<std::string> Values_For(const DICOM_List& node, const Made_Place& place,
                                    const std::string& vr)
{
    const std::optional<Attribute> attribute = Find_Attribute(Tag_Of(node));
    const Sets sets = Sets_In_Force(node, place);
    std::size_t count = attribute && attribute->vm_max != 0 ? attribute->vm_min : 1;
    for (const DICOM_Value_Set* const set : sets) {
        count = std::max<std::size_t>(count, set->value_number);
    }
    std::vector<std::string> values;
    for (std::size_t i = 1; i <= (Is_Raw(vr) ? 1 : count); ++i) {
        values.push_back(Value_For(sets, i, Plain_Value(vr)));
    }
    return values;
}

bool Is_Required(unsigned short type)
{
    return type == Type_1 || type == Type_2;
}

}  // namespace

std::vector<Finding> Verified(const Made_Set& made, DICOM_List* module)
{
    const std::string bytes = Part10_Head("1.2.840.10008.1.2.1") + made.Bytes();
    Findings reading;
    const Library_Session session(reading);
    const Data_Set set = Read_Data_Set(Source_Of(bytes), reading);
    Findings findings;
    Verify(set, module, findings);
    std::vector<Finding> said;
    std::copy_if(findings.All().begin(), findings.All().end(), std::back_inserter(said),
                 [](const Finding& each) { return Severity_Of(each) != Severity::Info; });
    return said;
}

std::string Lines_Of(const std::vector<Finding>& findings)
{
    std::string lines;
    for (const Finding& each : findings) {
        lines += std::string(Kind_Of(each).name) + " (" + each.path + ") " + each.text + "\n";
    }
    return lines;
}

Object_Maker::Object_Maker(DICOM_List* module, const std::string& sop_class, bool has_options)
    : module_(module)
{
    if (!sop_class.empty()) {
        made_.elements[SOP_Class_Tag] = {"UI", {sop_class}, {}};
    }
    for (const DICOM_Part& part : Part_Lines(module)) {
        if (has_options && part.sequence == nullptr && part.usage == 'U') {
            Add_Module("the " + std::string(part.name) + " Module ");
        }
    }
}

Made_Set Object_Maker::Make()
{
    constexpr int Most_Rounds = 30;
    for (int round = 0; round < Most_Rounds; ++round) {
        const std::vector<Finding> findings = Verified(made_, module_);
        const std::string said = Lines_Of(findings);
        if (said.empty() || said == left_) {
            left_ = said;
            break;
        }
        left_ = said;
        // What is nested stands behind what it is nested in, which may go.
        std::for_each(findings.rbegin(), findings.rend(),
                      [this](const Finding& finding) { Answer(finding); });
    }
    return made_;
}

void Object_Maker::Answer(const Finding& finding)
{
    if (finding.fault == Fault::Module) {
        Add_Module(finding.text);
        return;
    }
    if (finding.fault == Fault::Functional_Group) {
        Add_Group(finding.tag);
        return;
    }
    // An answer before this one may have met it: of two attributes one is enough.
    if (!Objection(finding, made_, module_).empty()) {
        return;
    }
    const auto [way, tag] = Path_Of(finding.path);
    const DICOM_List* const node = Node_At(module_, way, tag);
    if (finding.fault == Fault::Not_Allowed || finding.fault == Fault::Not_Expected) {
        Made_Place::At(made_, way).Here().elements.erase(tag);
    } else if (node != nullptr) {
        Put(*node, Made_Place::At(made_, way));
    }
}

void Object_Maker::Put(const DICOM_List& node, const Made_Place& place)
{
    const std::string vr = VR_Text(node);
    Made_Element& element = place.Here().elements[Tag_Of(node)];
    element.vr = vr;
    if (vr == "SQ") {
        Fit_Items(node, place, element);
    } else {
        element.values = Values_For(node, place, vr);
    }
}

void Object_Maker::Fit_Items(const DICOM_List& node, const Made_Place& place,
                             Made_Element& sequence) const
{
    const bool may_be_empty = node.type == Type_2 || node.type == Type_2C;
    std::size_t min = may_be_empty ? 0 : 1;
    std::size_t max = SIZE_MAX;
    for (const DICOM_Rule& rule : Rule_Lines(node)) {
        for (int i = 0; i < rule.item_count_count; ++i) {
            const DICOM_Item_Count& count = rule.item_counts[i];
            if (count.when.step_count == 0 ||
                Plain_Truth(count.when, place, Plain::No) == Plain::Yes) {
                min = may_be_empty ? min : std::max(min, static_cast<std::size_t>(count.min));
                max = count.max < 0 ? max : std::min(max, static_cast<std::size_t>(count.max));
            }
        }
    }
    sequence.items.resize(std::min(std::max(min, sequence.items.size()), max));
}

void Object_Maker::Add_Module(const std::string& text)
{
    const std::span<const DICOM_Part> parts = Part_Lines(module_);
    for (const DICOM_List& node : Records(module_)) {
        for (const DICOM_Rule& rule : Rule_Lines(node)) {
            if (rule.part < 0 || rule.is_own_level == 0 || !Is_Required(rule.type)) {
                continue;
            }
            const DICOM_Part& part = parts[static_cast<std::size_t>(rule.part)];
            if (part.sequence == nullptr &&
                text.starts_with("the " + std::string(part.name) + " Module ")) {
                Put(node, Made_Place::At(made_, {}));
            }
        }
    }
}

void Object_Maker::Add_Group(Tag tag)
{
    // The shared item where the group may stand there, otherwise that of each frame.
    for (const Tag sequence : {Shared_Groups, Frame_Groups}) {
        const DICOM_List* const node = Node_At(module_, {{sequence, 0}}, tag);
        if (node == nullptr) {
            continue;
        }
        Made_Element& groups = made_.elements[sequence];
        groups.vr = "SQ";
        groups.items.resize(std::max<std::size_t>(1, groups.items.size()));
        for (std::size_t i = 0; i < groups.items.size(); ++i) {
            Put(*node, Made_Place::At(made_, {{sequence, static_cast<int>(i)}}));
        }
        return;
    }
}
