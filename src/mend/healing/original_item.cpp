#include "mend/healing/original_item.h"

#include "mend/healing/original_attributes.h"
#include "mend/reading/vr_forms.h"

#include <charconv>
#include <cstdlib>
#include <new>
#include <utility>

namespace lib_mend {

namespace {

constexpr Tag Selector_Attribute = {0x0072, 0x0026};
constexpr Tag Selector_Value_Number = {0x0072, 0x0028};
constexpr Tag Selector_Attribute_VR = {0x0072, 0x0050};
constexpr Tag Selector_Sequence_Pointer = {0x0072, 0x0052};
constexpr Tag Selector_Sequence_Pointer_Creator = {0x0072, 0x0054};
constexpr Tag Selector_Attribute_Creator = {0x0072, 0x0056};
constexpr Tag Selector_Sequence_Pointer_Items = {0x0074, 0x1057};
constexpr Tag Nonconforming_Value_Tag = {0x0400, 0x0552};
constexpr Tag Modification_Date_Time = {0x0400, 0x0562};
constexpr Tag Source_Of_Previous_Values = {0x0400, 0x0564};
constexpr Tag Reason_For_Modification = {0x0400, 0x0565};

/** Levels of sequences around the records, which the flat list has to be told. */
constexpr unsigned char In_Item = 1;
constexpr unsigned char In_Modified = 2;

void Append(Record_List& list, DICOM_List* record, unsigned char depth)
{
    record->depth = depth;
    DICOM_List* const head = list.Head();
    if (head == nullptr) {
        *list.Address() = record;
    } else {
        head->last = head->last->next = record;
    }
}

/** A list with the header of an item. */
Record_List New_Item(unsigned char depth)
{
    Record_List list;
    DICOM_List* const header = New_Record(Item_Tag, 0);
    header->size = DICOM_Undefined_Length;
    Append(list, header, depth);
    return list;
}

void Append_Bytes(Record_List& list, Tag tag, unsigned short vr, const Bytes& bytes,
                  unsigned char depth)
{
    DICOM_List* const record = New_Record(tag, vr);
    Append(list, record, depth);
    Set_Bytes(*record, bytes);
}

void Append_Text(Record_List& list, Tag tag, unsigned short vr, std::string_view text,
                 unsigned char depth)
{
    Bytes bytes(text.begin(), text.end());
    if (bytes.size() % 2 != 0) {
        bytes.push_back(' ');
    }
    Append_Bytes(list, tag, vr, bytes, depth);
}

void Append_Number(Bytes& bytes, unsigned short number)
{
    bytes.push_back(static_cast<unsigned char>(number & 0xFF));
    bytes.push_back(static_cast<unsigned char>(number >> 8));
}

void Append_Tag(Bytes& bytes, Tag tag)
{
    Append_Number(bytes, tag.group);
    Append_Number(bytes, tag.element);
}

void Append_Path(Record_List& list, const Path& path)
{
    Bytes pointer;
    for (const Path_Step& step : path) {
        Append_Tag(pointer, step.sequence);
    }
    Append_Bytes(list, Selector_Sequence_Pointer, VR_AT, pointer, In_Modified);
}

void Append_Path_Items(Record_List& list, const Path& path)
{
    std::string items;
    for (const Path_Step& step : path) {
        items += (items.empty() ? "" : "\\") + std::to_string(step.item + 1);
    }
    Append_Text(list, Selector_Sequence_Pointer_Items, VR_IS, items, In_Modified);
}

/** Gives a sequence the lists as items. */
void Append_Sequence(Record_List& list, Tag tag, std::vector<Record_List>& items)
{
    DICOM_List* const sequence = New_Record(tag, VR_SQ);
    Append(list, sequence, In_Item);
    std::vector<DICOM_List*> heads;
    heads.reserve(items.size());
    for (const Record_List& item : items) {
        heads.push_back(item.Head());
    }
    Set_Items(*sequence, heads);
    for (Record_List& item : items) {
        *item.Address() = nullptr;
    }
}

std::vector<Tag> Tags_Of(const Data_Set& set, const DICOM_List* record)
{
    std::vector<Tag> tags;
    const Bytes bytes = record != nullptr ? set.Value(*record) : Bytes();
    for (std::size_t at = 0; at + 4 <= bytes.size(); at += 4) {
        tags.push_back({Get_UShort(record->byte_order, &bytes[at]),
                        Get_UShort(record->byte_order, &bytes[at + 2])});
    }
    return tags;
}

/** The VR whose letters a value holds; 0 when there is none. */
unsigned short VR_In(const Data_Set& set, const DICOM_List* record)
{
    const std::string letters = record != nullptr ? Trimmed(set.Value(*record)) : std::string();
    if (letters.size() != 2) {
        return 0;
    }
    const auto vr = static_cast<unsigned short>(static_cast<unsigned char>(letters[0]) << 8 |
                                                static_cast<unsigned char>(letters[1]));
    return Is_Known_VR(vr) && vr != VR_SQ ? vr : static_cast<unsigned short>(0);
}

std::vector<int> Numbers_Of(const Data_Set& set, const DICOM_List* record)
{
    std::vector<int> numbers;
    const std::string text = record != nullptr ? Trimmed(set.Value(*record)) : std::string();
    const char* const end = text.data() + text.size();
    for (const char* at = text.data(); at < end;) {
        int number = 0;
        const std::from_chars_result result = std::from_chars(at, end, number);
        if (result.ec != std::errc()) {
            return {};
        }
        numbers.push_back(number);
        at = result.ptr + 1;
    }
    return numbers;
}

}  // namespace

void Original_Item::Add_Modified(const Changed_Value& change)
{
    const unsigned short vr = change.vr != 0 ? change.vr : change.new_vr;
    Bytes value = change.value;
    if (value.size() % 2 != 0) {
        value.push_back(vr == VR_UI ? 0 : ' ');
    }
    modified_.insert_or_assign(change.tag, Former{vr, std::move(value)});
}

void Original_Item::Add_Nonconforming(const Changed_Value& change, const std::string& path_creators,
                                      const std::string& creator)
{
    Record_List item = New_Item(In_Modified);
    Bytes tag;
    Append_Tag(tag, change.tag);
    Append_Bytes(item, Selector_Attribute, VR_AT, tag, In_Modified);
    Append_Bytes(item, Selector_Value_Number, VR_US, {0, 0}, In_Modified);
    if (change.vr != 0 && change.vr != change.new_vr) {
        // Nothing else in the item tells it, and the value alone would be read under the VR of today.
        const std::string letters = {static_cast<char>(change.vr >> 8),
                                     static_cast<char>(change.vr & 0xFF)};
        Append_Text(item, Selector_Attribute_VR, VR_CS, letters, In_Modified);
    }
    if (!change.path.empty()) {
        Append_Path(item, change.path);
    }
    if (!path_creators.empty()) {
        Append_Text(item, Selector_Sequence_Pointer_Creator, VR_LO, path_creators, In_Modified);
    }
    if (!creator.empty()) {
        Append_Text(item, Selector_Attribute_Creator, VR_LO, creator, In_Modified);
    }
    if (!change.path.empty()) {
        Append_Path_Items(item, change.path);
    }
    Bytes value = change.value;
    value.resize(value.size() + value.size() % 2);
    Append_Bytes(item, Nonconforming_Value_Tag, VR_OB, value, In_Modified);
    nonconforming_.push_back(std::move(item));
}

DICOM_List* Original_Item::Finish(std::string_view date_time)
{
    Record_List item = New_Item(In_Item);
    std::vector<Record_List> modified;
    modified.push_back(New_Item(In_Modified));
    for (const auto& [tag, former] : modified_) {
        Append_Bytes(modified[0], tag, former.vr, former.value, In_Modified);
    }
    Append_Sequence(item, Modified_Attributes_Tag, modified);
    if (!nonconforming_.empty()) {
        Append_Sequence(item, Nonconforming_Attributes_Tag, nonconforming_);
    }
    Append_Text(item, Modification_Date_Time, VR_DT, date_time, In_Item);
    Append_Text(item, Modifying_System_Tag, VR_LO, Modifying_System, In_Item);
    Append_Text(item, Source_Of_Previous_Values, VR_LO, "", In_Item);
    Append_Text(item, Reason_For_Modification, VR_CS, "CORRECT", In_Item);
    return std::exchange(*item.Address(), nullptr);
}

void Append_Item(DICOM_List& sequence, DICOM_List* item)
{
    const auto count = static_cast<std::size_t>(Item_Count(sequence));
    auto** const items =
        static_cast<DICOM_List**>(std::realloc(sequence.item, (count + 2) * sizeof(DICOM_List*)));
    if (items == nullptr) {
        throw std::bad_alloc();
    }
    items[count] = item;
    items[count + 1] = nullptr;
    sequence.item = items;
    sequence.nb_item = static_cast<int>(count + 2);
    sequence.size = DICOM_Undefined_Length;
}

std::optional<Nonconforming_Value> Read_Nonconforming(const Data_Set& set, DICOM_List* item)
{
    const std::vector<Tag> tags = Tags_Of(set, Find_Record(item, Selector_Attribute));
    const std::vector<Tag> pointer = Tags_Of(set, Find_Record(item, Selector_Sequence_Pointer));
    const std::vector<int> numbers =
        Numbers_Of(set, Find_Record(item, Selector_Sequence_Pointer_Items));
    const DICOM_List* const value = Find_Record(item, Nonconforming_Value_Tag);
    if (tags.size() != 1 || value == nullptr || pointer.size() != numbers.size()) {
        return std::nullopt;
    }
    Nonconforming_Value found = {
        tags[0], VR_In(set, Find_Record(item, Selector_Attribute_VR)), {}, set.Value(*value)};
    for (std::size_t i = 0; i < pointer.size(); ++i) {
        found.path.push_back({pointer[i], numbers[i] - 1});
    }
    return found;
}

}  // namespace lib_mend
