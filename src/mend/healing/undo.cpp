#include "mend/healing/list_index.h"
#include "mend/healing/original_attributes.h"
#include "mend/healing/original_item.h"
#include "mend/healing/record_building.h"
#include "mend/healing/repair.h"
#include "mend/healing/texts.h"
#include "mend/healing/value.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace lib_mend {

namespace {

/** Number of the last item that this system wrote, counted from 0; -1 when there is none. */
int Last_Own_Item(const Data_Set& set, const DICOM_List& sequence)
{
    for (int i = Item_Count(sequence) - 1; i >= 0; --i) {
        const DICOM_List* const system = Find_Record(Item_Of(sequence, i), Modifying_System_Tag);
        if (system != nullptr && Trimmed(set.Value(*system)) == Modifying_System) {
            return i;
        }
    }
    return -1;
}

/** Takes one item out of a sequence. */
Record_List Take_Item(DICOM_List& sequence, int index)
{
    Record_List item(sequence.item[index]);
    const int count = Item_Count(sequence);
    std::copy(sequence.item + index + 1, sequence.item + count, sequence.item + index);
    sequence.item[count - 1] = nullptr;
    sequence.size = DICOM_Undefined_Length;
    return item;
}

class Undoing {
public:
    Undoing(Data_Set& set, Findings& findings) : set_(set), index_(set), findings_(findings)
    {
    }

    void Take_Modified(DICOM_List* item)
    {
        for (DICOM_List& former : Records(item)) {
            if (Is_Delimiter(former) || !Has_Value(former)) {
                continue;
            }
            if (former.size == 0) {
                Take_Back_Addition(Tag_Of(former));
            } else {
                Put_Back({Tag_Of(former), VR_Of(former), {}, Value_Of(former)});
            }
        }
    }

    void Take_Nonconforming(DICOM_List* item)
    {
        if (const std::optional<Nonconforming_Value> former = Read_Nonconforming(set_, item)) {
            Put_Back(*former);
        } else {
            findings_.Report(Fault::Original_Attributes, Level::Error, Place(),
                             "an item of Original Attributes does not say what it is about");
        }
    }

private:
    /** A value in little endian. */
    Bytes Value_Of(DICOM_List& former)
    {
        set_.Load(former);
        DICOM_Attribute_Cleanup_Swab(nullptr, &former);
        return set_.Value(former);
    }

    void Take_Back_Addition(Tag tag)
    {
        DICOM_List* const record = index_.Find(set_.records.Address(), tag);
        if (record != nullptr) {
            findings_.Report(Fault::Original_Attributes, Level::Info, At(*record, Path()),
                             "the element that was added is removed");
            record->flags |= DICOM_Mark_Deleted;
        }
    }

    void Put_Back(const Nonconforming_Value& former)
    {
        const unsigned short vr = former.vr;
        DICOM_List** const list = index_.List_At(former.path);
        if (list == nullptr) {
            findings_.Report(Fault::Original_Attributes, Level::Error,
                             Place{true, former.tag, vr, &former.path},
                             "the item that the original value belongs to is not there");
            return;
        }
        DICOM_List* record = index_.Find(list, former.tag);
        const bool is_gone = record == nullptr;
        if (is_gone) {
            Record_List fresh(New_Record(former.tag, vr != 0 ? vr : VR_Of_Registry(former.tag)));
            fresh.Head()->depth =
                static_cast<unsigned char>(std::min<std::size_t>(former.path.size(), 255));
            record = index_.Insert(list, std::move(fresh));
        } else if (!Has_Value(*record)) {
            findings_.Report(Fault::Original_Attributes, Level::Error, At(*record, former.path),
                             "the original value was none of a sequence, and is not put back");
            return;
        }
        if (vr == 0 && !is_gone && Width_Of(VR_Of(*record)) != 0 &&
            std::ssize(former.value) != record->size) {
            findings_.Report(Fault::Original_Attributes, Level::Error, At(*record, former.path),
                             "the original value is of another VR, which is not recorded, and is "
                             "not put back");
            return;
        }
        findings_.Report(Fault::Original_Attributes, Level::Info, At(*record, former.path),
                         "the original value is put back");
        record->vr = vr != 0 ? vr : record->vr;
        Set_Bytes(*record, former.value);
    }

    static unsigned short VR_Of_Registry(Tag tag)
    {
        const TAG_db_Elems* const entry = NEMA_db_Locate(tag.group, tag.element);
        return entry != nullptr && entry->vr[0] != 0 ? entry->vr[0] : VR_UN;
    }

    Data_Set& set_;
    List_Index index_;
    Findings& findings_;
};

}  // namespace

bool Undo(Data_Set& set, Findings& findings)
{
    DICOM_List* const sequence = Find_Record(set.records.Head(), Original_Attributes_Tag);
    const int index = sequence != nullptr ? Last_Own_Item(set, *sequence) : -1;
    if (index < 0) {
        findings.Report(Fault::Original_Attributes, Level::Error, Place(),
                        "there is nothing to undo: no mending is recorded in the file");
        return false;
    }
    const Record_List item = Take_Item(*sequence, index);
    if (Item_Count(*sequence) == 0) {
        sequence->flags |= DICOM_Mark_Deleted;
    }
    Undoing undoing(set, findings);
    if (const DICOM_List* const modified = Find_Record(item.Head(), Modified_Attributes_Tag)) {
        for (int i = 0; Item_Of(*modified, i) != nullptr; ++i) {
            undoing.Take_Modified(Item_Of(*modified, i));
        }
    }
    if (const DICOM_List* const others = Find_Record(item.Head(), Nonconforming_Attributes_Tag)) {
        for (int i = 0; Item_Of(*others, i) != nullptr; ++i) {
            undoing.Take_Nonconforming(Item_Of(*others, i));
        }
    }
    Remove_Marked(set.records.Address());
    set.healed = true;
    return true;
}

}  // namespace lib_mend
