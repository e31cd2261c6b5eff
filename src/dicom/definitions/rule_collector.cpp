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

void Rule_Collector::Add(const DICOM_List* record, const Part& part, const Line& line)
{
    const bool has_clauses = line.clauses.required.step_count != 0 ||
                             line.clauses.value_set_count != 0 ||
                             line.clauses.item_count_count != 0;
    if (line.type == 0 && !has_clauses) {
        return;
    }
    Rule_Store::Rules& rules = rules_[record];
    DICOM_Rule* rule = nullptr;
    for (DICOM_Rule& known : rules) {
        if (!part.Is_Module()) {
            Take_Back(known, line);
        }
        rule = known.part == part.index ? &known : rule;
    }
    if (rule == nullptr) {
        rule = &rules.emplace_back();
        rule->part = part.index;
    }
    rule->type = line.type != 0 ? line.type : rule->type;
    rule->is_own_level = line.is_own_level ? 1 : 0;
    rule->file = line.file;
    rule->line = line.line;
    Replace(*rule, line.clauses);
}

const char* Rule_Collector::File_Name(Rule_Arena& arena, const std::string& file)
{
    const char*& name = files_[file];
    return name != nullptr ? name : name = arena.Keep(file);
}

void Rule_Collector::Give_To(Rule_Store& store, const DICOM_List* list)
{
    store.Add(list, std::move(parts_), std::move(rules_));
}

}  // namespace lib_dicom
