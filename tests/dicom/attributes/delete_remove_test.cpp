// Taking records out of lists, and freeing them.
#include "support/case_page.h"
#include "support/message_log.h"
#include "support/record_builder.h"

#include <gmock/gmock.h>

namespace {

constexpr char Delete_Remove_Page[] = "dicom/attributes/delete_remove.cases";

TEST(Delete, TakesWildcards)
{
    For_Each_Case(Delete_Remove_Page, "deleted", 4, [](const Case_Row& row) {
        DICOM_Root root = {};
        Record_List list(row[0]);
        const auto remove = [&] {
            return DICOM_Attribute_Delete(nullptr, &root, &list.head,
                                          static_cast<unsigned short>(row.Number(1)),
                                          static_cast<unsigned short>(row.Number(2)));
        };
        EXPECT_EQ(remove(), 1);
        EXPECT_EQ(Tags(list.head), row[3]);
        EXPECT_EQ(remove(), list.head != nullptr ? 1 : 0);
    });
}

TEST(Delete, ReachesItemsAndKeepsTheListUsable)
{
    Inserted_List list("0008,1140 0010,0010 0020,0013");
    Add_Items(*list.head, {"0008,1150 0020,0013", "0020,0013", "0020,0013 0008,1155"});
    EXPECT_EQ(DICOM_Attribute_Delete(nullptr, &list.root, &list.head, "002?", "00*"), 1);
    EXPECT_EQ(Tags(list.head), "0008,1140[0008,1150] 0010,0010");
    EXPECT_EQ(list.root.Sequence_Depth, 0);
    // The slot of an item that became empty stays, and ends the used part.
    EXPECT_EQ(list.head->nb_item, 3);
    EXPECT_EQ(list.head->item[1], nullptr);
    const Record_List hidden(std::exchange(list.head->item[2], nullptr));
    EXPECT_EQ(Tags(hidden.head), "0008,1155");
    const Record_List record("0040,0001");
    DICOM_Attribute_Insert(nullptr, &list.root, &list.head, record.head, 0);
    EXPECT_EQ(Tags(list.head), "0008,1140[0008,1150] 0010,0010 0040,0001");
}

TEST(Delete, WorksInTheItemThatIsOpen)
{
    Inserted_List list("0008,1140 0010,0010");
    Add_Items(*list.head, {"0010,0010 0010,0020", "0010,0010"});
    DICOM_Attribute_Sequence_Start(nullptr, &list.root, 0x0008, 0x1140, 0, 0);
    DICOM_Attribute_Item_Start(nullptr, &list.root, 0);
    EXPECT_EQ(DICOM_Attribute_Delete(nullptr, &list.root, &list.head, 0x0010, 0x0010), 1);
    EXPECT_EQ(Tags(list.head), "0008,1140[0010,0020][0010,0010] 0010,0010");
    EXPECT_EQ(DICOM_Attribute_Delete(nullptr, &list.root, &list.head, 0x0010, 0xFFFF), 1);
    EXPECT_EQ(DICOM_Attribute_Delete(nullptr, &list.root, &list.head, 0x0010, 0xFFFF), 0)
        << "the item is empty";
    const Record_List hidden(std::exchange(list.head->item[1], nullptr));
}

TEST(Free, StopsAtAnEmptySlot)
{
    Record_List list("0008,1140");
    Add_Items(*list.head, {"0008,0100", "", "0008,0104"});
    const Record_List behind(list.head->item[2]);
    DICOM_Attribute_Free(nullptr, std::exchange(list.head, nullptr));
    EXPECT_EQ(Tags(behind.head), "0008,0104");
}

TEST(Remove, FollowsTheStatus)
{
    constexpr char List[] = "0008,0000 0008,0001!20 0008,0002!100 0008,0003!800 0009,0004!40 "
                            "FFFE,E000~I- FFFE,E00D~Ia 0010,0010";
    For_Each_Case(Delete_Remove_Page, "removed", 2, [&](const Case_Row& row) {
        Inserted_List list(List);
        Add_Items(*list.head->last, {List, "0008,0003!800"});
        const Message_Log log(5);
        const auto mode = static_cast<unsigned char>(row.Number(0));
        EXPECT_EQ(DICOM_Attribute_Remove(nullptr, &list.head, mode), 0);
        EXPECT_EQ(Tags(list.head), row[1] + "[" + row[1] + "]");
        EXPECT_EQ(log.Count("DICOM_Attribute_Remove(0008,0003) Removing tag"), 3);
        EXPECT_EQ(log.All()[0].severity, 0x90002005U);
        const Record_List record("0040,0001");
        DICOM_Attribute_Insert(nullptr, &list.root, &list.head, record.head, 0);
        EXPECT_THAT(Tags(list.head), testing::EndsWith("] 0040,0001"));
    });
    Flag_DICOM_Propriatery = 1;
    Record_List kept("0009,0010!40");
    DICOM_Attribute_Remove(nullptr, &kept.head, 0x10);
    Flag_DICOM_Propriatery = 0;
    EXPECT_EQ(Tags(kept.head), "0009,0010");
}

}  // namespace
