// Value repair: every VR's rules, the byte swap, and that a mended value needs no mending.
#include "support/message_log.h"

#include <Lib_DICOM/Lib_DICOM.h>
#include <gmock/gmock.h>

#include <cstdlib>
#include <cstring>
#include <random>

using namespace std::string_literals;
using testing::HasSubstr;

namespace {

/** A record with a value of its own, in a block of exactly its size so that overruns show. */
class Record {
public:
    Record(unsigned short vr, const std::string& value, unsigned short group = 0x0018)
    {
        record_.group = group;
        record_.element = 0x1030;
        record_.vr_default = vr;
        record_.size = static_cast<int>(value.size());
        record_.data = static_cast<unsigned char*>(std::malloc(value.empty() ? 1 : value.size()));
        std::memcpy(record_.data, value.data(), value.size());
    }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;
    ~Record()
    {
        std::free(record_.data);
    }
    DICOM_List* operator->()
    {
        return &record_;
    }
    std::string Value() const
    {
        return {reinterpret_cast<const char*>(record_.data),
                record_.data == nullptr ? 0 : static_cast<std::size_t>(record_.size)};
    }
    int Cleanup()
    {
        return DICOM_Attribute_Cleanup_Tag(nullptr, &record_);
    }
    int Swab()
    {
        return DICOM_Attribute_Cleanup_Swab(nullptr, &record_);
    }

private:
    DICOM_List record_ = {};
};

class Cleanup : public testing::Test {
protected:
    ~Cleanup() override
    {
        DICOM_Flag_Current_Standard = 0;
    }
};

std::string Name(unsigned short vr)
{
    return {static_cast<char>(vr >> 8), static_cast<char>(vr & 0xFF)};
}

struct Case {
    unsigned short vr;
    std::string in;
    std::string out;
    int flags;
    int result;
    /** The end of the only message; empty when nothing is reported. */
    std::string message;
    unsigned short group = 0x0018;
};

void Check(const std::vector<Case>& cases)
{
    for (const Case& row : cases) {
        SCOPED_TRACE(Name(row.vr) + " " + testing::PrintToString(row.in));
        Record record(row.vr, row.in, row.group);
        Message_Log log;
        EXPECT_EQ(record.Cleanup(), row.result);
        EXPECT_EQ(record.Value(), row.out);
        EXPECT_EQ(record->size, static_cast<int>(row.out.size()));
        EXPECT_EQ(record->data == nullptr, row.out.empty());
        EXPECT_EQ(record->flags, row.flags);
        EXPECT_EQ(log.All().size(), row.message.empty() ? 0U : 1U) << log.Text();
        EXPECT_THAT(log.Text(), HasSubstr(row.message));
    }
}

const std::string A60(60, 'A');

TEST_F(Cleanup, Applies_The_Rules_Of_Each_VR)
{
    Check({
        {VR_AE, "A\tB\x7F", "A_B_", 0, 1, " 2 Invalid character in data"},
        {VR_AE, "AB\0\0"s, "AB", 0, 1,
         "padding char used in \"\001AB\002\" (NULL instead of SPACE)"},
        {VR_AS, "5Y", "005Y", 0, 1, ""},
        {VR_AS, "5", "5", 0x0800, 1, " Invalid data! Expecting 4 bytes but got 1 bytes"},
        {VR_AS, "0005Y", "0005Y", 0x0800, 1, " Invalid data! Expecting 4 bytes but got 5 bytes"},
        {VR_AT, "123456", "", 0x0800, 0, "Expecting multiple 2*\"Unigned Short\" but got 6 bytes"},
        {VR_CS, "abc", "", 0x0010, 1,
         " 3 char in \"\001abc\002\" not from set \"\001ABCDEFGHIJKLM"},
        {VR_CS, " A \\ B ", "A\\B ", 0, 1, ""},
        {VR_CS, "ABCDEFGHIJKLMNOPQR", "ABCDEFGHIJKLMNOP", 0x0010, 1,
         " String too long! (\00118\002/vs/\00116 max\002) Truncated to "
         "\"\001ABCDEFGHIJKLMNOP\002\"(\004QR\002)\n"},
        {VR_DA, "980517", "19980617", 0, 1,
         " Old syntax! \001980517\002 changed to \00119980617\n"},
        {VR_DA, "050101", "20050201", 0, 1, "changed to \00120050201"},
        {VR_DA, "1998.05.17", "19980517", 0, 1, "changed to \00119980517"},
        {VR_DA, "19980517", "19980517", 0, 1, ""},
        {VR_DA, "1998051", "", 0x0800, 0, "Expecting 6, 8 or 10 bytes but got 7 bytes"},
        {VR_DA, "98.517", "", 0x0800, 0, "Expecting 6, 8 or 10 bytes but got 6 bytes"},
        {VR_DA, "1998\\05.17", "", 0x0800, 0, "but got 10 bytes"},
        {VR_DA, "989917", "", 0x0800, 0, "but got 6 bytes"},
        {VR_DA, "19100.01.1", "", 0x0800, 0,
         " Y2K bug! \00119100.01.1\002 = \0012000011?\002 (Rejected since last digit of day is "
         "lost!)"},
        {VR_DS, "1.5\\", "1.5 ", 0x0010, 1, " Removed last char (=\001\\\002) from string!"},
        {VR_DS, "1.5\\", "1.5\\", 0, 1, "", 0x0019},
        {VR_DT, " 2020 \\2021\\\\", "2020\\2021\\", 0x0010, 1, "Removed last char"},
        {VR_FD, std::string(12, 'x'), "", 0x0800, 0, "\"Floation Point Double\" but got 12 bytes"},
        {VR_IS, "3.9 \\-3.9\\\\+2", "3\\-3\\\\2 ", 0, 1,
         " Invalid data! Converted from \"\0013.9 \\-3.9\\\\+2\002\" to \"\0013\\-3\\\\2\002\""},
        {VR_IS, "2147483648", "", 0x0800, 0,
         " Value out of range (\0012147483648\002 \\vs\\ -2**31 to 2**31 - 1)"},
        {VR_IS, "-2147483648\\\\7", "-2147483648\\\\7", 0, 1, ""},
        {VR_IS, "1e300.", "", 0x0800, 0, "Value out of range (\0011e300.\002"},
        {VR_IS, "N.N", "", 0x0800, 0, "Value out of range (\001N.N\002"},
        {VR_IS, "nan.", "", 0x0800, 0, "Value out of range"},
        {VR_LO, "    ", "", 0, 1, ""},
        {VR_LO, "  A\0"s, "A ", 0, 1, "(NULL instead of SPACE)"},
        {VR_LT, " A  ", " A", 0, 1, ""},
        {VR_ST, A60 + std::string(970, 'B'), A60 + std::string(964, 'B'), 0x0010, 1,
         "(\0011030\002/vs/\0011024 max\002) Truncated to \"\001AAAAAAAAAAAAAAAAAAAA \002...\001 "
         "BBBBBBBBBBBBBBBBBBBB\002\"(\004BBBBBB\002) \n"},
        {VR_OB, "odd", "odd", 0, 1, ""},
        {VR_OF, "123", "", 0x0800, 0, " Expecting \"Other Float\" but got 3 bytes"},
        {VR_OW, "123", "", 0x0800, 0, " Expecting \"Other Word\" but got 3 bytes"},
        {VR_PN, A60 + A60 + "^B", A60 + A60 + "^B", 0, 1, ""},
        {VR_SL, "12345", "", 0x0800, 0, " Expecting \"Signed Long\" but got 5 bytes"},
        {VR_TM, "12:30:45", "123045", 0, 1,
         " Old syntax! \00112:30:45\002 changed to \001123045\n"},
        {VR_TM, "12.30.45.5", "123045.5", 0, 1, "changed to \001123045.5"},
        {VR_TM, "12:", "12", 0, 1, "changed to \00112"},
        {VR_UI, "1.2.3 ", "1.2.3\0"s, 0, 1, "used in \"\0011.2.3 \002\" (SPACE instead of NULL)"},
        {VR_UL, "12345", "", 0x0800, 0, " Expecting \"Signed Long\" but got 5 bytes"},
        {VR_UN, "odd", "odd", 0, 1, ""},
        {VR_UC, "A", "A", 0, 0, ""},
        {DICOM_VR('Z', 'Z'), "A", "A", 0, 0, ""},
    });
}

TEST_F(Cleanup, Follows_The_Current_Standard_When_Asked)
{
    DICOM_Flag_Current_Standard = 1;
    Check({
        {VR_AS, "5", "5 ", 0x0810, 1, "Expecting 4 bytes but got 1 bytes"},
        {VR_DA, "980517\\19980517", "19980617\\19980517 ", 0x0010, 1, "\001980517\002 changed"},
        {VR_DA, "19980517\\1998", "", 0x0810, 0, "but got 4 bytes"},
        {VR_DA, "19980517 \0"s, "19980517", 0x0010, 1, " 2 char in \"\00119980517 \002\" not from"},
        {VR_LO, "A \0 \0"s, "A ", 0x0010, 1, "(NULL instead of SPACE)"},
        {VR_UI, "1.2 \0 "s, "1.2\0"s, 0x0010, 1, "(SPACE instead of NULL)"},
        {VR_SH, "A\\\\ \\", "A ", 0x0010, 1, "Removed last char"},
        {VR_SH, "  ABCDEFGHIJKLMNOP\\B", "ABCDEFGHIJKLMNOP\\B", 0x0010, 1, ""},
        {VR_OB, "odd", "odd\0"s, 0x0010, 1, ""},
        {VR_SV, "123", "", 0x0810, 0, "\"Signed Very Long\" but got 3 bytes"},
    });
}

TEST_F(Cleanup, Counts_Characters_Of_The_Current_Character_Sets)
{
    DICOM_Flag_Current_Standard = 1;
    std::string letters;
    for (int i = 0; i < 20; ++i) {
        letters += "\xE6\x97\xA5";
    }
    const std::string kanji = "\033$B\x46\x5C\x5C\x5C\033(B";
    const std::string korean(100, '\xB1');
    Check({
        // Sixteen letters of three bytes are what SH may hold.
        {VR_SH, letters, letters.substr(0, 48), 0x0010, 1, "String too long!"},
        {VR_LO, letters, letters, 0, 1, ""},
        {VR_LO, korean, korean, 0, 1, ""},
        // A byte of a two-byte letter is no backslash.
        {VR_LO, kanji + "\\ B", kanji + "\\B", 0x0010, 1, ""},
        {VR_PN, kanji, kanji, 0, 1, ""},
    });
}

TEST_F(Cleanup, Leaves_Nothing_To_Mend)
{
    DICOM_Flag_Current_Standard = 1;
    const unsigned short vrs[] = {VR_AE, VR_AS, VR_AT, VR_CS, VR_DA, VR_DS, VR_DT, VR_FD, VR_FL,
                                  VR_IS, VR_LO, VR_LT, VR_OB, VR_OD, VR_OF, VR_OL, VR_OV, VR_OW,
                                  VR_PN, VR_SH, VR_SL, VR_SQ, VR_SS, VR_ST, VR_SV, VR_TM, VR_UC,
                                  VR_UI, VR_UL, VR_UN, VR_UR, VR_US, VR_UT, VR_UV};
    const std::string parts[] = {" ",   "\\",   "\0"s,  ".",          ":",     "1",
                                 "19",  "Y",    "x",    "\n",         "12:30", "98051",
                                 "-2.", "1e9.", "\xE4", "1998.05.17", "     ", A60 + A60};
    std::mt19937 random(1);
    long mended = 0;
    for (int round = 0; round < 40000; ++round) {
        const unsigned short vr = vrs[random() % std::size(vrs)];
        std::string value = round % 50 == 0 ? std::string(1020 + random() % 9, 'L') : "";
        for (auto count = random() % 9; count > 0; --count) {
            value += parts[random() % std::size(parts)];
        }
        SCOPED_TRACE(Name(vr) + " " + testing::PrintToString(value));
        Record record(vr, value, random() % 2 == 0 ? 0x0018 : 0x0019);
        Message_Log log;
        record.Cleanup();
        ASSERT_EQ(record->size % 2, 0);
        ASSERT_TRUE(record.Value() == value || (record->flags & DICOM_Mark_Changed) != 0);
        if (record->data == nullptr) {
            continue;
        }
        // A value that is kept although it is invalid is reported again, in the same words.
        const bool invalid = (record->flags & DICOM_Mark_Invalid) != 0;
        const std::string first = record.Value();
        record->flags = 0;
        log.Clear();
        ASSERT_EQ(record.Cleanup(), 1);
        ASSERT_EQ(record.Value(), first);
        ASSERT_EQ(record->flags, invalid ? DICOM_Mark_Invalid : 0);
        ASSERT_EQ(log.All().size(), invalid ? 1U : 0U) << log.Text();
        mended += first != value ? 1 : 0;
    }
    EXPECT_GT(mended, 5000);
}

TEST_F(Cleanup, Checks_The_Number_Of_Values)
{
    Record record(VR_US, "\1\0\2\0"s, 0x0028);
    record->dict = NEMA_db_Locate(0x0028, 0x0010);
    ASSERT_NE(record->dict, nullptr);
    Message_Log log;
    EXPECT_EQ(record.Cleanup(), 0);
    EXPECT_EQ(record->size, 4);
    EXPECT_EQ(record->flags, DICOM_Mark_Invalid);
    EXPECT_EQ(log.Text(),
              "    \361\005WARNING:\002 (\0010028\002,\0011030\002) VR=\001US Invalid number "
              "of values in data!, Expecting VN=1 but got 2 values\n");
}

TEST_F(Cleanup, Traces_The_Reason_Of_Leaving)
{
    Record record(VR_CS, "A");
    Message_Log log(9);
    record.Cleanup();
    EXPECT_EQ(log.Text(), ">>> in  Lib_DICOM: DICOM_Attribute_Cleanup_Tag(0018,1030)\n"
                          "in DICOM_Tag_Cleanup_Text_Multiple(0018,1030)\n"
                          "<<< out Lib_DICOM: DICOM_Attribute_Cleanup_Tag(1)\n");
}

TEST_F(Cleanup, Takes_Time_In_Proportion_To_Hostile_Values)
{
    DICOM_Flag_Current_Standard = 1;
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

TEST_F(Cleanup, Swaps_Big_Endian_Values)
{
    const struct {
        unsigned short vr;
        bool current;
        std::string in, out;
        int result;
    } rows[] = {
        {VR_FD, false, "12345678abcdefgh", "87654321hgfedcba", 1},
        {VR_FD, false, "123456789abc", "123456789abc", 0},
        {VR_FL, false, "1234abcd", "4321dcba", 1},
        {VR_FL, false, "123456", "123456", 0},
        {VR_SL, false, "1234", "4321", 1},
        {VR_UL, false, "1234", "4321", 1},
        {VR_OF, false, "1234", "4321", 1},
        {VR_SS, false, "123", "213", 1},
        {VR_US, false, "1234", "2143", 1},
        {VR_OW, false, "1234", "2143", 1},
        {VR_AT, false, "1234", "1234", 1},
        {VR_AT, true, "1234", "2143", 1},
        {VR_OV, true, "12345678", "87654321", 1},
        {VR_LO, true, "1234", "1234", 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(Name(row.vr) + row.in);
        DICOM_Flag_Current_Standard = row.current ? 1 : 0;
        Record record(row.vr, row.in);
        EXPECT_EQ(record.Swab(), 1);
        EXPECT_EQ(record.Value(), row.in) << "little endian";
        record->byte_order = 9;
        EXPECT_EQ(record.Swab(), row.result);
        EXPECT_EQ(record.Value(), row.out);
        EXPECT_EQ(record->byte_order, 8);
    }
}

TEST_F(Cleanup, Turns_Text_Into_A_Code_String)
{
    const std::string rows[][2] = {{" Chest, p.a. ", "CHEST_ P_A_"},
                                   {"a_b\\c\xE4", "A_B\\C_"},
                                   {"abcdefghijklmnopqrs", "ABCDEFGHIJKLMNOP"},
                                   {"   ", ""}};
    for (const auto& [in, out] : rows) {
        std::string text = in;
        EXPECT_EQ(DICOM_Str_To_CS(text.data()), 1);
        EXPECT_STREQ(text.c_str(), out.c_str());
    }
}

}  // namespace
