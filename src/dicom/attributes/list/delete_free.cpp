// Deleting records by tag, and freeing records.
#include "attributes/list/attribute_lists.h"

#include <cstdlib>
#include <utility>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Tag_Copy";

/** Stands for all odd groups in a deletion. */
constexpr unsigned short Odd_Groups = 0xFFF1;

/** Both forms of Delete. */
class Deleter : public Open_Item_Visitor {
public:
    Deleter(HWND handle, DICOM_Root* root)
        : Open_Item_Visitor(handle, root, "Lib_DICOM: DICOM_Attribute_Delete")
    {
    }

private:
    /** @param parity_of  the group that stands for the record's where all odd ones are meant */
    virtual bool Matches(const DICOM_List& record, unsigned short parity_of) const = 0;

    void Work_On(DICOM_List** list) override
    {
        while (*list != nullptr && Matches(**list, (*list)->group)) {
            Unlink_Record(Handle(), list, list);
        }
        for (DICOM_List* record = *list; record != nullptr; record = record->next) {
            // A kept quirk: behind the first record its group decides for all whether odd ones go.
            while (record->next != nullptr && Matches(*record->next, (*list)->group)) {
                Unlink_Record(Handle(), list, &record->next);
            }
        }
    }
};

class Tag_Deleter final : public Deleter {
public:
    Tag_Deleter(HWND handle, DICOM_Root* root, unsigned short group, unsigned short element)
        : Deleter(handle, root), group_(group), element_(element)
    {
    }

private:
    void Trace_Call() const override
    {
        Trace_In(Handle(), Trace_Entry, "Lib_DICOM: DICOM_Attribute_Delete(%04x,%04x)", group_,
                 element_);
    }
    bool Matches(const DICOM_List& record, unsigned short parity_of) const override
    {
        return (group_ == Any_Number || record.group == group_ ||
                (group_ == Odd_Groups && parity_of % 2 != 0)) &&
               (element_ == Any_Number || record.element == element_);
    }

    unsigned short group_;
    unsigned short element_;
};

class Pattern_Deleter final : public Deleter {
public:
    Pattern_Deleter(HWND handle, DICOM_Root* root, const char* group, const char* element)
        : Deleter(handle, root), group_(group), element_(element)
    {
    }

private:
    void Trace_Call() const override
    {
        Trace_In(Handle(), Trace_Entry, "Lib_DICOM: DICOM_Attribute_Delete(%hs,%hs)", group_,
                 element_);
    }
    bool Matches(const DICOM_List& record, unsigned short) const override
    {
        return DICOM_Attribute_Match(group_, element_, record.group, record.element) != 0;
    }

    const char* group_;
    const char* element_;
};

int Delete_By(HWND handle, DICOM_Root* root, DICOM_List** list, Deleter&& deleter)
{
    return Walk_Lists(handle, This_Unit, {.root = root}, list, deleter) ? deleter.Result() : 0;
}

void Trace_Free(HWND handle, const DICOM_List& record)
{
    Trace_In(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Free(%04x,%04x)", record.group,
             record.element);
}

/** Releases a record whose items are gone. */
void Release(HWND handle, DICOM_List* record)
{
    std::free(record->item);
    std::free(record->data);
    std::free(record->description);
    std::free(record);
    Trace_Out(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Free");
}

}  // namespace

void lib_dicom::Unlink_Record(HWND handle, DICOM_List** head, DICOM_List** link)
{
    DICOM_List* const record = *link;
    DICOM_List* const last = (*head)->last;
    *link = record->next;
    if (*head != nullptr) {
        // Only the first record's `last` counts, and it must not name a record that is gone.
        (*head)->last = last == record ? nullptr : last;
    }
    DICOM_Attribute_Free(handle, record);
}

void lib_dicom::Free_List(HWND handle, DICOM_List* list)
{
    while (list != nullptr) {
        DICOM_Attribute_Free(handle, std::exchange(list, list->next));
    }
}

int DICOM_Attribute_Delete(HWND handle, DICOM_Root* root, DICOM_List** list, unsigned short group,
                           unsigned short element)
{
    return Delete_By(handle, root, list, Tag_Deleter(handle, root, group, element));
}

int DICOM_Attribute_Delete(HWND handle, DICOM_Root* root, DICOM_List** list, const char* group,
                           const char* element)
{
    return Delete_By(handle, root, list, Pattern_Deleter(handle, root, group, element));
}

void DICOM_Attribute_Free(HWND handle, DICOM_List* record)
{
    if (record == nullptr) {
        return;
    }
    // Freeing must not need memory: each record on the way down counts its items in `size`, and
    // keeps its own owner in the slot of the item that is being freed.
    DICOM_List* owner = nullptr;
    DICOM_List* at = record;
    Trace_Free(handle, *at);
    at->size = 0;
    while (true) {
        if (at->item != nullptr && at->size < at->nb_item && at->item[at->size] != nullptr) {
            DICOM_List* const inner = std::exchange(at->item[at->size], owner);
            owner = std::exchange(at, inner);
            Trace_Free(handle, *at);
            at->size = 0;
            continue;
        }
        DICOM_List* const next = at->next;
        Release(handle, at);
        if (owner == nullptr) {
            return;
        }
        at = next;
        if (at != nullptr) {
            Trace_Free(handle, *at);
            at->size = 0;
        } else {
            at = owner;
            owner = std::exchange(at->item[at->size], nullptr);
            ++at->size;
        }
    }
}
