#include "mend/reading/data_set.h"

#include "mend/reading/tree.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <new>
#include <utility>

namespace lib_mend {

namespace {

/** Bytes that a value left in the source can have; its length may claim more. */
std::size_t Room_For(const Source& source, const DICOM_List& record)
{
    const std::int64_t zeros = Size_Of(record) - Stored_Size_Of(record);
    return static_cast<std::size_t>(
        std::max<std::int64_t>(source.Size() - Value_Position_Of(record), 0) + zeros);
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

Bytes Data_Set::Value(const DICOM_List& record, std::size_t most, std::size_t from) const
{
    Bytes value;
    if (record.size <= 0) {
        return value;
    }
    const auto size = static_cast<std::size_t>(Size_Of(record));
    const std::size_t there = record.data != nullptr ? size : Room_For(*source, record);
    const std::size_t end = std::min(size, there);
    value.resize(std::min(most, end - std::min(from, end)));
    value.resize(Read(record, static_cast<std::int64_t>(from), value));
    return value;
}

std::size_t Data_Set::Read(const DICOM_List& record, std::int64_t offset,
                           std::span<unsigned char> out) const
{
    if (record.data != nullptr) {
        std::copy_n(record.data + offset, out.size(), out.begin());
        return out.size();
    }
    const auto stored =
        static_cast<std::size_t>(std::max<std::int64_t>(Stored_Size_Of(record) - offset, 0));
    const std::span<unsigned char> front = out.first(std::min(stored, out.size()));
    const std::size_t count = source->Read(Value_Position_Of(record) + offset, front);
    if (count < front.size()) {
        return count;
    }
    std::fill(out.begin() + static_cast<std::ptrdiff_t>(count), out.end(), '\0');
    return out.size();
}

bool Is_Bulk(const DICOM_List& record)
{
    constexpr int Longest_To_Look_At = 16 << 20;
    constexpr std::array VRs = {VR_OB, VR_OD, VR_OF, VR_OL, VR_OV, VR_OW, VR_UN};
    return record.data == nullptr && record.size > Longest_To_Look_At &&
           std::find(VRs.begin(), VRs.end(), VR_Of(record)) != VRs.end();
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
    if (size > Room_For(*source, record) || size >= std::size_t{Far_Size}) {
        return false;
    }
    auto* const data = static_cast<unsigned char*>(std::malloc(size));
    if (data == nullptr) {
        throw std::bad_alloc();
    }
    if (Read(record, 0, {data, size}) != size) {
        std::free(data);
        return false;
    }
    record.data = data;
    return true;
}

}  // namespace lib_mend
