// Copying a list into another, and merging one record with its items.
#include "attributes/list/attribute_lists.h"
#include "frame/near_stack.h"

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Tag_Copy";
constexpr char Copy_Call[] = "Lib_DICOM: DICOM_Attribute_Copy()";
constexpr char Merge_Call[] = "Lib_DICOM: DICOM_Attribute_Copy_Tag(%04x,%04x)";

/** A kept quirk: a copy ends before the first record of this group. */
constexpr unsigned short Multi_Frame_Group = 0x5200;

bool Has_Mark(const DICOM_List& record, unsigned short mark)
{
    return (record.flags & mark) != 0;
}

/**
 * The two operations call each other, once for each level of nesting; here the levels are frames:
 * one for each source list, in which a record may be at its items.
 */
class Copier {
public:
    /** @param list  where each search for a target begins */
    Copier(HWND handle, DICOM_Root* root, DICOM_List** list, Tag_Search& search)
        : handle_(handle), root_(root), list_(list), search_(search),
          begin_({root->Sequence_Depth, root->Item_Number[root->Sequence_Depth]})
    {
    }
    Copier(const Copier&) = delete;
    Copier& operator=(const Copier&) = delete;
    ~Copier()
    {
        if (!frames_.Is_Empty()) {
            root_->Sequence_Depth = begin_.depth;
            root_->Item_Number[begin_.depth] = begin_.item;
        }
    }

    bool Copy(DICOM_List* source)
    {
        Enter(source);
        return Run();
    }
    /** Merges one record into a target that is known. */
    bool Merge(DICOM_List* target, DICOM_List* source)
    {
        frames_.Push({.record = source, .alone = true});
        Start(frames_.Top(), target);
        return Run();
    }

private:
    struct Frame {
        /** The source record; null behind the last. */
        DICOM_List* record;
        /** The record is merged on its own, and not as one of a list. */
        bool alone = false;
        bool in_items = false;
        /** The copy of an item failed. */
        bool failed = false;
        int item = 0;
        /** Number of items to append behind. */
        int before = 0;
        Context_Mark mark = {};
    };

    bool Run()
    {
        while (!frames_.Is_Empty()) {
            Frame& at = frames_.Top();
            if (at.failed) {
                Close(at);
                Finish(at, false);
            } else if (at.in_items) {
                Next_Item(at);
            } else if (at.record == nullptr) {
                Leave(true, "");
            } else {
                Next_Record(at);
            }
        }
        return copied_;
    }

    void Enter(DICOM_List* source)
    {
        Trace_In(handle_, Trace_Entry, Copy_Call);
        frames_.Push({.record = source});
    }
    /** Ends the copy of a list, which takes the record around it with it when it failed. */
    void Leave(bool copied, const char* reason)
    {
        Trace_Out(handle_, Trace_Entry, Copy_Call, reason);
        frames_.Pop();
        if (frames_.Is_Empty()) {
            copied_ = copied;
            return;
        }
        DICOM_Attribute_Item_Stop(handle_, root_, Trace_Entry);
        ++frames_.Top().item;
        frames_.Top().failed = !copied;
    }
    void Next_Record(Frame& at)
    {
        const DICOM_List& record = *at.record;
        Trace(handle_, Trace_Entry, "-> DICOM_Attribute_Copy(%04x,%04x)", record.group,
              record.element);
        if (record.group == Multi_Frame_Group) {
            Leave(true, "pt->group == 0x5200");
            return;
        }
        DICOM_List* const target =
            Find_Record(handle_, root_, list_, record.group, record.element, search_);
        if (target == nullptr) {
            Fail(record, "! insert");
        } else {
            Start(at, target);
        }
    }
    void Fail(const DICOM_List& record, const char* reason)
    {
        Report_Warning(handle_, "\361\005Warning:\002 Failed in DICOM_Attribute_Copy(%04x,%04x)",
                       record.group, record.element);
        Leave(false, reason);
    }

    /** Merges the record itself, and goes into its items when it has any. */
    void Start(Frame& at, DICOM_List* target)
    {
        const DICOM_List& source = *at.record;
        Trace_In(handle_, Trace_Entry, Merge_Call, source.group, source.element);
        DICOM_Attribute_Sequence_Set(handle_, root_, root_->Sequence_Depth, source.group,
                                     source.element, 0);
        if (!Merge_Value(handle_, root_, target, &source)) {
            Finish(at, false);
            return;
        }
        if (source.item == nullptr) {
            Finish(at, true);
            return;
        }
        const bool appends = Has_Mark(source, DICOM_Mark_Append);
        at.before = appends ? target->nb_item : 0;
        if (!Grow_Items(handle_, This_Unit, target, at.before + source.nb_item, "target->item")) {
            Finish(at, false);
            return;
        }
        at.in_items = true;
        at.item = 0;
        at.mark = Open_Items(handle_, root_, source, Trace_Entry);
        for (int i = 0; i < at.before; ++i) {
            DICOM_Attribute_Item_Start(handle_, root_, Trace_Entry);
        }
    }
    void Next_Item(Frame& at)
    {
        const DICOM_List& source = *at.record;
        if (at.item < source.nb_item && source.item[at.item] != nullptr &&
            !Has_Mark(source, DICOM_Mark_Forced)) {
            DICOM_Attribute_Item_Start(handle_, root_, Trace_Entry);
            Enter(source.item[at.item]);
            return;
        }
        Close(at);
        Finish(at, true);
    }
    void Close(Frame& at)
    {
        for (int i = 0; i < at.before; ++i) {
            DICOM_Attribute_Item_Stop(handle_, root_, Trace_Entry);
        }
        Close_Items(handle_, root_, at.mark, Trace_Entry);
        at.in_items = false;
        at.failed = false;
    }
    /** Ends the merge of a record. */
    void Finish(Frame& at, bool merged)
    {
        Trace_Out(handle_, Trace_Entry, Merge_Call);
        if (at.alone) {
            frames_.Pop();
            copied_ = merged;
        } else if (!merged) {
            Fail(*at.record, "! DICOM_Attribute_Copy_Tag");
        } else {
            at.record = at.record->next;
        }
    }

    HWND handle_;
    DICOM_Root* root_;
    DICOM_List** list_;
    Tag_Search& search_;
    Context_Mark begin_;
    Near_Stack<Frame> frames_;
    bool copied_ = false;
};

}  // namespace

bool lib_dicom::DICOM_Attribute_Copy_Tag(HWND handle, DICOM_Root* root, DICOM_List** list,
                                         DICOM_List* target, DICOM_List* source, Tag_Search& search)
{
    return Guarded(
        handle, This_Unit, false,
        [&] { return Copier(handle, root, list, search).Merge(target, source); }, "target->item");
}

int DICOM_Attribute_Copy(HWND handle, DICOM_Root* root, DICOM_List** target, DICOM_List* source)
{
    return Guarded(
        handle, This_Unit, 0,
        [&] {
            Indexed_Search search;
            return Copier(handle, root, target, search).Copy(source) ? 1 : 0;
        },
        "target->item");
}
