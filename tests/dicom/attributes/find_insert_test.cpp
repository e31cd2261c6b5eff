// Finding, looking up and appending records, and the way down into open sequences.
#include "support/case_page.h"
#include "support/record_builder.h"

#include <gmock/gmock.h>

namespace {

DICOM_List* Find(DICOM_Root& root, DICOM_List*& head, unsigned short group, unsigned short element)
{
    return DICOM_Attribute_Find(nullptr, &root, &head, group, element);
}

TEST(Find, KeepsTheOrderAndRemembersWhatItCreated)
{
    Record_List list;
    DICOM_Root root = {};
    DICOM_List* const first = Find(root, list.head, 0x0010, 0x0010);
    EXPECT_EQ(first->last, first);
    for (const unsigned short group :
         std::initializer_list<unsigned short>{0x0020, 0x0008, 0x0018}) {
        DICOM_List* const created = Find(root, list.head, group, 0x0010);
        EXPECT_EQ(list.head->last, created);
    }
    EXPECT_EQ(Tags(list.head), "0008,0010 0010,0010 0018,0010 0020,0010");
    EXPECT_EQ(Find(root, list.head, 0x0010, 0x0010), first);
    EXPECT_EQ(root.Sequence_Group[0], 0x0010);

    // The next record goes behind the one created last, and what stood there is cut off.
    const Record_List cut_off(list.head->next->next->next);
    const Record_List record("0040,0001");
    DICOM_Attribute_Insert(nullptr, &root, &list.head, record.head, 0);
    EXPECT_EQ(Tags(list.head), "0008,0010 0010,0010 0018,0010 0040,0001");
}

TEST(Find, GoesByTheFirstHigherTagInListsOutOfOrder)
{
    For_Each_Case("dicom/attributes/find_insert.cases", "found", 3, [](const Case_Row& row) {
        Inserted_List list(row[0]);
        Find(list.root, list.head, 0x0008, static_cast<unsigned short>(row.Number(1)));
        EXPECT_EQ(Tags(list.head), row[2]);
    });
}

TEST(Find, TakesNoNoticeOfTheLastRecord)
{
    Inserted_List list("0008,0001 0008,0003");
    const Inserted_List other("0008,0002 0008,0004");
    list.head->last = other.head->next;
    EXPECT_EQ(Find(list.root, list.head, 0x0008, 0x0004), list.head->next->next);
    EXPECT_EQ(Tags(list.head), "0008,0001 0008,0003 0008,0004");
    EXPECT_EQ(Tags(other.head), "0008,0002 0008,0004");
}

TEST(Get, TakesWildcardsAndPatterns)
{
    DICOM_Root root = {};
    const Record_List list("0008,0005 0009,0010 0010,0010 60A2,0010");
    const auto get = [&](auto group, auto element) {
        DICOM_List* const found = DICOM_Attribute_Get(nullptr, &root, list.head, group, element, 1);
        return found != nullptr ? Tags(found).substr(0, 9) : "";
    };
    using Number = unsigned short;
    EXPECT_EQ(get(Number{0xFFFF}, Number{0xFFFF}), "0008,0005");
    EXPECT_EQ(get(Number{0xFFFF}, Number{0x0010}), "0009,0010");
    EXPECT_EQ(get(Number{0x0010}, Number{0xFFFF}), "0010,0010");
    EXPECT_EQ(get(Number{0x0010}, Number{0x0011}), "");
    EXPECT_EQ(get("60??", "0010"), "60A2,0010");
    EXPECT_EQ(get("*A2", "*"), "60A2,0010");
    EXPECT_EQ(get("001", "*"), "");
    EXPECT_EQ(DICOM_Attribute_Get(nullptr, &root, nullptr, "*", "*", 0), nullptr);
}

class Descent : public testing::Test {
protected:
    Descent()
    {
        DICOM_Attribute_Sequence_Start(nullptr, &root_, 0x0008, 0x1140, 2, 0);
        DICOM_Attribute_Item_Start(nullptr, &root_, 0);
    }
    ~Descent() override
    {
        DICOM_Flag_Current_Standard = 0;
    }
    DICOM_Root root_ = {};
};

TEST_F(Descent, GoesIntoTheFirstSequenceOfTheTag)
{
    const Record_List record("0008,1150:UI=1");
    for (const bool current : {false, true}) {
        DICOM_Flag_Current_Standard = current ? 1 : 0;
        Inserted_List list("0008,1140:SQ 0008,0060 0008,1140:SQ");
        DICOM_Attribute_Insert(nullptr, &root_, &list.head, record.head, 0);
        // With today's standard the last record comes first, so that reading stays linear.
        EXPECT_EQ(Tags(list.head), current ? "0008,1140 0008,0060 0008,1140[0008,1150]"
                                           : "0008,1140[0008,1150] 0008,0060 0008,1140");
    }
    // A copy finds the last record of the tag, and its items all the same go into the first.
    DICOM_Root root = {};
    Inserted_List list("0008,1140:SQ 0008,0060 0008,1140:SQ");
    Record_List source("0008,1140:SQ");
    Add_Items(*source.head, {"0008,1150"});
    DICOM_Flag_Current_Standard = 0;
    DICOM_Attribute_Copy(nullptr, &root, &list.head, source.head);
    EXPECT_EQ(Tags(list.head), "0008,1140[0008,1150] 0008,0060 0008,1140");
    EXPECT_EQ(list.head->next->next->nb_item, 1);
}

TEST_F(Descent, CreatesTheSequenceBehindTheLastRecordAndCutsOffTheRest)
{
    Inserted_List list("0008,0060 0010,0010 0020,0013");
    list.head->last = list.head->next;
    const Record_List cut_off(list.head->next->next);
    DICOM_Attribute_Item_Start(nullptr, &root_, 0);
    EXPECT_EQ(DICOM_Attribute_Get(nullptr, &root_, list.head, 0x0008, 0x1150, 0), nullptr);
    EXPECT_EQ(Tags(list.head), "0008,0060 0010,0010 0008,1140");
    const DICOM_List& made = *list.head->last;
    EXPECT_EQ(made.next, nullptr);
    EXPECT_EQ(made.nb_item, 1) << "whatever the number of the item is";
    EXPECT_EQ(made.vr, VR_SQ);
    EXPECT_EQ(made.vr_default, VR_SQ);
    EXPECT_EQ(made.flags, 2);
    EXPECT_EQ(made.depth, 0);
}

}  // namespace
