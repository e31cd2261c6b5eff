#include "attributes/list/walk.h"

#include "frame/near_stack.h"

namespace lib_dicom {

namespace {

/** The frames that the calls of a recursive walk would have. */
class Walk {
public:
    Walk(HWND handle, const Walk_Context& context, List_Visitor& visitor)
        : handle_(handle), context_(context), root_(context.root), visitor_(visitor)
    {
        if (root_ != nullptr) {
            begin_ = {root_->Sequence_Depth, root_->Item_Number[root_->Sequence_Depth]};
        }
    }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;
    ~Walk()
    {
        if (root_ != nullptr && !frames_.Is_Empty()) {
            root_->Sequence_Depth = begin_.depth;
            root_->Item_Number[begin_.depth] = begin_.item;
        }
    }

    void Run(DICOM_List** list)
    {
        Enter(list, nullptr);
        while (!frames_.Is_Empty()) {
            Frame& at = frames_.Top();
            if (at.record == nullptr) {
                Leave();
            } else if (at.item == Not_Visited) {
                Visit(at);
            } else {
                Next_Item(at);
            }
        }
    }

private:
    static constexpr int Not_Visited = -1;

    struct Frame {
        DICOM_List** list;
        const DICOM_List* owner;
        /** Null behind the last, and in a list that another one is walked instead of. */
        DICOM_List* record;
        int item;
        Context_Mark mark;
    };

    void Enter(DICOM_List** list, const DICOM_List* owner)
    {
        while (true) {
            const Way_In way = visitor_.Enter(list);
            frames_.Push({list, owner, way.first, Not_Visited, {}});
            if (way.instead == nullptr) {
                return;
            }
            list = way.instead;
        }
    }
    void Leave()
    {
        visitor_.Leave();
        frames_.Pop();
        if (!frames_.Is_Empty() && frames_.Top().record != nullptr) {
            if (!context_.one_item_for_all) {
                Stop_Item();
            }
            ++frames_.Top().item;
        }
    }
    void Visit(Frame& at)
    {
        if (!visitor_.Visit_Record(at.list, at.record, at.owner) || at.record->item == nullptr) {
            Leave_Record(at);
            return;
        }
        at.item = 0;
        if (root_ != nullptr) {
            at.mark = Open_Items(handle_, root_, *at.record, context_.trace);
        }
        if (context_.one_item_for_all) {
            Start_Item();
        }
    }
    void Next_Item(Frame& at)
    {
        DICOM_List* const record = at.record;
        if (at.item < record->nb_item && record->item[at.item] != nullptr) {
            if (!context_.one_item_for_all) {
                Start_Item();
            }
            Enter(&record->item[at.item], record);
            return;
        }
        if (context_.one_item_for_all) {
            Stop_Item();
        }
        if (root_ != nullptr) {
            Close_Items(handle_, root_, at.mark, context_.trace);
        }
        Leave_Record(at);
    }
    void Leave_Record(Frame& at)
    {
        visitor_.Leave_Record(at.list, at.record);
        at.record = at.record->next;
        at.item = Not_Visited;
    }
    void Start_Item()
    {
        if (root_ != nullptr) {
            DICOM_Attribute_Item_Start(handle_, root_, context_.trace);
        }
    }
    void Stop_Item()
    {
        if (root_ != nullptr) {
            DICOM_Attribute_Item_Stop(handle_, root_, context_.trace);
        }
    }

    HWND handle_;
    Walk_Context context_;
    DICOM_Root* root_;
    List_Visitor& visitor_;
    Context_Mark begin_ = {};
    Near_Stack<Frame> frames_;
};

}  // namespace

Context_Mark Open_Items(HWND handle, DICOM_Root* root, const DICOM_List& record, unsigned int trace)
{
    const Context_Mark mark = {root->Sequence_Depth, root->Item_Number[root->Sequence_Depth]};
    DICOM_Attribute_Sequence_Start(handle, root, record.group, record.element, record.flags, trace);
    return mark;
}

void Close_Items(HWND handle, DICOM_Root* root, const Context_Mark& mark, unsigned int trace)
{
    DICOM_Attribute_Sequence_Stop(handle, root, trace);
    root->Sequence_Depth = mark.depth;
    root->Item_Number[mark.depth] = mark.item;
}

bool Walk_Lists(HWND handle, Place place, const Walk_Context& context, DICOM_List** list,
                List_Visitor& visitor)
{
    return Guarded(
        handle, place, false,
        [&] {
            Walk(handle, context, visitor).Run(list);
            return true;
        },
        "item");
}

}  // namespace lib_dicom
