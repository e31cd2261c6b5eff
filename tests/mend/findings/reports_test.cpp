// Which values reports quote.
#include "mend/findings/faults.h"
#include "mend/findings/privacy.h"
#include "support/case_page.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>

namespace {

using namespace lib_mend;

TEST(Privacy, QuotesNumbersTagsRegisteredUIDsAndTermsOnly)
{
    For_Each_Case("mend/findings/reports.cases", "values", 4, [](const Case_Row& row) {
        const unsigned long tag = row.Tag(0);
        const unsigned short vr = row.VR(1);
        EXPECT_EQ(
            Is_Harmless({static_cast<unsigned short>(tag >> 16), static_cast<unsigned short>(tag)},
                        vr, row[2]),
            row[3] == "quoted");
    });
}

/** What is told of a data set goes back to the standard; what is told of a run, or of outputs, does not. */
TEST(Clauses, StandForEachKindThatIsAboutADataSet)
{
    const std::set<std::string> of_runs = {
        "removed", "definitions", "set",        "not-written",  "memory",
        "other",   "name-taken",  "old-output", "not-compared", "worker-died"};
    // Their findings name a section each: too many things are counted, referred to, or odd.
    const std::set<std::string> of_many = {"reference", "item-count", "unlikely"};
    std::set<std::string> without;
    std::set<std::string> without_section;
    for (const Finding_Kind& kind : All_Kinds()) {
        const std::string clause = kind.clause;
        if (clause.empty()) {
            without.insert(kind.name);
        } else if (clause == "PS3.3") {
            without_section.insert(kind.name);
        } else {
            EXPECT_TRUE(std::regex_match(
                clause, std::regex("PS3\\.(3|4|5|6|10|18) ([A-Z]|([A-Z]\\.)?[0-9]+(\\.[0-9]+)*)")))
                << kind.name << " " << clause;
        }
    }
    EXPECT_EQ(without, of_runs);
    EXPECT_EQ(without_section, of_many);
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
