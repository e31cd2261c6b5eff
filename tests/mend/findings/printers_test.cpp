// How findings look: one line for people, one object for programs.
#include "mend/findings/json_text.h"
#include "mend/findings/report_html.h"
#include "mend/findings/report_json.h"
#include "mend/findings/report_sarif.h"
#include "mend/findings/report_text.h"
#include "support/case_page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace {

using namespace lib_mend;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

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
    For_Each_Case("mend/findings/printers.cases", "json", 3, [](const Case_Row& row) {
        EXPECT_EQ(JSON_Name(row[0]), '"' + row[1] + '"');
        EXPECT_EQ(JSON_Text(row[0]), '"' + row[2] + '"');
    });
}

std::string Whole(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST(Reports, RecogniseMessagesThatTheLibraryHas)
{
    const std::string library = Whole(LIB_DICOM_FILE);
    ASSERT_FALSE(library.empty());
    for (const Message_Pattern& pattern : Library_Messages()) {
        EXPECT_NE(library.find(pattern.fragment), library.npos) << pattern.fragment;
    }
}

TEST(Reports, AreALogOfSARIF)
{
    const Path inside = {{{0x0040, 0x0275}, 0}};
    const Finding finding = Made(inside, Fault::Odd_Length, {"o\"ld", "new"});
    Findings of_file;
    of_file.Report(Fault::Not_DICOM, Level::Error, {}, "is no DICOM file");
    Sarif_Log log(true);
    const std::string head = log.Head();
    EXPECT_THAT(head,
                StartsWith(R"({"$schema":"https://json.schemastore.org/sarif-2.1.0.json",)"
                           R"("version":"2.1.0","runs":[{"tool":{"driver":{"name":"dicom-mend")"));
    EXPECT_THAT(head, HasSubstr(R"({"id":"odd-length","shortDescription":{"text":"odd length"},)"
                                R"("fullDescription":{"text":"every length is even"},)"
                                R"~("help":{"text":"every length is even (PS3.5 7.1.1)"},)~"
                                R"("defaultConfiguration":{"level":"error"},)"
                                R"("properties":{"clause":"PS3.5 7.1.1"}})"));
    EXPECT_EQ(
        log.Result("c:/a b\xC3.dcm", finding),
        "\n"
        R"({"ruleId":"odd-length","ruleIndex":)" +
            std::to_string(static_cast<int>(Fault::Odd_Length)) +
            R"(,"level":"error","message":{"text":"is wrong: \"o\"ld\" becomes \"new\""},)"
            R"("locations":[{"physicalLocation":{"artifactLocation":{"uri":"./c%3A/a%20b%C3.dcm"},)"
            R"("region":{"byteOffset":498}},"logicalLocations":[{"name":"Code Value",)"
            R"("fullyQualifiedName":"0040,0275[0]/0008,0100","kind":"member"}]}],)"
            R"("partialFingerprints":{"primaryLocationLineHash":"178077b1ceadb4cf:1"},)"
            R"("properties":{"length":4,"before":"o\"ld","after":"new"}})");
    EXPECT_EQ(
        log.Result("/a.dcm", of_file.All().front()),
        ",\n"
        R"({"ruleId":"not-dicom","ruleIndex":)" +
            std::to_string(static_cast<int>(Fault::Not_DICOM)) +
            R"(,"level":"error","message":{"text":"is no DICOM file"},)"
            R"("locations":[{"physicalLocation":{"artifactLocation":{"uri":"file:///a.dcm"}}}],)"
            R"("partialFingerprints":{"primaryLocationLineHash":"157afb14ffb13e0d:1"}})");
    EXPECT_EQ(log.Tail(false), "\n],\"invocations\":[{\"executionSuccessful\":false}]}]}\n");
}

/** The browser's test shows that the style has the hash of the policy; here is what is said. */
TEST(Reports, AreAPageOfHTML)
{
    const Path inside = {{{0x0040, 0x0275}, 0}};
    const Finding finding = Made(inside, Fault::Odd_Length, {"<o>'&\"", "new"});
    const std::string header("\x08\0\0\x01", 4);
    Html_Page hidden(false);
    const std::string start =
        "<tr class=\"error\"><td>error<br><code>odd-length</code></td><td>Code Value<br>"
        "<code>0040,0275[0]/0008,0100</code></td><td>is wrong";
    const std::string place = "</td><td>at 0x1F2, 4 bytes<br><code>08 00 00 01</code>";
    const std::string end =
        "</td><td class=\"clause\">every length is even<br>PS3.5 7.1.1</td></tr>\n";
    const std::vector<Finding_In_Page> findings = {{&finding, header}};
    EXPECT_THAT(hidden.Findings_Of("a<b.dcm", findings), HasSubstr(start + place + end));
    Html_Page shown(true);
    EXPECT_THAT(shown.Findings_Of("a<b.dcm", findings),
                AllOf(HasSubstr("<h3 id=\"f0\">a&lt;b.dcm</h3>"),
                      HasSubstr(start +
                                ": &quot;&lt;o&gt;&#39;&amp;&quot;&quot; becomes "
                                "&quot;new&quot;" +
                                place + "<br><code>3C 6F 3E 27 26 22</code>" + end)));
    shown.Count("a<b.dcm", finding);
    shown.Count("a<b.dcm", finding);
    shown.Count("c.dcm", finding);
    shown.Belongs_To("a<b.dcm", "1.2.3");
    EXPECT_THAT(
        shown.Tail(true),
        AllOf(HasSubstr("<td>odd length</td><td class=\"n\">3</td><td class=\"n\">2</td>"),
              HasSubstr("<tr><td>study 1<br><code>1.2.3</code></td><td class=\"n\">1</td>"
                        "<td class=\"n\">2</td><td class=\"n\">0</td><td class=\"n\">0</td></tr>"),
              HasSubstr("<tr><td><a href=\"#f0\">a&lt;b.dcm</a></td><td>study 1</td>"),
              HasSubstr("<tr><td>c.dcm</td><td></td><td class=\"n\">1</td>")));
}

/** Only a header is shown without being asked for: what stands there instead may be a name. */
TEST(Reports, ShowTheBytesOfHeadersAlone)
{
    For_Each_Case("mend/findings/printers.cases", "headers", 2, [](const Case_Row& row) {
        Finding finding = Made({}, Fault::Odd_Length, {});
        finding.offset = 1;
        const auto source = Source::From_Image(
            {reinterpret_cast<const unsigned char*>(row[0].data()), row[0].size()}, "test");
        EXPECT_EQ(Header_Bytes(*source, finding), row[1]);
    });
}

}  // namespace
