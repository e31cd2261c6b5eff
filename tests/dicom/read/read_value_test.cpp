// Typed values of records, with values that were left in a file or a memory image.
#include "support/byte_input.h"
#include "support/case_page.h"
#include "support/extracted_values.h"
#include "support/message_log.h"

#include <Lib_DICOM/read.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <regex>

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

/** A record with a value of its own. */
struct Record : DICOM_List {
    Record(unsigned short vr_, const std::string& bytes, unsigned char order = 0) : DICOM_List()
    {
        group = 0x0010;
        element = 0x0020;
        vr = vr_;
        byte_order = order;
        size = static_cast<int>(bytes.size());
        data = static_cast<unsigned char*>(std::malloc(bytes.size() + 1));
        std::memcpy(data, bytes.data(), bytes.size());
    }
    /** A value that was left in the source. */
    Record(unsigned short vr_, int size_, unsigned int position) : DICOM_List()
    {
        vr = vr_;
        size = size_;
        data_pos = position;
    }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;
    ~Record()
    {
        std::free(data);
    }
};

constexpr unsigned short Split_VRs[] = {VR_AE, VR_CS, VR_LO, VR_SH, VR_UI};
constexpr unsigned short Whole_VRs[] = {VR_AS, VR_LT, VR_OB, VR_ST, VR_UN, VR_UT};

constexpr char Read_Value_Page[] = "dicom/read/read_value.cases";

TEST(Read_Value, ConvertsByVR)
{
    For_Each_Case(Read_Value_Page, "values", 6, [](const Case_Row& row) {
        Record record(row.VR(1), Hex(row[2]), static_cast<unsigned char>(row.Number(3)));
        const Message_Log log(9);
        EXPECT_EQ(Extract(row[0], record), row[4]);
        EXPECT_EQ(log.All().front().text, ">>> in  NEMA_Value_" + row[0] + "()");
        EXPECT_EQ(log.Count("<<< out NEMA_Value_" + row[0] + "(" + row[5] + ")"), 1);
    });
    // The newer VRs, for which older readers have no name.
    For_Each_Case(Read_Value_Page, "current", 5, [](const Case_Row& row) {
        Record record(row.VR(1), Hex(row[2]), static_cast<unsigned char>(row.Number(3)));
        EXPECT_TRUE(row.VR(1) == VR_AT || Extract(row[0], record) == "null");
        DICOM_Flag_Current_Standard = 1;
        EXPECT_EQ(Extract(row[0], record), row[4]);
        DICOM_Flag_Current_Standard = 0;
    });
    for (const unsigned short vr : Split_VRs) {
        Record record(vr, "A\\\\B\\");
        EXPECT_EQ(Extract("Str", record), "A;;B;;") << vr;
    }
    for (const unsigned short vr : Whole_VRs) {
        Record record(vr, "A\\\\B ");
        EXPECT_EQ(Extract("Str", record), "A\\\\B ;") << vr;
    }
}

TEST(Read_Value, RefusesOtherVRs)
{
    For_Each_Case(Read_Value_Page, "refused", 3, [](const Case_Row& row) {
        Record record(VR_SQ, "A\\345678");
        const Message_Log log(9);
        EXPECT_EQ(Extract(row[0], record, row.VR(1)), "null");
        ASSERT_GE(log.All().size(), 4U);
        const Message* const last = &log.All().back();
        EXPECT_THAT(last[-2].text, StartsWith("File:NEMA_Read_Value, Line:"));
        EXPECT_EQ(last[-1].severity, 0x90002004U);
        EXPECT_EQ(last[-1].text, "(0010,0020): " + row[2]);
        EXPECT_THAT(last->text, EndsWith("(default)"));
        // Names are split before the VR is looked at.
        EXPECT_EQ(record.vm, row.VR(1) == VR_LO ? 2U : 0U);
    });
}

TEST(Read_Value, UsesTheVRThatIsGivenThenThatOfTheRecord)
{
    Record record(0, "3132");
    record.vr_default = VR_IS;
    EXPECT_EQ(Extract("Int", record), "3132;");
    record.vr = VR_US;
    EXPECT_EQ(Extract("Int", record), "12595;12851;");
    EXPECT_EQ(Extract("Int", record, VR_SL), "842215731;");
}

TEST(Read_Value, ReusesTheSlotOfTheFirstCallInThe129th)
{
    const auto integer = [](int number) {
        Record record(VR_IS, std::to_string(number));
        return NEMA_Value_Int(nullptr, &record, 0);
    };
    const int* const first = integer(0);
    for (int number = 1; number < 128; ++number) {
        EXPECT_NE(integer(number), first);
    }
    EXPECT_EQ(*first, 0);
    EXPECT_EQ(integer(128), first);
    EXPECT_EQ(*first, 128);
}

TEST(Read_Value, SharesStringsWithNames)
{
    Record text(VR_LO, "A\\B");
    Record name(VR_PN, "DOE^JOHN");
    char* const* const strings = NEMA_Value_Str(nullptr, &text, 0);
    for (int call = 0; call < 128; ++call) {
        ASSERT_NE(NEMA_Value_Name(nullptr, &name, 0), nullptr);
    }
    EXPECT_STREQ(strings[0], "DOE");
    EXPECT_STREQ(strings[1], "B");
}

TEST(Read_Value, ComesBackAfterCleanup)
{
    For_Each_Case(Read_Value_Page, "cleanup", 4, [](const Case_Row& row) {
        Record record(row.VR(1), row[2]);
        for (int call = 0; call < 260; ++call) {
            ASSERT_EQ(Extract(row[0], record), row[3]);
            if (call % 100 == 50) {
                DICOM_Lib_Cleanup();
            }
        }
    });
}

TEST(Read_Value, CarriesComponentsOnUpTo16Megabytes)
{
    constexpr std::size_t Megabyte = std::size_t{1} << 20;
    std::string bytes = "A^" + std::string(Megabyte, 'x');
    for (int name = 0; name < 16; ++name) {
        bytes += "\\B";
    }
    const std::string warning =
        "\361\005WARNING:\002 (0010,0020): name components taken over from earlier names exceed "
        "16777216 bytes, the rest is left out\n";
    for (const bool last_has_one : {false, true}) {
        Record record(VR_PN, bytes + (last_has_one ? "^y\\C\\D^^^^E\\F" : ""));
        const Message_Log log;
        const OrisWare_Name* const names = NEMA_Value_Name(nullptr, &record, 0);
        EXPECT_EQ(Show(names[15].given).size(), Megabyte);
        EXPECT_EQ(Show(names[16].given).size(), last_has_one ? 1U : Megabyte);
        EXPECT_EQ(log.Text(), "");
        NEMA_Value_Cleanup();
    }
    Record record(VR_PN, bytes + "\\C\\D^y\\E");
    const Message_Log log;
    const OrisWare_Name* const names = NEMA_Value_Name(nullptr, &record, 0);
    ASSERT_EQ(record.vm, 20U);
    EXPECT_EQ(Show(names[17]) + Show(names[18]) + Show(names[19]), "C^^^^D^y^^^E^^^^");
    EXPECT_EQ(log.Text(), warning);
    NEMA_Value_Cleanup();
}

/** A source of which the library is told by the settings. */
class Read_Value_Source : public testing::TestWithParam<int> {
protected:
    void SetUp() override
    {
        for (int i = 0; i < 3000; ++i) {
            bytes_ += static_cast<char>('a' + i % 26);
        }
        std::ofstream(File(), std::ios::binary) << bytes_;
        DICOM_Lib_File_Source = GetParam();
        if (GetParam() == NEMA_Source_File) {
            DICOM_Lib_File_Name = name_.get();
        } else {
            DICOM_Lib_File_Name = static_cast<wchar_t*>(static_cast<void*>(bytes_.data()));
        }
    }
    void TearDown() override
    {
        DICOM_Lib_File_Source = 0;
        DICOM_Lib_File_Name = nullptr;
        std::filesystem::remove(File());
    }
    std::filesystem::path File() const
    {
#ifdef _WIN32
        return name_.get();
#else
        return path_;
#endif
    }

    std::string bytes_;
    // The name has a letter beyond ASCII, whatever the locale is, and a byte that is no UTF-8, which names
    // have on POSIX alone.
#ifdef _WIN32
    static constexpr char Strange_Name[] = "value_\303\274_";
#else
    static constexpr char Strange_Name[] = "value_\303\274\374_";
#endif
    std::string path_ = testing::TempDir() + Strange_Name + std::to_string(getpid());
    /** As messages show it. */
    std::string shown_path_ = std::regex_replace(path_, std::regex("\374"), "\303\274");
    std::unique_ptr<wchar_t, void (*)(void*)> name_{Char_2_Wchar(path_.c_str()), &std::free};
};

INSTANTIATE_TEST_SUITE_P(Sources, Read_Value_Source,
                         testing::Values(NEMA_Source_File, NEMA_Source_Memory),
                         [](const auto& source) { return source.param == 1 ? "File" : "Memory"; });

TEST_P(Read_Value_Source, FetchesWhatWasLeftInTheSource)
{
    const std::pair<const char*, unsigned short> cases[] = {
        {"Str", VR_LT}, {"Int", VR_IS}, {"Float", VR_DS}, {"Hex", VR_OB}, {"Str", VR_SQ}};
    for (int call = 0; call < 15; ++call) {
        const auto& [extractor, vr] = cases[call % 5];
        Record record(vr, 1025, 7);
        record.nb_item = vr == VR_SQ ? 1 : 0;
        const Message_Log log(1);
        EXPECT_EQ(Extract(extractor, record) == "null", vr == VR_SQ);
        EXPECT_EQ(log.Text(), "Reading missing: 1025 bytes at 7\n");
        EXPECT_EQ(Extract("Str", record, VR_LT), bytes_.substr(7, 1025) + ";");
        EXPECT_EQ(log.All().size(), 1U);
        if (GetParam() == NEMA_Source_Memory) {
            EXPECT_EQ(File_Work_File_Pos[File_Work_File_Count], 1032);
        }
    }
}

TEST_P(Read_Value_Source, DoesNotFetchShortValuesAndNames)
{
    struct {
        const char* extractor;
        unsigned short vr;
        int size;
    } const cases[] = {
        {"Str", VR_LO, 1024},  {"Str", VR_LO, -1},    {"Name", VR_PN, 1025},
        {"Date", VR_DA, 1025}, {"Time", VR_TM, 1025},
    };
    for (const auto& entry : cases) {
        Record record(entry.vr, entry.size, 0);
        const Message_Log log(9);
        EXPECT_EQ(Extract(entry.extractor, record), "null");
        EXPECT_THAT(log.All().back().text, EndsWith("(! tag->data)"));
        EXPECT_EQ(record.data, nullptr);
    }
}

TEST_P(Read_Value_Source, FailsOnValuesOutsideTheSource)
{
    Record record(VR_OB, 0x7FFFFFF0, 0xF0000000);
    const Message_Log log(1);
    EXPECT_EQ(Extract("Hex", record), "null");
    EXPECT_EQ(record.data, nullptr);
    ASSERT_EQ(log.All().size(), 3U);
    EXPECT_EQ(log.All()[0].text, "Reading missing: 2147483632 bytes at -268435456");
    EXPECT_THAT(log.All()[1].text, StartsWith("file:NEMA_Read_Value line:"));
    EXPECT_EQ(log.All()[2].text,
              "End of File while reading: (0 /vs/ 2147483632) (" +
                  (GetParam() == NEMA_Source_File ? shown_path_ : std::string("memory image")) +
                  ")");
    if (GetParam() == NEMA_Source_Memory) {
        DICOM_Lib_Image_Size = 1999;
        Record beyond(VR_OB, 2000, 0);
        EXPECT_EQ(Extract("Hex", beyond), "null");
        EXPECT_EQ(beyond.data, nullptr);
        DICOM_Lib_Image_Size = 0;
        DICOM_Lib_File_Name = nullptr;
        Record lost(VR_OB, 2000, 0);
        EXPECT_EQ(Extract("Hex", lost), "null");
    }
}

class Read_Value_File : public Read_Value_Source {};
INSTANTIATE_TEST_SUITE_P(File, Read_Value_File, testing::Values(NEMA_Source_File));

TEST_P(Read_Value_File, KeepsWhatAShortReadGave)
{
    Record behind(VR_OB, 2000, 3000);
    Record record(VR_OB, 2000, 2000);
    for (const auto& [value, count] : {std::pair(&behind, "0"), std::pair(&record, "1000")}) {
        const Message_Log log;
        EXPECT_EQ(Extract("Hex", *value), "null");
        EXPECT_EQ(log.Lines(),
                  Error_Lines("NEMA_Read_Value", std::string("End of File while reading: (") +
                                                     count + " /vs/ 2000) (" + shown_path_ + ")"));
    }
    EXPECT_EQ(Extract("Hex", record), bytes_.substr(2000) + std::string(1000, '\0') + "1");
}

TEST_P(Read_Value_File, ReportsAFileThatCannotBeOpened)
{
    std::wstring missing = name_.get() + std::wstring(L"x");
    DICOM_Lib_File_Name = missing.data();
    Record record(VR_OB, 2000, 0);
    const Message_Log log(9);
    EXPECT_EQ(Extract("Hex", record), "null");
    ASSERT_EQ(log.All().size(), 7U);
    EXPECT_EQ(log.All()[3].severity, 2U);
    EXPECT_EQ(log.All()[3].text, "\361\004ERROR:\002 Unable to open file");
    EXPECT_EQ(log.All()[4].text, std::strerror(ENOENT));
    EXPECT_EQ(log.All()[5].text, "file: (" + shown_path_ + "x)");
    EXPECT_EQ(log.All()[6].text, "<<< out NEMA_Value_Hex(reading missing)");
}

}  // namespace
