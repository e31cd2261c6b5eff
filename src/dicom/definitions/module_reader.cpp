#include "definitions/module_reader.h"

#include "definitions/clause_reader.h"
#include "frame/record_codes.h"
#include "frame/vr_rules.h"

#include <algorithm>
#include <utility>

namespace lib_dicom {

namespace {

constexpr Unit This_Unit = "NEMA_Read_IOD";

/** Includes inside each other; a bound for the stack, far beyond what anyone writes. */
constexpr std::size_t Max_Includes = 32;

/** The address of a record's template item, null without one. */
DICOM_List** Template_Of(DICOM_List& record)
{
    return record.nb_item > 0 && record.item != nullptr ? &record.item[0] : nullptr;
}

/** Sorts one list, and hands the templates below it to `inner`. */
void Sort_List(DICOM_List*& list, std::vector<DICOM_List**>& inner)
{
    std::vector<DICOM_List*> records;
    for (DICOM_List* record = list; record != nullptr; record = record->next) {
        records.push_back(record);
        DICOM_List** const item = Template_Of(*record);
        if (item != nullptr && *item != nullptr) {
            inner.push_back(item);
        }
    }
    std::stable_sort(records.begin(), records.end(), [](const DICOM_List* a, const DICOM_List* b) {
        return Tag_Number(*a) < Tag_Number(*b);
    });
    DICOM_List** link = &list;
    for (DICOM_List* const record : records) {
        *link = record;
        link = &record->next;
    }
    *link = nullptr;
    list->last = records.back();
}

}  // namespace

std::size_t Module_Reader::Key_Hash::operator()(const Key& key) const
{
    // Spread, since tags that a file chose to fall together would make each lookup a walk.
    const std::uint64_t mixed =
        (reinterpret_cast<std::uintptr_t>(key.parent) ^ key.tag * 0x9E3779B97F4A7C15ULL) *
        0xD6E8FEB86659FD93ULL;
    return static_cast<std::size_t>(mixed ^ mixed >> 32);
}

Module_Reader::Module_Reader(HWND handle, Definition_Files& files, DICOM_List** list, int depth,
                             Rule_Store& store)
    : files_(files), list_(list), depth_(depth), reading_(handle), store_(store)
{
    // More than most IODs have; each time that it grows costs as much as all lookups.
    constexpr std::size_t Usual = 4096;
    records_.reserve(Usual);
    Index(*list);
}

void Module_Reader::Keep_Rules(Rule_Store& store)
{
    store.Add(*list_, std::move(rules_.Parts()), records_.size());
    for (const auto& [key, known] : records_) {
        if (known.rules.first != Rule_Collector::Chain::None) {
            store.Add(known.record, rules_.Rules_Of(known.rules));
        }
    }
}

void Module_Reader::Index(DICOM_List* list)
{
    // A client may hand over lists that are nested deeper than a stack reaches.
    std::vector<std::pair<DICOM_List*, DICOM_List*>> open = {{list, nullptr}};
    while (!open.empty()) {
        const auto [head, parent] = open.back();
        open.pop_back();
        for (DICOM_List* record = head; record != nullptr; record = record->next) {
            records_.emplace(Key{parent, Tag_Number(*record)}, Known{record});
            head->last = record;
            if (DICOM_List** const item = Template_Of(*record)) {
                open.emplace_back(*item, record);
            }
        }
    }
}

void Module_Reader::Sort()
{
    std::vector<DICOM_List**> open;
    if (*list_ != nullptr) {
        open.push_back(list_);
    }
    while (!open.empty()) {
        DICOM_List** const list = open.back();
        open.pop_back();
        Sort_List(*list, open);
    }
}

void Module_Reader::Close_Levels(int depth)
{
    std::fill(open_.begin() + std::min(depth, DICOM_Max_Depth), open_.end(), nullptr);
}

void Module_Reader::Read_Text(const std::string& file, std::string_view text)
{
    Read_Lines(file, text, Scope{depth_, false});
}

bool Module_Reader::Read_File(std::string_view name, std::string& why)
{
    const Definition_File* const file = files_.Load(name, why);
    if (file == nullptr) {
        return false;
    }
    Include(name, *file, Scope{depth_, false, {}, true});
    return true;
}

void Module_Reader::Include(std::string_view name, const Definition_File& file, const Scope& scope)
{
    including_.push_back(name);
    Read_Lines(file.path, file.text, scope);
    Close_Levels(scope.depth);
    faulty_depth_ = INT_MAX;
    including_.pop_back();
}

void Module_Reader::Read_Lines(const std::string& file, std::string_view text, const Scope& scope)
{
    faulty_depth_ = INT_MAX;
    Kept_File* const kept = scope.is_kept ? &store_.File(text.data()) : nullptr;
    const char* const name =
        kept != nullptr && kept->name != nullptr ? kept->name : store_.Arena().Keep(file);
    if (kept != nullptr) {
        kept->name = name;
    }
    const char* const outer = std::exchange(file_, name);
    Kept_File* const outer_kept = std::exchange(kept_, kept);
    reading_.Lines(file, text, [&](Line_Cursor& cursor) { Read_Line(cursor, scope); });
    file_ = outer;
    kept_ = outer_kept;
}

bool Module_Reader::Enter_Level(int depth)
{
    if (depth > faulty_depth_) {
        return false;
    }
    faulty_depth_ = depth;
    Close_Levels(depth);
    return true;
}

void Module_Reader::Keep(Kept_Line line, int number)
{
    if (kept_ != nullptr) {
        kept_->Keep(number, store_.New_Line() = std::move(line));
    }
}

void Module_Reader::Read_Line(Line_Cursor& cursor, const Scope& scope)
{
    const Kept_Line* const kept = kept_ != nullptr ? kept_->Line(cursor.Number()) : nullptr;
    if (kept != nullptr) {
        Repeat_Line(*kept, cursor, scope);
        return;
    }
    int depth = scope.depth;
    while (cursor.Take('>')) {
        ++depth;
    }
    if (!Enter_Level(depth)) {
        return;
    }
    cursor.Check();
    Check_Level(depth);
    const bool is_attribute = cursor.Peek() == '(';
    const std::size_t column = cursor.Column();
    if (is_attribute) {
        Read_Attribute(cursor, scope, depth);
    } else if (cursor.Take_Name("include")) {
        Include_Line line = Read_Include(cursor, column);
        Check_Include(line);
        Find_File(line);
        Include(line, scope, depth);
        Keep({depth - scope.depth, 0, line}, cursor.Number());
    } else if (cursor.Take_Name("name")) {
        const std::string name = cursor.Quoted("a name");
        cursor.Expect_End();
        const char* const kept_name = store_.Arena().Keep(name);
        rules_.Name(scope.part, kept_name);
        Keep({depth - scope.depth, 0, kept_name}, cursor.Number());
    } else {
        cursor.Expected(This_Unit, "a tag (gggg,eeee), \"include\" or \"name\"", column);
    }
    faulty_depth_ = INT_MAX;
}

void Module_Reader::Repeat_Line(const Kept_Line& line, Line_Cursor& cursor, const Scope& scope)
{
    const int depth = scope.depth + line.depth;
    if (!Enter_Level(depth)) {
        return;
    }
    Check_Level(depth);
    if (const auto* const attribute = std::get_if<Attribute_Line>(&line.what)) {
        const Key key = {depth == depth_ ? nullptr : Open_Record(depth - 1),
                         Tag_Number(attribute->group, attribute->element)};
        Known* const known = Find(key);
        const unsigned short vr = Settle_VR(*attribute, Record_Of(known));
        if (vr == line.vr) {
            const std::string bytes = Bytes_Of(*attribute, vr);
            Check_Clauses(*attribute, Type_Of(*attribute, known), vr);
            Apply(*attribute, vr, bytes, {key, known, cursor.Number(), depth}, scope);
        } else {
            while (cursor.Take('>')) {
            }
            Read_Attribute(cursor, scope, depth);
        }
    } else if (const auto* const include = std::get_if<Include_Line>(&line.what)) {
        Check_Include(*include);
        Include(*include, scope, depth);
    } else {
        rules_.Name(scope.part, std::get<const char*>(line.what));
    }
    faulty_depth_ = INT_MAX;
}

void Module_Reader::Check_Level(int depth) const
{
    if (depth >= DICOM_Max_Depth) {
        throw Definition_Fault{This_Unit, 0,
                               "expected at most " + std::to_string(DICOM_Max_Depth - 1) +
                                   " levels of nesting"};
    }
    if (depth == depth_) {
        return;
    }
    const DICOM_List* const parent = open_[static_cast<std::size_t>(depth - 1)];
    if (parent == nullptr) {
        throw Definition_Fault{This_Unit, 0,
                               "expected the attribute line of a sequence one level up before"};
    }
    if (Effective_VR(*parent) != VR_SQ) {
        throw Definition_Fault{This_Unit, 0,
                               "expected a sequence (SQ) one level up, but " +
                                   Shown_Tag(parent->group, parent->element) + " has VR " +
                                   VR_Text(Effective_VR(*parent))};
    }
}

Include_Line Module_Reader::Read_Include(Line_Cursor& cursor, std::size_t column)
{
    Include_Line line;
    line.column = static_cast<std::uint32_t>(column);
    line.name = cursor.Word();
    cursor.At_End();
    const std::size_t usage_column = cursor.Column();
    const std::string_view usage = cursor.Word();
    if (usage != "" && usage != "M" && usage != "C" && usage != "U") {
        cursor.Expected(This_Unit, "a usage (M, C or U)", usage_column);
    }
    line.usage = usage.empty() ? '\0' : usage.front();
    if (usage == "C" && cursor.Take_Name("if")) {
        line.required = Clause_Reader(cursor, store_.Arena()).Read_Condition();
    }
    cursor.Expect_End();
    return line;
}

void Module_Reader::Check_Include(const Include_Line& line) const
{
    if (std::find(including_.begin(), including_.end(), line.name) != including_.end()) {
        throw Definition_Fault{This_Unit, line.column, Shown(line.name) + " includes itself"};
    }
    if (including_.size() == Max_Includes) {
        throw Definition_Fault{This_Unit, line.column,
                               "expected at most " + std::to_string(Max_Includes) +
                                   " includes inside each other"};
    }
}

void Module_Reader::Find_File(Include_Line& line)
{
    std::string why;
    line.file = files_.Load(line.name, why);
    if (line.file == nullptr) {
        throw Definition_Fault{This_Unit, line.column, why};
    }
    line.kept_name = store_.Arena().Keep(line.name);
}

void Module_Reader::Include(const Include_Line& line, const Scope& scope, int depth)
{
    const bool is_optional = line.usage == 'C' || line.usage == 'U';
    const bool is_module = depth == depth_ && !scope.part.Is_Module();
    Scope inner = {depth, is_optional || (scope.is_optional && depth == scope.depth), scope.part,
                   true};
    inner.part.is_file = false;
    if (line.usage != '\0' || is_module) {
        const DICOM_List* const sequence = depth == depth_ ? nullptr : Open_Record(depth - 1);
        inner.part = rules_.Open({line.kept_name, line.kept_name, is_optional ? line.usage : 'M',
                                  line.required, sequence, scope.part.index},
                                 depth);
    }
    Include(line.name, *line.file, inner);
}

}  // namespace lib_dicom
