#include "mend/healing/pixel_data.h"

#include "mend/reading/tree.h"

namespace lib_mend {

namespace {

bool Says_Something_Of_An_Image(DICOM_List* list)
{
    constexpr unsigned short Image_Group = 0x0028;
    const Records records(list);
    for (const DICOM_List& record : records) {
        if (record.group == Image_Group || record.group == Pixel_Data_Tag.group) {
            return true;
        }
    }
    return false;
}

}  // namespace

void Heal_Pixel_Data(Data_Set& set, bool pad, Findings& findings)
{
    if (DICOM_List* const pixels = Find_Record(set.records.Head(), Pixel_Data_Tag)) {
        Encapsulate_Stream(set, *pixels, findings);
        Report_Odd_Fragments(*pixels, findings);
        Heal_Offset_Table(set, *pixels, findings);
    }
    For_Each_List(set.records.Address(), [&](DICOM_List** list, const Path& path) {
        if (Says_Something_Of_An_Image(*list)) {
            Heal_Pixel_VR(set, *list, path, findings);
            Heal_Pixel_Size(set, *list, path, pad, findings);
            Check_Pixel_Attributes(set, *list, path, findings);
        }
    });
    Check_Overlays(set, findings);
}

}  // namespace lib_mend
