#include "attributes/list/tag_search.h"

#include <iterator>
#include <new>
#include <utility>

namespace lib_dicom {

namespace {

/** Searches that end this near to the head are made by walking. */
constexpr int Near = 64;
/** So are the first long ones in a list: making an index costs more than each of them. */
constexpr int Few_Searches = 16;

}  // namespace

DICOM_List* Tag_Search::First(DICOM_List* head, std::uint32_t tag)
{
    while (head != nullptr && Tag_Number(*head) != tag) {
        head = head->next;
    }
    return head;
}

DICOM_List* Tag_Search::Reached(DICOM_List* head, std::uint32_t tag)
{
    while (head != nullptr && head->next != nullptr && Tag_Number(*head->next) <= tag) {
        head = head->next;
    }
    return head;
}

DICOM_List* Indexed_Search::First(DICOM_List* head, std::uint32_t tag)
{
    DICOM_List* record = head;
    for (int i = 0; i < Near && record != nullptr; ++i, record = record->next) {
        if (Tag_Number(*record) == tag) {
            return record;
        }
    }
    const Index* const index = record != nullptr ? Index_Of(head) : nullptr;
    return index != nullptr ? index->First(tag) : Tag_Search::First(record, tag);
}

DICOM_List* Indexed_Search::Reached(DICOM_List* head, std::uint32_t tag)
{
    DICOM_List* record = head;
    for (int i = 0; i < Near; ++i, record = record->next) {
        if (record == nullptr || record->next == nullptr || Tag_Number(*record->next) > tag) {
            return record;
        }
    }
    const Index* const index = Index_Of(head);
    return index != nullptr ? index->Reached(head, tag) : Tag_Search::Reached(record, tag);
}

void Indexed_Search::Added_Head(DICOM_List* old_head, DICOM_List* head)
{
    auto list = lists_.extract(old_head);
    if (!list.empty()) {
        list.key() = head;
        lists_.insert(std::move(list));
        Keep_Up(head, [=](Index& index) { index.Added_Head(old_head, head); });
    }
}

void Indexed_Search::Added_In_Place(DICOM_List* head, DICOM_List* record)
{
    Keep_Up(head, [=](Index& index) { index.Added_In_Place(record); });
}

void Indexed_Search::Added_Last(DICOM_List* head, DICOM_List* record, std::uint32_t tag)
{
    Keep_Up(head, [=](Index& index) { index.Added_Last(record, tag); });
}

void Indexed_Search::Cut(DICOM_List* head)
{
    lists_.erase(head);
}

const Indexed_Search::Index* Indexed_Search::Index_Of(DICOM_List* head)
{
    try {
        Entry& entry = lists_[head];
        if (!entry.index && ++entry.long_searches > Few_Searches) {
            entry.index.emplace(head);
        }
        return entry.index ? &*entry.index : nullptr;
    } catch (const std::bad_alloc&) {
        // Walking finds the same.
        return nullptr;
    }
}

template <class Change>
void Indexed_Search::Keep_Up(DICOM_List* head, Change&& change)
{
    const auto list = lists_.find(head);
    if (list == lists_.end() || !list->second.index) {
        return;
    }
    try {
        change(*list->second.index);
    } catch (const std::bad_alloc&) {
        lists_.erase(list);
    }
}

Indexed_Search::Index::Index(DICOM_List* head) : head_(Tag_Number(*head))
{
    first_.emplace(head_, First_Record{head, true, false, head_});
    for (DICOM_List* record = head->next; record != nullptr; record = record->next) {
        Added_Last(record, Tag_Number(*record));
    }
}

DICOM_List* Indexed_Search::Index::First(std::uint32_t tag) const
{
    const auto found = first_.find(tag);
    return found != first_.end() ? found->second.record : nullptr;
}

DICOM_List* Indexed_Search::Index::Reached(DICOM_List* head, std::uint32_t tag) const
{
    const auto above = last_.upper_bound(tag);
    return above != last_.begin() ? std::prev(above)->second : head;
}

void Indexed_Search::Index::Added_Head(DICOM_List* old_head, DICOM_List* head)
{
    const auto above = last_.upper_bound(head_);
    DICOM_List* const last = above != last_.begin() ? std::prev(above)->second : old_head;
    last_.erase(last_.begin(), above);
    last_.emplace_hint(last_.begin(), head_, last);
    head_ = Tag_Number(*head);
    first_.insert_or_assign(head_, First_Record{head, true, false, head_});
}

void Indexed_Search::Index::Added_In_Place(DICOM_List* record)
{
    const std::uint32_t tag = Tag_Number(*record);
    const auto [first, is_new] = first_.try_emplace(tag, First_Record{record, false, false, head_});
    if (!is_new && Is_Behind_Place(first->second, tag)) {
        first->second = {record, false, false, head_};
    }
    last_.insert_or_assign(tag, record);
}

void Indexed_Search::Index::Added_Last(DICOM_List* record, std::uint32_t tag)
{
    const bool is_behind_higher = !last_.empty() && last_.rbegin()->first > tag;
    first_.try_emplace(tag, First_Record{record, false, is_behind_higher, head_});
    if (is_behind_higher) {
        last_.rbegin()->second = record;
    } else {
        last_.insert_or_assign(last_.end(), tag, record);
    }
}

/** The records that a new head was put before stand before all that were there at the time. */
bool Indexed_Search::Index::Is_Behind_Place(const First_Record& first, std::uint32_t tag) const
{
    return !first.is_head && (first.is_behind_higher || (first.head != head_ && first.head > tag));
}

}  // namespace lib_dicom
