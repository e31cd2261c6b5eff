#include "definitions/module_reader.h"

#include "definitions/clause_reader.h"
#include "definitions/module_value.h"
#include "frame/record_codes.h"
#include "frame/vr_rules.h"

#include <Lib_DICOM/dictionary.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <utility>

namespace lib_dicom {

namespace {

constexpr Unit This_Unit = "NEMA_Read_IOD";

/** Includes inside each other; a bound for the stack, far beyond what anyone writes. */
constexpr std::size_t Max_Includes = 32;

constexpr unsigned short All_Marks =
    DICOM_Mark_Forced | DICOM_Mark_Default | DICOM_Mark_Append | DICOM_Mark_Delete_Request;

std::string Tag_Text(unsigned short group, unsigned short element)
{
    char text[16];
    std::snprintf(text, sizeof text, "(%04X,%04X)", group, element);
    return text;
}

template <class T>
T* Allocate()
{
    void* const block = std::calloc(1, sizeof(T));
    return block != nullptr ? static_cast<T*>(block) : throw std::bad_alloc();
}

bool Is_Required(unsigned short type)
{
    return type == Type_1 || type == Type_2;
}

/** A module that need not be there requires nothing, and takes nothing back either. */
std::optional<unsigned short> Optional_Type(std::optional<unsigned short> type,
                                            const DICOM_List* record)
{
    if (!type || !Is_Required(*type)) {
        return type;
    }
    if (record != nullptr && Is_Required(record->type)) {
        return std::nullopt;
    }
    return *type == Type_1 ? Type_1C : Type_2C;
}

/** The VR that the dictionary names, 0 when it knows none. */
unsigned short Dictionary_VR(unsigned short group, unsigned short element)
{
    const TAG_db_Elems* const entry = NEMA_db_Locate(group, element);
    return entry != nullptr && Find_Any_VR_Rule(entry->vr[0]) != nullptr ? entry->vr[0] : 0;
}

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
    Index(*list);
}

void Module_Reader::Index(DICOM_List* list)
{
    // A client may hand over lists that are nested deeper than a stack reaches.
    std::vector<std::pair<DICOM_List*, const DICOM_List*>> open = {{list, nullptr}};
    while (!open.empty()) {
        const auto [head, parent] = open.back();
        open.pop_back();
        for (DICOM_List* record = head; record != nullptr; record = record->next) {
            records_.emplace(Key{parent, Tag_Number(*record)}, record);
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
    including_.emplace_back(name);
    Read_Lines(file.path, file.text, scope);
    Close_Levels(scope.depth);
    faulty_depth_ = INT_MAX;
    including_.pop_back();
}

void Module_Reader::Read_Lines(const std::string& file, std::string_view text, const Scope& scope)
{
    faulty_depth_ = INT_MAX;
    const char* const outer = std::exchange(file_, rules_.File_Name(store_.Arena(), file));
    reading_.Lines(file, text, [&](Line_Cursor& cursor) { Read_Line(cursor, scope); });
    file_ = outer;
}

void Module_Reader::Read_Line(Line_Cursor& cursor, const Scope& scope)
{
    int depth = scope.depth;
    while (cursor.Take('>')) {
        ++depth;
    }
    if (depth > faulty_depth_) {
        return;
    }
    faulty_depth_ = depth;
    Close_Levels(depth);
    cursor.Check();
    Check_Level(depth);
    const bool is_attribute = cursor.Peek() == '(';
    const std::size_t column = cursor.Column();
    if (is_attribute) {
        Read_Attribute(cursor, scope, depth);
    } else if (cursor.Take_Name("include")) {
        Read_Include(cursor, scope, depth, column);
    } else if (cursor.Take_Name("name")) {
        const std::string name = cursor.Quoted("a name");
        cursor.Expect_End();
        rules_.Name(scope.part, store_.Arena().Keep(name));
    } else {
        cursor.Expected(This_Unit, "a tag (gggg,eeee), \"include\" or \"name\"", column);
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
                                   Tag_Text(parent->group, parent->element) + " has VR " +
                                   VR_Text(Effective_VR(*parent))};
    }
}

void Module_Reader::Read_Include(Line_Cursor& cursor, const Scope& scope, int depth,
                                 std::size_t column)
{
    const std::string_view name = cursor.Word();
    cursor.At_End();
    const std::size_t usage_column = cursor.Column();
    const std::string_view usage = cursor.Word();
    if (usage != "" && usage != "M" && usage != "C" && usage != "U") {
        cursor.Expected(This_Unit, "a usage (M, C or U)", usage_column);
    }
    DICOM_Condition required = {};
    if (usage == "C" && cursor.Take_Name("if")) {
        required = Clause_Reader(cursor, store_.Arena()).Read_Condition();
    }
    cursor.Expect_End();
    if (std::find(including_.begin(), including_.end(), name) != including_.end()) {
        throw Definition_Fault{This_Unit, column, Shown(name) + " includes itself"};
    }
    if (including_.size() == Max_Includes) {
        throw Definition_Fault{This_Unit, column,
                               "expected at most " + std::to_string(Max_Includes) +
                                   " includes inside each other"};
    }
    std::string why;
    const Definition_File* const file = files_.Load(name, why);
    if (file == nullptr) {
        throw Definition_Fault{This_Unit, column, why};
    }
    const bool is_optional = usage == "C" || usage == "U";
    const bool is_module = depth == depth_ && !scope.part.Is_Module();
    Scope inner = {depth, is_optional || (scope.is_optional && depth == scope.depth), scope.part,
                   true};
    inner.part.is_file = false;
    if (usage != "" || is_module) {
        const char* const file_name = store_.Arena().Keep(name);
        const DICOM_List* const sequence = depth == depth_ ? nullptr : Open_Record(depth - 1);
        inner.part = rules_.Open({file_name, file_name, is_optional ? usage.front() : 'M', required,
                                  sequence, scope.part.index},
                                 depth);
    }
    Include(name, *file, inner);
}

unsigned short Module_Reader::Settle_VR(const Attribute_Line& line, const DICOM_List* record)
{
    if (record == nullptr) {
        const unsigned short vr = line.vr.value_or(Dictionary_VR(line.group, line.element));
        if (vr == 0) {
            throw Definition_Fault{This_Unit, line.vr_column,
                                   "expected a VR, the dictionary has none for " +
                                       Tag_Text(line.group, line.element)};
        }
        return vr;
    }
    const unsigned short old_vr = Effective_VR(*record);
    const unsigned short vr = line.vr.value_or(old_vr);
    const bool keeps_value = record->data != nullptr && !line.value;
    if (vr != old_vr && (keeps_value || record->nb_item > 0)) {
        throw Definition_Fault{This_Unit, line.vr_column,
                               "the attribute has a value or nested lines of VR " +
                                   VR_Text(old_vr) + " already"};
    }
    return vr;
}

void Module_Reader::Read_Attribute(Line_Cursor& cursor, const Scope& scope, int depth)
{
    Attribute_Line line = Read_Attribute_Line(cursor);
    const bool is_optional = scope.is_optional && depth == scope.depth;
    DICOM_List* const parent = depth == depth_ ? nullptr : Open_Record(depth - 1);
    const Key key{parent, Tag_Number(line.group, line.element)};
    DICOM_List* record = Find(key);
    const unsigned short vr = Settle_VR(line, record);
    std::string bytes;
    try {
        if (line.value && line.mark != DICOM_Mark_Delete_Request) {
            bytes = Value_Bytes(vr, *line.value);
        }
    } catch (const Value_Fault& fault) {
        throw Definition_Fault{fault.place, line.value_column, fault.text};
    }
    Read_Clauses(cursor, store_, scope.is_kept,
                 line.type.value_or(record != nullptr ? record->type : 0), vr, line);
    // Nothing is changed before the whole line is known to be right.
    const auto type = is_optional ? Optional_Type(line.type, record) : line.type;
    if (record == nullptr) {
        record = Create(key, parent, line, depth);
        record->vr_default = vr;
    }
    record->type = type.value_or(record->type);
    if (line.vr) {
        record->vr = record->vr_default = vr;
    }
    if (line.mark != 0) {
        record->flags = static_cast<unsigned short>((record->flags & ~All_Marks) | line.mark);
        Replace_Value(*record, bytes);
    }
    Open_Record(depth) = record;
    rules_.Add(record, scope.part,
               {.type = line.type.value_or(0),
                .is_own_level = depth == scope.part.depth,
                .clauses = line.clauses,
                .file = file_,
                .line = cursor.Number()});
}

DICOM_List* Module_Reader::Find(const Key& key) const
{
    const auto found = records_.find(key);
    return found == records_.end() ? nullptr : found->second;
}

DICOM_List* Module_Reader::Create(const Key& key, DICOM_List* parent, const Attribute_Line& line,
                                  int depth)
{
    if (parent != nullptr && parent->nb_item == 0) {
        parent->item = Allocate<DICOM_List*>();
        parent->nb_item = 1;
    }
    DICOM_List*& head = parent != nullptr ? parent->item[0] : *list_;
    DICOM_List*& place = records_[key];
    auto* const record = Allocate<DICOM_List>();
    record->byte_order = DICOM_Order_Explicit_VR;
    record->depth = static_cast<unsigned char>(depth);
    record->flags = DICOM_Origin_Module;
    record->group = line.group;
    record->element = line.element;
    record->dict = NEMA_db_Locate(line.group, line.element);
    (head != nullptr ? head->last->next : head) = record;
    head->last = record;
    return place = record;
}

}  // namespace lib_dicom
