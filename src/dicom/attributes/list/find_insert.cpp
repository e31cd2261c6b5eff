// Finding, looking up and appending records, the way down into open sequences, and the repair of a
// whole list.
#include "attributes/list/attribute_lists.h"
#include "frame/c_memory.h"
#include "frame/record_codes.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Tag_Attribute";

/** The tail of a list: what the head names, or the end of the chain where it names nothing. */
DICOM_List* Tail_Of(DICOM_List* head)
{
    DICOM_List* tail = head->last != nullptr ? head->last : head;
    while (head->last == nullptr && tail->next != nullptr) {
        tail = tail->next;
    }
    return tail;
}

/**
 * A record's `last` counts in the head of a list only. In a record behind it the library notes, by
 * the record itself, that no tag before it in the list is higher: a search for a tag that is not
 * lower comes by that record, and may start from it.
 */
bool Ends_In_Order(const DICOM_List* head)
{
    return head->last != nullptr && head->last->last == head->last;
}

/** Makes a record the one that holds the context's open sequence of a level. */
bool Become_Sequence(HWND handle, DICOM_Root* root, DICOM_List* record, int level,
                     const char* variable)
{
    DICOM_Attribute_Sequence_Get(handle, root, level, &record->group, &record->element,
                                 &record->flags);
    record->depth = static_cast<unsigned char>(level);
    record->vr = VR_SQ;
    record->vr_default = VR_SQ;
    return Grow_Items(handle, This_Unit, record, 1, variable);
}

/** The slot of the current item of a depth in the record of its sequence. */
DICOM_List** Open_Item(HWND handle, DICOM_Root* root, DICOM_List* record, int depth)
{
    const int index = std::max(DICOM_Attribute_Item_Query(handle, root, depth), 0);
    return Grow_Items(handle, This_Unit, record, index + 1, "pt->item") ? &record->item[index]
                                                                        : nullptr;
}

/** Both forms of Get: the first record that passes a test, in the list of the open item. */
template <class Test, class Again>
DICOM_List* Get_First(HWND handle, DICOM_Root* root, DICOM_List* list, Trace_Scope& trace,
                      Test&& test, Again&& again)
{
    if (list == nullptr) {
        return trace.Leave<DICOM_List*>(nullptr, "! head");
    }
    if (Is_Outer_List(*root, list)) {
        DICOM_List** const slot = DICOM_Attribute_Dig(handle, root, list, 0);
        return trace.Leave<DICOM_List*>(slot != nullptr ? again(*slot) : nullptr, "item");
    }
    while (list != nullptr && !test(*list)) {
        list = list->next;
    }
    return trace.Leave(list, list != nullptr ? "pt" : "NULL");
}

}  // namespace

bool lib_dicom::Grow_Items(HWND handle, Place place, DICOM_List* record, int count,
                           const char* variable)
{
    if (count <= record->nb_item) {
        return true;
    }
    // Room for a power of two keeps the cost of growing one by one linear; asking again for the
    // room that a block has is free, whoever made the block.
    const auto room = std::bit_ceil(static_cast<unsigned int>(count));
    if (!C_Resize(handle, place, record->item, room, variable)) {
        return false;
    }
    std::fill(record->item + record->nb_item, record->item + count, nullptr);
    record->nb_item = count;
    return true;
}

DICOM_List* lib_dicom::Find_Open_Sequence(DICOM_List* list, unsigned short group,
                                          unsigned short element)
{
    // Walking a list that grows in file order for every record inside would not be linear.
    if (list->last != nullptr && Has_Tag(*list->last, group, element)) {
        return list->last;
    }
    DICOM_List* record = list;
    while (record != nullptr && !Has_Tag(*record, group, element)) {
        record = record->next;
    }
    return record;
}

DICOM_List* lib_dicom::Look_Into_Open_Item(HWND handle, DICOM_Root* root, DICOM_List* list)
{
    while (Is_Outer_List(*root, list)) {
        const int depth = list->depth;
        unsigned short group = 0;
        unsigned short element = 0;
        DICOM_Attribute_Sequence_Get(handle, root, depth, &group, &element, nullptr);
        const DICOM_List* const record = Find_Open_Sequence(list, group, element);
        const int index = std::max(DICOM_Attribute_Item_Query(handle, root, depth + 1), 0);
        list = record != nullptr && index < record->nb_item ? record->item[index] : nullptr;
    }
    return list;
}

DICOM_List** lib_dicom::Item_Slot(HWND handle, DICOM_Root* root, DICOM_List* record)
{
    return Open_Item(handle, root, record, root->Sequence_Depth);
}

DICOM_List* lib_dicom::Search_Start(DICOM_List* head, std::uint32_t tag)
{
    const bool skips = head != nullptr && Ends_In_Order(head) && Tag_Number(*head->last) <= tag;
    return skips ? head->last : head;
}

bool lib_dicom::Find_From(HWND handle, DICOM_List** list, int depth, std::uint32_t tag,
                          DICOM_List*& place)
{
    DICOM_List* record = place != nullptr ? place : *list;
    while (record != nullptr && record->next != nullptr && Tag_Number(*record->next) <= tag) {
        record = record->next;
    }
    if (record != nullptr && Tag_Number(*record) == tag) {
        place = record;
        return true;
    }
    DICOM_List* const insert = C_Calloc<DICOM_List>(handle, This_Unit, 1, "insert").release();
    if (insert == nullptr) {
        return false;
    }
    insert->group = static_cast<unsigned short>(tag >> 16);
    insert->element = static_cast<unsigned short>(tag & 0xFFFF);
    insert->depth = static_cast<unsigned char>(depth);
    if (*list == nullptr || Tag_Number(**list) > tag) {
        insert->next = *list;
        *list = insert;
    } else {
        insert->next = record->next;
        record->next = insert;
    }
    insert->last = insert;
    (*list)->last = insert;
    place = insert;
    return true;
}

DICOM_List** DICOM_Attribute_Dig(HWND handle, DICOM_Root* root, DICOM_List* list, char)
{
    const int depth = list->depth;
    if (depth >= root->Sequence_Depth) {
        return nullptr;
    }
    unsigned short group = 0;
    unsigned short element = 0;
    DICOM_Attribute_Sequence_Get(handle, root, depth, &group, &element, nullptr);
    if (DICOM_List* const record = Find_Open_Sequence(list, group, element)) {
        return Open_Item(handle, root, record, depth + 1);
    }
    DICOM_List* const record = Append_Sequence(handle, root, list);
    return record != nullptr ? &record->item[0] : nullptr;
}

DICOM_List* lib_dicom::Append_Sequence(HWND handle, DICOM_Root* root, DICOM_List* list)
{
    C_Array<DICOM_List> insert = C_Calloc<DICOM_List>(handle, This_Unit, 1, "insert");
    if (insert == nullptr ||
        !Become_Sequence(handle, root, insert.get(), list->depth, "insert->item")) {
        return nullptr;
    }
    DICOM_List* const tail = Tail_Of(list);
    insert[0].next = tail->next;
    tail->next = insert.release();
    list->last = tail->next;
    return list->last;
}

DICOM_List* DICOM_Attribute_Find(HWND handle, DICOM_Root* root, DICOM_List** list,
                                 unsigned short group, unsigned short element)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Find(%04x,%04x)", group,
                      element);
    while (Is_Outer_List(*root, *list)) {
        list = DICOM_Attribute_Dig(handle, root, *list, 0);
        if (list == nullptr) {
            return trace.Leave<DICOM_List*>(nullptr, "! DICOM_Attribute_Dig");
        }
    }
    DICOM_Attribute_Sequence_Set(handle, root, root->Sequence_Depth, group, element, 0);

    const std::uint32_t tag = Tag_Number(group, element);
    DICOM_List* record = Search_Start(*list, tag);
    return Find_From(handle, list, root->Sequence_Depth, tag, record)
               ? record
               : trace.Leave<DICOM_List*>(nullptr, "! insert");
}

DICOM_List* DICOM_Attribute_Get(HWND handle, DICOM_Root* root, DICOM_List* list,
                                unsigned short group, unsigned short element, char unused)
{
    constexpr unsigned short Any = 0xFFFF;
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Get(%04x,%04x)", group,
                      element);
    return Get_First(
        handle, root, list, trace,
        [=](const DICOM_List& record) {
            return (group == Any || record.group == group) &&
                   (element == Any || record.element == element);
        },
        [=](DICOM_List* item) {
            return DICOM_Attribute_Get(handle, root, item, group, element, unused);
        });
}

DICOM_List* DICOM_Attribute_Get(HWND handle, DICOM_Root* root, DICOM_List* list, const char* group,
                                const char* element, char unused)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Get(%hs,%hs)", group,
                      element);
    return Get_First(
        handle, root, list, trace,
        [=](const DICOM_List& record) {
            return DICOM_Attribute_Match(group, element, record.group, record.element) != 0;
        },
        [=](DICOM_List* item) {
            return DICOM_Attribute_Get(handle, root, item, group, element, unused);
        });
}

int DICOM_Attribute_Match(const char* group_pattern, const char* element_pattern,
                          unsigned short group, unsigned short element)
{
    char group_text[8];
    char element_text[8];
    std::snprintf(group_text, sizeof group_text, "%04X", group);
    std::snprintf(element_text, sizeof element_text, "%04X", element);
    return Str_Match(group_pattern, group_text) != 0 &&
                   Str_Match(element_pattern, element_text) != 0
               ? 1
               : 0;
}

DICOM_List* DICOM_Attribute_Insert(HWND handle, DICOM_Root* root, DICOM_List** list,
                                   DICOM_List* record, int level)
{
    Trace_Scope trace(handle, Trace_Entry,
                      "Lib_DICOM: DICOM_Attribute_Insert(%04x,%04x) %c%c %d bytes", record->group,
                      record->element, First_Letter(record->vr, '-'),
                      Second_Letter(record->vr, '-'), record->size);
    if (Is_Outer_List(*root, *list)) {
        DICOM_List** const slot = DICOM_Attribute_Dig(handle, root, *list, 0);
        if (slot == nullptr) {
            Report_Warning(handle,
                           "\361\005    \002Failed to insert tag(\001%04X\002,\001%04X\002)",
                           record->group, record->element);
            return trace.Leave<DICOM_List*>(nullptr, "! DICOM_Attribute_Dig");
        }
        return trace.Leave(DICOM_Attribute_Insert(handle, root, slot, record, level + 1), "item");
    }
    C_Array<DICOM_List> made = C_Calloc<DICOM_List>(handle, This_Unit, 1, "insert");
    if (made == nullptr) {
        return trace.Leave<DICOM_List*>(nullptr, "! insert");
    }
    if (*list == nullptr && root->Sequence_Depth > level) {
        if (!Become_Sequence(handle, root, made.get(), level, "insert->item")) {
            return trace.Leave<DICOM_List*>(nullptr, "! insert->item");
        }
        *list = made.release();
        (*list)->last = *list;
        return trace.Leave(
            DICOM_Attribute_Insert(handle, root, &(*list)->item[0], record, level + 1), "item");
    }
    DICOM_List* const insert = made.release();
    if (*list == nullptr) {
        *list = insert;
    } else {
        const bool in_order =
            Ends_In_Order(*list) && Tag_Number(*(*list)->last) <= Tag_Number(*record);
        Tail_Of(*list)->next = insert;
        insert->last = in_order ? insert : nullptr;
    }
    (*list)->last = insert;
    if (DICOM_Attribute_Copy_Tag(handle, root, list, insert, record) == 0) {
        Report_Warning(handle, "    \361\005WARNING:\002 Failed in DICOM_Attribute_Copy(%04x,%04x)",
                       record->group, record->element);
        return trace.Leave<DICOM_List*>(nullptr, "NULL");
    }
    return trace.Leave(insert, "insert");
}
