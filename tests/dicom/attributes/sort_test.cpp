// Sorting lists, with the merge of records that carry the same tag.
#include "support/message_log.h"
#include "support/record_builder.h"

#include <gmock/gmock.h>

namespace {

TEST(Sort, MergesTheStatusOfEqualTags)
{
    const Message_Log log;
    DICOM_Root root = {};
    Record_List list("0020,0013 0010,0010=A!b80 0010,0010~PN!1000 0028,0010~US=A 0028,0010 "
                     "0008,0005~CS!1000 0008,0005!1000");
    DICOM_List* const plain = list.head->next;
    DICOM_List* const forced = plain->next;
    plain->type = DICOM_VR('1', ' ');
    forced->type = DICOM_VR('2', ' ');
    list.head->last = forced;
    Add_Items(*list.head, {"0008,0005 0008,0001"});
    EXPECT_EQ(DICOM_Attribute_Sort(nullptr, &root, &list.head), 1);
    EXPECT_EQ(Tags(list.head), "0008,0005 0008,0005 0010,0010 0010,0010 "
                               "0020,0013[0008,0001 0008,0005] 0028,0010 0028,0010");
    EXPECT_EQ(list.head->next->vr_default, 0) << "both are forced";
    EXPECT_EQ(plain->next->next->next->vr_default, VR_US);
    EXPECT_EQ(forced->next, plain);
    EXPECT_EQ(forced->type, DICOM_VR('1', ' '));
    EXPECT_EQ(forced->flags, 0x1B00);
    EXPECT_EQ(plain->vr_default, VR_PN);
    EXPECT_EQ(list.head->last, nullptr);
    ASSERT_GE(log.All().size(), 1U);
    EXPECT_EQ(log.All()[0].text, "    \xF1\x05WARNING:\x02 (\x01"
                                 "0008\x02,\x01"
                                 "0005\x02) "
                                 "Tag is defined as OVERRIDE twice!");

    Record_List empty;
    EXPECT_EQ(DICOM_Attribute_Sort(nullptr, &root, &empty.head), 0);
}

TEST(Sort, KeepsThePrecedenceInALongReversedList)
{
    // More comparisons than are made one by one.
    constexpr unsigned short Tags_Used = 650;
    Record_List list;
    for (unsigned short i = Tags_Used; i-- > 0;) {
        // In the order of precedence from the back; equals keep the order they came in.
        for (const char* marks : {"!2001", "!1", "=A!2001", "=A!1", "!1000"}) {
            char tag[16];
            std::snprintf(tag, sizeof tag, "0010,%04X", i);
            list.Add(tag + std::string(marks));
        }
    }
    DICOM_Root root = {};
    EXPECT_EQ(DICOM_Attribute_Sort(nullptr, &root, &list.head), 1);
    const DICOM_List* record = list.head;
    for (unsigned short i = 0; i < Tags_Used; ++i) {
        for (const int flags : {0x1000, 0x0001, 0x2001, 0x0001, 0x2001}) {
            ASSERT_NE(record, nullptr);
            ASSERT_EQ(record->element, i);
            ASSERT_EQ(record->flags, flags);
            record = record->next;
        }
    }
    EXPECT_EQ(record, nullptr);
}

/** The passes of a sort, over tags alone: how often equal ones meet until no pass makes a swap. */
long Meetings(std::vector<int> tags)
{
    long meetings = 0;
    for (bool swapped = true; swapped;) {
        swapped = false;
        for (std::size_t i = 0; i + 1 < tags.size(); ++i) {
            meetings += tags[i] == tags[i + 1] ? 1 : 0;
            if (tags[i] > tags[i + 1]) {
                std::swap(tags[i], tags[i + 1]);
                swapped = true;
            }
        }
    }
    return meetings;
}

TEST(Sort, WarnsOfForcedRecordsInEachPassThatComparesThem)
{
    Record_List list;
    std::vector<int> tags;
    for (int i = 120; i > 0; --i) {
        tags.push_back(std::min(i, 119));
        char word[32];
        std::snprintf(word, sizeof word, "0010,%04X!1000", static_cast<unsigned int>(tags.back()));
        list.Add(word);
    }
    DICOM_Root root = {};
    const Message_Log log;
    EXPECT_EQ(DICOM_Attribute_Sort(nullptr, &root, &list.head), 1);
    EXPECT_EQ(log.Count("Tag is defined as OVERRIDE twice!"), Meetings(tags));
    EXPECT_GT(Meetings(tags), 100);
}

}  // namespace
