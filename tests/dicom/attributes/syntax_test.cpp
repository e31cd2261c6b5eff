// The syntax check: it says what the repair says, and leaves the values alone.
#include "support/case_page.h"
#include "support/message_log.h"
#include "support/record_builder.h"

#include <Lib_DICOM/Lib_DICOM.h>
#include <gmock/gmock.h>

#include <string>

using namespace std::string_literals;

namespace {

/** What the check says where the repair says this: its warnings have one more byte of markup. */
std::string As_Checked(std::string text)
{
    const std::string label = "WARNING:\002 (\0010000\002,\0010000\002) VR=\001XX";
    for (std::size_t at = text.find("WARNING:"); at != text.npos; at = text.find("WARNING:", at)) {
        at += label.size();
        text.insert(at, 1, '\002');
    }
    return text;
}

struct Outcome {
    std::string messages, value;
    unsigned short flags;
};

Outcome Outcome_Of(const std::string& notation, const std::string& value, bool check)
{
    Record_List list(notation);
    list.head->dict = NEMA_db_Locate(list.head->group, list.head->element);
    Set_Value(*list.head, value);
    DICOM_Root root = {};
    const Message_Log log;
    EXPECT_EQ((check ? DICOM_Attribute_Syntax : DICOM_Attribute_Cleanup)(nullptr, &root, list.head),
              1);
    return {log.Text(), Value_Of(*list.head), list.head->flags};
}

constexpr char Syntax_Page[] = "dicom/attributes/syntax.cases";

TEST(Syntax, SaysWhatTheRepairSaysAndChangesNothing)
{
    for (const char current : {'\0', '\1'}) {
        DICOM_Flag_Current_Standard = current;
        For_Each_Case(Syntax_Page, "as the repair", 3, [](const Case_Row& row) {
            const Outcome checked = Outcome_Of(row[0], row[1], true);
            const Outcome mended = Outcome_Of(row[0], row[1], false);
            EXPECT_EQ(checked.messages, As_Checked(mended.messages));
            EXPECT_EQ(checked.messages.empty(), row[2] == "right");
            EXPECT_EQ(checked.value, row[1]);
            EXPECT_EQ(checked.flags, 0);
        });
    }
    DICOM_Flag_Current_Standard = 0;
}

TEST(Syntax, DiffersFromTheRepairWhereItMust)
{
    For_Each_Case(Syntax_Page, "unlike the repair", 4, [](const Case_Row& row) {
        const Outcome checked = Outcome_Of(row[0], row[1], true);
        EXPECT_EQ(checked.messages, row[2]);
        EXPECT_EQ(checked.value, row[1]);
        const Outcome mended = Outcome_Of(row[0], row[1], false);
        EXPECT_EQ(mended.messages, row[3]);
        EXPECT_NE(mended.value, row[1]);
    });
}

TEST(Syntax, TracesWhyItLeaves)
{
    For_Each_Case(Syntax_Page, "traces", 6, [](const Case_Row& row) {
        Record_List list(row[0]);
        if (row.Text(1) != nullptr) {
            Set_Value(*list.head, row[1]);
        }
        DICOM_Root root = {};
        const Message_Log log(9);
        DICOM_Attribute_Syntax(nullptr, &root, list.head);
        const std::string call = "Lib_DICOM: DICOM_Attribute_Syntax";
        const std::string number = row[0].substr(0, 9);
        EXPECT_EQ(log.Count(">>> in  " + call + "_Swab(" + number + ")"), 1);
        EXPECT_EQ(log.Count("<<< out " + call + "_Swab(" + row[2] + ")"), 1);
        EXPECT_EQ(log.Count(">>> in  " + call + "_Tag(" + number + ")"), 1);
        EXPECT_EQ(log.Count("<<< out " + call + "_Tag(" + row[3] + ")"), 1);
        EXPECT_EQ(log.Count("<<< out " + call + "()"), 1);
        const std::string step = "in DICOM_Tag_Syntax_";
        EXPECT_EQ(log.Count(step + "Text_Multiple(" + number + ")"), row.Number(4));
        EXPECT_EQ(log.Count(step + "Valid_Int(" + number + ")"), row.Number(5));
    });
}

TEST(Syntax, SwapsBigEndianValuesInItemsUpToTheFirstEmptySlot)
{
    Record_List list("0040,0275:SQ");
    list.head->nb_item = 3;
    list.head->item = static_cast<DICOM_List**>(std::calloc(3, sizeof(DICOM_List*)));
    Record_List first("0028,0106:SS=ab");
    Record_List hidden("0028,0106:SS=abc");
    first.head->byte_order = DICOM_Order_Explicit_VR | DICOM_Order_Big_Endian;
    list.head->item[0] = std::exchange(first.head, nullptr);
    list.head->item[2] = hidden.head;
    DICOM_Root root = {};
    const Message_Log log(9);
    DICOM_Attribute_Syntax(nullptr, &root, list.head);
    EXPECT_EQ(Value_Of(*list.head->item[0]), "ba");
    EXPECT_EQ(list.head->item[0]->byte_order, DICOM_Order_Explicit_VR);
    EXPECT_EQ(log.Count("Invalid data"), 0);
    EXPECT_EQ(log.Count("<<< out Lib_DICOM: DICOM_Attribute_Syntax_Tag(vn)"), 1);
    EXPECT_EQ(log.Count("-> root->Item_Number["), 1);
    EXPECT_EQ(root.Sequence_Depth, 0);
    list.head->item[2] = nullptr;
}

}  // namespace
