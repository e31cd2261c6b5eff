#include "mend/healing/pixel_data.h"

namespace lib_mend {

namespace {

constexpr Tag Bits_Allocated_Tag = {0x0028, 0x0100};

bool Is_Pixel_Value(Tag tag)
{
    return tag == Pixel_Data_Tag || tag == Float_Pixel_Tag || tag == Double_Pixel_Tag;
}

unsigned short Native_VR(const DICOM_List& record, bool wide)
{
    if (Tag_Of(record) == Float_Pixel_Tag) {
        return VR_OF;
    }
    if (Tag_Of(record) == Double_Pixel_Tag) {
        return VR_OD;
    }
    if (record.vr == VR_OW || (record.vr == VR_OB && !wide)) {
        return record.vr;
    }
    return wide ? VR_OW : VR_OB;
}

bool Is_Wide(const Data_Set& set, DICOM_List* list)
{
    constexpr unsigned int Bits_Of_A_Byte = 8;
    const DICOM_List* const bits = Find_Record(list, Bits_Allocated_Tag);
    const Bytes value = bits != nullptr ? set.Value(*bits, 2) : Bytes();
    return value.size() == 2 && Get_UShort(bits->byte_order, value.data()) > Bits_Of_A_Byte;
}

void Heal_Record(DICOM_List& record, bool wide, const Path& path, Findings& findings)
{
    const unsigned short vr = Native_VR(record, wide);
    const bool is_big = (record.byte_order & DICOM_Order_Big_Endian) != 0;
    if (record.vr == vr) {
        return;
    }
    if (record.vr == VR_OB && is_big) {
        // Whether the bytes of the words were put into the order of the syntax nobody can tell.
        findings.Report(Fault::Pixel_VR, Level::Kept, At(record, path),
                        "VR does not fit the bits allocated, and the order of the bytes is open");
        return;
    }
    if (record.vr != 0) {
        findings.Report(Fault::Pixel_VR, Level::Change, At(record, path),
                        "VR does not fit the bits allocated; it is changed");
    }
    record.vr = vr;
}

/** Fragments are bytes, whatever the bits allocated are (PS3.5 section A.4). */
void Heal_Encapsulated(DICOM_List& record, Findings& findings)
{
    if (record.vr != 0 && record.vr != VR_OB) {
        findings.Report(Fault::Pixel_VR, Level::Change, At(record, {}),
                        "VR of encapsulated pixel data is not OB; it is changed");
        record.vr = VR_OB;
    }
}

}  // namespace

void Heal_Pixel_VR(const Data_Set& set, DICOM_List* list, const Path& path, Findings& findings)
{
    for (DICOM_List& record : Records(list)) {
        if (Is_Pixel_Value(Tag_Of(record)) && record.size >= 0 && record.nb_item == 0) {
            Heal_Record(record, Is_Wide(set, list), path, findings);
        } else if (Tag_Of(record) == Pixel_Data_Tag && path.empty() &&
                   record.size == DICOM_Undefined_Length && set.encoding.encapsulated) {
            Heal_Encapsulated(record, findings);
        }
    }
}

}  // namespace lib_mend
