// The listing of attribute lists: values as text, lines, nesting.
#include "support/case_page.h"
#include "support/message_log.h"
#include "support/record_builder.h"

#include <Lib_DICOM/attributes.h>

#include <gmock/gmock.h>

namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;

constexpr int Severity = 7;

std::string Value_Shown(DICOM_List& record)
{
    Message_Log log;
    EXPECT_EQ(DICOM_Attribute_Stool_Data(nullptr, &record, Severity), 1);
    EXPECT_EQ(log.All().front().severity, static_cast<unsigned int>(Severity));
    return log.All().front().text;
}

std::string Whole_Value(DICOM_List& record)
{
    char* text = DICOM_Attribute_Get_Data(nullptr, &record);
    std::string copy = text != nullptr ? text : "(null)";
    DICOM_Lib_Free(&text);
    return copy;
}

constexpr char Listing_Page[] = "dicom/attributes/listing.cases";

TEST(Listing, ShowsValuesByTheirVR)
{
    For_Each_Case(Listing_Page, "values", 3, [](const Case_Row& row) {
        Record_List list("0009,1001:" + row[0].substr(0, 2));
        Set_Value(*list.head, row[1]);
        list.head->byte_order = row[0].ends_with("big") ? DICOM_Order_Big_Endian : 0;
        EXPECT_EQ(Value_Shown(*list.head), "\006" + row[2] + "\002");
        EXPECT_EQ(Whole_Value(*list.head), row[2]);
    });
}

TEST(Listing, CutsLongValues)
{
    Record_List texts("0009,1001:UT 0009,1002:UI 0009,1003:OB");
    const std::string letters = std::string(255, 'a') + "\xC3\xA4";
    Set_Value(*texts.head, letters);
    EXPECT_EQ(Value_Shown(*texts.head), "\006" + std::string(255, 'a') + "\002...");
    EXPECT_EQ(Whole_Value(*texts.head), letters);
    // What is left of the second UID is that of another transfer syntax, and is not named.
    DICOM_List& uids = *texts.head->next;
    Set_Value(uids, std::string(238, '1') + "\\1.2.840.10008.1.2.1.99");
    EXPECT_EQ(Value_Shown(uids), "\006" + std::string(238, '1') + "\\1.2.840.10008.1.2\002...");
    DICOM_List& bytes = *uids.next;
    Set_Value(bytes, std::string(65, '\0'));
    EXPECT_EQ(Value_Shown(bytes), "\006" + std::string(128, '0') + "\002...");
}

TEST(Listing, NamesOriginStatusAndColumns)
{
    For_Each_Case(Listing_Page, "lines", 2, [](const Case_Row& row) {
        const Record_List list(row[0]);
        const Message_Log log;
        EXPECT_EQ(DICOM_Attribute_Stool_Tag(nullptr, nullptr, list.head, Severity), 1);
        EXPECT_EQ(log.Text(), row[1] + "\n");
    });
}

TEST(Listing, IndentsItemsAndLeavesTheContextAsItWas)
{
    const Record_List flat("0040,0275:SQ* FFFE,E000* 0008,0050:SH=4711 FFFE,E00D FFFE,E000* "
                           "FFFE,E00D FFFE,E0DD 0040,1001:SH=A");
    const Record_List nested(DICOM_Attribute_Format(nullptr, flat.head));
    nested.head->description = strdup("\xC3\x84ndern\001 with a very long name");
    DICOM_Root root = {};
    Message_Log log;
    EXPECT_EQ(DICOM_Attribute_Stool(nullptr, &root, nested.head, Severity), 1);
    std::vector<std::string> lines;
    for (const Message& message : log.All()) {
        std::string line = message.text;
        std::erase_if(line, [](char c) { return static_cast<unsigned char>(c) < ' '; });
        lines.push_back(line);
    }
    EXPECT_THAT(
        lines,
        ElementsAre(
            "          (0040,0275) SQ       - \xC3\x84ndern\\x01 with a ver... 2 items",
            "            item 1", "            (0008,0050) SH       4 Accession Number       4711",
            "            item 2", "          (0040,1001) SH       1 Requested Procedure ID   A"));
    log.Clear();
    DICOM_Attribute_Stool(nullptr, &root, flat.head, Severity);
    EXPECT_EQ(log.All().size(), 8U);
    EXPECT_EQ(log.Count("Delimitation"), 3);
    EXPECT_EQ(root.Sequence_Depth, 0);
    EXPECT_EQ(root.Item_Number[0], 0);
}

TEST(Listing, RefusesWhatIsNotThere)
{
    Message_Log log;
    EXPECT_EQ(DICOM_Attribute_Stool(nullptr, nullptr, nullptr, Severity), 1);
    EXPECT_EQ(DICOM_Attribute_Stool_Tag(nullptr, nullptr, nullptr, Severity), 0);
    EXPECT_EQ(DICOM_Attribute_Stool_Data(nullptr, nullptr, Severity), 0);
    EXPECT_EQ(DICOM_Attribute_Get_Data(nullptr, nullptr), nullptr);
    EXPECT_THAT(log.All(), testing::IsEmpty());
    // No source is named that the value could be fetched from.
    Record_List list("0009,1001:OB#5000");
    EXPECT_EQ(Whole_Value(*list.head), "(null)");
}

TEST(Listing, KeepsTheMarkupOfBanners)
{
    const Record_List list("0008,0000:UL=abcd FFFE,E000:I-");
    DICOM_Root root = {};
    DICOM_Attribute_Complement(nullptr, &root, list.head);
    const Message_Log log;
    DICOM_Attribute_Stool(nullptr, &root, list.head, 3);
    EXPECT_EQ(log.Count("4 \361\002===== Group 0008 (Identifying) =======\360 \006"), 1);
    EXPECT_EQ(log.Count(" \001Item "), 1);
}

}  // namespace
