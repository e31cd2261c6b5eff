// How findings look: one line for people, one object for programs.
#include "tools/dicom_mend/json.h"
#include "tools/dicom_mend/report.h"

#include <gtest/gtest.h>

namespace {

using namespace dicom_mend;
using namespace lib_mend;

Finding Made(const Path& path, Fault fault, const Values& values)
{
    Findings findings;
    DICOM_List record = {};
    record.group = 0x0008;
    record.element = 0x0100;
    record.vr = VR_SH;
    record.pos = 0x1F2;
    record.size = 4;
    findings.Report(fault, Level::Change, At(record, path), "is wrong", values);
    return findings.All().front();
}

TEST(Reports, NameTheWayToAnElement)
{
    const Path inside = {{{0x0040, 0x0275}, 0}, {{0x0040, 0xA730}, 12}};
    EXPECT_EQ(Finding_Line("a\x1B.dcm", Made({}, Fault::Odd_Length, {}), false),
              "a\\x1B.dcm: error: (0008,0100) Code Value at 0x1F2: is wrong (every length is even, "
              "PS3.5 7.1.1)");
    EXPECT_EQ(Finding_Line("a.dcm", Made(inside, Fault::Odd_Length, {}), false),
              "a.dcm: error: (0008,0100) Code Value in 0040,0275[0]/0040,a730[12] at 0x1F2: is "
              "wrong (every length is even, PS3.5 7.1.1)");
    Findings findings;
    findings.Report(Fault::Not_DICOM, Level::Error, {}, "is no DICOM file");
    EXPECT_EQ(Finding_Line("a.dcm", findings.All().front(), false),
              "a.dcm: error: is no DICOM file (PS3.10 7.1)");
}

TEST(Reports, HoldValuesApartInJSON)
{
    const Path inside = {{{0x0040, 0x0275}, 0}};
    const std::string start =
        R"({"file":"a.dcm","offset":498,"tag":"0008,0100","name":"Code Value",)"
        R"("path":"0040,0275[0]/0008,0100","length":4,"severity":"error","kind":"odd-length",)"
        R"("text":"is wrong)";
    const std::string end = R"("rule":"every length is even","clause":"PS3.5 7.1.1"})";
    const Finding finding = Made(inside, Fault::Odd_Length, {"o\"ld\xE9", "n\\ew\xC3\xA9"});
    EXPECT_EQ(Finding_JSON("a.dcm", finding, false), start + "\"," + end);
    EXPECT_EQ(Finding_JSON("a.dcm", finding, true),
              start + R"(: \"o\"ld\\xE9\" becomes \"n\\ew)" + "\xC3\xA9" + R"(\"",)" +
                  R"("before":"o\"ld\\xE9","after":"n\\ew)" + "\xC3\xA9" + R"(",)" + end);
}

TEST(Reports, KeepLettersThatAreNotSeenOutOfJSON)
{
    struct Case {
        const char* name;
        const char* as_name;
        const char* as_text;
    };
    const Case cases[] = {
        {"plain \xC3\xA9 \xE5\xB1\xB1", "plain \xC3\xA9 \xE5\xB1\xB1",
         "plain \xC3\xA9 \xE5\xB1\xB1"},
        {"\x1B[2J\n", "\\u001b[2J\\u000a", "\\u001b[2J\\u000a"},
        {"\xC2\x9B", "\\u009b", "\\u009b"},
        {"\xE2\x80\xAE", "\\u202e", "\\u202e"},
        {"\xF3\xA0\x80\x81", "\\udb40\\udc01", "\\udb40\\udc01"},
        {"a\xFF", "a\xEF\xBF\xBD", "a\\\\xFF"},
        {"\xED\xA0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD", "\\\\xED\\\\xA0\\\\x80"},
        {"\xC0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD", "\\\\xC0\\\\x80"},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(JSON_Name(each.name), std::string("\"") + each.as_name + "\"");
        EXPECT_EQ(JSON_Text(each.name), std::string("\"") + each.as_text + "\"");
    }
}

}  // namespace
