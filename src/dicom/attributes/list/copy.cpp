// Copying, merging, deleting and freeing records, and carrying information over from a reference.
#include "attributes/list/attribute_lists.h"
#include "frame/c_memory.h"
#include "frame/vr_rules.h"

#include <climits>
#include <cstdint>
#include <unordered_map>
#include <utility>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Tag_Copy";

constexpr unsigned short Any = 0xFFFF;
/** Stands for all odd groups in a deletion. */
constexpr unsigned short Odd_Groups = 0xFFF1;

/** How a value is joined to one that is there already. */
enum class Join {
    Values,  ///< a backslash, the value and a blank
    Lines,   ///< a line feed, the value and a blank
    Bytes,   ///< the value as it is
    Refused,
    Ignored
};

Join Join_Of(unsigned short vr)
{
    switch (vr) {
    case VR_AE:
    case VR_AS:
    case VR_CS:
    case VR_DS:
    case VR_IS:
    case VR_LO:
    case VR_PN:
    case VR_SH:
        return Join::Values;
    case VR_LT:
    case VR_ST:
    case VR_UT:
        return Join::Lines;
    case VR_AT:
    case VR_FD:
    case VR_FL:
    case VR_OB:
    case VR_OF:
    case VR_OW:
    case VR_OX:
    case VR_SL:
    case VR_SS:
    case VR_UL:
    case VR_UN:
    case VR_US:
        return Join::Bytes;
    case VR_DA:
    case VR_DT:
    case VR_TM:
    case VR_UI:
    case VR_SQ:
        return Join::Refused;
    default:
        return Join::Ignored;
    }
}

/** Values that are too long together, or not in memory, cannot be joined. */
bool Can_Join(const DICOM_List& target, const DICOM_List& source)
{
    constexpr std::int64_t Room_For_Separators = 2;
    return target.size > 0 && source.size > 0 && target.data != nullptr &&
           std::int64_t{target.size} + source.size + Room_For_Separators <= INT_MAX;
}

bool Append_Value(HWND handle, DICOM_List* target, const DICOM_List* source)
{
    const Join join = Join_Of(Effective_VR(*source));
    if (join == Join::Ignored) {
        return true;
    }
    if (join == Join::Refused || !Can_Join(*target, *source)) {
        Report_Warning(handle, "\361\005WARNING:\002 Unable to append to tag (%04x,%04x)",
                       target->group, target->element);
        return true;
    }
    const auto old_size = static_cast<std::size_t>(target->size);
    const auto added = static_cast<std::size_t>(source->size);
    const bool separated = join != Join::Bytes;
    const std::size_t size = old_size + added + (separated ? 2 : 0);
    if (!C_Resize(handle, This_Unit, target->data, size, "target->data")) {
        return false;
    }
    // A value that was left in the source only makes room: what it will hold is not known here.
    unsigned char* const end = target->data + old_size;
    std::fill(end, target->data + size, separated ? ' ' : '\0');
    if (source->data != nullptr) {
        std::copy(source->data, source->data + added, end + (separated ? 1 : 0));
        if (separated) {
            end[0] = join == Join::Values ? '\\' : '\n';
        }
    }
    target->size = static_cast<int>(size);
    return true;
}

bool Replace_Value(HWND handle, DICOM_List* target, const DICOM_List* source)
{
    C_Array<unsigned char> data;
    if (source->data != nullptr && source->size > 0) {
        const auto size = static_cast<std::size_t>(source->size);
        data = C_Malloc<unsigned char>(handle, This_Unit, size, "target->data");
        if (data == nullptr) {
            return false;
        }
        std::memcpy(data.get(), source->data, size);
    }
    std::free(target->data);
    target->data = data.release();
    target->size = source->size;
    return true;
}

bool Copy_Description(HWND handle, DICOM_List* target, const DICOM_List* source)
{
    if (source->description == nullptr) {
        return true;
    }
    C_Array<char> text;
    const std::size_t length = std::strlen(source->description);
    if (length != 0) {
        text.reset(static_cast<char*>(std::malloc(length + 1)));
        if (text == nullptr) {
            Report_Memory(handle, This_Unit, "_strdup", "target->description",
                          static_cast<int>(length + 1));
            return false;
        }
        std::memcpy(text.get(), source->description, length + 1);
    }
    std::free(target->description);
    target->description = text.release();
    return true;
}

template <class Field>
void Take_Over(Field& target, const Field& source)
{
    if (source != Field{}) {
        target = source;
    }
}

bool Copy_Value_Part(HWND handle, const DICOM_Root* root, DICOM_List* target,
                     const DICOM_List* source)
{
    const bool append = (source->flags & DICOM_Mark_Append) != 0;
    const bool holds_value = target->flags != 0 && target->size != 0;
    if ((target->flags & DICOM_Mark_Forced) != 0 || (holds_value && !append)) {
        return true;
    }
    target->depth = static_cast<unsigned char>(root->Sequence_Depth);
    target->group = source->group;
    target->element = source->element;
    target->flags |= source->flags;
    Take_Over(target->byte_order, source->byte_order);
    Take_Over(target->type, source->type);
    Take_Over(target->vr, source->vr);
    Take_Over(target->spare, source->spare);
    Take_Over(target->pos, source->pos);
    Take_Over(target->data_pos, source->data_pos);
    Take_Over(target->dict, source->dict);
    if ((source->flags & DICOM_Mark_Unknown_VR) != 0) {
        target->vr_default = VR_UN;
    } else {
        Take_Over(target->vr_default, source->vr_default);
    }
    if (source->size != 0) {
        const bool copied = target->size != 0 && append ? Append_Value(handle, target, source)
                                                        : Replace_Value(handle, target, source);
        if (!copied) {
            return false;
        }
    }
    return Copy_Description(handle, target, source);
}

/**
 * Merges the items of a record into those of another.
 *
 * @param own_items  the items of `target` itself are those that a way down from `list` finds
 */
bool Copy_Item_Part(HWND handle, DICOM_Root* root, DICOM_List** list, DICOM_List* target,
                    const DICOM_List* source, bool own_items)
{
    if (source->item == nullptr) {
        return true;
    }
    const bool append = (source->flags & DICOM_Mark_Append) != 0;
    const int before = target->nb_item;
    if (!Grow_Items(handle, This_Unit, target, append ? before + source->nb_item : source->nb_item,
                    "target->item")) {
        return false;
    }
    const int depth = root->Sequence_Depth;
    const Open_Sequence sequence(handle, root, *source);
    // Below the deepest level items are those of the level itself, which the way down tells.
    own_items = own_items && root->Sequence_Depth > depth;
    for (int i = 0; append && i < before; ++i) {
        DICOM_Attribute_Item_Start(handle, root, Trace_Entry);
    }
    const int nb_item = (source->flags & DICOM_Mark_Forced) != 0 ? 0 : source->nb_item;
    bool copied = true;
    for (int i = 0; copied && i < nb_item && source->item[i] != nullptr; ++i) {
        DICOM_Attribute_Item_Start(handle, root, Trace_Entry);
        DICOM_List** const item = own_items ? Item_Slot(handle, root, target) : list;
        copied = item != nullptr && DICOM_Attribute_Copy(handle, root, item, source->item[i]) != 0;
        DICOM_Attribute_Item_Stop(handle, root, Trace_Entry);
    }
    for (int i = 0; append && i < before; ++i) {
        DICOM_Attribute_Item_Stop(handle, root, Trace_Entry);
    }
    // An item that starts with group 5200 is not copied, and would leave an empty slot.
    Close_Gaps(target, target->nb_item);
    return copied;
}

bool Merge_Record(HWND handle, DICOM_Root* root, DICOM_List** list, DICOM_List* target,
                  const DICOM_List* source, bool own_items)
{
    const Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Copy_Tag(%04x,%04x)",
                            source->group, source->element);
    DICOM_Attribute_Sequence_Set(handle, root, root->Sequence_Depth, source->group, source->element,
                                 0);
    return Copy_Value_Part(handle, root, target, source) &&
           Copy_Item_Part(handle, root, list, target, source, own_items);
}

/**
 * Both forms of Delete: removes what a test picks from the list of the open item, and below.
 *
 * @param later  the test behind the first record, which is handed that one too
 * @param again  the same deletion for an item
 */
template <class Test, class Later, class Again>
int Delete_Matching(HWND handle, DICOM_Root* root, DICOM_List** list, Trace_Scope& trace,
                    Test&& test, Later&& later, Again&& again)
{
    if (*list == nullptr) {
        return trace.Leave(0, "! head");
    }
    if (Is_Outer_List(*root, *list)) {
        DICOM_List** const slot = DICOM_Attribute_Dig(handle, root, *list, 0);
        return slot == nullptr ? trace.Leave(0, "! DICOM_Attribute_Dig") : again(slot);
    }
    while (*list != nullptr && test(**list)) {
        Unlink_Record(handle, list, list);
    }
    for (DICOM_List* record = *list; record != nullptr; record = record->next) {
        while (record->next != nullptr && later(**list, *record->next)) {
            Unlink_Record(handle, list, &record->next);
        }
    }
    for (DICOM_List* record = *list; record != nullptr; record = record->next) {
        For_Each_Item(handle, root, record, again);
    }
    return 1;
}

bool Is_Odd(unsigned short group)
{
    return group % 2 != 0;
}

/**
 * Finds the targets of the records of one list. As long as their tags do not fall, each search goes
 * on where the one before ended: from the head it would come by there. Records are never taken out
 * in between.
 */
class Target_Finder {
public:
    /** @param list  the list of the open item; nothing above it may move while the finder is used */
    Target_Finder(HWND handle, const DICOM_Root& root, DICOM_List** list)
        : handle_(handle), depth_(root.Sequence_Depth), list_(list)
    {
    }

    /** The record for the tag of another, created when absent; null without memory. */
    DICOM_List* Find(const DICOM_List& source)
    {
        const std::uint32_t tag = Tag_Number(source);
        if (place_ == nullptr || tag < Tag_Number(*place_)) {
            Go_To(Search_Start(*list_, tag), false);
        }
        while (place_ != nullptr && place_->next != nullptr && Tag_Number(*place_->next) <= tag) {
            Go_To(place_->next, Tag_Number(*place_) == Tag_Number(*place_->next));
        }
        DICOM_List* found = place_;
        if (!Find_From(handle_, list_, depth_, tag, found)) {
            return nullptr;
        }
        if (found != place_) {
            Go_To(found, false);
        }
        return found;
    }
    /** Tells whether the record found last is the one that a search for its sequence finds. */
    bool Is_Open_Sequence()
    {
        return (*list_)->last == place_ || (!is_repeated_ && order_.Holds(*list_));
    }

private:
    void Go_To(DICOM_List* place, bool is_repeated)
    {
        place_ = place;
        is_repeated_ = is_repeated;
    }

    HWND handle_;
    int depth_;
    DICOM_List** list_;
    DICOM_List* place_ = nullptr;
    /** A record before the place has the same tag. */
    bool is_repeated_ = false;
    Order_Check order_;
};

/** Looks tags up in one list of a reference, which only grows by what the finder itself adds. */
class Reference_Finder {
public:
    /** @param list  the list of the open item */
    explicit Reference_Finder(DICOM_List* list) : list_(list)
    {
        for (; list != nullptr; list = list->next) {
            first_.emplace(Tag_Number(*list), list);
        }
    }

    /** The first record with a tag; null when there is none. */
    DICOM_List* Find(const DICOM_List& record) const
    {
        const auto found = first_.find(Tag_Number(record));
        return found != first_.end() ? found->second : nullptr;
    }
    /** The same, where FFFF stands for any group or element. */
    const DICOM_List* Match(HWND handle, DICOM_Root* root, const DICOM_List& record) const
    {
        return record.group == Any || record.element == Any
                   ? DICOM_Attribute_Get(handle, root, list_, record.group, record.element, 1)
                   : Find(record);
    }
    /** The slot of the open item in the sequence with a tag, which is created when absent. */
    DICOM_List** Item(HWND handle, DICOM_Root* root, const DICOM_List& record)
    {
        if (list_ == nullptr) {
            return nullptr;
        }
        DICOM_List* sequence = list_->last;
        if (sequence == nullptr || !Has_Tag(*sequence, record)) {
            sequence = Find(record);
        }
        if (sequence == nullptr) {
            sequence = Append_Sequence(handle, root, list_);
            if (sequence == nullptr) {
                return nullptr;
            }
            first_.emplace(Tag_Number(record), sequence);
        }
        return Item_Slot(handle, root, sequence);
    }

private:
    DICOM_List* list_;
    std::unordered_map<std::uint32_t, DICOM_List*> first_;
};

/** The list of the open item below a list; null without memory. */
DICOM_List** Open_List(HWND handle, DICOM_Root* root, DICOM_List** list)
{
    while (list != nullptr && Is_Outer_List(*root, *list)) {
        list = DICOM_Attribute_Dig(handle, root, *list, 0);
    }
    return list;
}

/** Assign_Info for one list of the target; `finder` knows the reference's list for it. */
void Assign_List(HWND handle, DICOM_Root* root, DICOM_List* reference, Reference_Finder& finder,
                 DICOM_List* target)
{
    const Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Assign_Info()");
    for (DICOM_List* record = target; record != nullptr; record = record->next) {
        const DICOM_List* const found = finder.Match(handle, root, *record);
        if (found != nullptr) {
            record->type = found->type;
            record->vr_default = record->vr_default != 0 ? record->vr_default : found->vr_default;
        }
        if (record->nb_item <= 0 || record->item == nullptr || record->item[0] == nullptr) {
            continue;
        }
        // Deliberate: the item is started once for all, since the reference describes its items
        // by one.
        const int depth = root->Sequence_Depth;
        const Open_Sequence sequence(handle, root, *record);
        DICOM_Attribute_Item_Start(handle, root, Trace_Entry);
        // Below the deepest level items are those of the level itself, which the way down tells.
        DICOM_List** const item = root->Sequence_Depth > depth
                                      ? finder.Item(handle, root, *record)
                                      : Open_List(handle, root, &reference);
        Reference_Finder inner(item != nullptr ? *item : nullptr);
        for (int i = 0; i < record->nb_item && record->item[i] != nullptr; ++i) {
            Assign_List(handle, root, reference, inner, record->item[i]);
        }
        DICOM_Attribute_Item_Stop(handle, root, Trace_Entry);
    }
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

int DICOM_Attribute_Copy_Tag(HWND handle, DICOM_Root* root, DICOM_List** list, DICOM_List* target,
                             DICOM_List* source)
{
    return Merge_Record(handle, root, list, target, source, (*list)->last == target) ? 1 : 0;
}

int DICOM_Attribute_Copy(HWND handle, DICOM_Root* root, DICOM_List** target, DICOM_List* source)
{
    // Deliberate: what follows the shared functional groups of a multi-frame image is per frame,
    // and never belongs into a merge.
    constexpr unsigned short Multi_Frame_Group = 0x5200;
    constexpr char Failed[] = "\361\005Warning:\002 Failed in DICOM_Attribute_Copy(%04x,%04x)";
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Copy()");
    if (source == nullptr || source->group == Multi_Frame_Group) {
        return trace.Leave(1, source == nullptr ? "" : "pt->group == 0x5200");
    }
    // At the deepest level a sequence inside may make the item lists around it move.
    const bool is_steady = root->Sequence_Depth < DICOM_Max_Depth - 1;
    DICOM_List** const open = is_steady ? Open_List(handle, root, target) : nullptr;
    Target_Finder finder(handle, *root, open);
    for (; source != nullptr; source = source->next) {
        Trace(handle, Trace_Entry, "-> DICOM_Attribute_Copy(%04x,%04x)", source->group,
              source->element);
        if (source->group == Multi_Frame_Group) {
            return trace.Leave(1, "pt->group == 0x5200");
        }
        DICOM_List* const insert =
            open != nullptr
                ? finder.Find(*source)
                : DICOM_Attribute_Find(handle, root, target, source->group, source->element);
        if (insert == nullptr) {
            Report_Warning(handle, Failed, source->group, source->element);
            return trace.Leave(0, "! insert");
        }
        const bool own_items =
            open != nullptr && source->item != nullptr && finder.Is_Open_Sequence();
        if (!Merge_Record(handle, root, target, insert, source, own_items)) {
            Report_Warning(handle, Failed, source->group, source->element);
            return trace.Leave(0, "! DICOM_Attribute_Copy_Tag");
        }
    }
    return 1;
}

int DICOM_Attribute_Delete(HWND handle, DICOM_Root* root, DICOM_List** list, unsigned short group,
                           unsigned short element)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Delete(%04x,%04x)", group,
                      element);
    const auto matches = [=](const DICOM_List& record, unsigned short parity_of) {
        return (group == Any || record.group == group ||
                (group == Odd_Groups && Is_Odd(parity_of))) &&
               (element == Any || record.element == element);
    };
    // Deliberate: behind the first record its own group decides whether 0xFFF1 matches. Clients
    // rely on a list that starts with a standard group keeping the private ones behind it.
    return Delete_Matching(
        handle, root, list, trace,
        [&](const DICOM_List& record) { return matches(record, record.group); },
        [&](const DICOM_List& first, const DICOM_List& record) {
            return matches(record, first.group);
        },
        [=](DICOM_List** item) {
            return DICOM_Attribute_Delete(handle, root, item, group, element);
        });
}

int DICOM_Attribute_Delete(HWND handle, DICOM_Root* root, DICOM_List** list, const char* group,
                           const char* element)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Delete(%hs,%hs)", group,
                      element);
    const auto matches = [=](const DICOM_List& record) {
        return DICOM_Attribute_Match(group, element, record.group, record.element) != 0;
    };
    return Delete_Matching(
        handle, root, list, trace, matches,
        [&](const DICOM_List&, const DICOM_List& record) { return matches(record); },
        [=](DICOM_List** item) {
            return DICOM_Attribute_Delete(handle, root, item, group, element);
        });
}

void DICOM_Attribute_Free(HWND handle, DICOM_List* record)
{
    if (record == nullptr) {
        return;
    }
    const Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Free(%04x,%04x)",
                            record->group, record->element);
    for (int i = 0; i < record->nb_item && record->item[i] != nullptr; ++i) {
        Free_List(handle, record->item[i]);
    }
    std::free(record->item);
    std::free(record->data);
    std::free(record->description);
    std::free(record);
}

void DICOM_Attribute_Assign_Info(HWND handle, DICOM_Root* root, DICOM_List* reference,
                                 DICOM_List* target)
{
    Guarded(
        handle, This_Unit, false,
        [&] {
            DICOM_List** const list =
                target != nullptr ? Open_List(handle, root, &reference) : nullptr;
            Reference_Finder finder(list != nullptr ? *list : nullptr);
            Assign_List(handle, root, reference, finder, target);
            return true;
        },
        "reference");
}
