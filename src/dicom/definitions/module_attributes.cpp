// What the lines of module definitions do to the records of a list.
#include "definitions/clause_reader.h"
#include "definitions/module_reader.h"
#include "definitions/module_value.h"
#include "frame/record_codes.h"
#include "frame/vr_rules.h"

#include <Lib_DICOM/dictionary.h>

#include <cstdlib>
#include <new>
#include <utility>

namespace lib_dicom {

namespace {

constexpr Unit This_Unit = "NEMA_Read_IOD";

constexpr unsigned short All_Marks =
    DICOM_Mark_Forced | DICOM_Mark_Default | DICOM_Mark_Append | DICOM_Mark_Delete_Request;

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

}  // namespace

unsigned short Module_Reader::Settle_VR(const Attribute_Line& line, const DICOM_List* record)
{
    if (record == nullptr) {
        const unsigned short vr = line.vr.value_or(Dictionary_VR(line.group, line.element));
        if (vr == 0) {
            throw Definition_Fault{This_Unit, line.vr_column,
                                   "expected a VR, the dictionary has none for " +
                                       Shown_Tag(line.group, line.element)};
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

std::string Module_Reader::Bytes_Of(const Attribute_Line& line, unsigned short vr)
{
    if (!line.value || line.mark == DICOM_Mark_Delete_Request) {
        return {};
    }
    try {
        return Value_Bytes(vr, *line.value);
    } catch (const Value_Fault& fault) {
        throw Definition_Fault{fault.place, line.value_column, fault.text};
    }
}

void Module_Reader::Read_Attribute(Line_Cursor& cursor, const Scope& scope, int depth)
{
    Attribute_Line line = Read_Attribute_Line(cursor);
    const Key key = {depth == depth_ ? nullptr : Open_Record(depth - 1),
                     Tag_Number(line.group, line.element)};
    Known* const known = Find(key);
    const unsigned short vr = Settle_VR(line, Record_Of(known));
    const std::string bytes = Bytes_Of(line, vr);
    Read_Clauses(cursor, store_.Arena(), vr, line);
    Check_Clauses(line, Type_Of(line, known), vr);
    Apply(line, vr, bytes, {key, known, cursor.Number(), depth}, scope);
    Keep({depth - scope.depth, vr, std::move(line)}, cursor.Number());
}

unsigned short Module_Reader::Type_Of(const Attribute_Line& line, const Known* known)
{
    return line.type.value_or(known != nullptr ? known->record->type : 0);
}

void Module_Reader::Apply(const Attribute_Line& line, unsigned short vr, const std::string& bytes,
                          Spot spot, const Scope& scope)
{
    const bool is_optional = scope.is_optional && spot.depth == scope.depth;
    const auto type = is_optional ? Optional_Type(line.type, Record_Of(spot.known)) : line.type;
    if (spot.known == nullptr) {
        spot.known = Create(spot.key, line, spot.depth);
        spot.known->record->vr_default = vr;
    }
    DICOM_List* const record = spot.known->record;
    record->type = type.value_or(record->type);
    if (line.vr) {
        record->vr = record->vr_default = vr;
    }
    if (line.mark != 0) {
        record->flags = static_cast<unsigned short>((record->flags & ~All_Marks) | line.mark);
        Replace_Value(*record, bytes);
    }
    Open_Record(spot.depth) = record;
    // A condition is one of the type that there is, where the line gives none.
    const bool has_condition = line.clauses.required.step_count != 0;
    rules_.Add(spot.known->rules, scope.part,
               {.type = line.type.value_or(has_condition ? record->type : 0),
                .is_own_level = spot.depth == scope.part.depth,
                .clauses = line.clauses,
                .file = file_,
                .line = spot.number});
}

Module_Reader::Known* Module_Reader::Find(const Key& key)
{
    const auto found = records_.find(key);
    return found == records_.end() ? nullptr : &found->second;
}

Module_Reader::Known* Module_Reader::Create(const Key& key, const Attribute_Line& line, int depth)
{
    DICOM_List* const parent = key.parent;
    if (parent != nullptr && parent->nb_item == 0) {
        parent->item = Allocate<DICOM_List*>();
        parent->nb_item = 1;
    }
    DICOM_List*& head = parent != nullptr ? parent->item[0] : *list_;
    Known& known = records_[key];
    auto* const record = Allocate<DICOM_List>();
    record->byte_order = DICOM_Order_Explicit_VR;
    record->depth = static_cast<unsigned char>(depth);
    record->flags = DICOM_Origin_Module;
    record->group = line.group;
    record->element = line.element;
    record->dict = NEMA_db_Locate(line.group, line.element);
    (head != nullptr ? head->last->next : head) = record;
    head->last = record;
    known.record = record;
    return &known;
}

}  // namespace lib_dicom
