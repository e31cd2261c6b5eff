// Value repair: every VR's rules, the byte swap, and that a mended value needs no mending.
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

struct Case {
    unsigned short vr;
    std::string in;
    std::string out;
    int flags;
    int result;
    /** All that is said, without the last line's end. */
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
        EXPECT_EQ(Value_Of(*record.head), row.out);
        EXPECT_EQ(record->size, static_cast<int>(row.out.size()));
        EXPECT_EQ(record->data == nullptr, row.out.empty());
        EXPECT_EQ(record->flags, row.flags);
        EXPECT_EQ(Said(log, row.vr, row.group), row.message + (row.message.empty() ? "" : "\n"));
    }
}

std::string Foreign(int count, const std::string& value, const std::string& set)
{
    return "N " + std::to_string(count) + " char in \"\001" + value + "\002\" not from set \"\001" +
           set + "\002\"";
}

std::string Old(const std::string& value, const std::string& made)
{
    return "N Old syntax! \001" + value + "\002 changed to \001" + made;
}

std::string Padded(const std::string& value, const std::string& fault)
{
    return "N invalid padding char used in \"\001" + value + "\002\" (" + fault + ")";
}

std::string Size(const std::string& expected, std::size_t size)
{
    return "W Invalid data! Expecting " + expected + " but got " + std::to_string(size) + " bytes";
}

std::string Range(const std::string& value)
{
    return "W Value out of range (\001" + value + "\002 \\vs\\ -2**31 to 2**31 - 1)";
}

std::string Converted(const std::string& value, const std::string& made)
{
    return "W Invalid data! Converted from \"\001" + value + "\002\" to \"\001" + made + "\002\"";
}

const std::string Last_Backslash = "N Removed last char (=\001\\\002) from string!";
const std::string Blank_For_NUL = "SPACE instead of NULL";
const std::string NUL_For_Blank = "NULL instead of SPACE";
const std::string Date_Size = "6, 8 or 10 bytes";
const std::string Date_Set = "0123456789.\\";
const std::string Age_Set = "0123456789DWMY";

TEST_F(Cleanup, AppliesTheRulesOfEachVR)
{
    Check({
        {VR_AE, "A\x1F ~\x7F\x80", "A_ ~__", 0x0010, 1, "N 3 Invalid character in data"},
        {VR_AE, "AB\0\0"s, "AB__", 0x0010, 1, "N 2 Invalid character in data"},
        {VR_AE, " AB\\ C ", "AB\\C", 0x0010, 1, ""},
        {VR_AS, "5Y", "005Y", 0x0010, 1, ""},
        {VR_AS, "45Y", "045Y", 0x0010, 1, ""},
        {VR_AS, "045Y", "045Y", 0, 1, ""},
        {VR_AS, "5y", "5", 0x0810, 1, Foreign(1, "5y", Age_Set) + "\n" + Size("4 bytes", 1)},
        {VR_AS, "y", "", 0x0810, 1, Foreign(1, "y", Age_Set) + "\n" + Size("4 bytes", 0)},
        {VR_AS, "0005Y", "0005Y", 0x0800, 1, Size("4 bytes", 5)},
        {VR_CS, "abc", "", 0x0010, 1,
         Foreign(3, "abc", "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_ \\")},
        {VR_CS, " A \\ B ", "A\\B ", 0x0010, 1, ""},
        {VR_DS, "+1.5e-3E", "+1.5e-3E", 0, 1, ""},
        {VR_DS, " 1.5,\0"s, "1.5 ", 0x0010, 1,
         Padded(" 1.5,", NUL_For_Blank) + "\n" + Foreign(1, " 1.5,", "0123456789+-Ee. \\")},
        {VR_DS, "1.5\\", "1.5 ", 0x0010, 1, Last_Backslash},
        {VR_DS, "1.5\\", "1.5\\", 0, 1, "", 0x0019},
        {VR_DT, " 2020 \\2021\\\\", "2020\\2021\\", 0x0010, 1, Last_Backslash},
        {VR_DT, "2020E", "2020", 0x0010, 1, Foreign(1, "2020E", "0123456789+-. \\")},
        {VR_LO, "    ", "", 0x0010, 1, ""},
        {VR_LO, "odd", "odd ", 0x0010, 1, ""},
        {VR_LO, "  A\0"s, "A ", 0x0010, 1, Padded("  A", NUL_For_Blank)},
        {VR_LO, "A\0\0 "s, "A\0"s, 0x0010, 1, Padded("A", NUL_For_Blank)},
        {VR_LO, "A\0\\B"s, "A\0\\B"s, 0, 1, ""},
        {VR_LT, " A  ", " A", 0x0010, 1, ""},
        {VR_LT, " A\0"s, " A", 0x0010, 1, Padded(" A", NUL_For_Blank)},
        {VR_LT, "A\\ ", "A\\", 0x0010, 1, ""},
        {VR_PN, " D^J =E\0"s, "D^J =E\0 "s, 0x0010, 1, ""},
        {VR_SH, "  \\ A", "\\A", 0x0010, 1, ""},
        {VR_UI, "1.2.3 ", "1.2.3\0"s, 0x0010, 1, Padded("1.2.3 ", Blank_For_NUL)},
        {VR_UI, "1.2\0\0"s, "1.2\0"s, 0x0010, 1, ""},
        {VR_UI, "1.2\0"s, "1.2\0"s, 0, 1, ""},
        {VR_UI, "1.a2", "1.2\0"s, 0x0010, 1, Foreign(1, "1.a2", "0123456789. \\")},
        {VR_UT, " A\\ ", " A\\ ", 0, 1, ""},
        {VR_OB, "odd", "odd", 0, 1, ""},
        {VR_SQ, "odd", "odd", 0, 1, ""},
        {VR_UN, "odd", "odd", 0, 1, ""},
        {VR_UC, "A", "A", 0, 0, ""},
        {DICOM_VR('Z', 'Z'), "A", "A", 0, 0, ""},
    });
}

TEST_F(Cleanup, BringsOldDatesAndTimesIntoForm)
{
    const std::string time_set = "0123456789. \\";
    Check({
        {VR_DA, "980517", "19980617", 0x0010, 1, Old("980517", "19980617")},
        {VR_DA, "600101", "19600201", 0x0010, 1, Old("600101", "19600201")},
        {VR_DA, "591231", "20591331", 0x0010, 1, Old("591231", "20591331")},
        {VR_DA, "989917", "19981001", 0x0010, 1, Old("989917", "19981001")},
        {VR_DA, "98.517", "19980117", 0x0010, 1, Old("98.517", "19980117")},
        {VR_DA, "1998.05.17", "19980517", 0x0010, 1, Old("1998.05.17", "19980517")},
        {VR_DA, "1998\\05\\17", "19980517", 0x0010, 1, Old("1998\\05\\17", "19980517")},
        {VR_DA, "1998-05-17", "19980517", 0x0010, 1, Foreign(2, "1998-05-17", Date_Set)},
        {VR_DA, "1998.\\051", "", 0x0800, 0, Size(Date_Size, 9)},
        {VR_DA, "19980517", "19980517", 0, 1, ""},
        {VR_DA, "1998\\.17", "1998\\.17", 0, 1, ""},
        {VR_DA, "19980517 ", "19980517", 0x0010, 1, Foreign(1, "19980517 ", Date_Set)},
        {VR_DA, "1998051", "", 0x0800, 0, Size(Date_Size, 7)},
        {VR_DA, "", "", 0x0800, 0, Size(Date_Size, 0)},
        {VR_DA, "19980517123", "", 0x0800, 0, Size(Date_Size, 11)},
        {VR_DA, "199805171a", "", 0x0810, 0,
         Foreign(1, "199805171a", Date_Set) + "\n" + Size(Date_Size, 9)},
        {VR_DA, "19100.01.1", "19100.01.1", 0x0800, 1,
         "W Y2K bug! \00119100.01.1\002 = \0012000011?\002 (Rejected since last digit of day is "
         "lost!)"},
        {VR_TM, "12:30:45", "123045", 0x0010, 1, Foreign(2, "12:30:45", time_set)},
        {VR_TM, " 10.11.12", "101112", 0x0010, 1, Old("10.11.12", "101112")},
        {VR_TM, "12.30.45.5", "123045.5", 0x0010, 1, Old("12.30.45.5", "123045.5")},
        {VR_TM, "12.3045", "123045", 0x0010, 1, Old("12.3045", "123045")},
        {VR_TM, "12.", "12", 0x0010, 1, Old("12.", "12")},
        {VR_TM, "123.45", "123.45", 0, 1, ""},
        {VR_TM, "10.11.12\\13.14.15", "101112\\13.14.15 ", 0x0010, 1,
         Old("10.11.12\\13.14.15", "101112\\13.14.15")},
    });
}

TEST_F(Cleanup, KeepsIntegersWithin32Bits)
{
    Check({
        {VR_IS, "2147483647", "2147483647", 0, 1, ""},
        {VR_IS, "+2147483648", "", 0x0800, 0, Range("+2147483648")},
        {VR_IS, "-2147483648\\\\7", "-2147483648\\\\7", 0, 1, ""},
        {VR_IS, "7\\-2147483649", "", 0x0800, 0, Range("-2147483649")},
        {VR_IS, "7\\ +2147483648", "", 0x0800, 0, Range(" +2147483648")},
        {VR_IS, " 7.5\\ +8.5", "7\\8 ", 0x0010, 1, Converted(" 7.5\\ +8.5", "7\\8")},
        {VR_IS, "3.9 \\-3.9\\\\+2", "3\\-3\\\\2 ", 0x0010, 1,
         Converted("3.9 \\-3.9\\\\+2", "3\\-3\\\\2")},
        {VR_IS, "2147483647.9", "2147483647", 0x0010, 1, Converted("2147483647.9", "2147483647")},
        {VR_IS, "-2147483648.9", "-2147483648 ", 0x0010, 1,
         Converted("-2147483648.9", "-2147483648")},
        {VR_IS, "2147483648.", "", 0x0800, 0, Range("2147483648.")},
        {VR_IS, "-2147483649.", "", 0x0800, 0, Range("-2147483649.")},
        {VR_IS, "nan.", "", 0x0800, 0, Range("nan.")},
        {VR_IS, "12E", "12", 0x0010, 1, Foreign(1, "12E", "0123456789+- \\")},
    });
}

TEST_F(Cleanup, CutsWhatIsLongerThanItsVRAllows)
{
    const struct {
        unsigned short vr;
        std::size_t max;
    } multiple[] = {{VR_AE, 16}, {VR_CS, 16},  {VR_DS, 16}, {VR_DT, 26}, {VR_IS, 12},
                    {VR_LO, 64}, {VR_PN, 320}, {VR_SH, 16}, {VR_TM, 16}, {VR_UI, 64}};
    for (const auto& [vr, max] : multiple) {
        const std::string longest(max, '0');
        const std::string sizes =
            "(\001" + std::to_string(max + 2) + "\002/vs/\001" + std::to_string(max) + " max\002)";
        Check({{vr, longest, longest, 0, 1, ""},
               {vr, "1\\" + longest + "12", "1\\" + longest, 0x0010, 1,
                "W String too long! " + sizes + " Truncated to \"\001" + longest +
                    "\002\"(\00412\002)"},
               // Blanks count as a part of the value.
               {vr, "1\\ " + longest.substr(1) + " \\15", "1\\" + longest.substr(1) + "\\15",
                0x0010, 1,
                "W String too long! (\001" + std::to_string(max + 1) + "\002/vs/\001" +
                    std::to_string(max) + " max\002) Truncated to \"\001 " + longest.substr(1) +
                    "\002\"(\004 \002)"}});
    }
    const struct {
        unsigned short vr;
        std::size_t max;
    } single[] = {{VR_LT, 10240}, {VR_ST, 1024}};
    for (const auto& [vr, max] : single) {
        const std::string longest = std::string(max - 20, 'A') + std::string(20, 'B');
        Check({{vr, longest, longest, 0, 1, ""},
               {vr, longest + "C", longest, 0x0010, 1,
                "W String too long! (\001" + std::to_string(max + 1) + "\002/vs/\001" +
                    std::to_string(max) +
                    " max\002) Truncated to \"\001AAAAAAAAAAAAAAAAAAAA \002...\001 "
                    "BBBBBBBBBBBBBBBBBBBB\002\"(\004C\002) "}});
    }
    Check({{VR_UT, std::string(20000, 'A'), std::string(20000, 'A'), 0, 1, ""}});
}

TEST_F(Cleanup, ChecksTheSizeAndTheNumberOfValues)
{
    const struct {
        unsigned short vr;
        std::size_t width;
        const char* expected;
        bool counts;
    } binary[] = {
        {VR_AT, 4, "multiple 2*\"Unigned Short\"", false},
        {VR_OB, 1, "", false},
        {VR_FD, 8, "\"Floation Point Double\"", true},
        {VR_FL, 4, "\"Floation Point\"", true},
        {VR_OF, 4, "\"Other Float\"", false},
        {VR_OW, 2, "\"Other Word\"", false},
        {VR_SL, 4, "\"Signed Long\"", true},
        {VR_SS, 2, "\"Signed Short\"", true},
        {VR_UL, 4, "\"Signed Long\"", true},
        {VR_US, 2, "\"Unsigned Short\"", true},
    };
    for (const auto& [vr, width, expected, counts] : binary) {
        for (std::size_t size = 3 * width - 1; size > 2 * width; --size) {
            Check({{vr, std::string(size, 'x'), "", 0x0800, 0, Size(expected, size)}});
        }
        TAG_db_Elems entry = {};
        entry.nb_vr = 1;
        entry.vm[0] = {static_cast<unsigned short>(counts ? 2 : 1),
                       static_cast<unsigned short>(counts ? 2 : 1)};
        Record record(vr, std::string(2 * width, 'x'));
        record->dict = &entry;
        EXPECT_EQ(record.Cleanup(), 1) << Name(vr);
    }
    const struct {
        int nb_vr;
        unsigned short min, max;
        std::string value;
        std::string message;
    } rows[] = {
        {1, 2, 2, "1\\2", ""},
        {1, 2, 2, "1", "Invalid number of values in data!, Expecting VN=2 but got 1 values"},
        {1, 2, 2, "1\\2\\3", "Invalid number of values in data!, Expecting VN=2 but got 3 values"},
        {1, 2, 4, "1\\2", ""},
        {1, 2, 4, "1\\2\\3\\4", ""},
        {1, 2, 4, "1 ", "Not enough values in data! Expecting VN=2-4 but got 1 values"},
        {1, 2, 4, "1\\2\\3\\4\\5", "To many values in data! Expecting VN=2-4 but got 5 values"},
        {1, 2, 0, "1\\2\\3\\4\\5", ""},
        {1, 2, 0xFFFF, "1 ", "Not enough values in data! Expecting VN=2-n but got 1 values"},
        {1, 2, 2, "", "Invalid number of values in data!, Expecting VN=2 but got 1 values"},
        {0, 2, 2, "1 ", ""},
        {-1, 2, 2, "1 ", ""},
    };
    for (const auto& row : rows) {
        TAG_db_Elems entry = {};
        entry.nb_vr = static_cast<signed char>(row.nb_vr);
        entry.vm[0] = {row.min, row.max};
        Record record(VR_IS, row.value);
        record->dict = &entry;
        const Message_Log log;
        EXPECT_EQ(record.Cleanup(), row.message.empty() ? 1 : 0) << row.value;
        EXPECT_EQ(Said(log, VR_IS, 0x0018), row.message.empty() ? "" : "W " + row.message + "\n");
        EXPECT_EQ(record->flags & DICOM_Mark_Invalid, row.message.empty() ? 0 : 0x0800);
        EXPECT_EQ(Value_Of(*record.head).find(row.value), 0U);
    }
    // One value, whatever they hold.
    const std::pair<unsigned short, const char*> whole[] = {
        {VR_AS, "045Y"}, {VR_LT, "1\\2 "}, {VR_ST, "1\\2 "}};
    for (const auto& [vr, value] : whole) {
        TAG_db_Elems entry = {};
        entry.nb_vr = 1;
        entry.vm[0] = {1, 1};
        Record record(vr, value);
        record->dict = &entry;
        EXPECT_EQ(record.Cleanup(), 1) << Name(vr);
    }
}

TEST_F(Cleanup, KnowsTheNewerVRsOfTheCurrentStandard)
{
    DICOM_Flag_Current_Standard = 1;
    Check({
        {VR_UC, std::string(20000, 'A') + " \\ B ", std::string(20000, 'A') + "\\B", 0x0010, 1, ""},
        {VR_UR, " A  ", " A", 0x0010, 1, ""},
        {VR_OD, "123", "", 0x0800, 0, Size("\"Other Double\"", 3)},
        {VR_OL, "12345", "", 0x0800, 0, Size("\"Other Long\"", 5)},
        {VR_OV, "1234", "", 0x0800, 0, Size("\"Other Very Long\"", 4)},
        {VR_SV, "1234", "", 0x0800, 0, Size("\"Signed Very Long\"", 4)},
        {VR_UV, "1234", "", 0x0800, 0, Size("\"Unsigned Very Long\"", 4)},
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
    const struct {
        unsigned short vr;
        bool current;
        std::string in, out;
        int result;
        std::string reason = {};
    } rows[] = {
        {VR_FD, false, "12345678abcdefgh", "87654321hgfedcba", 1},
        {VR_FD, false, "123456789abc", "123456789abc", 0, "tag->size % 8"},
        {VR_FL, false, "1234abcd", "4321dcba", 1},
        {VR_FL, false, "123456", "123456", 0, "tag->size % 4"},
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
        const auto left = [](const std::string& reason) {
            return "<<< out Lib_DICOM: DICOM_Attribute_Cleanup_Swab(" + reason + ")";
        };
        const Message_Log log(9);
        EXPECT_EQ(record.Swab(), 1);
        EXPECT_EQ(log.All().back().text, left("LITTLE_ENDIAN"));
        EXPECT_EQ(Value_Of(*record.head), row.in);
        record->byte_order = 9;
        EXPECT_EQ(record.Swab(), row.result);
        EXPECT_EQ(log.All().back().text, left(row.reason));
        EXPECT_EQ(Value_Of(*record.head), row.out);
        EXPECT_EQ(record->byte_order, 8);
        std::free(std::exchange(record->data, nullptr));
        record->byte_order = 9;
        EXPECT_EQ(record.Swab() + record.Cleanup(), 2);
        EXPECT_EQ(log.Count("(! tag->data)"), 2);
    }
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
