// Completing and verifying data sets by the shipped definitions, with a site's lines over them.
#include "mend/interface/heal.h"
#include "mend/interface/mend.h"
#include "mend/reading/reader.h"
#include "mend/verify/complete.h"
#include "mend/verify/verify.h"
#include "support/case_page.h"
#include "support/set_notation.h"
#include "support/stream_builder.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <utility>

namespace {

using namespace lib_mend;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr char Secondary_Capture[] = "1.2.840.10008.5.1.4.1.1.7";

/** A data set in memory with the library's messages and the definitions for one test. */
class Completing : public testing::Test {
protected:
    ~Completing() override
    {
        DICOM_Override = nullptr;
        DICOM_Module_Free();
    }

    Data_Set Read(const std::string& bytes)
    {
        bytes_ = Part10_Head(Explicit_Little_UID) + bytes;
        const std::span image(reinterpret_cast<const unsigned char*>(bytes_.data()), bytes_.size());
        return Read_Data_Set(Source::From_Image(image, "test"), findings_);
    }
    /** Completes a data set and returns what is missing all the same. */
    std::string Complete_By(Data_Set& set, std::string rules, const std::string& name = "SC")
    {
        DICOM_Override = rules.empty() ? nullptr : rules.data();
        DICOM_List* const module = Read_Module(name, false, findings_);
        Heal(set, {}, findings_);
        EXPECT_TRUE(module != nullptr && Complete(set, module, findings_)) << Texts(findings_);
        Findings missing;
        Verify(set, module, missing);
        DICOM_Override = nullptr;
        return Texts(missing);
    }
    static std::string Texts(const Findings& findings)
    {
        std::string texts;
        for (const Finding& finding : findings.All()) {
            texts += Tag_Text(finding.tag) + " " + finding.text;
            texts += finding.offset != Finding::Nowhere ? ", in the file\n" : "\n";
        }
        return texts;
    }
    static std::string Listing(DICOM_List* list)
    {
        std::string text;
        for (const DICOM_List& record : Records(list)) {
            if (Is_Delimiter(record)) {
                continue;
            }
            char* value = DICOM_Attribute_Get_Data(nullptr, const_cast<DICOM_List*>(&record));
            text += Tag_Text(Tag_Of(record)) + "=" + (Item_Of(record, 0) == nullptr ? value : "");
            DICOM_Lib_Free(&value);
            for (int i = 0; Item_Of(record, i) != nullptr; ++i) {
                text += "[" + Listing(Item_Of(record, i)) + "]";
            }
            text += " ";
        }
        return text;
    }

    Findings findings_;
    const Library_Session session_{findings_};
    std::string bytes_;
};

Stream_Builder Minimal_Image()
{
    Stream_Builder s;
    s.Element(0x0008, 0x0016, "UI", Padded_UID(Secondary_Capture));
    s.Element(0x0010, 0x0010, "PN", "DOE^JANE");
    s.US(0x0028, 0x0002, 1).Element(0x0028, 0x0004, "CS", "MONOCHROME2 ");
    s.US(0x0028, 0x0010, 2).US(0x0028, 0x0011, 2).US(0x0028, 0x0100, 8).US(0x0028, 0x0101, 8);
    s.US(0x0028, 0x0102, 7).US(0x0028, 0x0103, 0);
    return s.Element(0x7FE0, 0x0010, "OB", "abcd");
}

TEST_F(Completing, MakesAMinimalImageSound)
{
    Data_Set set = Read(Minimal_Image().Bytes());
    EXPECT_EQ(Module_Name_Of(set, findings_), "SC");
    EXPECT_EQ(Complete_By(set, "(0008,0060) - -- ! \"OT\"\n(0008,0064) - -- ! \"WSD\"\n"), "");
    Encoded_File file;
    ASSERT_TRUE(Mend(set, {}, findings_, file));
    const Bytes joined = file.Joined();
    Findings again;
    const Data_Set mended =
        Read_Data_Set(Source::From_Bytes(Bytes(joined.begin(), joined.end()), "again"), again);
    Verify(mended, Read_Module("SC", false, again), again);
    EXPECT_EQ(Texts(again), "");
    EXPECT_EQ(mended.Text({0x0008, 0x0060}), "OT");
    EXPECT_THAT(mended.Text({0x0020, 0x000D}), ::testing::StartsWith("2.25."));
    EXPECT_NE(mended.Text({0x0020, 0x000D}), mended.Text({0x0020, 0x000E}));
    EXPECT_EQ(mended.Text({0x0010, 0x0010}), "DOE^JANE");
}

/** The same attribute is of another type in records of another kind. */
TEST_F(Completing, LeavesWhatARecordOfADirectoryHasToHave)
{
    Stream_Builder s;
    s.Element(0x0004, 0x1130, "CS", "").Sequence(0x0004, 0x1220);
    s.Item().Element(0x0004, 0x1430, "CS", "STUDY ").Element(0x0008, 0x0020, "DA", "20200101");
    s.Element(0x0008, 0x0050, "SH", "").Item_End().Sequence_End();
    Data_Set set = Read(s.Bytes());
    Complete_By(set, {}, "DICOMDIR");
    const std::string listed = Listing(set.records.Head());
    EXPECT_THAT(listed, HasSubstr("0008,0020=2020-01-01 "));
    EXPECT_THAT(listed, HasSubstr("0008,0050= "));
    EXPECT_THAT(listed, HasSubstr("0008,1030= "));
    EXPECT_THAT(Texts(findings_), Not(HasSubstr("left out")));
}

TEST_F(Completing, MergesByTheMarksInEveryItem)
{
    Stream_Builder s;
    s.Element(0x0008, 0x0060, "CS", "CT").Element(0x0008, 0x0070, "LO", "");
    s.Element(0x0008, 0x0080, "LO", "HERE").Element(0x0008, 0x0090, "PN", "");
    s.Element(0x0008, 0x1030, "LO", "").Sequence(0x0008, 0x1140);
    s.Item().Element(0x0008, 0x1150, "UI", "1.2\0").Item_End();
    s.Item().Element(0x0008, 0x1155, "UI", "1.3\0").Item_End().Sequence_End();
    s.Element(0x0010, 0x4000, "LT", "NOTE").Element(0x0018, 0x1041, "DS", "5 ");
    s.Element(0x0020, 0x0010, "SH", "");
    s.US(0x6002, 0x0010, 4);
    Data_Set set = Read(s.Bytes());
    std::string rules;
    For_Each_Case("mend/verify/complete.cases", "rules", 1,
                  [&](const Case_Row& row) { rules += row[0] + "\n"; });
    EXPECT_EQ(Complete_By(set, rules, ""), "");
    EXPECT_EQ(Listing(set.records.Head()),
              "0008,0060=MR 0008,0070=MAKER 0008,0080=HERE 0008,0081=STREET "
              "0008,1140=[0008,1150=1.2 0008,1155=1.5 0008,1199=0 items ]"
              "[0008,1150=1.4 0008,1155=1.5 0008,1199=0 items ] "
              "0010,0010= 0018,0010= 0018,1041=5 0020,0010= 0040,0275=[0040,0007=FORCED ] "
              "6002,0010=4 6002,0022= ");
    const std::string changes = Texts(findings_);
    EXPECT_THAT(changes, HasSubstr("0008,0060 set\n"));
    EXPECT_THAT(changes, HasSubstr("0008,0090 left out: it is empty"));
    EXPECT_THAT(changes, HasSubstr("0010,4000 left out on request"));
    EXPECT_THAT(changes, HasSubstr("0010,0010 added without a value"));
    EXPECT_THAT(changes,
                HasSubstr("0018,0010 added without a value, required in the "
                          "Contrast/Bolus Module, to which Contrast/Bolus Volume belongs"));
}

TEST_F(Completing, AddsWhatConditionsAskFor)
{
    For_Each_Case("mend/verify/complete.cases", "completed", 5, [&](const Case_Row& row) {
        DICOM_Module_Free();
        findings_ = Findings();
        Data_Set set = Read(Set_Notation::Bytes(row[1]));
        const std::string missing = Complete_By(set, row[0], "");
        EXPECT_EQ(Listing(set.records.Head()), row[2] + " ");
        EXPECT_EQ(Texts(findings_), row[3].empty() ? "" : row[3] + "\n");
        EXPECT_EQ(missing, row[4].empty() ? "" : row[4] + "\n");
    });
}

TEST_F(Completing, VerifiesItemsAndRefusesFaultyRules)
{
    Stream_Builder s = Minimal_Image();
    Data_Set set = Read(s.Bytes().substr(0, s.Bytes().size() - 16));
    std::string rules = "(0008,1140) 1 SQ\n>(0008,1150) 1 UI\n(0008,9999 3 CS\n";
    DICOM_Override = rules.data();
    EXPECT_EQ(Read_Module("SC", false, findings_), nullptr);
    EXPECT_THAT(Texts(findings_), HasSubstr("3"));
    DICOM_List* const module = Read_Module("SC", true, findings_);
    ASSERT_NE(module, nullptr);
    Findings missing;
    Verify(set, module, missing);
    EXPECT_THAT(Texts(missing), HasSubstr("0008,1140 Missing required value for type 1 tag\n"));
    EXPECT_THAT(Texts(missing), HasSubstr("the SC Equipment Module is missing\n"));
    EXPECT_THAT(Texts(missing), Not(HasSubstr("0008,0064")));
    EXPECT_THAT(Texts(missing), HasSubstr("0010,0020 Missing required value for type 2 tag\n"));
    EXPECT_THAT(Texts(missing), Not(HasSubstr("0028,0010")));
    EXPECT_EQ(Read_Module("NO-SUCH", true, findings_), nullptr);
}

}  // namespace
