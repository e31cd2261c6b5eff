#include "definitions/rule_collector.h"

#include "frame/record_codes.h"

namespace lib_dicom {

namespace {

/** Replaces the clauses of a rule by those that a line has of the same kind. */
void Replace(DICOM_Rule& rule, const Clauses& clauses)
{
    if (clauses.required.step_count != 0) {
        rule.required = clauses.required;
        rule.allowed = clauses.allowed;
        rule.otherwise = clauses.otherwise;
    }
    if (clauses.value_set_count != 0) {
        rule.value_set_count = clauses.value_set_count;
        rule.value_sets = clauses.value_sets;
    }
    if (clauses.item_count_count != 0) {
        rule.item_count_count = clauses.item_count_count;
        rule.item_counts = clauses.item_counts;
    }
}

/** Takes back what a line outside of all modules says anew. */
void Take_Back(DICOM_Rule& rule, const Rule_Collector::Line& line)
{
    if (line.clauses.required.step_count != 0 || line.type == Type_3) {
        rule.required = rule.allowed = {};
        rule.otherwise = DICOM_Rule::Free;
    }
    if (line.clauses.value_set_count != 0) {
        rule.value_set_count = 0;
    }
    if (line.clauses.item_count_count != 0) {
        rule.item_count_count = 0;
    }
}

}  // namespace

Rule_Collector::Part Rule_Collector::Open(const DICOM_Part& part, int depth)
{
    parts_.push_back(part);
    return {static_cast<int>(parts_.size()) - 1, depth, true};
}

void Rule_Collector::Name(const Part& part, const char* name)
{
    if (part.is_file) {
        parts_[static_cast<std::size_t>(part.index)].name = name;
    }
}

void Rule_Collector::Add(Chain& chain, const Part& part, const Line& line)
{
    const bool has_clauses = line.clauses.required.step_count != 0 ||
                             line.clauses.value_set_count != 0 ||
                             line.clauses.item_count_count != 0;
    if (line.type == 0 && !has_clauses) {
        return;
    }
    DICOM_Rule* rule = nullptr;
    for (int i = chain.first; i != Chain::None; i = At(i).next) {
        DICOM_Rule& known = At(i).rule;
        if (!part.Is_Module()) {
            Take_Back(known, line);
        }
        rule = known.part == part.index ? &known : rule;
    }
    if (rule == nullptr) {
        const int added = static_cast<int>(links_.size());
        (chain.first == Chain::None ? chain.first : At(chain.last).next) = added;
        chain.last = added;
        rule = &links_.emplace_back().rule;
        rule->part = part.index;
    }
    rule->type = line.type != 0 ? line.type : rule->type;
    rule->is_own_level = line.is_own_level ? 1 : 0;
    rule->file = line.file;
    rule->line = line.line;
    Replace(*rule, line.clauses);
}

const Rule_Store::Rules& Rule_Collector::Rules_Of(const Chain& chain)
{
    rules_.clear();
    for (int i = chain.first; i != Chain::None; i = At(i).next) {
        rules_.push_back(At(i).rule);
    }
    return rules_;
}

}  // namespace lib_dicom
