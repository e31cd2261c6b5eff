// Which values reports quote.
#include "mend/findings/faults.h"
#include "mend/findings/privacy.h"

#include <gtest/gtest.h>

namespace {

using namespace lib_mend;

TEST(Privacy, QuotesNumbersTagsRegisteredUIDsAndTermsOnly)
{
    struct Row {
        Tag tag;
        unsigned short vr;
        std::string_view value;
        bool harmless;
    };
    constexpr Row Rows[] = {
        {{0x0028, 0x0010}, VR_US, "512", true},
        {{0x0028, 0x0030}, VR_DS, "0.5\\-1.25E+2 ", true},
        {{0x0028, 0x0030}, VR_DS, "+.5\\5.\\-5e-10", true},
        {{0x0028, 0x0030}, VR_DS, "DOE^JANE", false},
        {{0x0028, 0x0030}, VR_DS, "1960-01-02", false},
        {{0x0028, 0x0030}, VR_DS, "1\\01.02.1960", false},
        {{0x0028, 0x0030}, VR_DS, "1E", false},
        {{0x0028, 0x0030}, VR_DS, "E5", false},
        {{0x0028, 0x0030}, VR_DS, "-.", false},
        {{0x0018, 0x0050}, VR_DS, "", true},
        {{0x0008, 0x0060}, VR_CS, "MR", true},
        {{0x0008, 0x0060}, VR_CS, "mr", false},
        {{0x0008, 0x0060}, VR_CS, "SMITH", false},
        {{0x0008, 0x0008}, VR_CS, "ORIGINAL\\PRIMARY", true},
        {{0x0008, 0x0008}, VR_CS, "ORIGINAL\\MILLER", false},
        {{0x6002, 0x0040}, VR_CS, "G", true},
        {{0x0028, 0x0009}, VR_AT, "(0018,1063)", true},
        {{0x0028, 0x0009}, VR_AT, "0018,10AF", true},
        {{0x0028, 0x0009}, VR_AT, "Bea,Ada", false},
        {{0x0008, 0x0016}, VR_UI, "1.2.840.10008.5.1.4.1.1.4", true},
        {{0x0008, 0x0018}, VR_UI, "1.2.840.99999.1", false},
        {{0x0008, 0x0080}, VR_LO, "4711", false},
        {{0x0008, 0x0020}, VR_DA, "19970424", false},
        {{0x0010, 0x0040}, VR_CS, "M", false},
        {{0x0010, 0x1030}, VR_DS, "65", false},
        {{0x0009, 0x1001}, VR_DS, "65", false},
        {{0x0018, 0x0050}, 0, "3.5", true},
    };
    for (const Row& row : Rows) {
        EXPECT_EQ(Is_Harmless(row.tag, row.vr, row.value), row.harmless)
            << Tag_Text(row.tag) << " " << row.value;
    }
}

TEST(Privacy, ShowsBothValuesOfAFindingOrNone)
{
    Findings findings;
    const Path path;
    const Place place = {true, {0x0008, 0x0060}, VR_CS, &path, 4, 2};
    findings.Report(Fault::Form, Level::Change, place, "capitals", {"MR", "CT"});
    findings.Report(Fault::Form, Level::Change, place, "capitals", {"jane", "CT"});
    findings.Report(Fault::Form, Level::Kept, place, "kept", {"jane", ""});
    EXPECT_EQ(Shown_Text(findings.All()[0], false), "capitals: \"MR\" becomes \"CT\"");
    EXPECT_EQ(Shown_Text(findings.All()[1], false), "capitals");
    EXPECT_EQ(Shown_Text(findings.All()[1], true), "capitals: \"jane\" becomes \"CT\"");
    EXPECT_EQ(Shown_Text(findings.All()[2], true), "kept: \"jane\"");
    findings.Take_Message(3, "WARNING: (0010,0010) nobody understands \"jane\"");
    const Finding& quoting = findings.All()[3];
    EXPECT_STREQ(Text_Without_Values(quoting), "something is wrong");
    EXPECT_EQ(Shown_Text(quoting, false), "something is wrong (--show-values shows it)");
    EXPECT_EQ(Shown_Text(quoting, true), "nobody understands \"jane\"");
}

TEST(Privacy, SumsUpWhatExceedsAHundredOfAKind)
{
    for (const int more : {0, 1, 7}) {
        Findings findings;
        for (int i = 0; i < 100 + more; ++i) {
            findings.Report(Fault::Padding, Level::Change, {}, "padding");
        }
        findings.Report(Fault::Padding, Level::Kept, {}, "padding");
        findings.Sum_Up();
        findings.Sum_Up();
        const auto& all = findings.All();
        ASSERT_EQ(all.size(), more == 0 ? 101U : 102U);
        if (more != 0) {
            EXPECT_EQ(all.back().text, "and " + std::to_string(more) + " more like this");
            EXPECT_EQ(all.back().level, Level::Change);
        }
        EXPECT_EQ(findings.Count(), 101U + static_cast<unsigned int>(more));
    }
}

}  // namespace
