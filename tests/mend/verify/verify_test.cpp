// Conditions and rules of definition files, evaluated in data sets.
#include "mend/consistency/consistency.h"
#include "mend/reading/reader.h"
#include "mend/verify/coded_entries.h"
#include "mend/verify/condition.h"
#include "mend/verify/content_items.h"
#include "mend/verify/explain.h"
#include "mend/verify/verify.h"
#include "support/case_page.h"
#include "support/definition_directory.h"
#include "support/mend_in_memory.h"
#include "support/set_notation.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <regex>
#include <sstream>

namespace {

using namespace lib_mend;

constexpr char Page[] = "mend/verify/verify.cases";

/** A data set in the notation of the cases, with the definitions of one IOD. */
class Case_Object {
public:
    Case_Object(const std::string& iod, const std::string& elements)
        : bytes_(Part10_Head(Explicit_Little_UID) + Set_Notation::Bytes(elements)),
          set(Read_Data_Set(Source_Of(bytes_), findings))
    {
        directory_.Write("modules/m", "name \"Picture\"\n(0028,0010) 1 US\n(0028,0011) 2 US\n");
        directory_.Write("modules/o", "name \"Overlay\"\n(6000,0010) 1 US\n(6000,0011) 1 US\n");
        directory_.Write("modules/n", "name \"Rows\"\n(0028,0010) 1 US\n");
        directory_.Write("modules/k", "name \"Spacing\"\n(0028,0010) 1 US\n(0028,0030) 1 DS\n");
        directory_.Write("modules/p", "name \"Plane\"\n(0028,0006) 3 US\n(0028,0301) 2 CS\n");
        directory_.Write("modules/r", "(0018,1600) 1 CS in \"ROUND\"\n"
                                      "(0018,1612) 1C IS if (0018,1600) present\n");
        directory_.Write("modules/b", "(0018,1600) 1 CS in \"BITS\"\n"
                                      "(0018,1623) 1C US if (0018,1600) present\n");
        directory_.Write("modules/u", "name \"Bare\"\n(0028,0006) 1C US\n");
        directory_.Write("modules/v", "(0028,0006) 1C US if (0028,0002) > 1 in \"0\"\n");
        directory_.Write("modules/w", "(0028,0006) - US in \"0\"\n");
        directory_.Write("modules/x", "(0008,1140) 3 SQ items 1\n>(0028,0006) 3 US in \"0\"\n"
                                      "(0028,0006) 3 US in \"0\"\n");
        directory_.Write("modules/y", "(0008,1140) 3 SQ items 0..1 items 0..2\n"
                                      ">(0028,0006) 3 US in \"0\"\n"
                                      "(0028,0006) 3 US in \"0\" like \"0\"\n");
        directory_.Write("macros/g", "name \"Measures\"\n(0028,9110) 1 SQ\n>(0028,0030) 1 DS\n");
        directory_.Write("codes/index", "42 cid-0042 \"A\"\n42 cid-0042-99sdm \"A\"\n");
        directory_.Write("codes/cid-0042", "# A\nDCM 1 one\nDCM 2 two\n");
        directory_.Write("codes/cid-0042-99sdm", "99SDM T-1 one\n");
        module = iod.empty() ? nullptr : directory_.Read(iod);
    }
    static std::string Lines(const Findings& all)
    {
        Mended_File file;
        file.findings = all.All();
        return file.Lines();
    }

private:
    Definition_Directory directory_;
    std::string bytes_;

public:
    Findings findings;
    const Library_Session session{findings};
    Data_Set set;
    DICOM_List* module = nullptr;
};

TEST(Verifying, ConditionsHaveThreeValuesAndTellWhy)
{
    constexpr const char* Truths[] = {"false", "unknown", "true"};
    For_Each_Case(Page, "conditions", 5, [&](const Case_Row& row) {
        // The item in hand is the first one of (0040,0275), of the second frame where there is one.
        const bool repeats = row[0].find("60xx") != std::string::npos;
        Case_Object object(
            (repeats ? "(6002,0010) 1C US if " : "(0040,0275) 3 SQ\n>(0010,0020) 1C LO if ") +
                row[0] + "\n",
            row[1]);
        ASSERT_NE(object.module, nullptr) << Case_Object::Lines(object.findings);
        const DICOM_List* const node = repeats ? object.module : Item_Of(*object.module, 0);
        const DICOM_Rule* rule = nullptr;
        ASSERT_EQ(DICOM_Module_Rules(node, &rule), 1);
        Object view(object.set);
        for (const Tag tag : {Frame_Groups_Tag, Shared_Groups_Tag, Tag{0x0040, 0x0275}}) {
            const DICOM_List* const sequence = view.Find(tag);
            if (sequence != nullptr && row.Number(4) != 1) {
                view.Enter(*sequence, tag == Frame_Groups_Tag ? 1 : 0);
            }
        }
        Conditions conditions(view);
        const Verdict verdict = conditions.Evaluate(rule->required, node->group);
        EXPECT_EQ(std::string(Truths[static_cast<int>(verdict.truth)]) +
                      (verdict.lacks_operand ? "?" : ""),
                  row[2]);
        EXPECT_EQ(conditions.Reason(rule->required, node->group), row[3]);
    });
}

TEST(Verifying, ReportsWhatTheRulesOfAnIODSay)
{
    For_Each_Case(Page, "rules", 3, [&](const Case_Row& row) {
        Case_Object object(row[0], row[1]);
        EXPECT_EQ(Case_Object::Lines(object.findings), "");
        Findings said;
        Verify(object.set, object.module, said);
        EXPECT_EQ(Without_Section(said.All()), "");
        EXPECT_EQ(Case_Object::Lines(said), row[2].empty() ? "" : row[2] + "\n");
    });
}

TEST(Verifying, ReportsContentItemsAndCodesThatDoNotFit)
{
    For_Each_Case(Page, "content", 2, [&](const Case_Row& row) {
        Case_Object object("", row[0]);
        EXPECT_EQ(Case_Object::Lines(object.findings), "");
        Findings said;
        Check_Content_Items(object.set, said);
        Check_Coded_Entries(object.set, said);
        EXPECT_EQ(Without_Section(said.All()), "");
        EXPECT_EQ(Case_Object::Lines(said), row[1].empty() ? "" : row[1] + "\n");
    });
}

TEST(Verifying, ExplainsAnAttribute)
{
    For_Each_Case(Page, "explained", 4, [&](const Case_Row& row) {
        Case_Object object(row[0], row[1]);
        const auto number = row[3].empty() ? 0x00280006U : row.Tag(3);
        Findings found;
        found.Keep_Path_Sums();
        Check_Consistency(object.set, found);
        Verify(object.set, object.module, found);
        std::string text = Explain(object.set, object.module,
                                   {static_cast<unsigned short>(number >> 16U),
                                    static_cast<unsigned short>(number & 0xFFFFU)},
                                   found);
        // The rule's file is in a directory of this test's own.
        text = std::regex_replace(text, std::regex(R"([(](/|[A-Z]:)[^)]*[/\\])"), "(./");
        EXPECT_EQ(text, row[2].empty() ? "" : row[2] + "\n");
    });
}

TEST(Verifying, ExplainsFragmentsToo)
{
    Stream_Builder pixels;
    pixels.Header(0x7FE0, 0x0010, "OB", DICOM_Undefined_Length).Item(0).Item(2).Raw("ab");
    Findings found;
    const Library_Session session(found);
    const Data_Set set = Read_Data_Set(
        Source_Of(Part10_Head("1.2.840.10008.1.2.4.50") + pixels.Sequence_End().Bytes()), found);
    const auto explained = [&](int item, Tag tag) {
        Findings reported;
        const Path way = {{Pixel_Data_Tag, item}};
        reported.Report(Fault::Fragments, Level::Kept, {true, Item_Tag, 0, &way}, "is odd");
        return Explain(set, nullptr, tag, reported, way);
    };
    constexpr char Reported[] = "what else is reported of it, or names it\n"
                                "  7fe0,0010[1]/fffe,e000 Item, error: is odd";
    EXPECT_THAT(explained(1, Item_Tag), testing::StartsWith(Reported));
    EXPECT_EQ(explained(2, Item_Tag), "there is no such item\n");
    EXPECT_EQ(explained(1, Pixel_Data_Tag), "there is no such item\n");
}

TEST(Verifying, ExplainsEachPlaceOfWhichSomethingIsReported)
{
    For_Each_Case(Page, "places", 3, [](const Case_Row& row) {
        std::string items;
        for (int i = 0; i < row.Number(0) + row.Number(1); ++i) {
            items += i < row.Number(0) ? "[0028,0006 US 1]" : "[]";
        }
        Case_Object object("(0008,1140) 3 SQ\n>(0028,0006) 1 US\n", "0008,1140 SQ " + items);
        Findings found;
        Verify(object.set, object.module, found);
        std::istringstream text(Explain(object.set, object.module, {0x0028, 0x0006}, found));
        int plain = 0;
        int reported = 0;
        std::string last;
        for (std::string line; std::getline(text, line);) {
            plain += line == "  nothing is reported here" ? 1 : 0;
            reported +=
                line == "  reported as error: Missing required value for type 1 tag" ? 1 : 0;
            last = line[0] == ' ' || line.starts_with("0008,1140[") ? "" : line;
        }
        EXPECT_EQ(plain, std::min(row.Number(0), 20));
        EXPECT_EQ(reported, std::min(row.Number(1), 1000));
        EXPECT_EQ(last, row[2]);
    });
}

}  // namespace
