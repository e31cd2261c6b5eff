// The steps that bring a data set into line with a module list before it is written.
//
// By the letter they look attributes up with Find, Get and Delete, which make the sequences around
// an item that the data set lacks, and they append behind whatever record the list names as its
// last. While `DICOM_Flag_Current_Standard` is set they create and lose nothing.
#include "attributes/list/attribute_lists.h"
#include "frame/near_stack.h"
#include "frame/record_codes.h"

#include <Lib_DICOM/write.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <utility>
#include <vector>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Write_Module";

/** What the steps that merge a module list into a data set work with. */
struct Merge {
    HWND handle;
    DICOM_Root* root;
    DICOM_List** list;
    unsigned short mask;
    Tag_Search& search;
};

void Overwrite_Attribute(const Merge& merge, DICOM_List* node)
{
    const auto& [handle, root, list, mask, search] = merge;
    if (DICOM_Flag_Current_Standard != 0 &&
        Look_Into_Open_Item(handle, root, *list, search) == nullptr) {
        // Insert also makes the sequences around an item that the data set lacks.
        Insert_Record(handle, root, list, node, 0, search);
        return;
    }
    DICOM_List* const target = Find_Record(handle, root, list, node->group, node->element, search);
    if (target == nullptr) {
        return;
    }
    std::free(std::exchange(target->data, nullptr));
    target->size = 0;
    target->flags = static_cast<unsigned short>(target->flags & ~DICOM_Mark_Forced);
    DICOM_Attribute_Copy_Tag(handle, root, list, target, node, search);
}

void Append_Attribute(const Merge& merge, DICOM_List* node)
{
    const auto& [handle, root, list, mask, search] = merge;
    if (DICOM_Flag_Current_Standard != 0) {
        // A lookup may have left `last` in the middle of the list, and Insert cuts off what follows.
        DICOM_List* const head = Look_Into_Open_Item(handle, root, *list, search);
        if (head != nullptr && head->last != nullptr && head->last->next != nullptr) {
            head->last = nullptr;
        }
    }
    Insert_Record(handle, root, list, node, 0, search);
}

/** Merges the marked records of a module list one by one. */
template <class Merge_Attribute>
int Merge_Lists(const Merge& merge, const char* call, DICOM_List* module,
                Merge_Attribute merge_attribute)
{
    const auto merge_marked = [&](DICOM_List* node, DICOM_List*) {
        if ((node->flags & merge.mask) != 0) {
            merge_attribute(merge, node);
        }
    };
    const Walk_Trace step = {Trace_Structure, call, "done"};
    return Visit_Records(merge.handle, This_Unit, {.root = merge.root}, step, module, merge_marked)
               ? 1
               : 0;
}

/** Marks empty attributes, and adds up the value bytes of the others. */
class Empty_Marker final : public Traced_Visitor {
public:
    Empty_Marker(HWND handle, const Walk_Trace& trace, unsigned short parent_type)
        : Traced_Visitor(handle, trace), parent_type_(parent_type)
    {
    }

    bool Visit_Record(DICOM_List**, DICOM_List* record, const DICOM_List* owner) override
    {
        const unsigned short parent_type = owner != nullptr ? owner->type : parent_type_;
        open_.Push({parent_type, record->item == nullptr ? std::max(record->size, 0) : 0});
        return true;
    }
    void Leave_Record(DICOM_List**, DICOM_List* record) override
    {
        const auto [parent_type, bytes] = open_.Top();
        open_.Pop();
        const bool is_optional = record->type == 0 || record->type == Type_3;
        if (bytes == 0 && (is_optional || parent_type == Type_2C)) {
            record->flags = static_cast<unsigned short>(record->flags | DICOM_Mark_Deleted);
        }
        // The length of an item tag that stands in a list is no value.
        if (DICOM_Flag_Current_Standard == 0 || record->group != Item_Group) {
            (open_.Is_Empty() ? sum_ : open_.Top().bytes) += bytes;
        }
    }
    long long Sum() const
    {
        return sum_;
    }

private:
    /** A record that the walk is at or inside of. */
    struct Open_Record {
        unsigned short parent_type;
        /** Value bytes found in it so far. */
        long long bytes;
    };

    unsigned short parent_type_;
    long long sum_ = 0;
    Near_Stack<Open_Record> open_;
};

/** A tag that is to be deleted, in the item that a context has open. */
struct Deletion {
    DICOM_Root context;
    unsigned short group;
    unsigned short element;
};

/** Deletes a tag at every depth of the item. */
void Delete_Attribute(HWND handle, DICOM_List** list, Deletion& deletion)
{
    DICOM_Root* const context = &deletion.context;
    Tag_Search search;
    if (DICOM_Flag_Current_Standard == 0 ||
        Look_Into_Open_Item(handle, context, *list, search) != nullptr) {
        DICOM_Attribute_Delete(handle, context, list, deletion.group, deletion.element);
    }
}

}  // namespace

int DICOM_Postproc_Overwrite(HWND handle, DICOM_Root* root, DICOM_List** list, DICOM_List* module,
                             unsigned short mask)
{
    constexpr char Call[] = "Lib_Convert: DICOM_Postproc_Overwrite()";
    Indexed_Search search;
    return Merge_Lists({handle, root, list, mask, search}, Call, module, &Overwrite_Attribute);
}

int DICOM_Postproc_Step_1(HWND handle, DICOM_Root* root, DICOM_List** list, DICOM_List* module,
                          unsigned short mask)
{
    // Items are entered although Insert copies those of a sequence that is not forced. That is
    // kept: records that are there twice are what sorting compares and orders.
    constexpr char Call[] = "Lib_Convert: DICOM_Postproc_Step_1()";
    Indexed_Search search;
    return Merge_Lists({handle, root, list, mask, search}, Call, module, &Append_Attribute);
}

int DICOM_Postproc_Step_2(HWND handle, DICOM_Root* root, DICOM_List* list,
                          unsigned short parent_type)
{
    constexpr Walk_Trace Step = {Trace_Structure, "Lib_Convert: DICOM_Postproc_Step_2()", "done"};
    Empty_Marker marker(handle, Step, parent_type);
    return Walk_Lists(handle, This_Unit, {.root = root}, &list, marker)
               ? static_cast<int>(std::min<long long>(marker.Sum(), INT_MAX))
               : 0;
}

int DICOM_Postproc_Step_4(HWND handle, DICOM_Root* root, DICOM_List** list, DICOM_List* marks)
{
    constexpr Walk_Trace Step = {Trace_Structure, "Lib_Convert: DICOM_Postproc_Step_4()", "done"};
    // Deletions wait for the end, because they may take away what is walked over.
    std::vector<Deletion> deletions;
    const auto note = [&](const DICOM_List* node, DICOM_List*) {
        const bool is_request = (node->flags & DICOM_Mark_Delete_Request) != 0;
        if (is_request) {
            deletions.push_back({*root, node->group, node->element});
        }
        return !is_request;
    };
    if (!Visit_Records(handle, This_Unit, {.root = root}, Step, marks, note)) {
        return 0;
    }
    for (Deletion& deletion : deletions) {
        Delete_Attribute(handle, list, deletion);
    }
    return 1;
}
