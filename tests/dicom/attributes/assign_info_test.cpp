// What a list takes over from a reference list.
#include "support/record_builder.h"

#include <gmock/gmock.h>

namespace {

TEST(Assign_Info, MatchesEveryItemWithTheFirstOfTheReference)
{
    DICOM_Root root = {};
    Record_List reference("0008,1140~SQ 0010,0010~PN");
    Add_Items(*reference.head, {"0008,0100~SH", "0008,0102~SH"});
    reference.head->item[0]->type = DICOM_VR('1', 'C');
    Record_List target("0008,1140 0010,0010~LO 0020,0013");
    target.head->next->type = DICOM_VR('2', ' ');
    Add_Items(*target.head, {"0008,0100", "0008,0100 0008,0102"});
    DICOM_Attribute_Assign_Info(nullptr, &root, reference.head, target.head);
    EXPECT_EQ(target.head->next->vr_default, VR_LO);
    EXPECT_EQ(target.head->next->type, 0);
    EXPECT_EQ(target.head->item[1]->vr_default, VR_SH);
    EXPECT_EQ(target.head->item[1]->type, DICOM_VR('1', 'C'));
    EXPECT_EQ(target.head->item[1]->next->vr_default, 0);
    EXPECT_EQ(root.Sequence_Depth, 0);
}

}  // namespace
