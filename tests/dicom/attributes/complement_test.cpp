#include "support/case_page.h"
#include "support/message_log.h"
#include "support/record_builder.h"

#include <gmock/gmock.h>

namespace {

constexpr char Complement_Page[] = "dicom/attributes/complement.cases";

void Expect_Complement(const DICOM_List& record, const Case_Row& row)
{
    EXPECT_EQ(record.vr_default, row.VR(1));
    EXPECT_STREQ(record.description, row.Text(2));
}

TEST(Complement, NamesWhatHasAFixedMeaning)
{
    For_Each_Case(Complement_Page, "fixed", 3, [](const Case_Row& row) {
        DICOM_Root root = {};
        const Record_List list(row[0]);
        EXPECT_EQ(DICOM_Attribute_Complement(nullptr, &root, list.head), 0);
        Expect_Complement(*list.head, row);
    });
}

TEST(Complement, NamesPrivateElementsByTheCreatorOfTheirBlock)
{
    Record_List list;
    For_Each_Case(Complement_Page, "private", 3, [&](const Case_Row& row) { list.Add(row[0]); });
    DICOM_Root root = {};
    DICOM_Attribute_Complement(nullptr, &root, list.head);
    const DICOM_List* record = list.head;
    For_Each_Case(Complement_Page, "private", 3, [&](const Case_Row& row) {
        Expect_Complement(*record, row);
        record = record->next;
    });
    list.Add("0028,0010=EVEN");
    For_Each_Case(Complement_Page, "single", 3, [&](const Case_Row& row) {
        DICOM_List& single = list.Add(row[0]);
        DICOM_Attribute_Complement_Tag(nullptr, &single, 0, "before");
        EXPECT_EQ(DICOM_Attribute_Complement_Private(nullptr, &root, list.head, &single), 1);
        Expect_Complement(single, row);
    });
}

TEST(Complement, EntersItemsWithCreatorsOfTheirOwn)
{
    DICOM_Root root = {};
    Record_List flat("0008,1140:SQ* FFFE,E000*~I- 0029,0010=INNER 0029,1010 FFFE,E00D~Ia "
                     "FFFE,E0DD~Ia 0029,0010=OUTER 0029,1010");
    const Record_List list(DICOM_Attribute_Format(nullptr, flat.head));
    DICOM_Attribute_Complement(nullptr, &root, list.head);
    const DICOM_List* const inner = list.head->item[0]->next->next;
    EXPECT_STREQ(inner->description, "INNER");
    EXPECT_STREQ(list.head->next->next->next->description, "OUTER");
    EXPECT_EQ(root.Sequence_Depth, 0);
}

TEST(Complement, TagReplacesTheDescription)
{
    const Record_List list("0010,0010~PN");
    EXPECT_EQ(DICOM_Attribute_Complement_Tag(nullptr, list.head, 0, "%s %d", "frame", 3), 1);
    Expect_Complement(*list.head, Case_Row({"", "PN", "frame 3"}));
    const std::string endless(1000, 'x');
    DICOM_Attribute_Complement_Tag(nullptr, list.head, VR_LO, "%s", endless.c_str());
    Expect_Complement(*list.head, Case_Row({"", "LO", endless.substr(0, 255)}));
    DICOM_Attribute_Complement_Tag(nullptr, list.head, 0, "%s", "");
    Expect_Complement(*list.head, Case_Row({"", "LO", "null"}));
}

}  // namespace
