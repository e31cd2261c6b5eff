#include "mend/verify/explain.h"

#include "mend/verify/judge.h"
#include "mend/verify/module_walk.h"
#include "mend/verify/verify.h"

#include <algorithm>

namespace lib_mend {

namespace {

/** Places that are explained one by one; an object may have a million. */
constexpr int Most_Places = 20;

std::string Words(const DICOM_Condition& condition)
{
    return {condition.text, static_cast<std::size_t>(condition.text_size)};
}

class Explainer {
public:
    Explainer(Object& object, Judge& judge) : object_(object), judge_(judge)
    {
    }

    void Place(const DICOM_List& node, const DICOM_List* record, unsigned short group)
    {
        if (++places_ > Most_Places) {
            return;
        }
        text_ += Path_Text(object_.Way(), {group, node.element}) + " is " + State(record) + "\n";
        for (const DICOM_Rule& rule : Rules_Of(node)) {
            Rule(rule, group);
        }
        Outcome(node, record, group);
    }
    std::string Text() const
    {
        return places_ > Most_Places
                   ? text_ + "and " + std::to_string(places_ - Most_Places) + " places more\n"
                   : text_;
    }

private:
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
        return Words(condition) + ": " + word +
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

    void Rule(const DICOM_Rule& rule, unsigned short group)
    {
        const DICOM_Part* const part = judge_.Modules().Part_Of(rule);
        text_ += "  " + (part != nullptr ? std::string(part->name) : "all modules");
        text_ += part != nullptr ? std::string(", usage ") + part->usage : "";
        text_ += rule.type != 0 ? ", type " + Type_Text(rule.type) : "";
        text_ += " (" + std::string(rule.file) + ":" + std::to_string(rule.line) + ")\n";
        if (part != nullptr && part->required.step_count != 0) {
            constexpr const char* Words_Of_Truth[] = {"false", "cannot be decided", "true"};
            const Truth truth = judge_.Modules().Required(*part, group);
            text_ += "    it is included if " + Words(part->required) + ": " +
                     Words_Of_Truth[static_cast<int>(truth)] + "\n";
        }
        if (const Parts::Evidence evidence = judge_.Modules().Evidence_For(rule, group);
            evidence.record != nullptr) {
            text_ += (evidence.is_clear ? "    " : "    it may be asked for by ") +
                     evidence.Reason() + "\n";
        }
        Requirement(rule, group);
        for (int i = 0; i < rule.value_set_count; ++i) {
            const DICOM_Value_Set& set = rule.value_sets[i];
            text_ += "    " +
                     std::string(set.is_extensible != 0 ? "defined terms" : "enumerated values");
            text_ += set.value_number != 0 ? " of value " + std::to_string(set.value_number) : "";
            text_ += ": " + Joined(set.values, set.count) +
                     (set.has_more != 0 ? " and others" : "") + When(set.when, group) + "\n";
        }
        for (int i = 0; i < rule.item_count_count; ++i) {
            const DICOM_Item_Count& count = rule.item_counts[i];
            text_ += "    items: " + std::to_string(count.min) + " to " +
                     (count.max < 0 ? "any number" : std::to_string(count.max)) +
                     When(count.when, group) + "\n";
        }
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

    void Outcome(const DICOM_List& node, const DICOM_List* record, unsigned short group)
    {
        Findings findings;
        judge_.Check(node, record, group, findings);
        const std::span<const DICOM_Rule> rules = Rules_Of(node);
        if (std::any_of(rules.begin(), rules.end(), [&](const DICOM_Rule& rule) {
                return judge_.Modules().Is_Missing(rule);
            })) {
            text_ += "  reported: its module is missing as a whole\n";
        } else if (findings.All().empty()) {
            text_ += "  nothing is reported\n";
        }
        for (const Finding& finding : findings.All()) {
            text_ += "  reported: " + finding.text + "\n";
        }
    }

    Object& object_;
    Judge& judge_;
    std::string text_;
    int places_ = 0;
};

}  // namespace

std::string Explain(const Data_Set& set, DICOM_List* module, Tag tag)
{
    Object object(set);
    Judge judge(object, module, true);
    Explainer explainer(object, judge);
    Module_Walk(object, module)
        .Run([&](const DICOM_List& node, const DICOM_List* record, unsigned short group) {
            if (Tag{group, node.element} == tag) {
                explainer.Place(node, record, group);
            }
        });
    return explainer.Text();
}

}  // namespace lib_mend
