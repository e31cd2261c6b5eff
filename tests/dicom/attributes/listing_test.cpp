// The listing of attribute lists: values as text, lines, nesting.
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

TEST(Listing, ShowsValuesByTheirVR)
{
    struct Case {
        std::string vr;
        std::string bytes;
        std::string shown;
        unsigned char order = 0;
    };
    const Case cases[] = {
        {"LO", " A\\B \0"s, "A\\B"},
        {"LO", "J\xF6rg\r\n\x7F\x01", "J\xF6rg\\x0D\\x0A\\x7F\\x01"},
        {"LO", "\033$B;3\033(B\033[2J\033(0\033", "\033$B;3\033(B\\x1B[2J\\x1B(0\\x1B"},
        {"DA", "19970424\\1997.4", "1997-04-24\\1997.4"},
        {"TM", "1430", "14:30:00"},
        {"PN", "Doe^Jane^^Dr\\X^Y", "Dr Jane Doe\\Y X"},
        {"PN", "A^B=\033$B;3^\033(B", "A^B=\033$B;3^\033(B"},
        {"UI", "1.2.840.10008.1.2.1\0"s, "1.2.840.10008.1.2.1 (Explicit VR Little Endian)"},
        {"US", "\x01\x02\xFF\xFF", "513\\65535"},
        {"US", "\x01\x02", "258", DICOM_Order_Big_Endian},
        {"SS", "\xFF\xFF\x01", "-1 (rest 01)"},
        {"UL", "\xFF\xFF\xFF", "(rest ffffff)"},
        {"FD", "\0\0\0\0\0\0\xF8\x3F\x01\x02\x03\x04"s, "1.5 (rest 01020304)"},
        {"FL", "\xCD\xCC\xCC\x3D", "0.1"},
        {"SV", "\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFF", "-2"},
        {"UV", "\0\0\0\x01\0\0\0\0"s, "4294967296", DICOM_Order_Big_Endian},
        {"AT", "\x10\0\x20\0"s, "(0010,0020)"},
        {"OB", "AB", "4142"},
        {"OX", "AB", "4142"},
        {"UN", "Some text ", "Some text"},
        {"UN", "d\0"s, "6400"},
        {"UN", "\x01\x02", "0102"},
    };
    for (const Case& each : cases) {
        Record_List list("0009,1001:" + each.vr);
        Set_Value(*list.head, each.bytes);
        list.head->byte_order = each.order;
        EXPECT_EQ(Value_Shown(*list.head), "\006" + each.shown + "\002") << each.vr;
        EXPECT_EQ(Whole_Value(*list.head), each.shown) << each.vr;
    }
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
    struct Case {
        const char* record;
        const char* line;
    };
    const Case cases[] = {
        {"0008,0060:CS=MR!0001", "\001(DICOM)\002   (\0010008\002,\0010060\002) CS       2 "
                                 "Modality                 \006MR\002"},
        {"0028,0004:CS=X!9832", "\004(Append)\002 +(\0040028\002,\0040004\002) CS       1 "
                                "Photometric Interpret... \006X\002"},
        {"0009,0010=AC!3844", "\004(Forced)\002 !(\0010009\002,\0010010\002) --       2 Private "
                              "Creator          \006AC\002"},
        {"0009,0001~UN!2802",
         "\004(Default)\002=(\0010009\002,\0010001\002) UN       0 Private Element"},
        {"0008,0000:UL#4!0d44", "\005(Invalid)\002 (\0010008\002,\0010000\002) \005UL\002       4 "
                                "Group Length             \006(data from file at offset=8)\002"},
        {"0008,0003:SQ*!0160", "\005(Deleted)\002 (\0010008\002,\0010003\002) SQ       - "
                               "Unknown Element          \0060 items\002"},
        {"0009,0000!0060", "\001(Private)\002 (\0010009\002,\0010000\002) --       0 Group Length"},
        {"0008,0001!00a1",
         "\001(Retired)\002o(\0010008\002,\0010001\002) --       0 Length to End"},
        {"0008,0060!0002", "\004(Oris)\002    (\0010008\002,\0010060\002) --       0 Modality"},
        {"0008,0060!0004", "\005(Module)\002  (\0010008\002,\0010060\002) --       0 Modality"},
        {"0008,0060", "          (\0010008\002,\0010060\002) --       0 Modality"},
    };
    for (const Case& each : cases) {
        Record_List list(each.record);
        Message_Log log;
        EXPECT_EQ(DICOM_Attribute_Stool_Tag(nullptr, nullptr, list.head, Severity), 1);
        EXPECT_EQ(log.Text(), std::string(each.line) + "\n");
    }
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
