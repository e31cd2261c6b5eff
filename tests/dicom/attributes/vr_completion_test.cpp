#include "attributes/complete/vr_completion.h"

#include "support/case_page.h"
#include "support/message_log.h"
#include "support/record_builder.h"

#include <Lib_DICOM/dictionary.h>

#include <gmock/gmock.h>

using namespace lib_dicom;

namespace {

constexpr char Page[] = "dicom/attributes/vr_completion.cases";

TEST(VR_Completion, FollowsTheLookOfTheValue)
{
    For_Each_Case(Page, "guesses", 3, [](const Case_Row& row) {
        const Record_List list(row[0]);
        Complete_VR(nullptr, *list.head);
        EXPECT_EQ(list.head->vr_default, 0);
        Set_Value(*list.head, row[1]);
        Complete_VR(nullptr, *list.head);
        EXPECT_EQ(list.head->vr_default, row.VR(2));
    });
}

TEST(VR_Completion, CompletionSettlesTheExplicitVR)
{
    For_Each_Case(Page, "completed", 5, [](const Case_Row& row) {
        const Message_Log log;
        const Record_List list(row[0]);
        list.head->dict = NEMA_db_Locate(list.head->group, list.head->element);
        Complete_VR(nullptr, *list.head);
        EXPECT_EQ(list.head->vr, row.VR(1));
        EXPECT_EQ(list.head->vr_default, row.VR(2));
        EXPECT_EQ(list.head->flags, row.Number(3));
        EXPECT_EQ(log.Text(), row[4]);
    });
}

TEST(VR_Completion, CurrentStandardKnowsNewVRsAndTakesBytesForWords)
{
    Message_Log log;
    const Record_List list("0028,3006:OB 0029,1010:OV");
    list.head->dict = NEMA_db_Locate(0x0028, 0x3006);
    DICOM_Flag_Current_Standard = 1;
    Complete_VR(nullptr, *list.head);
    Complete_VR(nullptr, *list.head->next);
    DICOM_Flag_Current_Standard = 0;
    EXPECT_EQ(log.Text(), "");
    EXPECT_EQ(list.head->next->vr, VR_OV);
}

}  // namespace
