#include "support/case_page.h"
#include "support/definition_directory.h"
#include "support/message_log.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <sstream>

namespace {

using testing::MatchesRegex;

constexpr char Definition_Grammar_Page[] = "dicom/definitions/grammar.cases";

TEST(Definition_Grammar, LinesBecomeRecords)
{
    const Definition_Directory directory;
    const Message_Log log;
    For_Each_Case(Definition_Grammar_Page, "records", 2, [&](const Case_Row& row) {
        EXPECT_EQ(Module_Text(directory.Read(row[0])), row[1]);
    });
    EXPECT_EQ(log.Text(), "");
}

/** Systems part the names in a path by one or the other. */
std::string With_Slashes(std::string text)
{
    std::replace(text.begin(), text.end(), '\\', '/');
    return text;
}

TEST(Definition_Grammar, FaultsAreReportedOnceWithTheirPlace)
{
    const Definition_Directory directory;
    const std::string file = directory.Write("iods/T", "");
    const std::string folder = file.substr(0, file.size() - std::strlen("iods/T.txt"));
    std::set<std::string> places;
    For_Each_Case(Definition_Grammar_Page, "faults", 3, [&](const Case_Row& row) {
        const Message_Log log;
        // What is nested below a faulty line is left out with it, without a word.
        const DICOM_List* const list = directory.Read(
            "(0008,1140) 1 SQ\n>(0008,1150) 1 UI\n(0010,0020) 1 LO = \"1\"\n" + row[0] + "\n" +
            std::string(11, '>') + "(0008,0008) 1 CS\n(0010,0010) 1 PN");
        EXPECT_EQ(Tags(list), "0008,1140[0008,1150] 0010,0010 0010,0020") << log.Text();
        std::string message = row[2];
        if (message.starts_with("DIRECTORY/")) {
            message.replace(0, std::strlen("DIRECTORY/"), folder);
        }
        const std::string expected = Error_Lines(
            "NEMA_Read_IOD", "    \361\004ERROR:\002 " + file + ":4:" + row[1] + ": " + message);
        ASSERT_EQ(With_Slashes(log.Lines()), With_Slashes(expected));
        places.insert(log.All()[0].text);
    });
    EXPECT_GT(places.size(), 20U) << "each check reports from a line of its own";
}

TEST(Definition_Grammar, ValuesTakeTheFormOfTheirVR)
{
    Record_List list("0029,1010");
    list.head->byte_order = DICOM_Order_Big_Endian;
    For_Each_Case(Definition_Grammar_Page, "values", 3, [&](const Case_Row& row) {
        list.head->vr = row.VR(0);
        EXPECT_EQ(DICOM_Module_Read_Value(nullptr, list.head, row.Text(1)), 1);
        EXPECT_EQ(Value_Of(*list.head), row[2]);
        EXPECT_EQ(list.head->byte_order, DICOM_Order_Explicit_VR);
    });
    For_Each_Case(Definition_Grammar_Page, "refused", 2, [&](const Case_Row& row) {
        const Message_Log log;
        list.head->vr = row.VR(0);
        std::istringstream values(row[1]);
        for (std::string value; values >> value;) {
            EXPECT_EQ(DICOM_Module_Read_Value(nullptr, list.head, value.c_str()), 0) << value;
        }
    });
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
