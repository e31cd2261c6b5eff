#include "mend/healing/contents.h"

#include "mend/healing/character_set.h"
#include "mend/healing/creators.h"
#include "mend/healing/groups.h"
#include "mend/healing/order.h"
#include "mend/healing/records.h"
#include "mend/healing/vrs.h"
#include "mend/reading/tree.h"

#include <vector>

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

/** What is known of a list as far as it was gone through. */
struct List_So_Far {
    Order_Watch order;
    Creator_Watch creators;
};

}  // namespace

Contents Contents_Of(DICOM_List* list)
{
    Contents contents;
    std::vector<List_So_Far> lists;
    Tree_Walk walk(list);
    while (const DICOM_List* const next = walk.Next()) {
        const DICOM_List& record = *next;
        const std::size_t depth = walk.Way().size();
        if (walk.Is_First()) {
            lists.resize(depth);
            lists.emplace_back();
        }
        List_So_Far& here = lists[depth];
        contents.disorder |= !here.order.Follows(record);
        if (Is_Delimiter(record)) {
            continue;
        }
        const Tag tag = Tag_Of(record);
        contents.group_lengths |= record.element == 0x0000;
        contents.low_groups |= record.group < First_Group_Of_Data;
        contents.unowned |= record.group % 2 != 0 && !here.creators.Owns(record);
        contents.unknown_tags |= Is_Unknown_Tag(record);
        contents.images |= Is_Of_Images(record.group);
        contents.signs |= tag == Pixel_Representation_Tag;
        contents.declarations |= tag == Character_Set_Tag;
        contents.declarations_in_items |= tag == Character_Set_Tag && depth > 0;
    }
    return contents;
}

}  // namespace lib_mend
