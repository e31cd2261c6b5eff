#include "mend/reading/copy.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace lib_mend {

namespace {

/** A record whose items are still to be copied. */
struct Pending {
    const DICOM_List* from;
    DICOM_List* to;
};

template <class Value>
Value* Allocated(std::size_t count)
{
    auto* const memory = static_cast<Value*>(std::calloc(count, sizeof(Value)));
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

/** Gives the copy of a record what the record owns, but its items: empty slots for these. */
void Copy_Owned(const DICOM_List& from, DICOM_List& to, std::vector<Pending>& pending)
{
    if (from.data != nullptr && from.size > 0) {
        to.data = Allocated<unsigned char>(static_cast<std::size_t>(from.size));
        std::memcpy(to.data, from.data, static_cast<std::size_t>(from.size));
    }
    if (from.description != nullptr) {
        const std::size_t size = std::strlen(from.description) + 1;
        to.description = Allocated<char>(size);
        std::memcpy(to.description, from.description, size);
    }
    if (from.item != nullptr && from.nb_item > 0) {
        to.item = Allocated<DICOM_List*>(static_cast<std::size_t>(from.nb_item));
        to.nb_item = from.nb_item;
        pending.push_back({&from, &to});
    }
}

/** Copies one list to where `head` points, record by record, so that all of it is owned at any time. */
void Copy_List(const DICOM_List* list, DICOM_List*& head, std::vector<Pending>& pending)
{
    DICOM_List** slot = &head;
    DICOM_List* tail = nullptr;
    for (; list != nullptr; list = list->next) {
        tail = *slot = Allocated<DICOM_List>(1);
        *tail = *list;
        tail->data = nullptr;
        tail->description = nullptr;
        tail->item = nullptr;
        tail->nb_item = 0;
        tail->next = nullptr;
        tail->last = tail;
        head->last = tail;
        Copy_Owned(*list, *tail, pending);
        slot = &tail->next;
    }
}

}  // namespace

Record_List Copy_Of(const DICOM_List* list)
{
    Record_List copy;
    std::vector<Pending> pending;
    Copy_List(list, *copy.Address(), pending);
    while (!pending.empty()) {
        const Pending next = pending.back();
        pending.pop_back();
        for (int i = 0; Item_Of(*next.from, i) != nullptr; ++i) {
            Copy_List(Item_Of(*next.from, i), next.to->item[i], pending);
        }
    }
    return copy;
}

Data_Set Copy_Of(const Data_Set& set)
{
    Data_Set copy;
    copy.meta = Copy_Of(set.meta.Head());
    copy.records = Copy_Of(set.records.Head());
    copy.strays = Copy_Of(set.strays.Head());
    copy.source = set.source;
    copy.skipped = set.skipped;
    copy.bare = set.bare;
    copy.foreign = set.foreign;
    copy.unreadable = set.unreadable;
    copy.was_damaged = set.was_damaged;
    copy.healed = set.healed;
    copy.declared_syntax = set.declared_syntax;
    copy.syntax = set.syntax;
    copy.encoding = set.encoding;
    return copy;
}

}  // namespace lib_mend
