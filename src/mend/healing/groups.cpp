#include "mend/healing/groups.h"

#include "mend/healing/records.h"
#include "mend/healing/texts.h"
#include "mend/reading/tree.h"

namespace lib_mend {

namespace {

constexpr unsigned short Meta_Group = 0x0002;
constexpr unsigned short Directory_Group = 0x0004;

/** Takes the records that `is_wanted` accepts out of a list; the first of those taken out. */
template <class Predicate>
Record_List Take_Out(DICOM_List** list, Predicate&& is_wanted)
{
    DICOM_List* taken = nullptr;
    DICOM_List** taken_end = &taken;
    DICOM_List* last = nullptr;
    for (DICOM_List** link = list; *link != nullptr;) {
        DICOM_List* const record = *link;
        if (is_wanted(*record)) {
            *link = record->next;
            record->next = nullptr;
            *taken_end = record;
            taken_end = &record->next;
        } else {
            last = record;
            link = &record->next;
        }
    }
    if (*list != nullptr) {
        (*list)->last = last;
    }
    return Record_List(taken);
}

void Append(Record_List& list, DICOM_List* record)
{
    if (list.Head() == nullptr) {
        *list.Address() = record;
    } else {
        DICOM_List* last = list.Head();
        while (last->next != nullptr) {
            last = last->next;
        }
        last->next = record;
    }
    list.Head()->last = record;
}

/** Brings an element of the data set into group 0002, or says why it is lost. */
void Move_To_Meta(Data_Set& set, Record_List record, Findings& findings)
{
    DICOM_List& moved = *record.Head();
    const DICOM_List* const there = Find_Record(set.meta.Head(), Tag_Of(moved));
    const TAG_db_Elems* const entry = NEMA_db_Locate(moved.group, moved.element);
    if (entry == nullptr) {
        findings.Report(Fault::Lost, Level::Error, At(moved, {}),
                        "does not belong in the file meta information, and is left out");
    } else if (there == nullptr && Has_Value(moved) && set.Load(moved) && moved.element != 0) {
        findings.Report(Fault::Foreign_Group, Level::Change, At(moved, {}),
                        "stands in the data set; it is moved to the file meta information");
        // There the registry gives the VR, whatever stands in the header.
        moved.vr = entry->vr[0];
        Append(set.meta, record.Release());
    } else if (moved.element == 0 ||
               (there != nullptr && Trimmed(set.Value(*there)) == Trimmed(set.Value(moved)))) {
        findings.Report(Fault::Foreign_Group, Level::Change, At(moved, {}),
                        "stands in the data set; the file meta information has it already");
    } else {
        findings.Report(Fault::Foreign_Group, Level::Error, At(moved, {}),
                        "stands in the data set though it belongs in the file meta information, "
                        "which holds another; it is lost");
    }
}

}  // namespace

void Heal_Low_Groups(Data_Set& set, bool is_directory, Findings& findings)
{
    Record_List meta = Take_Out(
        set.records.Address(), [](const DICOM_List& record) { return record.group == Meta_Group; });
    while (meta.Head() != nullptr) {
        DICOM_List* const first = meta.Release();
        meta = Record_List(first->next);
        first->next = nullptr;
        Move_To_Meta(set, Record_List(first), findings);
    }
    For_Each_Element(set.records.Head(), [&](const DICOM_List& record, const Path& path) {
        if (record.group < First_Group_Of_Data &&
            (record.group != Directory_Group || !is_directory)) {
            findings.Report(Fault::Foreign_Group, Level::Kept, At(record, path),
                            "the group does not belong in a data set");
        }
    });
}

bool Is_Unknown_Tag(const DICOM_List& record)
{
    return record.dict == nullptr && record.group % 2 == 0 && record.group >= First_Group_Of_Data &&
           record.element != 0x0000;
}

void Check_Unknown_Tags(DICOM_List* list, bool is_directory, Findings& findings)
{
    For_Each_Element(list, [&](const DICOM_List& record, const Path& path) {
        const bool is_of_directory = is_directory && record.group == Directory_Group &&
                                     record.element != 0x0000 && record.dict == nullptr;
        if (Is_Unknown_Tag(record) || is_of_directory) {
            findings.Report(Fault::Unknown_Tag, Level::Kept, At(record, path),
                            "the registry does not know the tag");
        }
    });
}

void Check_Meta_Group(const Data_Set& set, Findings& findings)
{
    for (const DICOM_List& record : Records(set.meta.Head())) {
        if (NEMA_db_Locate(record.group, record.element) == nullptr && record.element != 0x0000) {
            findings.Report(Fault::Unknown_Tag, Level::Kept, At(record, {}),
                            "the registry does not know the tag");
        }
        // No character set is declared here; other VRs have none anywhere.
        const unsigned short vr = VR_Of(record);
        constexpr unsigned short Texts[] = {VR_SH, VR_LO, VR_ST, VR_LT, VR_UT, VR_PN, VR_UC};
        if (std::find(std::begin(Texts), std::end(Texts), vr) == std::end(Texts)) {
            continue;
        }
        bool has_others = false;
        All_Pieces(set, record, [&](std::string_view piece) {
            has_others =
                std::any_of(piece.begin(), piece.end(), [](char c) { return (c & 0x80) != 0; });
            return !has_others;
        });
        if (has_others) {
            findings.Report(Fault::Character_Set_Bytes, Level::Kept, At(record, {}),
                            "the text holds bytes that are no characters of its character set");
        }
    }
}

void Leave_Out_Private(Record_List& list, Findings& findings)
{
    const auto is_private = [](const DICOM_List& record) {
        return record.group % 2 != 0;
    };
    For_Each_List(list.Address(), [&](DICOM_List** records, const Path& path) {
        const Record_List taken = Take_Out(records, is_private);
        for (const DICOM_List& record : Records(taken.Head())) {
            findings.Report(Fault::Removed, Level::Change, At(record, path),
                            "private element is left out");
        }
    });
}

}  // namespace lib_mend
