// Value repair: every VR's rules, the byte swap, and that a mended value needs no mending.
#include "support/case_page.h"
#include "support/message_log.h"
#include "support/record_builder.h"

#include <Lib_DICOM/Lib_DICOM.h>
#include <gmock/gmock.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <utility>

using namespace std::string_literals;
using testing::HasSubstr;

namespace {

/** A list of one record with a value. */
struct Record : Record_List {
    Record(unsigned short vr, const std::string& value, unsigned short group = 0x0018)
        : Record_List(group == 0x0018 ? "0018,1030" : "0019,1030")
    {
        head->vr_default = vr;
        Set_Value(*head, value);
    }
    DICOM_List* operator->() const
    {
        return head;
    }
    int Cleanup() const
    {
        return DICOM_Attribute_Cleanup_Tag(nullptr, head);
    }
    int Swab() const
    {
        return DICOM_Attribute_Cleanup_Swab(nullptr, head);
    }
};

class Cleanup : public testing::Test {
protected:
    Cleanup()
    {
        Flag_Error_Warning = Warning;
        Flag_Error_Report = Note;
    }
    ~Cleanup() override
    {
        Flag_Error_Warning = Flag_Error_Report = 0;
        DICOM_Flag_Current_Standard = 0;
    }

    static constexpr int Warning = 11;
    static constexpr int Note = 12;
};

std::string Name(unsigned short vr)
{
    return {static_cast<char>(vr >> 8), static_cast<char>(vr & 0xFF)};
}

/** The messages one a line: "N" or "W" for their severity and prefix, which must agree, the text. */
std::string Said(const Message_Log& log, unsigned short vr, unsigned short group)
{
    const std::string tag = std::string("(\001") + (group == 0x0019 ? "0019" : "0018") +
                            "\002,\0011030\002) VR=\001" + Name(vr);
    const std::string note = "\002    " + tag + "\002";
    const std::string warning = "    \361\005WARNING:\002 " + tag;
    std::string said;
    for (const Message& message : log.All()) {
        const bool is_note = message.severity == 12 && message.text.starts_with(note);
        const bool is_warning = message.severity == 11 && message.text.starts_with(warning);
        said += is_note      ? "N" + message.text.substr(note.size())
                : is_warning ? "W" + message.text.substr(warning.size())
                             : message.text;
        said += "\n";
    }
    return said;
}

constexpr char Cleanup_Page[] = "dicom/attributes/cleanup.cases";

void Check(const Case_Row& row)
{
    // Group 0019 is private, and stands behind the VR.
    const unsigned short group = row[0].size() > 2 ? 0x0019 : 0x0018;
    Record record(row.VR(0), row[1], group);
    const Message_Log log;
    EXPECT_EQ(record.Cleanup(), row.Number(4));
    EXPECT_EQ(Value_Of(*record.head), row[2]);
    EXPECT_EQ(record->size, static_cast<int>(row[2].size()));
    EXPECT_EQ(record->data == nullptr, row[2].empty());
    EXPECT_EQ(record->flags, std::stoi(row[3], nullptr, 16));
    EXPECT_EQ(Said(log, row.VR(0), group), row[5] + (row[5].empty() ? "" : "\n"));
}

TEST_F(Cleanup, AppliesTheRulesOfEachVR)
{
    for (const char* const table : {"rules", "dates", "integers", "lengths", "sizes"}) {
        For_Each_Case(Cleanup_Page, table, 6, &Check);
    }
    DICOM_Flag_Current_Standard = 1;
    For_Each_Case(Cleanup_Page, "current", 6, &Check);
}

TEST_F(Cleanup, ChecksTheNumberOfValues)
{
    For_Each_Case(Cleanup_Page, "numbers", 5, [](const Case_Row& row) {
        TAG_db_Elems entry = {};
        entry.nb_vr = static_cast<signed char>(row.Number(0));
        entry.vm[0] = {static_cast<unsigned short>(row.Number(1)),
                       static_cast<unsigned short>(row.Number(2))};
        Record record(VR_IS, row[3]);
        record->dict = &entry;
        const Message_Log log;
        EXPECT_EQ(record.Cleanup(), row[4].empty() ? 1 : 0);
        EXPECT_EQ(Said(log, VR_IS, 0x0018), row[4].empty() ? "" : "W " + row[4] + "\n");
        EXPECT_EQ(record->flags & DICOM_Mark_Invalid, row[4].empty() ? 0 : 0x0800);
        EXPECT_EQ(Value_Of(*record.head).find(row[3]), 0U);
    });
    For_Each_Case(Cleanup_Page, "counts", 3, [](const Case_Row& row) {
        TAG_db_Elems entry = {};
        entry.nb_vr = 1;
        const auto count = static_cast<unsigned short>(row.Number(2));
        entry.vm[0] = {count, count};
        Record record(row.VR(0), row[1]);
        record->dict = &entry;
        EXPECT_EQ(record.Cleanup(), 1);
    });
}

TEST_F(Cleanup, MarksWhatItChangesWhateverTheStandardIs)
{
    const unsigned short vrs[] = {VR_AE, VR_AS, VR_AT, VR_CS, VR_DA, VR_DS, VR_DT, VR_FD, VR_FL,
                                  VR_IS, VR_LO, VR_LT, VR_OB, VR_OF, VR_OW, VR_PN, VR_SH, VR_SL,
                                  VR_SQ, VR_SS, VR_ST, VR_TM, VR_UI, VR_UL, VR_UN, VR_US, VR_UT};
    const std::string parts[] = {" ",   "\\",   "\0"s,  ".",          ":",     "1",
                                 "19",  "Y",    "x",    "\n",         "12:30", "98051",
                                 "-2.", "1e9.", "\xE4", "1998.05.17", "     ", "\033$B\\\\"};
    std::mt19937 random(1);
    for (int round = 0; round < 8000; ++round) {
        const unsigned short vr = vrs[random() % std::size(vrs)];
        const unsigned short group = random() % 2 == 0 ? 0x0018 : 0x0019;
        std::string value = "1";
        for (auto count = random() % 9; count > 0; --count) {
            value += parts[random() % std::size(parts)];
        }
        SCOPED_TRACE(Name(vr) + " " + testing::PrintToString(value));
        std::string outcomes[2];
        for (const std::size_t current : {0U, 1U}) {
            DICOM_Flag_Current_Standard = static_cast<char>(current);
            Record record(vr, value, group);
            Message_Log log;
            const int result = record.Cleanup();
            outcomes[current] = std::to_string(result) + Value_Of(*record.head) + log.Text();
            const bool is_deleted = record->data == nullptr && result == 0;
            const bool is_changed = Value_Of(*record.head) != value;
            ASSERT_TRUE(is_deleted || ((record->flags & DICOM_Mark_Changed) != 0) == is_changed);
            ASSERT_TRUE(!is_deleted || (record->flags & DICOM_Mark_Invalid) != 0);
        }
        ASSERT_EQ(outcomes[0], outcomes[1]);
    }
}

TEST_F(Cleanup, TracesItsSteps)
{
    const std::string multiple = "in DICOM_Tag_Cleanup_Text_Multiple(0018,1030)\n";
    const struct {
        unsigned short vr;
        std::string steps, reason;
    } rows[] = {
        {VR_CS, multiple, "1"},
        {VR_IS, "in DICOM_Tag_Cleanup_Valid_Int(0018,1030)\n" + multiple, "1"},
        {DICOM_VR('Z', 'Z'), "", "0"},
    };
    for (const auto& row : rows) {
        Record record(row.vr, "1 ");
        const Message_Log log(9);
        record.Cleanup();
        EXPECT_EQ(log.Text(), ">>> in  Lib_DICOM: DICOM_Attribute_Cleanup_Tag(0018,1030)\n" +
                                  row.steps + "<<< out Lib_DICOM: DICOM_Attribute_Cleanup_Tag(" +
                                  row.reason + ")\n");
    }
    const Message_Log log(9);
    DICOM_Root root = {};
    EXPECT_EQ(DICOM_Attribute_Cleanup(nullptr, &root, nullptr), 1);
    EXPECT_EQ(log.Text(), ">>> in  Lib_DICOM: DICOM_Attribute_Cleanup()\n"
                          "<<< out Lib_DICOM: DICOM_Attribute_Cleanup()\n");
}

TEST_F(Cleanup, TakesTimeInProportionToHostileValues)
{
    for (const char* unit : {"\\", "\\ ", ".", "1.\\"}) {
        std::string value = "12";
        for (int i = 0; i < 1000000; ++i) {
            value += unit;
        }
        for (const unsigned short vr : {VR_AE, VR_DA, VR_IS, VR_TM}) {
            Record record(vr, value);
            Message_Log log;
            record.Cleanup();
            EXPECT_LT(log.All().size(), 9U) << Name(vr) << unit;
        }
    }
}

TEST_F(Cleanup, SwapsBigEndianValues)
{
    For_Each_Case(Cleanup_Page, "swapped", 6, [](const Case_Row& row) {
        DICOM_Flag_Current_Standard = static_cast<char>(row.Number(1));
        Record record(row.VR(0), row[2]);
        const auto left = [](const std::string& reason) {
            return "<<< out Lib_DICOM: DICOM_Attribute_Cleanup_Swab(" + reason + ")";
        };
        const Message_Log log(9);
        EXPECT_EQ(record.Swab(), 1);
        EXPECT_EQ(log.All().back().text, left("LITTLE_ENDIAN"));
        EXPECT_EQ(Value_Of(*record.head), row[2]);
        record->byte_order = 9;
        EXPECT_EQ(record.Swab(), row.Number(4));
        EXPECT_EQ(log.All().back().text, left(row[5]));
        EXPECT_EQ(Value_Of(*record.head), row[3]);
        EXPECT_EQ(record->byte_order, 8);
        std::free(std::exchange(record->data, nullptr));
        record->byte_order = 9;
        EXPECT_EQ(record.Swab() + record.Cleanup(), 2);
        EXPECT_EQ(log.Count("(! tag->data)"), 2);
    });
}

TEST_F(Cleanup, TurnsTextIntoACodeString)
{
    const std::string rows[][2] = {{" Chest, p.a. ", "CHEST_ P_A_"},
                                   {"a_z\\c\xE4", "A_Z\\C_"},
                                   {"ABYZ089/:@[`{", "ABYZ089______"},
                                   {"abcdefghijklmnopqrs", "ABCDEFGHIJKLMNOP"},
                                   {"   ", ""}};
    for (const auto& [in, out] : rows) {
        std::string text = in;
        EXPECT_EQ(DICOM_Str_To_CS(text.data()), 1);
        EXPECT_STREQ(text.c_str(), out.c_str());
    }
    EXPECT_EQ(DICOM_Str_To_CS(nullptr), 1);
}

}  // namespace
