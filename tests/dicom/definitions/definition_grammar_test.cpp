#include "support/definition_directory.h"
#include "support/message_log.h"

#include <gmock/gmock.h>

#include <cstring>
#include <set>

namespace {

using testing::MatchesRegex;

TEST(Definition_Grammar, LinesBecomeRecords)
{
    struct {
        std::string text;
        const char* expected;
    } const cases[] = {
        {"\xEF\xBB\xBF# Comment\r\n\r\n(0008,0060) 1 CS = \"CT\" # Modality\r\n",
         "0008,0060 1  CS = CT"},
        {"(0010,0010) 2C --\n(0008,0005) - CS + \"A\"\n(0008,0005) - -- x",
         "0008,0005 -  CS x; 0010,0010 2C PN"},
        {"(0008,1030) 3 LO ! \"say \"\"#1\"\"\"#end", "0008,1030 3  LO ! say \"#1\""},
        {"\t(0008,1140) 3 SQ\n> (0008,1155)\t1 UI\n>(0008,1150) 1 UI\n(0008,0005) 1C CS",
         "0008,0005 1C CS; 0008,1140 3  SQ [0008,1150 1  UI; 0008,1155 1  UI]"},
        // Later lines change earlier ones, and merge into the nested ones.
        {"(0008,1140) 3 SQ\n>(0008,1150) 1 UI\n(0008,1140) 2 --\n>(0008,1150) - -- = \"1.20\"\n"
         ">(0008,1155) 1 UI",
         "0008,1140 2  SQ [0008,1150 1  UI = 1.20; 0008,1155 1  UI]"},
        {"(0018,0050) 1 DS = \"1\"\n(0018,0050) - -- ! \"2.5\"", "0018,0050 1  DS ! 2.5 "},
        {"(0029,1010) 3 OB = \"414 2\"", "0029,1010 3  OB = AB"},
        {"(0018,9004) 3 UC = \"abc\"", "0018,9004 3  UC = abc "},
        {"(0008,0060) 1 CS = \"ABCDEFGHIJKLMNOP\" # " + std::string(65495, 'x'),
         "0008,0060 1  CS = ABCDEFGHIJKLMNOP"},
        {"(0018,0050) 1 DS + \"1 \\ 2\"", "0018,0050 1  DS + 1 \\ 2 "},
    };
    const Definition_Directory directory;
    const Message_Log log;
    for (const auto& test : cases) {
        EXPECT_EQ(Module_Text(directory.Read(test.text)), test.expected) << test.text;
    }
    EXPECT_EQ(log.Text(), "");
}

TEST(Definition_Grammar, FaultsAreReportedOnceWithTheirPlace)
{
    const Definition_Directory directory;
    const std::string file = directory.Write("iods/T", "");
    const std::string none =
        file.substr(0, file.size() - std::strlen("iods/T.txt")) + "modules/none.txt";
    struct {
        std::string line;
        int column;
        std::string message;
    } const cases[] = {
        {"exclude modules/a", 1, "expected a tag (gggg,eeee) or \"include\", found \"exclude\""},
        {"(0008,006", 1, "expected a tag (gggg,eeee), found \"(0008,006\""},
        {"(0008,00G0) 1 CS", 1,
         "expected the tag (gggg,eeee) of an attribute, found \"(0008,00G0)\""},
        {"(FFFE,E000) 1 SQ", 1,
         "expected the tag (gggg,eeee) of an attribute, found \"(FFFE,E000)\""},
        {"(0008,0060)", 12, "expected a type (1, 1C, 2, 2C, 3 or -), found the end of the line"},
        {"(0008,0060) 4 CS", 13, "expected a type (1, 1C, 2, 2C, 3 or -), found \"4\""},
        {"(0008,0060) 1 ZZ", 15, "expected a VR of two capital letters, found \"ZZ\""},
        {"(0009,1001) 1 --", 15, "expected a VR, the dictionary has none for (0009,1001)"},
        {"(0008,0060) 1 CS ? \"CT\"", 18, "expected a mark (!, =, + or x), found \"?\""},
        {"(0008,0060) 1 CS = CT", 20, "expected a value in quotes, found \"CT\""},
        {"(0008,0060) 1 CS = \"CT", 20, "the quote is not closed"},
        {"(0008,0060) 1 CS = \"CT\" M", 25, "expected the end of the line, found \"M\""},
        {"(0008,0060) 1 CS = \"ct\"", 20,
         "a value of VR CS is made of the characters \"ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_ \\\", "
         "not \"ct\""},
        {"(0008,0060) 1 CS = \"" + std::string(17, 'A') + "\"", 20,
         "a value of VR CS is at most 16 characters long, not \"AAAAAAAAAAAAAAAAA\""},
        {"(0028,0010) 1 US = \"65536\"", 20,
         "a value of VR US is a decimal number within its range, not \"65536\""},
        {"(0028,0010) 1 FD = \"inf\"", 20,
         "a value of VR FD is a decimal number within its range, not \"inf\""},
        {"(0028,0009) 1 AT = \"0018;1063\"", 20,
         "a value of VR AT is a tag gggg,eeee, not \"0018;1063\""},
        {"(7FE0,0010) 1 OB = \"4G\"", 20,
         "a value of VR OB is made of pairs of hexadecimal digits, not \"4G\""},
        {"(7FE0,0010) 1 OW = \"41\"", 20,
         "a value of VR OW is made of 4 hexadecimal digits each, not \"41\""},
        {"(0008,1140) 1 SQ = \"1\"", 20, "an attribute of VR SQ takes no value"},
        {"(0008,1140) 1 LO", 15, "the attribute has a value or nested lines of VR SQ already"},
        {"(0010,0020) 1 SH", 15, "the attribute has a value or nested lines of VR LO already"},
        {">(0008,1150) 1 UI", 1,
         "expected a sequence (SQ) one level up, but (0010,0020) has VR LO"},
        {">>(0008,1150) 1 UI", 1, "expected the attribute line of a sequence one level up before"},
        {std::string(10, '>') + "(0008,1150) 1 UI", 1, "expected at most 9 levels of nesting"},
        {"(0008,0060) 1 CS\001 \361\005", 17, "the byte 0x01 has no place in a text file"},
        {std::string("(0008,0060) 1 C\0", 16), 16, "the byte 0x00 has no place in a text file"},
        {"\177\377\376", 1, "the byte 0x7F has no place in a text file"},
        {"\360\237", 1, "expected a tag (gggg,eeee) or \"include\", found \"\\xF0\\x9F\""},
        {"(0008,0060) 1 CS = \"" + std::string(65516, 'A') + "\"", 1,
         "the line is longer than 65536 bytes"},
        {"(0008,0060) 1 CS # " + std::string(65518, 'A'), 1, "the line is longer than 65536 bytes"},
        {"include modules/none", 1, none + " is no file"},
        {"include modules/none X", 22, "expected a usage (M, C or U), found \"X\""},
        {"include ../T", 1, "\"../T\" is no name of a file below the definition directory"},
        {"include /etc/passwd", 1,
         "\"/etc/passwd\" is no name of a file below the definition directory"},
        {"include ./iods/T", 1, "\"./iods/T\" is no name of a file below the definition directory"},
        {"include iods/T", 1, "\"iods/T\" includes itself"},
    };
    std::set<std::string> places;
    for (const auto& test : cases) {
        const Message_Log log;
        // What is nested below a faulty line is left out with it, without a word.
        const DICOM_List* const list = directory.Read(
            "(0008,1140) 1 SQ\n>(0008,1150) 1 UI\n(0010,0020) 1 LO = \"1\"\n" + test.line + "\n" +
            std::string(11, '>') + "(0008,0008) 1 CS\n(0010,0010) 1 PN");
        EXPECT_EQ(Tags(list), "0008,1140[0008,1150] 0010,0010 0010,0020") << log.Text();
        const std::string place = file + ":4:" + std::to_string(test.column) + ": ";
        ASSERT_EQ(log.Lines(),
                  Error_Lines("NEMA_Read_IOD", "    \361\004ERROR:\002 " + place + test.message));
        places.insert(log.All()[0].text);
    }
    EXPECT_GT(places.size(), 20U) << "each check reports from a line of its own";
}

TEST(Definition_Grammar, ValuesTakeTheFormOfTheirVR)
{
    struct {
        unsigned short vr;
        const char* text;
        std::string bytes;
    } const cases[] = {
        {VR_UI, "1.2", std::string("1.2\0", 4)},
        {VR_LO, "a\\bc", "a\\bc"},
        {VR_LT, "\\b c", "\\b c"},
        {VR_US, "1\\ +65535 ", std::string("\1\0\377\377", 4)},
        {VR_SS, "-2", "\376\377"},
        {VR_UL, "4294967295", "\377\377\377\377"},
        {VR_SV, "-2", "\376\377\377\377\377\377\377\377"},
        {VR_FL, "-1.5", std::string("\0\0\300\277", 4)},
        {VR_FD, "1", std::string("\0\0\0\0\0\0\360\77", 8)},
        {VR_AT, "0018,1063\\0020,0013", std::string("\x18\0\x63\x10\x20\0\x13\0", 8)},
        {VR_OW, "01 ff\\0304", "\1\377\3\4"},
        {VR_UN, "01", std::string("\1\0", 2)},
        {VR_PN, "", ""},
    };
    Record_List list("0029,1010");
    list.head->byte_order = DICOM_Order_Big_Endian;
    for (const auto& test : cases) {
        list.head->vr = test.vr;
        EXPECT_EQ(DICOM_Module_Read_Value(nullptr, list.head, test.text), 1) << test.text;
        EXPECT_EQ(Value_Of(*list.head), test.bytes) << test.text;
        EXPECT_EQ(list.head->byte_order, DICOM_Order_Explicit_VR);
    }
    list.head->vr = VR_IS;
    Set_Value(*list.head, "12");
    const Message_Log log;
    EXPECT_EQ(DICOM_Module_Read_Value(nullptr, list.head, "x"), 0);
    EXPECT_EQ(Value_Of(*list.head), "12");
    EXPECT_EQ(log.Count("(0029,1010) a value of VR IS"), 1) << log.Text();
}

TEST(Definition_Grammar, SingleLinesGoOnWhereTheLastOneStood)
{
    const Definition_Directory directory;
    DICOM_Root root = {};
    Record_List list;
    const auto read = [&](const char* line) {
        return DICOM_Module_Read_Line(nullptr, &root, &list.head, line);
    };
    EXPECT_EQ(read("(0040,0275) 3 SQ") + read(">(0040,0008) 3 SQ") + read(">>(0008,0104) 1 LO") +
                  read(">(0040,0007) 3 LO") + read("(0008,0060) 1 CS"),
              5);
    const Message_Log log;
    EXPECT_EQ(read(">(0040,0009) 1 SH"), 0);
    EXPECT_EQ(log.Count("line:1:1: expected a sequence"), 1) << log.Text();
    EXPECT_EQ(Tags(list.head), "0008,0060 0040,0275[0040,0007 0040,0008[0008,0104]]");
    // A sequence that the caller has open takes the lines.
    DICOM_Attribute_Sequence_Start(nullptr, &root, 0x0040, 0x0275, 0, 0);
    DICOM_Attribute_Item_Start(nullptr, &root, 0);
    EXPECT_EQ(read("(0040,0009) 1 SH") + read("(0040,0008) - --") + read(">(0008,0100) 1 SH"), 3);
    EXPECT_EQ(Tags(list.head),
              "0008,0060 0040,0275[0040,0007 0040,0008[0008,0100 0008,0104] 0040,0009]");
}

}  // namespace
