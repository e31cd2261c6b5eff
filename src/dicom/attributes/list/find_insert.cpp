// Finding, looking up and appending records, and the way down into open sequences.
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
 * Links a record behind the tail of a list. A kept quirk: `last` counts as the tail wherever it
 * stands, and what follows it is cut off.
 */
void Link_Last(DICOM_List* head, DICOM_List* record, std::uint32_t tag, Tag_Search& search)
{
    DICOM_List* const tail = Tail_Of(head);
    const bool cuts = tail->next != nullptr;
    tail->next = record;
    head->last = record;
    if (cuts) {
        search.Cut(head);
    } else {
        search.Added_Last(head, record, tag);
    }
}

/** Makes the record of the context's open sequence of a level; null without memory. */
C_Array<DICOM_List> Make_Sequence(HWND handle, DICOM_Root* root, int level)
{
    C_Array<DICOM_List> made = C_Calloc<DICOM_List>(handle, This_Unit, 1, "insert");
    C_Array<DICOM_List*> item;
    if (made != nullptr) {
        item = C_Calloc<DICOM_List*>(handle, This_Unit, 1, "insert->item");
    }
    if (item == nullptr) {
        return nullptr;
    }
    DICOM_List& record = made[0];
    DICOM_Attribute_Sequence_Get(handle, root, level, &record.group, &record.element,
                                 &record.flags);
    record.depth = static_cast<unsigned char>(level);
    record.vr = VR_SQ;
    record.vr_default = VR_SQ;
    record.item = item.release();
    record.nb_item = 1;
    return made;
}

/**
 * The record of a sequence that is open. With today's standard the last record is looked at first:
 * walking a list that grows in file order for each record inside would not be linear.
 */
DICOM_List* Open_Sequence(DICOM_List* list, unsigned short group, unsigned short element,
                          Tag_Search& search)
{
    if (DICOM_Flag_Current_Standard != 0 && list->last != nullptr &&
        Has_Tag(*list->last, group, element)) {
        return list->last;
    }
    return search.First(list, Tag_Number(group, element));
}

/**
 * Traces of an operation that calls itself on the list one level deeper until it is where the
 * context is.
 */
class Descent_Trace {
public:
    Descent_Trace(HWND handle, const char* call) : handle_(handle), call_(call)
    {
    }
    Descent_Trace(const Descent_Trace&) = delete;
    Descent_Trace& operator=(const Descent_Trace&) = delete;
    ~Descent_Trace()
    {
        Trace_Out(handle_, Trace_Entry, call_, reason_);
        for (; calls_ > 1; --calls_) {
            Trace_Out(handle_, Trace_Entry, call_, "item");
        }
    }

    template <class... Args>
    void In(Args... args)
    {
        ++calls_;
        Trace_In(handle_, Trace_Entry, call_, args...);
    }
    DICOM_List* Leave(DICOM_List* result, const char* reason)
    {
        reason_ = reason;
        return result;
    }

private:
    HWND handle_;
    const char* call_;
    const char* reason_ = "";
    int calls_ = 0;
};

/** Both forms of Get. @param first  finds the first record that fits in the list of the open item */
template <class Text, class First>
DICOM_List* Get_First(HWND handle, DICOM_Root* root, DICOM_List* list, const char* call, Text group,
                      Text element, Tag_Search& search, First&& first)
{
    Descent_Trace trace(handle, call);
    trace.In(group, element);
    while (Is_Outer_List(handle, root, list)) {
        DICOM_List** const slot = Dig(handle, root, list, search);
        if (slot == nullptr) {
            return trace.Leave(nullptr, "item");
        }
        list = *slot;
        trace.In(group, element);
    }
    if (list == nullptr) {
        return trace.Leave(nullptr, "! head");
    }
    DICOM_List* const found = first(list);
    return trace.Leave(found, found != nullptr ? "pt" : "NULL");
}

template <class Test>
DICOM_List* First_That(DICOM_List* list, Test&& test)
{
    while (list != nullptr && !test(*list)) {
        list = list->next;
    }
    return list;
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
    const std::size_t room = std::bit_ceil(static_cast<unsigned int>(count));
    void* const item = std::realloc(static_cast<void*>(record->item), room * sizeof(DICOM_List*));
    if (item == nullptr) {
        Report_Memory(handle, place, "realloc", variable, count, sizeof(DICOM_List*));
        return false;
    }
    record->item = static_cast<DICOM_List**>(item);
    std::fill(record->item + record->nb_item, record->item + count, nullptr);
    record->nb_item = count;
    return true;
}

DICOM_List* lib_dicom::Look_Into_Open_Item(HWND handle, DICOM_Root* root, DICOM_List* list,
                                           Tag_Search& search)
{
    while (Is_Outer_List(handle, root, list)) {
        const int depth = list->depth;
        unsigned short group = 0;
        unsigned short element = 0;
        DICOM_Attribute_Sequence_Get(handle, root, depth, &group, &element, nullptr);
        const DICOM_List* const record = Open_Sequence(list, group, element, search);
        const int index = std::max(DICOM_Attribute_Item_Query(handle, root, depth + 1), 0);
        list = record != nullptr && index < record->nb_item ? record->item[index] : nullptr;
    }
    return list;
}

DICOM_List** lib_dicom::Dig(HWND handle, DICOM_Root* root, DICOM_List* list, Tag_Search& search)
{
    const int depth = list->depth;
    if (depth >= DICOM_Attribute_Sequence_Query(handle, root)) {
        return nullptr;
    }
    unsigned short group = 0;
    unsigned short element = 0;
    DICOM_Attribute_Sequence_Get(handle, root, depth, &group, &element, nullptr);
    const int index = std::max(DICOM_Attribute_Item_Query(handle, root, depth + 1), 0);
    if (DICOM_List* const pt = Open_Sequence(list, group, element, search)) {
        return Grow_Items(handle, This_Unit, pt, index + 1, "pt->item") ? &pt->item[index]
                                                                        : nullptr;
    }
    DICOM_List* const insert = Make_Sequence(handle, root, depth).release();
    if (insert == nullptr) {
        return nullptr;
    }
    Link_Last(list, insert, Tag_Number(*insert), search);
    return &insert->item[0];
}

DICOM_List** DICOM_Attribute_Dig(HWND handle, DICOM_Root* root, DICOM_List* list, char)
{
    Tag_Search search;
    return Dig(handle, root, list, search);
}

DICOM_List* lib_dicom::Find_Record(HWND handle, DICOM_Root* root, DICOM_List** list,
                                   unsigned short group, unsigned short element, Tag_Search& search)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Find(%04x,%04x)", group,
                      element);
    while (Is_Outer_List(handle, root, *list)) {
        list = Dig(handle, root, *list, search);
        if (list == nullptr) {
            return trace.Leave<DICOM_List*>(nullptr, "! DICOM_Attribute_Dig");
        }
    }
    const int depth = root->Sequence_Depth;
    DICOM_Attribute_Sequence_Set(handle, root, depth, group, element, 0);

    const std::uint32_t tag = Tag_Number(group, element);
    DICOM_List* const head = *list;
    DICOM_List* const reached = search.Reached(head, tag);
    if (reached != nullptr && Tag_Number(*reached) == tag) {
        return reached;
    }
    DICOM_List* const insert = C_Calloc<DICOM_List>(handle, This_Unit, 1, "insert").release();
    if (insert == nullptr) {
        return trace.Leave<DICOM_List*>(nullptr, "! insert");
    }
    insert->group = group;
    insert->element = element;
    insert->depth = static_cast<unsigned char>(depth);
    if (head == nullptr || Tag_Number(*head) > tag) {
        insert->next = head;
        *list = insert;
        search.Added_Head(head, insert);
    } else {
        insert->next = reached->next;
        reached->next = insert;
        search.Added_In_Place(head, insert);
    }
    (*list)->last = insert;
    return insert;
}

DICOM_List* DICOM_Attribute_Find(HWND handle, DICOM_Root* root, DICOM_List** list,
                                 unsigned short group, unsigned short element)
{
    Tag_Search search;
    return Find_Record(handle, root, list, group, element, search);
}

DICOM_List* lib_dicom::Get_Record(HWND handle, DICOM_Root* root, DICOM_List* list,
                                  unsigned short group, unsigned short element, Tag_Search& search)
{
    return Get_First(handle, root, list, "Lib_DICOM: DICOM_Attribute_Get(%04x,%04x)", group,
                     element, search, [&](DICOM_List* open) {
                         if (group != Any_Number && element != Any_Number) {
                             return search.First(open, Tag_Number(group, element));
                         }
                         return First_That(open, [=](const DICOM_List& record) {
                             return (group == Any_Number || record.group == group) &&
                                    (element == Any_Number || record.element == element);
                         });
                     });
}

DICOM_List* DICOM_Attribute_Get(HWND handle, DICOM_Root* root, DICOM_List* list,
                                unsigned short group, unsigned short element, char)
{
    Tag_Search search;
    return Get_Record(handle, root, list, group, element, search);
}

DICOM_List* DICOM_Attribute_Get(HWND handle, DICOM_Root* root, DICOM_List* list, const char* group,
                                const char* element, char)
{
    Tag_Search search;
    return Get_First(handle, root, list, "Lib_DICOM: DICOM_Attribute_Get(%hs,%hs)", group, element,
                     search, [=](DICOM_List* open) {
                         return First_That(open, [=](const DICOM_List& record) {
                             return DICOM_Attribute_Match(group, element, record.group,
                                                          record.element) != 0;
                         });
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

DICOM_List* lib_dicom::Insert_Record(HWND handle, DICOM_Root* root, DICOM_List** list,
                                     DICOM_List* record, int level, Tag_Search& search)
{
    Descent_Trace trace(handle, "Lib_DICOM: DICOM_Attribute_Insert(%04x,%04x) %c%c %d bytes");
    C_Array<DICOM_List> made;
    for (;; ++level) {
        trace.In(record->group, record->element, First_Letter(record->vr, '-'),
                 Second_Letter(record->vr, '-'), record->size);
        if (Is_Outer_List(handle, root, *list)) {
            list = Dig(handle, root, *list, search);
            if (list == nullptr) {
                Report_Warning(handle,
                               "\361\005    \002Failed to insert tag(\001%04X\002,\001%04X\002)",
                               record->group, record->element);
                return trace.Leave(nullptr, "! DICOM_Attribute_Dig");
            }
        } else if (*list == nullptr && DICOM_Attribute_Sequence_Query(handle, root) > level) {
            *list = Make_Sequence(handle, root, level).release();
            if (*list == nullptr) {
                return trace.Leave(nullptr, "! insert");
            }
            (*list)->last = *list;
            list = &(*list)->item[0];
        } else {
            break;
        }
    }
    DICOM_List* const insert = C_Calloc<DICOM_List>(handle, This_Unit, 1, "insert").release();
    if (insert == nullptr) {
        return trace.Leave(nullptr, "! insert");
    }
    if (*list == nullptr) {
        *list = insert;
        insert->last = insert;
    } else {
        Link_Last(*list, insert, Tag_Number(*record), search);
    }
    if (!DICOM_Attribute_Copy_Tag(handle, root, list, insert, record, search)) {
        Report_Warning(handle, "    \361\005WARNING:\002 Failed in DICOM_Attribute_Copy(%04x,%04x)",
                       record->group, record->element);
        return trace.Leave(nullptr, "NULL");
    }
    return trace.Leave(insert, "insert");
}

DICOM_List* DICOM_Attribute_Insert(HWND handle, DICOM_Root* root, DICOM_List** list,
                                   DICOM_List* record, int level)
{
    Tag_Search search;
    return Insert_Record(handle, root, list, record, level, search);
}
