// The elements and the data set that Set_Builder makes of what it collected.
#include "mend/json/set_builder.h"

#include "mend/healing/character_set.h"
#include "mend/healing/character_terms.h"
#include "mend/healing/record_building.h"
#include "mend/healing/vrs.h"
#include "mend/json/bulk_value.h"
#include "mend/json/directory_places.h"
#include "mend/reading/reader.h"
#include "mend/reading/tree.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

namespace lib_mend {

namespace {

constexpr Tag Transfer_Syntax_Tag = {0x0002, 0x0010};
constexpr unsigned short Meta_Group = 0x0002;

/** A record with a value of even length. */
DICOM_List* New_Value(Tag tag, const JSON_Form& form, Bytes& bytes)
{
    if (bytes.size() % 2 != 0) {
        const bool is_text = form.kind != JSON_Kind::Binary && form.vr != VR_UI;
        bytes.push_back(is_text ? ' ' : '\0');
    }
    Record_List record(New_Record(tag, form.vr));
    Set_Bytes(*record.Head(), bytes);
    return record.Release();
}

/** The value of a record that stays where all long ones are. */
void Leave_In_Source(DICOM_List& record, std::int64_t offset, std::int64_t size)
{
    // The bytes of a text of less than 4 GiB have less than 3.
    record.data_pos = static_cast<unsigned int>(offset);
    record.size = static_cast<int>(size);
}

/** Gives a sequence or encapsulated data the lists of its items. */
void Take_Items(DICOM_List& record, std::vector<Record_List>& items)
{
    std::vector<DICOM_List*> heads;
    heads.reserve(items.size());
    for (const Record_List& item : items) {
        heads.push_back(item.Head());
    }
    Set_Items(record, heads);
    for (Record_List& item : items) {
        item.Release();
    }
}

/** An item with the elements of a list. */
Record_List New_Item(Record_List elements)
{
    Record_List item(New_Record(Item_Tag, 0));
    DICOM_List* const header = item.Head();
    header->size = DICOM_Undefined_Length;
    if (elements.Head() != nullptr) {
        header->last = elements.Head()->last;
        header->next = elements.Release();
    }
    return item;
}

bool Has_Letters(std::span<const unsigned char> bytes)
{
    return std::any_of(bytes.begin(), bytes.end(), [](unsigned char byte) { return byte >= 0x80; });
}

/** Makes a list of records in their order; `last` of the first is where the next is appended. */
DICOM_List* Linked(const std::vector<DICOM_List*>& records)
{
    for (std::size_t i = 0; i < records.size(); ++i) {
        records[i]->next = i + 1 < records.size() ? records[i + 1] : nullptr;
        records[i]->last = records[i];
    }
    if (records.empty()) {
        return nullptr;
    }
    records.front()->last = records.back();
    return records.front();
}

unsigned char Saturated(std::size_t depth)
{
    return static_cast<unsigned char>(std::min<std::size_t>(depth, 255));
}

}  // namespace

/** The form of the VR that is given, or else of the registry's. */
const JSON_Form* Set_Builder::Form_Of(const Element& element)
{
    if (!element.vr.empty()) {
        const JSON_Form* const form = Find_JSON_Form(
            static_cast<unsigned short>(static_cast<unsigned char>(element.vr[0]) << 8 |
                                        static_cast<unsigned char>(element.vr[1])));
        if (form == nullptr) {
            Refuse_Element(element.at, "there is no such VR");
        }
        return form;
    }
    const Record_List record(New_Record(element.tag, 0));
    const JSON_Form* const form = Find_JSON_Form(Registry_VR(*record.Head(), false));
    if (form == nullptr) {
        Refuse_Element(element.at, "the VR is missing, and the registry gives none");
    } else {
        Report_Element(Level::Change, element.tag, element.at,
                       "the VR is missing; that of the registry is taken");
    }
    return form;
}

DICOM_List* Set_Builder::Make_Sequence(Element& element)
{
    std::vector<Record_List> items;
    std::size_t next = 0;
    for (std::size_t i = 0; i < element.values.Count(); ++i) {
        const JSON_Values::Entry entry = element.values[i];
        if (entry.kind != JSON_Values::Kind::Item &&
            entry.kind != JSON_Values::Kind::Empty_Object) {
            Refuse_Element(entry.at, "is no item of a sequence");
            return nullptr;
        }
        items.push_back(New_Item(entry.kind == JSON_Values::Kind::Item
                                     ? std::move(element.items[next++])
                                     : Record_List()));
        items.back().Head()->depth = Saturated(objects_.size());
    }
    if (!element.bytes.empty() || element.stored.size > 0 || !element.reference.empty()) {
        Refuse_Element(element.value_at, "a sequence has items in its Value");
        return nullptr;
    }
    Record_List sequence(New_Record(element.tag, VR_SQ));
    Take_Items(*sequence.Head(), items);
    return sequence.Release();
}

DICOM_List* Set_Builder::Make_Fragments(const Element& element,
                                        const std::vector<Value_Part>& fragments)
{
    std::vector<Record_List> items;
    for (const Value_Part& fragment : fragments) {
        items.emplace_back(New_Record(Item_Tag, 0));
        DICOM_List& record = *items.back().Head();
        record.vr_default = VR_OB;
        record.depth = Saturated(objects_.size());
        if (element.stored.size > 0) {
            Leave_In_Source(record, element.stored.offset + fragment.offset, fragment.size);
        } else {
            Set_Bytes(record, std::span(element.bytes)
                                  .subspan(static_cast<std::size_t>(fragment.offset),
                                           static_cast<std::size_t>(fragment.size)));
        }
    }
    Record_List data(New_Record(element.tag, VR_OB));
    Take_Items(*data.Head(), items);
    return data.Release();
}

/** A value in the spool, or fragments there. */
DICOM_List* Set_Builder::Make_Stored(const Element& element, const JSON_Form& form)
{
    if (form.vr == VR_OB) {
        const auto fragments =
            Split_Fragment_Stream(element.stored.size, [&](std::int64_t at, Bytes& out) {
                return spool_.Read(element.stored.offset + at, out) == out.size();
            });
        if (fragments) {
            return Make_Fragments(element, *fragments);
        }
    }
    constexpr unsigned char Padding[] = {0};
    const std::int64_t odd = element.stored.size % 2;
    spool_.Put(std::span(Padding).first(static_cast<std::size_t>(odd)));
    Record_List record(New_Record(element.tag, form.vr));
    Leave_In_Source(*record.Head(), element.stored.offset, element.stored.size + odd);
    return record.Release();
}

/** Bytes as they are, or a stream of fragments. */
DICOM_List* Set_Builder::Make_Binary(Element& element, const JSON_Form& form)
{
    if (!element.reference.empty()) {
        std::optional<Bytes> bytes = bulk_ ? bulk_(element.reference) : std::nullopt;
        if (!bytes) {
            Refuse_Element(element.value_at, "BulkDataURI leads to a value that is not there");
            return nullptr;
        }
        element.bytes = std::move(*bytes);
    }
    if (form.vr == VR_OB) {
        const auto size = std::ssize(element.bytes);
        const auto fragments = Split_Fragment_Stream(size, [&](std::int64_t at, Bytes& out) {
            std::copy_n(element.bytes.begin() + at, out.size(), out.begin());
            return true;
        });
        if (fragments) {
            return Make_Fragments(element, *fragments);
        }
    }
    return New_Value(element.tag, form, element.bytes);
}

DICOM_List* Set_Builder::Make_Value(Element& element, const JSON_Form& form)
{
    if (element.stored.size > 0) {
        return Make_Stored(element, form);
    }
    if (!element.bytes.empty() || !element.reference.empty()) {
        return Make_Binary(element, form);
    }
    Bytes bytes;
    const JSON_Problem problem = Read_JSON_Values(element.values, form, bytes);
    if (!problem.what.empty() && problem.level == Level::Error) {
        Refuse_Element(problem.at, problem.what);
        return nullptr;
    }
    if (!problem.what.empty()) {
        Report_Element(problem.level, element.tag, problem.at, problem.what);
    }
    has_letters_ = has_letters_ || (Follows_Character_Set(form.vr) && Has_Letters(bytes));
    return New_Value(element.tag, form, bytes);
}

void Set_Builder::End_Element(Object& object)
{
    Element& element = object.element;
    if (element.is_faulty) {
        return;
    }
    const JSON_Form* const form = Form_Of(element);
    if (form == nullptr) {
        return;
    }
    Record_List made(form->kind == JSON_Kind::Items ? Make_Sequence(element)
                                                    : Make_Value(element, *form));
    DICOM_List* const record = made.Head();
    if (record == nullptr) {
        return;
    }
    if (Is_Group_Length(*record)) {
        if (!has_group_lengths_) {
            findings_.Report(Fault::Removed, Level::Info, {.offset = 0},
                             "group lengths of JSON are left out");
        }
        has_group_lengths_ = true;
        return;
    }
    record->pos = static_cast<unsigned int>(element.at);
    Append(object, made.Release());
}

void Set_Builder::Append(Object& object, DICOM_List* record)
{
    record->flags = DICOM_Origin_Stream;
    record->depth = Saturated(objects_.size() - 1);
    DICOM_List* const head = object.records.Head();
    if (head == nullptr) {
        *object.records.Address() = record;
    } else {
        object.is_sorted = object.is_sorted && Tag_Of(*object.tail) < Tag_Of(*record);
        object.tail->next = record;
        head->last = record;
    }
    object.tail = record;
}

/** Brings the elements into the order of their tags; each can be there once. */
void Set_Builder::Sort(Object& object)
{
    if (object.is_sorted) {
        return;
    }
    std::vector<DICOM_List*> sorted;
    for (DICOM_List& record : Records(object.records.Head())) {
        sorted.push_back(&record);
    }
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const DICOM_List* left, const DICOM_List* right) {
                         return Tag_Of(*left) < Tag_Of(*right);
                     });
    std::vector<DICOM_List*> kept;
    std::vector<DICOM_List*> repeated;
    for (DICOM_List* const record : sorted) {
        const bool is_twice = !kept.empty() && Tag_Of(*kept.back()) == Tag_Of(*record);
        (is_twice ? repeated : kept).push_back(record);
    }
    for (const DICOM_List* const record : repeated) {
        Report_Element(Level::Error, Tag_Of(*record), record->pos,
                       "the element occurs twice; the first is taken");
    }
    *object.records.Address() = Linked(kept);
    const Record_List dropped(Linked(repeated));
}

/** The texts of JSON are UTF-8, whatever character set is declared. */
void Set_Builder::Declare_UTF_8(Data_Set& set)
{
    const std::span<const unsigned char> term(
        reinterpret_cast<const unsigned char*>(UTF_8_Term.data()), UTF_8_Term.size());
    bool is_declared = false;
    For_Each_Element(set.records.Head(), [&](DICOM_List& record, const Path& path) {
        if (Tag_Of(record) != Character_Set_Tag) {
            return;
        }
        is_declared = is_declared || path.empty();
        const std::string before = Trimmed(set.Value(record));
        if (before != UTF_8_Term && Has_Value(record)) {
            findings_.Report(Fault::Character_Set, Level::Change, At(record, path),
                             "texts of JSON are UTF-8", {before, UTF_8_Term});
            Set_Bytes(record, term);
            record.vr = VR_CS;
        }
    });
    if (is_declared) {
        return;
    }
    findings_.Report(Fault::Character_Set, Level::Change,
                     {.has_tag = true, .tag = Character_Set_Tag, .vr = VR_CS},
                     "texts of JSON are UTF-8", {{}, UTF_8_Term});
    Record_List declaration(New_Record(Character_Set_Tag, VR_CS));
    Set_Bytes(*declaration.Head(), term);
    DICOM_List** place = set.records.Address();
    DICOM_List* const head = *place;
    while (*place != nullptr && Tag_Of(**place) < Character_Set_Tag) {
        place = &(*place)->next;
    }
    DICOM_List* const record = declaration.Release();
    record->next = *place;
    *place = record;
    DICOM_List* const first = set.records.Head();
    first->last = first == record && head != nullptr ? head->last
                  : record->next == nullptr          ? record
                                                     : first->last;
}

void Set_Builder::Finish(Data_Set& set)
{
    Object top = has_set_ || objects_.empty() ? std::move(done_) : std::move(objects_.front());
    objects_.clear();
    way_.clear();
    set.source = spool_.Finish(name_);
    Sort(top);
    std::vector<DICOM_List*> meta;
    std::vector<DICOM_List*> records;
    for (DICOM_List& record : Records(top.records.Head())) {
        (record.group == Meta_Group ? meta : records).push_back(&record);
    }
    top.records.Release();
    *set.meta.Address() = Linked(meta);
    *set.records.Address() = Linked(records);
    if (has_letters_) {
        Declare_UTF_8(set);
    }
    const DICOM_List* const syntax = Find_Record(set.meta.Head(), Transfer_Syntax_Tag);
    set.declared_syntax = syntax != nullptr ? Trimmed(set.Value(*syntax)) : std::string();
    if (!set.declared_syntax.empty() && !Is_UID(set.declared_syntax)) {
        Report_Element(Level::Error, Transfer_Syntax_Tag, syntax->pos,
                       "the transfer syntax is no UID");
        set.declared_syntax.clear();
    }
    if (meta.size() == 1 && syntax != nullptr) {
        // Group 0002 is no part of the model, so that nothing of it is missing.
        const Record_List left_out = std::move(set.meta);
    }
    set.encoding = Encoding_Of(Explicit_Little_UID);
    set.encoding.encapsulated =
        !set.declared_syntax.empty() && Encoding_Of(set.declared_syntax).encapsulated;
    set.syntax = set.encoding.encapsulated ? set.declared_syntax : Explicit_Little_UID;
    Settle_Pixel_Syntax(set, findings_);
    Place_Directory_Records(set);
}

}  // namespace lib_mend
