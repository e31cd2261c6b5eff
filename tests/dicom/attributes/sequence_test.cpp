#include "support/message_log.h"
#include "support/record_builder.h"

#include <gmock/gmock.h>

namespace {

TEST(Sequence, TenthLevelIsReportedAndTakenAsPartOfTheNinth)
{
    Message_Log log;
    DICOM_Root root = {};
    int depth = 0;
    for (int i = 0; i < 10; ++i) {
        depth = DICOM_Attribute_Sequence_Start(nullptr, &root, 0x0008, 0x1140, 1, 0);
    }
    EXPECT_EQ(depth, 9);
    EXPECT_EQ(log.Text(), "    \xF1\x05WARNING:\x02 To many \"sequences\" in DICOM stream\n");
    DICOM_Attribute_Sequence_Set(nullptr, &root, 9, 0x0040, 0x0275, 0);
    EXPECT_EQ(DICOM_Attribute_Sequence_Start(nullptr, &root, 0U), 9);
    EXPECT_EQ(log.Count("in DICOM stream (0040,0275)"), 1);
    EXPECT_EQ(DICOM_Attribute_Sequence_Stop(nullptr, &root, 0), 8);
}

TEST(Sequence, ItemsCountFromEachStartOfTheirSequence)
{
    DICOM_Root root = {};
    DICOM_Attribute_Sequence_Start(nullptr, &root, 0x0008, 0x1140, 0, 0);
    EXPECT_EQ(DICOM_Attribute_Item_Query(nullptr, &root, 1), -1);
    DICOM_Attribute_Item_Start(nullptr, &root, 0);
    DICOM_Attribute_Item_Stop(nullptr, &root, 0);
    DICOM_Attribute_Item_Start(nullptr, &root, 0);
    EXPECT_EQ(DICOM_Attribute_Item_Query(nullptr, &root, 1), 1);
    DICOM_Attribute_Sequence_Stop(nullptr, &root, 0);
    DICOM_Attribute_Sequence_Start(nullptr, &root, 0x0008, 0x1140, 0, 0);
    EXPECT_EQ(DICOM_Attribute_Item_Query(nullptr, &root, 1), -1);
}

TEST(Sequence, UnbalancedStopsAreReported)
{
    Message_Log log;
    DICOM_Root root = {};
    DICOM_Attribute_Sequence_Set(nullptr, &root, 0, 0x0008, 0x1140, 0);
    EXPECT_EQ(DICOM_Attribute_Sequence_Stop(nullptr, &root, 0), 0);
    EXPECT_EQ(log.Count("To many \"out of sequences\" in DICOM stream (0008,1140)"), 1);
    DICOM_Attribute_Sequence_Start(nullptr, &root, 0x0008, 0x1140, 0, 0);
    DICOM_Attribute_Sequence_Start(nullptr, &root, 0x0008, 0x1199, 0, 0);
    DICOM_Attribute_Sequence_Set(nullptr, &root, 2, 0x0008, 0x1155, 0);
    EXPECT_EQ(DICOM_Attribute_Sequence_End(nullptr, &root), 0);
    EXPECT_EQ(log.Count("Missing at least 2 \"out of sequences\" in DICOM stream (0008,1155)"), 1);
    EXPECT_EQ(DICOM_Attribute_Sequence_Query(nullptr, &root), 0);
}

TEST(Sequence, LevelsOutsideTheContextAreIgnored)
{
    DICOM_Root root = {};
    for (const int depth : {-1, 10, 1 << 30}) {
        DICOM_Attribute_Sequence_Set(nullptr, &root, depth, 1, 2, 3);
        unsigned short group = 9;
        DICOM_Attribute_Sequence_Get(nullptr, &root, depth, &group, nullptr, nullptr);
        EXPECT_EQ(group, 0);
        EXPECT_EQ(DICOM_Attribute_Item_Query(nullptr, &root, depth), -1);
    }
    EXPECT_THAT(root.Sequence_Group, testing::Each(0));
}

TEST(Sequence, BannersAreIndentedByTheDepthOutsideTheSequence)
{
    Message_Log log(5);
    constexpr unsigned int Trace = 0x90002005U;
    DICOM_Root root = {};
    DICOM_Attribute_Sequence_Start(nullptr, &root, 0x0008, 0x1140, 0, 0);
    DICOM_Attribute_Sequence_Start(nullptr, &root, 0x0008, 0x1199, 0, Trace);
    DICOM_Attribute_Item_Start(nullptr, &root, Trace);
    DICOM_Attribute_Item_Stop(nullptr, &root, Trace);
    DICOM_Attribute_Sequence_Stop(nullptr, &root, Trace);
    DICOM_Attribute_Sequence_Start(nullptr, &root, Trace);
    EXPECT_EQ(log.Text(), "    ------------------------ ---- Sequence in ----(depth=1)-----\n"
                          "        ------------------------ ---- Item[1] in ---------------\n"
                          "        ------------------------ ---- Item[1] out --------------\n"
                          "    ------------------------ ---- Sequence out --------------\n"
                          "    ------------------------ ---- Sequence in ---------------\n");
}

TEST(Sequence, OpenSequencesDirectFindInsertAndGetIntoTheirItems)
{
    Record_List list;
    DICOM_Root root = {};
    DICOM_Attribute_Find(nullptr, &root, &list.head, 0x0008, 0x1140);
    DICOM_Attribute_Sequence_Start(nullptr, &root, 0U);
    for (const unsigned short element : std::initializer_list<unsigned short>{0x1155, 0x1150}) {
        DICOM_Attribute_Item_Start(nullptr, &root, 0);
        DICOM_Attribute_Find(nullptr, &root, &list.head, 0x0008, element);
        Record_List record("0020,0013");
        DICOM_Attribute_Insert(nullptr, &root, &list.head, record.head, 0);
        EXPECT_NE(DICOM_Attribute_Get(nullptr, &root, list.head, 0x0008, element, 0), nullptr);
        DICOM_Attribute_Item_Stop(nullptr, &root, 0);
    }
    DICOM_Attribute_Sequence_Stop(nullptr, &root, 0);
    EXPECT_EQ(Tags(list.head), "0008,1140[0008,1155 0020,0013][0008,1150 0020,0013]");
    EXPECT_EQ(list.head->item[1]->depth, 1);
    EXPECT_EQ(DICOM_Attribute_Get(nullptr, &root, list.head, 0x0020, 0x0013, 0), nullptr);
}

TEST(Sequence, InsertionBuildsTheSequencesThatAreOpenButAbsent)
{
    Record_List list;
    Record_List record("0008,0100~SH=A");
    DICOM_Root root = {};
    DICOM_Attribute_Sequence_Start(nullptr, &root, 0x0040, 0x0275, 2, 0);
    DICOM_Attribute_Sequence_Start(nullptr, &root, 0x0040, 0x0008, 0, 0);
    DICOM_Attribute_Insert(nullptr, &root, &list.head, record.head, 0);
    EXPECT_EQ(Tags(list.head), "0040,0275[0040,0008[0008,0100]]");
    EXPECT_EQ(list.head->vr, VR_SQ);
    EXPECT_EQ(list.head->flags, 2);
    // A search for a sequence that the list lacks leaves an empty one behind.
    DICOM_Attribute_Sequence_Reset(nullptr, &root);
    DICOM_Attribute_Sequence_Start(nullptr, &root, 0x0054, 0x0016, 0, 0);
    EXPECT_EQ(DICOM_Attribute_Get(nullptr, &root, list.head, 0x0008, 0x0100, 0), nullptr);
    ASSERT_NE(list.head->next, nullptr);
    EXPECT_EQ(list.head->next->nb_item, 1);
    EXPECT_EQ(Tags(list.head->next), "0054,0016");
}

}  // namespace
