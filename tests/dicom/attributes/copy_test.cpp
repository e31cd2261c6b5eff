// Copying lists, and merging records that are there already.
#include "support/case_page.h"
#include "support/message_log.h"
#include "support/record_builder.h"

#include <gmock/gmock.h>

#include <vector>

namespace {

TEST(Append, JoinsValuesByTheirVR)
{
    constexpr char Refused[] = "\xF1\x05WARNING:\x02 Unable to append to tag (0008,0016)";
    const struct {
        std::vector<const char*> vrs;
        const char* expected;
        int size_of_missing;
        const char* warning = nullptr;
    } rows[] = {
        {{"AE", "AS", "CS", "DS", "IS", "LO", "PN", "SH"}, "A \\B  ", 6},
        {{"LT", "ST", "UT"}, "A \nB  ", 6},
        {{"AT", "FD", "FL", "OB", "OF", "OW", "OX", "SL", "SS", "UL", "UN", "US"}, "A B ", 4},
        {{"DA", "DT", "TM", "UI", "SQ"}, "A ", 2, Refused},
        {{"ZZ", "OV"}, "A ", 2},
    };
    for (const auto& row : rows) {
        for (const std::string vr : row.vrs) {
            for (const char* const mark : {":", "~"}) {
                SCOPED_TRACE(mark + vr);
                const std::string tag = "0008,0016" + (mark + vr);
                Message_Log log;
                Flag_Error_Warning = 7;
                DICOM_Root root = {};
                Record_List target(tag + "=A_!1");
                const Record_List source(tag + "=B_!8000");
                EXPECT_EQ(DICOM_Attribute_Copy(nullptr, &root, &target.head, source.head), 1);
                EXPECT_EQ(Value_Of(*target.head), row.expected);
                EXPECT_EQ(log.All().size(), row.warning != nullptr ? 1U : 0U);
                if (row.warning != nullptr) {
                    EXPECT_EQ(log.All()[0].text, row.warning);
                    EXPECT_EQ(log.All()[0].severity, 7U);
                }
                // A value that was left in the source makes room all the same.
                Record_List again(tag + "=A_!1");
                const Record_List missing(tag + "#2!8000");
                DICOM_Attribute_Copy(nullptr, &root, &again.head, missing.head);
                EXPECT_EQ(again.head->size, row.size_of_missing);
                Flag_Error_Warning = 0;
            }
        }
    }
}

constexpr char Copy_Page[] = "dicom/attributes/copy.cases";

TEST(Append, IsForValuesThatAreThereAndMayGrow)
{
    For_Each_Case(Copy_Page, "appended", 4, [](const Case_Row& row) {
        const Message_Log log;
        DICOM_Root root = {};
        Record_List target(row[0]);
        const Record_List source(row[1]);
        EXPECT_EQ(DICOM_Attribute_Copy(nullptr, &root, &target.head, source.head), 1);
        EXPECT_EQ(Value_Of(*target.head), row[2]);
        EXPECT_EQ(log.Count("Unable to append to tag"), row.Number(3));
    });
}

TEST(Copy, MergesFieldsAndReplacesWhatIsNotProtected)
{
    DICOM_Root root = {};
    Record_List target("0008,0008:CS=OLD 0010,0010=OLD!1000");
    Record_List source("0008,0008~LO#6!401 0010,0010:PN=NEW!1");
    source.head->type = DICOM_VR('1', 'C');
    source.head->description = strdup("name");
    source.head->next->description = strdup("name");
    EXPECT_EQ(DICOM_Attribute_Copy(nullptr, &root, &target.head, source.head), 1);

    const DICOM_List& replaced = *target.head;
    EXPECT_EQ(replaced.data, nullptr);
    EXPECT_EQ(replaced.size, 6);
    EXPECT_EQ(replaced.vr, VR_CS);
    EXPECT_EQ(replaced.vr_default, VR_UN);
    EXPECT_EQ(replaced.flags, 0x0401);
    EXPECT_EQ(replaced.type, DICOM_VR('1', 'C'));
    EXPECT_STREQ(replaced.description, "name");
    EXPECT_EQ(Value_Of(*replaced.next), "OLD");
    EXPECT_EQ(replaced.next->vr, 0);
    EXPECT_EQ(replaced.next->flags, 0x1000);
    EXPECT_EQ(replaced.next->description, nullptr);

    source.head->description[0] = '\0';
    target.head->size = 0;
    DICOM_Attribute_Copy(nullptr, &root, &target.head, source.head);
    EXPECT_EQ(target.head->description, nullptr);
}

TEST(Copy, EndsAtTheFunctionalGroups)
{
    For_Each_Case(Copy_Page, "copied", 2, [](const Case_Row& row) {
        DICOM_Root root = {};
        Record_List target;
        const Record_List source(row[0]);
        EXPECT_EQ(DICOM_Attribute_Copy(nullptr, &root, &target.head, source.head), 1);
        EXPECT_EQ(Tags(target.head), row[1]);
    });
}

struct Item_Case {
    unsigned short target_flags;
    unsigned short source_flags;
    const char* expected;
    int slots;
};

TEST(Copy, MergesItems)
{
    const Item_Case cases[] = {
        {0x0001, 0x0001, "0008,1140[0008,0100 0008,0102][0008,0104]", 2},
        {0x1000, 0x0001, "0008,1140[0008,0100 0008,0102][0008,0104]", 2},
        {0x0001, 0x1000, "0008,1140[0008,0102]", 2},
        {0x0001, 0x8000, "0008,1140[0008,0102][0008,0100][0008,0104]", 3},
    };
    for (const Item_Case& test : cases) {
        SCOPED_TRACE(test.source_flags);
        DICOM_Root root = {};
        Record_List target("0008,1140");
        Add_Items(*target.head, {"0008,0102"});
        target.head->flags = test.target_flags;
        Record_List source("0008,1140");
        Add_Items(*source.head, {"0008,0100", "0008,0104"});
        source.head->flags = test.source_flags;
        EXPECT_EQ(DICOM_Attribute_Copy(nullptr, &root, &target.head, source.head), 1);
        EXPECT_EQ(Tags(target.head), test.expected);
        EXPECT_EQ(target.head->nb_item, test.slots);
        EXPECT_EQ(root.Sequence_Depth, 0);
    }
}

TEST(Copy, MergesItemsIntoTheFirstSequenceOfTheTag)
{
    DICOM_Root root = {};
    Record_List target("0008,1140:SQ 0008,1140:SQ");
    Record_List source("0008,1140:SQ");
    Add_Items(*source.head, {"0008,1150"});
    EXPECT_EQ(DICOM_Attribute_Copy(nullptr, &root, &target.head, source.head), 1);
    EXPECT_EQ(Tags(target.head), "0008,1140[0008,1150] 0008,1140");
    EXPECT_EQ(target.head->next->nb_item, 1) << "the slot is made in the record that was found";
}

TEST(Copy, LeavesTheSlotOfAnItemEmptyThatItDoesNotCopy)
{
    DICOM_Root root = {};
    Record_List target;
    Record_List source("0008,1140:SQ");
    Add_Items(*source.head, {"5200,9229", "0008,1150"});
    EXPECT_EQ(DICOM_Attribute_Copy(nullptr, &root, &target.head, source.head), 1);
    EXPECT_EQ(target.head->item[0], nullptr);
    const Record_List behind(target.head->item[1]);
    EXPECT_EQ(Tags(behind.head), "0008,1150");
}

TEST(Copy, TracesItsSteps)
{
    DICOM_Root root = {};
    Record_List target;
    const Record_List source("0008,0060=MR 5200,9229 5400,0010");
    const Message_Log log(9);
    DICOM_Attribute_Copy(nullptr, &root, &target.head, source.head);
    EXPECT_EQ(log.Text(), ">>> in  Lib_DICOM: DICOM_Attribute_Copy()\n"
                          "-> DICOM_Attribute_Copy(0008,0060)\n"
                          ">>> in  Lib_DICOM: DICOM_Attribute_Find(0008,0060)\n"
                          "<<< out Lib_DICOM: DICOM_Attribute_Find()\n"
                          ">>> in  Lib_DICOM: DICOM_Attribute_Copy_Tag(0008,0060)\n"
                          "<<< out Lib_DICOM: DICOM_Attribute_Copy_Tag()\n"
                          "-> DICOM_Attribute_Copy(5200,9229)\n"
                          "<<< out Lib_DICOM: DICOM_Attribute_Copy(pt->group == 0x5200)\n");
}

}  // namespace
