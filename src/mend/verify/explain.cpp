#include "mend/verify/explain.h"

#include "mend/findings/faults.h"
#include "mend/reading/tree.h"
#include "mend/verify/about.h"
#include "mend/verify/judge.h"
#include "mend/verify/module_walk.h"
#include "mend/verify/verify.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace lib_mend {

namespace {

/** Places that are explained one by one; an object may have a million. */
constexpr int Most_Plain = 20;
/** The same of places of which something is reported. */
constexpr int Most_Reported = 1000;

/** "error: there is no such frame" */
std::string Said_Text(const Finding& finding)
{
    return std::string(Severity_Name(Severity_Of(finding))) + ": " + Text_Without_Values(finding);
}

/** A place by its path, and the sum of that where it is not shown whole. */
using Spot = std::pair<std::string, std::uint64_t>;

Spot Spot_Of(const Finding& finding)
{
    return {finding.path, finding.path_sum};
}

class Explainer {
public:
    /** @param found  all that is reported of the object */
    Explainer(Object& object, Judge& judge, const std::vector<Finding>& found)
        : object_(object), judge_(judge)
    {
        for (const Finding& finding : found) {
            found_.emplace(Spot_Of(finding), &finding);
        }
    }

    /** @param judged  what the rules come to here */
    void Place(const DICOM_List& node, const DICOM_List* record, unsigned short group,
               const std::vector<Finding>& judged)
    {
        const Spot spot = {Path_Text(object_.Way(), {group, node.element}), object_.Way_Sum()};
        const std::span<const DICOM_Rule> rules = Rules_Of(node);
        const bool lacks_module =
            std::any_of(rules.begin(), rules.end(),
                        [&](const DICOM_Rule& rule) { return judge_.Modules().Is_Missing(rule); });
        const bool is_reported = lacks_module || !judged.empty() || found_.contains(spot);
        if (is_reported ? ++reported_ > Most_Reported : ++plain_ > Most_Plain) {
            return;
        }
        told_.insert(spot);
        text_ += spot.first + " is " + State(record) + "\n";
        const std::vector<const DICOM_Rule*> deciding = Judge::Deciding(rules);
        for (const DICOM_Rule& rule : rules) {
            Rule(rule, deciding, node, group);
        }
        Outcome(Reported(spot, judged), lacks_module);
    }
    std::string Text() const
    {
        return plain_ + reported_ == 0 ? "the IOD does not name it\n"
                                       : text_ + More_Text(plain_ - Most_Plain, "nothing") +
                                             More_Text(reported_ - Most_Reported, "something");
    }
    /** Places that were told of. */
    const std::set<Spot>& Told() const
    {
        return told_;
    }

private:
    static std::string More_Text(int count, const char* what)
    {
        return count <= 0 ? ""
                          : "and " + std::to_string(count) + (count == 1 ? " place" : " places") +
                                " more, of which " + what + " is reported\n";
    }
    std::string State(const DICOM_List* record) const
    {
        return record == nullptr                  ? "absent"
               : Is_Empty(object_.Set(), *record) ? "there without a value"
                                                  : "there";
    }
    /** ": true, since ..." */
    std::string Verdict_Text(const DICOM_Condition& condition, unsigned short group)
    {
        const Verdict verdict = judge_.Evaluator().Evaluate(condition, group);
        const Truth truth = verdict.truth;
        const std::string reason = judge_.Evaluator().Reason(condition, group);
        const std::string word = truth == Truth::True    ? "true"
                                 : truth == Truth::False ? "false"
                                                         : "cannot be decided";
        return judge_.Evaluator().Words(condition, group) + ": " + word +
               (verdict.lacks_operand && truth == Truth::False
                    ? ", but something that it compares is absent, and nothing "
                      "is concluded from that"
                    : "") +
               (reason.empty() || truth == Truth::Unknown ? "" : ", since " + reason);
    }
    std::string When(const DICOM_Condition& condition, unsigned short group)
    {
        return condition.step_count == 0 ? "" : " when " + Verdict_Text(condition, group);
    }

    /** Whether a macro is included by the item that includes it: the attribute may stand deeper. */
    Truth Included(const DICOM_Part& part, const DICOM_List& node, unsigned short group)
    {
        const int depth = part.sequence != nullptr ? part.sequence->depth + 1 : 0;
        const Path way = object_.Way();
        const auto levels = std::min(static_cast<std::ptrdiff_t>(way.size()),
                                     std::ptrdiff_t{std::max(node.depth - depth, 0)});
        for (std::ptrdiff_t i = 0; i < levels; ++i) {
            object_.Leave();
        }
        const Truth truth = judge_.Modules().Required(part, group);
        std::for_each(way.end() - levels, way.end(), [this](const Path_Step& step) {
            object_.Enter(*object_.Find(step.sequence), step.item);
        });
        return truth;
    }

    void Rule(const DICOM_Rule& rule, const std::vector<const DICOM_Rule*>& deciding,
              const DICOM_List& node, unsigned short group)
    {
        const DICOM_Part* const part = judge_.Modules().Part_Of(rule);
        text_ += "  " + (part != nullptr ? std::string(part->name) : "all modules");
        text_ += part != nullptr ? std::string(", usage ") + part->usage : "";
        text_ += rule.type != 0 ? ", type " + Type_Text(rule.type) : "";
        text_ += " (" + std::string(rule.file) + ":" + std::to_string(rule.line) + ")\n";
        if (part != nullptr && part->required.step_count != 0) {
            constexpr const char* Words_Of_Truth[] = {"false", "cannot be decided", "true"};
            const Truth truth = Included(*part, node, group);
            text_ += "    it is included if " + judge_.Evaluator().Words(part->required, group) +
                     ": " + Words_Of_Truth[static_cast<int>(truth)] + "\n";
        }
        if (const Parts::Evidence evidence = judge_.Modules().Evidence_For(rule, group);
            evidence.record != nullptr) {
            text_ += (evidence.is_clear ? "    " : "    it may be asked for by ") +
                     evidence.Reason() + "\n";
        } else if (part != nullptr && rule.is_own_level != 0) {
            Module_Absence(judge_.Modules().Outermost(*part));
        }
        if (std::find(deciding.begin(), deciding.end(), &rule) != deciding.end()) {
            Requirement(rule, group);
        } else if (!deciding.empty() && deciding.front()->part < 0 &&
                   deciding.front()->required.step_count != 0) {
            text_ += "    that of all modules replaces its condition\n";
        }
        for (int i = 0; i < rule.value_set_count; ++i) {
            const DICOM_Value_Set& set = rule.value_sets[i];
            text_ += "    " +
                     std::string(set.is_extensible != 0 ? "defined terms" : "enumerated values");
            text_ += set.value_number != 0 ? " of value " + std::to_string(set.value_number) : "";
            text_ += ": " +
                     Spoken_Choices({group, node.element}, object_.Way(), set.values, set.count) +
                     (set.has_more != 0 ? " and others" : "") + When(set.when, group) + "\n";
        }
        for (int i = 0; i < rule.item_count_count; ++i) {
            const DICOM_Item_Count& count = rule.item_counts[i];
            text_ += "    items: " + std::to_string(count.min) + " to " +
                     (count.max < 0 ? "any number" : std::to_string(count.max)) +
                     When(count.when, group) + "\n";
        }
    }

    /** A module that need not be there asks for nothing while it is not. */
    void Module_Absence(const DICOM_Part& part)
    {
        if (part.usage == 'M' || part.sequence != nullptr ||
            judge_.Modules().Required(part, 0) == Truth::True) {
            return;
        }
        const Parts::Presence presence = judge_.Modules().Presence_Of(part);
        text_ += presence == Parts::Presence::None ? "    nothing of the module is there\n"
                 : presence == Parts::Presence::Shared
                     ? "    what is there of the module, others have too\n"
                     : "";
    }

    void Requirement(const DICOM_Rule& rule, unsigned short group)
    {
        if (rule.required.step_count == 0) {
            const bool is_conditional = rule.type == Type_1C || rule.type == Type_2C;
            text_ += is_conditional ? "    its condition cannot be told from a data set\n" : "";
            return;
        }
        text_ += "    required if " + Verdict_Text(rule.required, group) + "\n";
        switch (rule.otherwise) {
        case DICOM_Rule::Free:
            text_ += "    otherwise it may be there\n";
            break;
        case DICOM_Rule::Absent:
            text_ += "    otherwise it is not allowed\n";
            break;
        case DICOM_Rule::Unsaid:
            text_ += "    otherwise it is not foreseen\n";
            break;
        case DICOM_Rule::Limited:
            text_ += "    otherwise allowed if " + Verdict_Text(rule.allowed, group) + "\n";
            break;
        }
    }

    /** What is reported of a place, by its rules or otherwise. */
    std::vector<Finding> Reported(const Spot& spot, const std::vector<Finding>& judged) const
    {
        std::vector<Finding> here = judged;
        std::set<std::string_view> texts;
        for (const Finding& finding : judged) {
            texts.insert(finding.text);
        }
        const auto [first, last] = found_.equal_range(spot);
        for (auto entry = first; entry != last; ++entry) {
            if (texts.insert(entry->second->text).second) {
                here.push_back(*entry->second);
            }
        }
        return here;
    }
    void Outcome(const std::vector<Finding>& here, bool lacks_module)
    {
        if (lacks_module) {
            text_ += "  reported: its module is missing as a whole\n";
        } else if (here.empty()) {
            text_ += "  nothing is reported here\n";
        }
        for (const Finding& finding : here) {
            text_ += "  reported as " + Said_Text(finding) + "\n";
        }
    }

    Object& object_;
    Judge& judge_;
    std::multimap<Spot, const Finding*> found_;
    std::set<Spot> told_;
    std::string text_;
    int plain_ = 0;
    int reported_ = 0;
};

/** What was found that is about the attribute, but for what its places have told. */
std::string Rest_Text(const std::vector<Finding>& found, Tag tag, const Path& way,
                      const std::set<Spot>& told)
{
    // Of one item only what is reported inside of it, as far down as it goes.
    std::string inside = way.empty() ? "" : Path_Text(way, tag);
    inside.resize(inside.rfind('/') + 1);
    std::string text;
    for (const Finding& finding : found) {
        if (!finding.path.starts_with(inside)) {
            continue;
        }
        const bool is_told =
            finding.has_tag && finding.tag == tag && told.count(Spot_Of(finding)) != 0;
        if (!is_told && Is_About(finding, tag)) {
            const std::string path =
                finding.has_tag ? finding.path + " " + Tag_Name(finding.tag) + ", " : std::string();
            const std::string rule = Kind_Of(finding).rule;
            text +=
                "  " + path + Said_Text(finding) + (rule.empty() ? "" : " (" + rule + ")") + "\n";
        }
    }
    return text.empty() ? text : "what else is reported of it, or names it\n" + text;
}

/** Whether the item that a path leads to is a fragment of encapsulated data, which holds no elements. */
bool Is_Fragment(DICOM_List* list, Path way, Tag tag)
{
    const Path_Step last = way.back();
    way.pop_back();
    const DICOM_List* const record =
        Find_Record(way.empty() ? list : Item_At(list, way), last.sequence);
    return tag == Item_Tag && record != nullptr && Holds_Fragments(*record) &&
           last.item < Item_Count(*record);
}

}  // namespace

std::string Explain(const Data_Set& set, DICOM_List* module, Tag tag, const Findings& found,
                    const Path& way)
{
    if (!way.empty() && Item_At(set.records.Head(), way) == nullptr &&
        !Is_Fragment(set.records.Head(), way, tag)) {
        return "there is no such item\n";
    }
    if (module == nullptr) {
        return Rest_Text(found.All(), tag, way, {});
    }
    Object object(set);
    Judge judge(object, module, Judge::Purpose::Report, found);
    Explainer explainer(object, judge, found.All());
    // What is said of one attribute may stand in for another one of the same item, so that all are judged.
    Module_Walk(object, module)
        .Run([&](const DICOM_List& node, const DICOM_List* record, unsigned short group) {
            Findings judged;
            judge.Check(node, record, group, judged);
            if (Tag{group, node.element} == tag && (way.empty() || way == object.Way())) {
                explainer.Place(node, record, group, judged.All());
            }
        });
    return explainer.Text() + Rest_Text(found.All(), tag, way, explainer.Told());
}

}  // namespace lib_mend
