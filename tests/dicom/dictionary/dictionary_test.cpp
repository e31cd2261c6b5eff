#include "support/case_page.h"
#include "support/message_log.h"

#include <Lib_DICOM/dictionary.h>

#include <gmock/gmock.h>

#include <cstdlib>
#include <map>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TAG_db_Elems* Locate(const std::string& tag)
{
    const unsigned int number = Case_Row({tag}).Tag(0);
    return NEMA_db_Locate(static_cast<unsigned short>(number >> 16),
                          static_cast<unsigned short>(number));
}

/** "Name;VR min-max;VR min-max", or "-" for no entry; retired entries end in ";RET". */
std::string Describe(const std::string& tag)
{
    const TAG_db_Elems* const entry = Locate(tag);
    if (entry == nullptr) {
        return "-";
    }
    std::string text = entry->name;
    for (int i = 0; i < std::abs(entry->nb_vr); i++) {
        text += std::string(";") + static_cast<char>(entry->vr[i] >> 8) +
                static_cast<char>(entry->vr[i] & 0xFF) + " " + std::to_string(entry->vm[i].vm_min) +
                "-" + std::to_string(entry->vm[i].vm_max);
    }
    return text + (entry->nb_vr < 0 ? ";RET" : "");
}

class Dictionary_Test : public testing::Test {
protected:
    Dictionary_Test()
    {
        NEMA_db_Cleanup();
    }
    ~Dictionary_Test() override
    {
        DICOM_Flag_Current_Standard = 0;
        Flag_Error_Warning = 0;
    }
};

TEST_F(Dictionary_Test, HoldsEveryLineInAscendingOrder)
{
    Message_Log log;
    std::map<int, int> by_alternatives;
    int retired = 0;
    For_Each_Case("dicom/dictionary/dictionary.cases", "groups", 2, [&](const Case_Row& row) {
        const auto group = static_cast<unsigned short>(row.Number(0));
        const TAG_db_Elems* entry = nullptr;
        for (int element = 0; entry == nullptr && element <= 0xFFFF; element++) {
            entry = NEMA_db_Locate(group, static_cast<unsigned short>(element));
        }
        int count = 0;
        for (; entry != nullptr; entry = entry->next) {
            count++;
            by_alternatives[std::abs(entry->nb_vr)]++;
            retired += entry->nb_vr < 0;
            EXPECT_EQ(NEMA_db_Locate(group, entry->element), entry);
            EXPECT_TRUE(entry->next == nullptr || entry->next->element > entry->element);
        }
        EXPECT_EQ(count, row.Number(1));
    });
    // 22 retired lines and one placeholder have no VR that is understood.
    EXPECT_THAT(by_alternatives, ElementsAre(std::pair(0, 23), std::pair(1, 2744), std::pair(2, 26),
                                             std::pair(3, 2)));
    EXPECT_EQ(retired, 324 - 22);
    EXPECT_THAT(log.All(), IsEmpty());
}

TEST_F(Dictionary_Test, FindsEntries)
{
    For_Each_Case("dicom/dictionary/dictionary.cases", "entries", 2,
                  [](const Case_Row& row) { EXPECT_EQ(Describe(row[0]), row[1]); });
    EXPECT_EQ(NEMA_db_Locate(0x0028, 0x0800)->elem_mask, 0xFF0F);
    EXPECT_EQ(NEMA_db_Locate(0x0018, 0x1240)->vr[0], VR_RT);
    EXPECT_EQ(NEMA_db_Locate(0x0018, 0x1240)->vm[0].vm_min, 0xFFFF);
}

TEST_F(Dictionary_Test, NewerRowsAnswerOnlyUnderTheCurrentStandard)
{
    DICOM_Flag_Current_Standard = 1;
    EXPECT_EQ(Describe("0014,3050"), "Dark Current Counts;OB 1-1;OW 1-1");
    EXPECT_EQ(Describe("0040,A313"), "Referenced Accession Sequence (Trial);SQ 1-1;RET");
    EXPECT_EQ(Describe("7FE0,0001"), "Extended Offset Table;OV 1-1");
    EXPECT_EQ(Describe("0010,0010"), "Patient's Name;PN 1-1");
    EXPECT_EQ(Describe("0015,3050"), "-");
    Message_Log log;
    NEMA_db_Stool(nullptr, 0);
    EXPECT_EQ(log.All().size(), 2795 + 53);
    DICOM_Flag_Current_Standard = 0;
    EXPECT_EQ(Describe("7FE0,0001"), "-");
}

TEST_F(Dictionary_Test, ListsWhatIsLoadedAndReloads)
{
    Message_Log log(1);
    NEMA_db_Stool(nullptr, 7);
    EXPECT_EQ(log.Text(), "--- in NEMA_db_Stool(7) ---\n");

    EXPECT_EQ(Describe("0002,0010"), "Transfer Syntax UID;UI 1-1");
    NEMA_db_Stool(nullptr, 7);
    EXPECT_EQ(log.All().back().severity, 7U);
    for (const char* line :
         {"--- Group 50xx ---\n",
          " (0018,1240) \001Upper/Lower Pixel Values                 \002type:0\n",
          " (0028,08x0) \001Code Label                               \002type:-1 VR:CS VN:1-n\n",
          " (0004,1141) \001File-set Descriptor File ID              \002type:1 VR:CS VN:1-8\n",
          " (50xx,3000) \001Curve Data                               "
          "\002type:-2 (VR:OW VN:1) or (VR:OB VN:1)\n",
          " (0028,3006) \001LUT Data                                 "
          "\002type:3 (VR:US VN:1-n) or (VR:SS VN:1-n) or (VR:OW VN:1)\n"}) {
        EXPECT_THAT(log.Text(), testing::HasSubstr(line));
    }

    Flag_Trace = 4;
    log.Clear();
    NEMA_db_Cleanup();
    NEMA_db_Stool(nullptr, 7);
    EXPECT_EQ(log.Text(), "--- in NEMA_db_Cleanup() ---\n--- out NEMA_db_Cleanup() ---\n"
                          "--- in NEMA_db_Stool(7) ---\n");
    EXPECT_EQ(Describe("0002,0010"), "Transfer Syntax UID;UI 1-1");
}

TEST_F(Dictionary_Test, ChecksTheNumberOfValues)
{
    const std::string label = "    \361\005WARNING:\002 (\0010018\002,\00100ff\002) VR=\001PN\002";
    Flag_Error_Warning = 3;
    For_Each_Case("dicom/dictionary/dictionary.cases", "counts", 3, [&](const Case_Row& row) {
        DICOM_List record = {};
        record.group = 0x0018;
        record.element = 0x00FF;
        record.vr_default = VR_PN;
        record.dict = Locate(row[0]);
        const Message_Log log;
        EXPECT_EQ(NEMA_db_Check_VN(nullptr, &record, row.Number(1)), row[2].empty());
        EXPECT_EQ(log.Lines(), row[2].empty() ? "" : "3 " + label + " " + row[2] + "\n");
    });
}

TEST_F(Dictionary_Test, FindsEntriesByPartsOfNames)
{
    const auto tags = [](const char* part) {
        std::string text;
        const TAG_db_Elems* entry = nullptr;
        while ((entry = NEMA_db_Find(part, entry)) != nullptr) {
            char tag[16];
            std::snprintf(tag, sizeof tag, "%04X,%04X ", entry->group, entry->element);
            text += tag;
        }
        return text;
    };
    EXPECT_EQ(tags("patientNAME"), "0010,1001 ");
    EXPECT_EQ(tags("PatientsName"), "0010,0010 ");
    EXPECT_EQ(tags("Samples per Pixel"), "0028,0002 0028,0003 ");
    EXPECT_EQ(tags("PresentationAddress"), "");
    EXPECT_EQ(tags("'- "), "");
    EXPECT_EQ(NEMA_db_Find(nullptr, nullptr), nullptr);
    DICOM_Flag_Current_Standard = 1;
    EXPECT_EQ(tags("PresentationAddress"), "0002,0026 0002,0027 0002,0028 ");
}

TEST(UID_Test, NamesAndFindsUIDs)
{
    static constexpr std::pair<const char*, const char*> Names[] = {
        {"1.2.840.10008.1.1", "Verification SOP Class"},
        {"1.2.840.10008.1.2.2  ", "Explicit VR Big Endian"},
        {"1.2.840.10008.5.1.4.1.1.40", nullptr},
        {"1.2.840.10008.1", nullptr},
        {"1.2.840.10008.9", nullptr},
        {"", nullptr},
        {nullptr, nullptr}};
    for (const auto& [uid, name] : Names) {
        EXPECT_STREQ(DICOM_UID_Name(uid), name);
    }
    EXPECT_EQ(DICOM_UID_Get("1.2.840.10008.1.2.2")->retired, 1);
    EXPECT_STREQ(DICOM_UID_Get("1.2.840.10008.1.2.2")->kind, "Transfer Syntax");

    std::map<std::string, int> kinds;
    int count = 0;
    const DICOM_UID_Entry* entry = nullptr;
    while ((entry = DICOM_UID_Find("explicit-VR little", entry)) != nullptr) {
        EXPECT_EQ(DICOM_UID_Get(entry->uid), entry);
        kinds[entry->kind]++;
        count++;
    }
    EXPECT_THAT(kinds, ElementsAre(std::pair("Transfer Syntax", count)));
    EXPECT_EQ(count, 3);
}

}  // namespace
