#include "mend/healing/implicit_form.h"

#include "mend/reading/header.h"
#include "mend/reading/tree.h"

namespace lib_mend {

namespace {

/** Under a tag that nobody knows, readers look at the first bytes. */
bool Starts_Like_Item(const Data_Set& set, const DICOM_List& record)
{
    constexpr std::size_t Tag_Size = 4;
    const Bytes first = set.Value(record, Tag_Size);
    constexpr unsigned char Little_Endian = 0;
    return first.size() == Tag_Size && Get_UShort(Little_Endian, first.data()) == Item_Tag.group &&
           Get_UShort(Little_Endian, first.data() + 2) == Item_Tag.element;
}

/** In the place of a group length, where readers without a VR take anything for one. */
bool Passes_For_Group_Length(const DICOM_List& record)
{
    return record.element == 0x0000 && record.vr != 0 && record.vr != VR_UL &&
           !Is_Group_Length(record);
}

bool Is_Unfit(const Data_Set& set, const DICOM_List& record)
{
    constexpr int Tag_Size = 4;
    if (Passes_For_Group_Length(record)) {
        return true;
    }
    if (record.depth > 0 && Holds_Fragments(record)) {
        // Those of the data set itself ask for explicit VR anyway.
        return true;
    }
    if (Is_Delimiter(record) || record.size <= 0 || !Has_Value(record)) {
        return false;
    }
    const TAG_db_Elems* const entry = NEMA_db_Locate(record.group, record.element);
    return entry != nullptr ? entry->vr[0] == VR_SQ
                            : record.size >= Tag_Size && Starts_Like_Item(set, record);
}

}  // namespace

std::string Mistaken_For(const DICOM_List& unfit)
{
    return Passes_For_Group_Length(unfit) ? "a group length" : "items";
}

DICOM_List* Find_Unfit_For_Implicit(const Data_Set& set, Path& way)
{
    Tree_Walk walk(set.records.Head());
    while (DICOM_List* const record = walk.Next()) {
        if (Is_Unfit(set, *record)) {
            way = walk.Way();
            return record;
        }
    }
    return nullptr;
}

void Check_Implicit_Form(const Data_Set& set, Findings& findings)
{
    Path way;
    const DICOM_List* const record =
        set.encoding.explicit_vr ? nullptr : Find_Unfit_For_Implicit(set, way);
    if (record != nullptr) {
        findings.Report(Fault::Transfer_Syntax, Level::Change, At(*record, way),
                        "implicit VR cannot carry these bytes, which would be taken for " +
                            Mistaken_For(*record) + "; the data set is written in explicit VR");
    }
}

}  // namespace lib_mend
