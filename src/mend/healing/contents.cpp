#include "mend/healing/contents.h"

#include "mend/healing/groups.h"
#include "mend/healing/records.h"
#include "mend/reading/tree.h"

namespace lib_mend {

namespace {

constexpr unsigned short Image_Group = 0x0028;
constexpr unsigned short First_Overlay_Group = 0x6000;
constexpr unsigned short Last_Overlay_Group = 0x60FF;

bool Is_Of_Images(unsigned short group)
{
    return group == Image_Group || group == Pixel_Data_Tag.group ||
           (group >= First_Overlay_Group && group <= Last_Overlay_Group);
}

}  // namespace

Contents Contents_Of(DICOM_List* list)
{
    Contents contents;
    For_Each_Element(list, [&](const DICOM_List& record, const Path&) {
        contents.group_lengths |= record.element == 0x0000;
        contents.low_groups |= record.group < First_Group_Of_Data;
        contents.private_groups |= record.group % 2 != 0;
        contents.unknown_tags |= Is_Unknown_Tag(record);
        contents.images |= Is_Of_Images(record.group);
    });
    return contents;
}

}  // namespace lib_mend
