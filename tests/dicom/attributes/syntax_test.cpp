// The syntax check: it says what the repair says, and leaves the values alone.
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

TEST(Syntax, SaysWhatTheRepairSaysAndChangesNothing)
{
    const struct {
        const char* record;
        std::string value;
        bool is_right = false;
    } rows[] = {
        {"0008,0060:CS", "ct\0"s},
        {"0008,0060:CS", "CTx"},
        {"0008,0020:DA", "1997.04.24"},
        {"0008,0020:DA", "1997042"},
        {"0008,0020:DA", "19100.01.1"},
        {"0008,0030:TM", "12.30.45"},
        {"0010,1010:AS", "5"},
        {"0018,9073:FD", "123456789abc"},
        {"0028,0010:US", "123"},
        {"0028,0010:US", "1234"},
        {"0028,0030:DS", "1"},
        {"0028,0030:DS", "1\\2\\3"},
        {"0008,0008:CS", "A"},
        {"0020,0013:IS", "99999999999"},
        {"0008,0070:LO", std::string(65, 'x')},
        {"0010,21B0:LT", std::string(10241, 'x')},
        {"0002,0016:AE", "A\nB "},
        {"0008,0018:UI", "1.2 "},
        {"0011,1010:LO", "A\\", true},
        {"0009,1010:ZZ", "A", true},
    };
    for (const bool current : {false, true}) {
        DICOM_Flag_Current_Standard = current ? 1 : 0;
        for (const auto& row : rows) {
            SCOPED_TRACE(row.record + " "s + row.value);
            const Outcome checked = Outcome_Of(row.record, row.value, true);
            const Outcome mended = Outcome_Of(row.record, row.value, false);
            EXPECT_EQ(checked.messages, As_Checked(mended.messages));
            EXPECT_EQ(checked.messages.empty(), row.is_right);
            EXPECT_EQ(checked.value, row.value);
            EXPECT_EQ(checked.flags, 0);
        }
    }
    DICOM_Flag_Current_Standard = 0;
}

TEST(Syntax, DiffersFromTheRepairWhereItMust)
{
    const struct {
        const char* record;
        std::string value;
        const char* checked;
        const char* mended;
    } rows[] = {
        {"0018,0050:DS", "1.5\\",
         "\002    (\0010018\002,\0010050\002) VR=\001DS\002 last char is (=\001\\\002)!\n",
         "\002    (\0010018\002,\0010050\002) VR=\001DS\002 Removed last char (=\001\\\002) from "
         "string!\n"},
        {"0020,0013:IS", "3.0",
         "    \361\005WARNING:\002 (\0010020\002,\0010013\002) VR=\001IS\002 Invalid data! "
         "Expecting "
         "VR=IS but got VR=DS\n",
         "    \361\005WARNING:\002 (\0010020\002,\0010013\002) VR=\001IS Invalid data! Converted "
         "from \"\0013.0\002\" to \"\0013\002\"\n"},
        {"0008,0070:LO", "odd", "", ""},
    };
    for (const auto& row : rows) {
        const Outcome checked = Outcome_Of(row.record, row.value, true);
        EXPECT_EQ(checked.messages, row.checked);
        EXPECT_EQ(checked.value, row.value);
        const Outcome mended = Outcome_Of(row.record, row.value, false);
        EXPECT_EQ(mended.messages, row.mended);
        EXPECT_NE(mended.value, row.value);
    }
}

TEST(Syntax, TracesWhyItLeaves)
{
    const struct {
        const char* record;
        const char* value;
        std::string swab, tag;
        int texts = 0, integers = 0;
    } rows[] = {
        {"0008,0060:CS", nullptr, "! tag->data", "! tag->data"},
        {"0008,0060:CS", "CT", "LITTLE_ENDIAN", "vn", 1},
        {"0020,0013:IS", "1 ", "LITTLE_ENDIAN", "vn", 1, 1},
        {"0008,0022:DA", "1997042", "LITTLE_ENDIAN", ""},
        {"0009,1010:ZZ", "A", "LITTLE_ENDIAN", "default"},
    };
    for (const auto& row : rows) {
        Record_List list(row.record);
        if (row.value != nullptr) {
            Set_Value(*list.head, row.value);
        }
        DICOM_Root root = {};
        const Message_Log log(9);
        DICOM_Attribute_Syntax(nullptr, &root, list.head);
        const std::string call = "Lib_DICOM: DICOM_Attribute_Syntax";
        const std::string number = std::string(row.record).substr(0, 9);
        EXPECT_EQ(log.Count(">>> in  " + call + "_Swab(" + number + ")"), 1);
        EXPECT_EQ(log.Count("<<< out " + call + "_Swab(" + row.swab + ")"), 1);
        EXPECT_EQ(log.Count(">>> in  " + call + "_Tag(" + number + ")"), 1);
        EXPECT_EQ(log.Count("<<< out " + call + "_Tag(" + row.tag + ")"), 1);
        EXPECT_EQ(log.Count("<<< out " + call + "()"), 1);
        const std::string step = "in DICOM_Tag_Syntax_";
        EXPECT_EQ(log.Count(step + "Text_Multiple(" + number + ")"), row.texts);
        EXPECT_EQ(log.Count(step + "Valid_Int(" + number + ")"), row.integers);
    }
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
