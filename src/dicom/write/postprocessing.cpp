// The steps that bring a data set into line with a module list before it is written.
#include "attributes/list/attribute_lists.h"
#include "frame/c_memory.h"
#include "frame/record_codes.h"
#include "frame/vr_rules.h"
#include "read/deferred_value.h"

#include <Lib_DICOM/dictionary.h>
#include <Lib_DICOM/write.h>

#include <algorithm>
#include <climits>
#include <optional>
#include <utility>
#include <vector>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Write_Module";

/** Group of the item and delimitation tags. */

void Overwrite_Attribute(HWND handle, DICOM_Root* root, DICOM_List** list, DICOM_List* node)
{
    if (Look_Into_Open_Item(handle, root, *list) == nullptr) {
        // Insert also makes the sequences around an item that the data set lacks.
        DICOM_Attribute_Insert(handle, root, list, node, 0);
        return;
    }
    DICOM_List* const target = DICOM_Attribute_Find(handle, root, list, node->group, node->element);
    if (target == nullptr) {
        return;
    }
    std::free(std::exchange(target->data, nullptr));
    target->size = 0;
    target->flags = static_cast<unsigned short>(target->flags & ~DICOM_Mark_Forced);
    DICOM_Attribute_Copy_Tag(handle, root, list, target, node);
}

void Append_Attribute(HWND handle, DICOM_Root* root, DICOM_List** list, DICOM_List* node)
{
    // A lookup may have left `last` in the middle of the list, and Insert would cut off the rest.
    DICOM_List* const head = Look_Into_Open_Item(handle, root, *list);
    if (head != nullptr && head->last != nullptr && head->last->next != nullptr) {
        head->last = nullptr;
    }
    DICOM_Attribute_Insert(handle, root, list, node, 0);
}

/** Closes the gaps that emptied items left in a sequence of the open item. */
void Drop_Emptied_Items(HWND handle, DICOM_Root* root, DICOM_List* list, const DICOM_List& sequence)
{
    DICOM_List* const open = Look_Into_Open_Item(handle, root, list);
    DICOM_List* const record =
        open != nullptr ? Find_Open_Sequence(open, sequence.group, sequence.element) : nullptr;
    if (record != nullptr && record->item != nullptr) {
        Close_Gaps(record, record->nb_item);
    }
}

void Delete_Requested(HWND handle, DICOM_Root* root, DICOM_List** list, DICOM_List* marks)
{
    // A deletion may take away the records that are walked over, so it waits for the end.
    std::vector<std::pair<unsigned short, unsigned short>> tags;
    for (DICOM_List* node = marks; node != nullptr; node = node->next) {
        if ((node->flags & DICOM_Mark_Delete_Request) != 0) {
            tags.emplace_back(node->group, node->element);
        } else if (node->item != nullptr) {
            For_Each_Item(handle, root, node,
                          [=](DICOM_List** item) { Delete_Requested(handle, root, list, *item); });
            Drop_Emptied_Items(handle, root, *list, *node);
        }
    }
    for (const auto& [group, element] : tags) {
        // Delete would create the sequences around an item that the data set lacks.
        if (Look_Into_Open_Item(handle, root, *list) != nullptr) {
            DICOM_Attribute_Delete(handle, root, list, group, element);
        }
    }
}

/** Loads values from the source, which is opened for the first of them. */
class Value_Loader {
public:
    explicit Value_Loader(HWND handle) : handle_(handle)
    {
    }

    /** False after a message. */
    bool Load(DICOM_List& pt)
    {
        Trace(handle_, Trace_Structure,
              "-> DICOM_Postproc_Step_5() Reading missing: %d bytes at %d", pt.size, pt.data_pos);
        if (!Open()) {
            return false;
        }
        Fetched_Value value = source_->Fetch(handle_, This_Unit, pt, "pt->data");
        switch (value.fault) {
        case Fetch_Fault::None:
            pt.data = value.data.release();
            return true;
        case Fetch_Fault::Memory:
            return false;
        case Fetch_Fault::End:
            return Fail_At_End(This_Unit, value.count, pt);
        case Fetch_Fault::Seek:
        case Fetch_Fault::Read:
            break;
        }
        return Fail(This_Unit);
    }

private:
    /** A source that cannot be opened is reported once. */
    bool Open()
    {
        if (!source_) {
            source_.emplace();
            return source_->Is_Open() || Fail(This_Unit);
        }
        return source_->Is_Open();
    }
    bool Fail(Place place) const
    {
        Report_Error(handle_, place, "Error reading file %ls", source_->Name());
        return false;
    }
    bool Fail_At_End(Place place, long long count, const DICOM_List& pt) const
    {
        Report_Error(handle_, place, "End of File while reading: (%d /vs/ %d) (%ls)",
                     static_cast<int>(count), pt.size, source_->Name());
        return false;
    }

    HWND handle_;
    std::optional<Value_Source> source_;
};

bool Is_Value_Missing(const DICOM_List& record)
{
    return record.size > 0 && record.data == nullptr && record.item == nullptr &&
           record.group != Item_Group && Effective_VR(record) != VR_SQ;
}

bool Load_Values(HWND handle, DICOM_Root* root, DICOM_List* list, Value_Loader& loader)
{
    bool loaded = true;
    for (DICOM_List* record = list; record != nullptr; record = record->next) {
        if (Is_Value_Missing(*record)) {
            loaded = loader.Load(*record) && loaded;
        }
        For_Each_Item(handle, root, record, [&](DICOM_List** item) {
            loaded = Load_Values(handle, root, *item, loader) && loaded;
        });
    }
    return loaded;
}

/** Warns of a required attribute. Returns 0, the result of a faulty verification. */
int Warn_Of_Required(HWND handle, const char* fault, const DICOM_List& node)
{
    const char* const quote = node.dict != nullptr ? "\"" : "";
    const char* const name = node.dict != nullptr ? static_cast<const char*>(node.dict->name) : "";
    Report_Warning(handle,
                   "    \361\005WARNING:\002 %hs required value for type %hs tag: "
                   "(\001%04x\002,\001%04x\002) \001%hs%hs%hs",
                   fault, node.type == Type_1 ? "1" : "2", node.group, node.element, quote, name,
                   quote);
    return 0;
}

int Verify_Attribute(HWND handle, DICOM_Root* root, DICOM_List* list, const DICOM_List& node)
{
    // Get alone would create the sequences around an item that the data set lacks.
    DICOM_List* const open = Look_Into_Open_Item(handle, root, list);
    const DICOM_List* const found =
        DICOM_Attribute_Get(handle, root, open, node.group, node.element, 0);
    if (found == nullptr) {
        return Warn_Of_Required(handle, "Missing", node);
    }
    if (node.type == Type_1 && found->size == 0 && Effective_VR(*found) != VR_SQ) {
        return Warn_Of_Required(handle, "Empty", node);
    }
    return 1;
}

}  // namespace

int DICOM_Postproc_Overwrite(HWND handle, DICOM_Root* root, DICOM_List** list, DICOM_List* module,
                             unsigned short mask)
{
    Trace_Scope trace(handle, Trace_Structure, "Lib_Convert: DICOM_Postproc_Overwrite()");
    for (DICOM_List* node = module; node != nullptr; node = node->next) {
        if ((node->flags & mask) != 0) {
            Overwrite_Attribute(handle, root, list, node);
        }
        For_Each_Item(handle, root, node, [=](DICOM_List** item) {
            DICOM_Postproc_Overwrite(handle, root, list, *item, mask);
        });
    }
    return trace.Leave(1, "done");
}

int DICOM_Postproc_Step_1(HWND handle, DICOM_Root* root, DICOM_List** list, DICOM_List* module,
                          unsigned short mask)
{
    Trace_Scope trace(handle, Trace_Structure, "Lib_Convert: DICOM_Postproc_Step_1()");
    for (DICOM_List* node = module; node != nullptr; node = node->next) {
        if ((node->flags & mask) != 0) {
            Append_Attribute(handle, root, list, node);
        }
        // Deliberate: items are entered although Insert copies those of a sequence that is not
        // forced. Records that are there twice are what sorting compares and orders.
        For_Each_Item(handle, root, node, [=](DICOM_List** item) {
            DICOM_Postproc_Step_1(handle, root, list, *item, mask);
        });
    }
    return trace.Leave(1, "done");
}

int DICOM_Postproc_Step_2(HWND handle, DICOM_Root* root, DICOM_List* list,
                          unsigned short parent_type)
{
    Trace_Scope trace(handle, Trace_Structure, "Lib_Convert: DICOM_Postproc_Step_2()");
    long long count = 0;
    for (DICOM_List* record = list; record != nullptr; record = record->next) {
        long long bytes = record->item == nullptr ? std::max(record->size, 0) : 0;
        For_Each_Item(handle, root, record, [&](DICOM_List** item) {
            bytes += DICOM_Postproc_Step_2(handle, root, *item, record->type);
        });
        const bool optional = record->type == 0 || record->type == Type_3;
        if (bytes == 0 && (optional || parent_type == Type_2C)) {
            record->flags = static_cast<unsigned short>(record->flags | DICOM_Mark_Deleted);
        }
        // The length of an item is that of its attributes, and no value.
        count += record->group != Item_Group ? bytes : 0;
    }
    return trace.Leave(static_cast<int>(std::min<long long>(count, INT_MAX)), "done");
}

int DICOM_Postproc_Step_4(HWND handle, DICOM_Root* root, DICOM_List** list, DICOM_List* marks)
{
    Trace_Scope trace(handle, Trace_Structure, "Lib_Convert: DICOM_Postproc_Step_4()");
    return Guarded(handle, This_Unit, 0, [&] {
        Delete_Requested(handle, root, list, marks);
        return trace.Leave(1, "done");
    });
}

int DICOM_Postproc_Step_5(HWND handle, DICOM_Root* root, DICOM_List* list)
{
    Trace_Scope trace(handle, Trace_Structure, "Lib_Convert: DICOM_Postproc_Step_5()");
    return Guarded(handle, This_Unit, 0, [&] {
        Value_Loader loader(handle);
        return trace.Leave(Load_Values(handle, root, list, loader) ? 1 : 0, "done");
    });
}

int DICOM_Postproc_Verification(HWND handle, DICOM_Root* root, DICOM_List* list, DICOM_List* module,
                                int type)
{
    Trace_Scope trace(handle, Trace_Structure, "Lib_Convert: DICOM_Postproc_Verification()");
    constexpr unsigned int No_Banners = 0;
    int complete = 1;
    for (DICOM_List* node = module; node != nullptr; node = node->next) {
        if (node->type == Type_1 || node->type == Type_2) {
            complete &= Verify_Attribute(handle, root, list, *node);
        }
        if (node->type == Type_1) {
            const int inner_type = std::min<int>(node->type, type);
            For_Each_Item(
                handle, root, node,
                [&](DICOM_List** item) {
                    complete &= DICOM_Postproc_Verification(handle, root, list, *item, inner_type);
                },
                No_Banners);
        }
    }
    return trace.Leave(complete, "done");
}
