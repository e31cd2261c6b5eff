// What the operations on attribute lists share: the way down into the open sequence, the merge of
// two records, and the walk over the items of a record.
#ifndef LIB_DICOM_SRC_ATTRIBUTES_ATTRIBUTE_LISTS_H
#define LIB_DICOM_SRC_ATTRIBUTES_ATTRIBUTE_LISTS_H

#include "frame/report.h"

#include <Lib_DICOM/attributes.h>

#include <algorithm>
#include <cstdint>

/**
 * The item slot of the open sequence one level below a list. Creates the sequence record when the
 * list does not hold it.
 *
 * @param unused  without effect
 * @return the address of the slot; null when no sequence is open there, or without memory
 */
DICOM_List** DICOM_Attribute_Dig(HWND handle, DICOM_Root* root, DICOM_List* list, char unused);

/**
 * Merges a record into one of a list: its value and status, then its items.
 *
 * @param list  the list that the target belongs to, at the top level of the context
 * @return 1; 0 without memory
 */
int DICOM_Attribute_Copy_Tag(HWND handle, DICOM_Root* root, DICOM_List** list, DICOM_List* target,
                             DICOM_List* source);

namespace lib_dicom {

inline std::uint32_t Tag_Number(unsigned short group, unsigned short element)
{
    return static_cast<std::uint32_t>(group) << 16 | element;
}

inline std::uint32_t Tag_Number(const DICOM_List& record)
{
    return Tag_Number(record.group, record.element);
}

inline bool Has_Tag(const DICOM_List& record, unsigned short group, unsigned short element)
{
    return record.group == group && record.element == element;
}

inline bool Has_Tag(const DICOM_List& record, const DICOM_List& other)
{
    return Has_Tag(record, other.group, other.element);
}

/** A record that a search for the place of a tag comes by on its way from the head; or the head. */
DICOM_List* Search_Start(DICOM_List* head, std::uint32_t tag);

/**
 * Finds a record in one list, or creates it at its place, from a record on that the search would
 * come by anyway.
 *
 * @param depth  depth of the list
 * @param place  the record to start from, null for the head; receives the record that is found
 * @return false without memory
 */
bool Find_From(HWND handle, DICOM_List** list, int depth, std::uint32_t tag, DICOM_List*& place);

/** The slot of the item that the context has open, in the record of its sequence; null without
 * memory. */
DICOM_List** Item_Slot(HWND handle, DICOM_Root* root, DICOM_List* record);

/** Appends the record of the context's open sequence of a list's depth; null without memory. */
DICOM_List* Append_Sequence(HWND handle, DICOM_Root* root, DICOM_List* list);

/** Tells whether a list that grows is in ascending order, looking at each record once. */
class Order_Check {
public:
    bool Holds(const DICOM_List* head)
    {
        for (at_ = at_ != nullptr ? at_ : head; at_ != nullptr && at_->next != nullptr;
             at_ = at_->next) {
            holds_ = holds_ && Tag_Number(*at_) <= Tag_Number(*at_->next);
        }
        return holds_;
    }

private:
    const DICOM_List* at_ = nullptr;
    bool holds_ = true;
};

/** Tells whether the context has a sequence open inside the list, so that it is worked on there. */
inline bool Is_Outer_List(const DICOM_Root& root, const DICOM_List* list)
{
    return list != nullptr && list->depth < root.Sequence_Depth;
}

/**
 * The first record with a tag. In a list that grows in file order the last record is the likely
 * one, and is looked at first.
 */
DICOM_List* Find_Open_Sequence(DICOM_List* list, unsigned short group, unsigned short element);

/**
 * The list of the item that the context has open, found without creating what is absent.
 *
 * @param list  the list at the top level of the context
 * @return null when that item is empty, or does not exist
 */
DICOM_List* Look_Into_Open_Item(HWND handle, DICOM_Root* root, DICOM_List* list);

/** Keeps a record's sequence open in the context for the length of a walk over its items. */
class Open_Sequence {
public:
    /** @param trace  severity word of the banner lines, 0 for none */
    Open_Sequence(HWND handle, DICOM_Root* root, const DICOM_List& record,
                  unsigned int trace = Trace_Entry)
        : handle_(handle), root_(root), trace_(trace), depth_(root->Sequence_Depth),
          item_(root->Item_Number[root->Sequence_Depth])
    {
        DICOM_Attribute_Sequence_Start(handle, root, record.group, record.element, record.flags,
                                       trace);
    }
    Open_Sequence(const Open_Sequence&) = delete;
    Open_Sequence& operator=(const Open_Sequence&) = delete;
    ~Open_Sequence()
    {
        DICOM_Attribute_Sequence_Stop(handle_, root_, trace_);
        // A sequence below the deepest level shares that level with the one around it, which is
        // still open.
        root_->Sequence_Depth = depth_;
        root_->Item_Number[depth_] = item_;
    }

private:
    HWND handle_;
    DICOM_Root* root_;
    unsigned int trace_;
    int depth_;
    int item_;
};

/**
 * Moves the slots of emptied items behind the others: an empty slot ends the used part, and would
 * hide the items behind it.
 *
 * @param count  the number of slots to look at
 */
inline void Close_Gaps(DICOM_List* record, int count)
{
    DICOM_List** const end = record->item + count;
    std::fill(std::remove(record->item, end, nullptr), end, nullptr);
}

/**
 * The one way down into nested items: calls `visit` with the address of each item slot up to the
 * first empty one, with the sequence and the item open in the context. Items may be emptied.
 *
 * @param trace  severity word of the banner lines, 0 for none
 */
template <class Visit>
void For_Each_Item(HWND handle, DICOM_Root* root, DICOM_List* record, Visit&& visit,
                   unsigned int trace = Trace_Entry)
{
    if (record->item == nullptr) {
        return;
    }
    const Open_Sequence sequence(handle, root, *record, trace);
    int count = 0;
    for (; count < record->nb_item && record->item[count] != nullptr; ++count) {
        DICOM_Attribute_Item_Start(handle, root, trace);
        visit(&record->item[count]);
        DICOM_Attribute_Item_Stop(handle, root, trace);
    }
    Close_Gaps(record, count);
}

/**
 * Unlinks the record that a link points to and frees it.
 *
 * @param head  the list's head pointer; where Insert appends is looked for anew when it was here
 */
void Unlink_Record(HWND handle, DICOM_List** head, DICOM_List** link);

/** Releases all records of a list. */
void Free_List(HWND handle, DICOM_List* list);

/** Makes room for a number of items; new slots are empty. False after the memory message. */
bool Grow_Items(HWND handle, Place place, DICOM_List* record, int count, const char* variable);

}  // namespace lib_dicom

#endif
