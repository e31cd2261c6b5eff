#include "mend/healing/list_index.h"

#include <iterator>
#include <utility>

namespace lib_mend {

List_Index::Tags& List_Index::Tags_Of(DICOM_List** list)
{
    const auto [found, is_new] = lists_.try_emplace(list);
    if (is_new) {
        for (DICOM_List& record : Records(*list)) {
            if (!Is_Delimiter(record) && !Is_Marked_Gone(record)) {
                found->second.emplace(Tag_Of(record), &record);
            }
        }
    }
    return found->second;
}

DICOM_List** List_Index::List_At(const Path& path)
{
    DICOM_List** list = set_.records.Address();
    for (const Path_Step& step : path) {
        DICOM_List* const sequence = Find(list, step.sequence);
        if (sequence == nullptr || step.item < 0 || Item_Of(*sequence, step.item) == nullptr) {
            return nullptr;
        }
        list = &sequence->item[step.item];
    }
    return list;
}

DICOM_List* List_Index::Find(DICOM_List** list, Tag tag)
{
    const Tags& tags = Tags_Of(list);
    const auto found = tags.find(tag);
    return found != tags.end() ? found->second : nullptr;
}

std::string List_Index::Creator_Of(DICOM_List** list, Tag tag)
{
    constexpr unsigned short First_Element = 0x1000;
    constexpr std::size_t Enough = 64;
    if (tag.group % 2 == 0 || tag.element < First_Element) {
        return {};
    }
    const DICOM_List* const creator =
        Find(list, {tag.group, static_cast<unsigned short>(tag.element >> 8)});
    return creator != nullptr ? Trimmed(set_.Value(*creator, Enough)) : std::string();
}

DICOM_List* List_Index::Insert(DICOM_List** list, Record_List fresh)
{
    Tags& tags = Tags_Of(list);
    const auto place = tags.insert_or_assign(Tag_Of(*fresh.Head()), fresh.Head()).first;
    DICOM_List* const record = std::exchange(*fresh.Address(), nullptr);
    DICOM_List* const head = *list;
    DICOM_List* const item = head != nullptr && Is_Delimiter(*head) ? head : nullptr;
    DICOM_List* const before = place != tags.begin() ? std::prev(place)->second : item;
    if (before != nullptr) {
        record->next = std::exchange(before->next, record);
    } else {
        record->next = head;
        record->last = head != nullptr ? head->last : record;
        *list = record;
    }
    if (record->next == nullptr) {
        (*list)->last = record;
    }
    return record;
}

}  // namespace lib_mend
