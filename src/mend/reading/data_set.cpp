#include "mend/reading/data_set.h"

#include "mend/reading/tree.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <utility>

namespace lib_mend {

namespace {

/** Bytes of the source that a value can have; its length may claim more. */
std::size_t Room_Behind(const Source& source, const DICOM_List& record)
{
    return static_cast<std::size_t>(
        std::max<std::int64_t>(source.Size() - Value_Position_Of(record), 0));
}

}  // namespace

Record_List::~Record_List()
{
    // The library's release calls itself for each level, so that records are handed over one by one:
    // lists of items move to the front of what is still to be released.
    while (head_ != nullptr) {
        DICOM_List* const record = head_;
        head_ = record->next;
        for (int i = 0; Item_Of(*record, i) != nullptr; ++i) {
            DICOM_List* tail = record->item[i];
            while (tail->next != nullptr) {
                tail = tail->next;
            }
            tail->next = head_;
            head_ = std::exchange(record->item[i], nullptr);
        }
        DICOM_Attribute_Free(nullptr, record);
    }
}

int Item_Count(const DICOM_List& record)
{
    int count = 0;
    while (Item_Of(record, count) != nullptr) {
        ++count;
    }
    return count;
}

void For_Each_Record(DICOM_List* list, const std::function<void(DICOM_List&)>& visit)
{
    Tree_Walk walk(list);
    while (DICOM_List* const record = walk.Next()) {
        visit(*record);
    }
}

DICOM_List* Find_Record(DICOM_List* list, Tag tag)
{
    for (DICOM_List& record : Records(list)) {
        if (Tag_Of(record) == tag) {
            return &record;
        }
    }
    return nullptr;
}

Bytes Data_Set::Value(const DICOM_List& record, std::size_t most) const
{
    Bytes value;
    if (record.size <= 0) {
        return value;
    }
    const std::size_t size = std::min(static_cast<std::size_t>(Size_Of(record)), most);
    if (record.data != nullptr) {
        value.assign(record.data, record.data + size);
    } else {
        value.resize(std::min(size, Room_Behind(*source, record)));
        value.resize(source->Read(Value_Position_Of(record), value));
    }
    return value;
}

bool Is_UID(std::string_view text)
{
    constexpr std::size_t Longest = 64;
    return !text.empty() && text.size() <= Longest &&
           text.find_first_not_of("0123456789.") == std::string_view::npos;
}

std::string Trimmed(const Bytes& value)
{
    constexpr std::string_view Padding(" \0", 2);
    const std::string text(value.begin(), value.end());
    const std::size_t first = text.find_first_not_of(Padding);
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(Padding) - first + 1);
}

std::string Data_Set::Text(Tag tag) const
{
    const DICOM_List* const record = Find_Record(records.Head(), tag);
    return record != nullptr ? Trimmed(Value(*record)) : std::string();
}

unsigned int Data_Set::Number(Tag tag, unsigned int otherwise) const
{
    const DICOM_List* const record = Find_Record(records.Head(), tag);
    if (record == nullptr) {
        return otherwise;
    }
    const Bytes value = Value(*record, 2);
    return value.size() == 2 ? Get_UShort(record->byte_order, value.data()) : otherwise;
}

bool Data_Set::Load(DICOM_List& record) const
{
    if (record.data != nullptr || record.size <= 0) {
        return true;
    }
    const auto size = static_cast<std::size_t>(Size_Of(record));
    if (size > Room_Behind(*source, record) || size >= std::size_t{Far_Size}) {
        return false;
    }
    auto* const data = static_cast<unsigned char*>(std::malloc(size));
    if (data == nullptr) {
        throw std::bad_alloc();
    }
    record.data = data;
    if (source->Read(Value_Position_Of(record), {data, size}) != size) {
        record.data = nullptr;
        std::free(data);
        return false;
    }
    return true;
}

}  // namespace lib_mend
