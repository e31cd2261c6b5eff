// Element headers, from a file and from a memory image alike: encodings, repairs with their
// warnings, and streams that end or lie.
#include "support/byte_input.h"
#include "support/message_log.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ostream>
#include <span>

namespace {

using testing::HasSubstr;

constexpr int Whole = -2;
const std::string Warning = "\361\005WARNING:\002 ";

using Reader = decltype(&NEMA_Get_Data_Element);

struct Outcome {
    unsigned short group = 0;
    unsigned short element = 0;
    unsigned short vr = 0;
    int length = 0;
    long position = 0;
    int result = 1;

    bool operator==(const Outcome&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Outcome& outcome)
    {
        return out << outcome.result << std::hex << " (" << outcome.group << ',' << outcome.element
                   << ") VR " << outcome.vr << std::dec << " length " << outcome.length
                   << " position " << outcome.position;
    }
};

/** One reading of a header; `file_size` may be Whole for the number of bytes. */
Outcome Read(int source, const std::string& bytes, unsigned char mode, int file_size,
             Reader reader = NEMA_Get_Data_Element)
{
    Byte_Input input(source, bytes);
    Outcome outcome;
    outcome.result = reader(nullptr, input.source, input.where, input.Ptr(), mode, &outcome.group,
                            &outcome.element, &outcome.vr, &outcome.length,
                            file_size == Whole ? static_cast<int>(bytes.size()) : file_size);
    outcome.position = input.Position();
    return outcome;
}

class Read_Tag : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Sources, Read_Tag, testing::Values(NEMA_Source_File, NEMA_Source_Memory),
                         [](const auto& source) { return source.param == 1 ? "File" : "Memory"; });

struct Good {
    unsigned char mode;
    const char* bytes;
    Outcome outcome;
    const char* warnings = "";
    int file_size = Whole;
};

void Expect_Good(int source, std::span<const Good> cases, Reader reader = NEMA_Get_Data_Element)
{
    for (const Good& entry : cases) {
        SCOPED_TRACE(entry.bytes);
        const Message_Log log;
        EXPECT_EQ(Read(source, Hex(entry.bytes), entry.mode, entry.file_size, reader),
                  entry.outcome);
        const std::string warnings(entry.warnings);
        EXPECT_EQ(log.Text(), warnings.empty() ? "" : Warning + warnings + "\n");
    }
}

TEST_P(Read_Tag, ReadsEveryEncoding)
{
    const Good cases[] = {
        {0, "0800 6000 02000000 'MR'", {8, 0x60, 0, 2, 8}},
        {8, "0800 6000 'CS' 0200 'MR'", {8, 0x60, VR_CS, 2, 8}},
        {9, "0008 0060 'CS' 0002 'MR'", {8, 0x60, VR_CS, 2, 8}},
        {1, "0008 0060 00000002 'MR'", {8, 0x60, 0, 2, 8}},
        {2, "0008 0060 00020000 'RM'", {8, 0x60, 0, 2, 8}},
        {8, "4000 7502 'SQ' 0000 FFFFFFFF", {0x40, 0x275, VR_SQ, -1, 12}},
        {8, "0800 6000 'UT' 3412 04000000 'text'", {8, 0x60, VR_UT, 4, 12}},
        {8, "0800 6000 'OX' 0100 02000000 'ab'", {8, 0x60, VR_OX, 2, 12}},
        {8, "0800 6000 'OF' 0200 'ab'", {8, 0x60, VR_OF, 2, 8}},
        {8, "0800 6000 '?''?' 0200 'ab'", {8, 0x60, DICOM_VR('?', '?'), 2, 8}},
        {8, "0800 6000 'xx' 0200 'ab'", {8, 0x60, DICOM_VR('x', 'x'), 2, 8}},
        // With both bits the group stays as read.
        {3, "0800 6000 00000200 'MR'", {8, 0x60, 0, 2, 8}},
        // File meta information, whatever the mode says.
        {0, "0200 1000 'UI' 0200 '1' 00", {2, 0x10, VR_UI, 2, 8}},
        {9, "0200 1000 'UI' 0200 '1' 00", {2, 0x10, VR_UI, 2, 8}},
        {11, "0200 1000 02000000 '1' 00", {2, 0x10, 0, 2, 8}},
        {8, "0200 1000 0241 0000", {2, 0x10, 0, 0x4102, 8}, "", 0},
        // Items and delimiters are implicit and know no swapped pairs.
        {8, "FEFF 00E0 FFFFFFFF", {0xFFFE, 0xE000, 0, -1, 8}},
        {9, "FFFE E0DD 00000000", {0xFFFE, 0xE0DD, 0, 0, 8}},
        {2, "FFFE E000 04000000", {0xFFFE, 0xE000, 0, 4, 8}, "", 0},
        // A VR that is none begins the length of an implicit element.
        {8, "2800 2001 '  ' 0200 0000", {0x28, 0x120, VR_SS, 2, 8}},
        {8, "0800 6000 02000000 'MR'", {8, 0x60, 0, 2, 8}},
        {8, "0800 6000 '  ' 0000", {8, 0x60, 0, 0x2020, 8}, "", 0},
        {8, "0800 6000 'C' 02 0000", {8, 0x60, 0, 0x0243, 8}, "", 0},
        {8, "0800 6000 02 'C' 0000", {8, 0x60, 0, 0x4302, 8}, "", 0},
        {9, "0008 0060 00000002 'MR'", {8, 0x60, 0, 2, 8}},
        {8, "0800 6000 FFFFFFFF", {8, 0x60, 0, -1, 8}},
        {8, "E07F 1000 'OB' 0000 FFFFFFFF FEFF00E0", {0x7FE0, 0x10, VR_OB, -1, 12}},
    };
    Expect_Good(GetParam(), cases);
}

TEST_P(Read_Tag, MendsKnownFaults)
{
    const Good cases[] = {
        {0,
         "3F3F 0010 04000000 00000000",
         {0xFFFE, 0xE000, 0, 4, 8},
         "Fix Philips bug: tag (3F3F,003F) replaced by (FFFE,E000)"},
        {0, "3F3F 3F00 04000000 00000000", {0x3F3F, 0x003F, 0, 4, 8}},
        {0,
         "E07F 1000 'OB' 0000 04000000 01020304",
         {0x7FE0, 0x10, VR_OB, 4, 12},
         "Pixel data is \"Explicit VR\" in an \"Implicit VR\" file"},
        {8,
         "4000 7502 'SQ' 0600 'ab'",
         {0xFFFF, 0xFFFF, VR_OB, 6, 8},
         "Fix Siemens bug: tag (0040,0275) is skipped"},
        {0x18,
         "0800 6000 'LO' 0D00 '0123456789'",
         {8, 0x60, VR_LO, 10, 8},
         "Fix GE bug: lenght from 13 to 10 in tag (0008,0060)"},
        {0x38,
         "0800 6000 'LO' 0D00 '0123456789'",
         {8, 0x60, VR_LO, 10, 8},
         "Fix GE bug: lenght from 13 to 10 in tag (0008,0060)"},
        {8,
         "0800 6000 'LO' 0D00 '0123456789'",
         {8, 0x60, VR_LO, 13, 8},
         "tag lenght is odd in tag (0008,0060)"},
        {0x18,
         "0800 6000 'LO' 0300 'abc'",
         {8, 0x60, VR_LO, 3, 8},
         "tag lenght is odd in tag (0008,0060)\n"
         "\005Oups! We assumed this was a GE 13/10 bug, it no longer appears that way\n"
         "\005Please contact OrisWare for further assistance."},
        {0x30,
         "FEFF 00E0 0A000000 01020304",
         {0xFFFE, 0xE000, 0, 2, 8},
         "Fix GE ROGAN LIB bug: lenght from 0x0000000a to 0x00000002 in tag (fffe,e000)"},
        {0x30, "FEFF 00E0 04000000 01020304", {0xFFFE, 0xE000, 0, 4, 8}},
        {0x30,
         "FEFF 00E0 FEFFFF7F",
         {0xFFFE, 0xE000, 0, 0x7FFFFFF6, 8},
         "Fix GE ROGAN LIB bug: lenght from 0x7ffffffe to 0x7ffffff6 in tag (fffe,e000)",
         0x7FFFFFFF},
        {0x30, "FEFF 00E0 0A000000", {0xFFFE, 0xE000, 0, 10, 8}, "", 0},
        {0x10, "FEFF 00E0 0A000000 01020304", {0xFFFE, 0xE000, 0, 10, 8}},
        {8,
         "0900 1011 'UL' 0600 '    '",
         {9, 0x1110, VR_CS, 4, 8},
         "Fix Siemens bug: lenght changed from 6 to 4 in tag (0009,1110)",
         0},
        {8, "0900 1011 'UL' 0600 '   a  '", {9, 0x1110, VR_UL, 6, 8}},
        {8, "0900 1011 'UL' 0400 '    '", {9, 0x1110, VR_UL, 4, 8}},
        {8, "0800 6000 'UL' 0600 '      '", {8, 0x60, VR_UL, 6, 8}},
        {8, "0900 1011 'UL' 0600 '   '", {9, 0x1110, VR_UL, 6, 8}},
        {0,
         "E07F 1000 FFFFFFFF FFD8FFE0 00FF D900 FFD9 0000",
         {0x7FE0, 0x10, 0, 10, 8},
         "Fix Siemens bug: lenght changed from -1 to 10 in tag (7fe0,0010)"},
        {9,
         "7FE0 0010 'OB' 0000 FFFFFFFF FFD8FFE0 FFD9",
         {0x7FE0, 0x10, VR_OB, 6, 12},
         "Fix Siemens bug: lenght changed from -1 to 6 in tag (7fe0,0010)"},
        {0,
         "E07F 1000 FFFFFFFF E0FFD8FF D9FF FFD9 D9FF",
         {0x7FE0, 0x10, 0, 6, 8},
         "Fix Siemens bug: lenght changed from -1 to 6 in tag (7fe0,0010)"},
    };
    Expect_Good(GetParam(), cases);
}

TEST_P(Read_Tag, FollowsTheCurrentStandardWhenAsked)
{
    DICOM_Flag_Current_Standard = 1;
    const Good cases[] = {
        {8, "0800 6000 'OF' 0000 04000000 01020304", {8, 0x60, VR_OF, 4, 12}},
        {8, "0800 6000 'UC' 0000 02000000 'ab'", {8, 0x60, VR_UC, 2, 12}},
        {8,
         "0800 6000 'UT' 0600 'abcdef'",
         {8, 0x60, VR_UT, 6, 8},
         "Fix length of VR=UT written with 2 bytes in tag (0008,0060)"},
        {8,
         "0800 6000 'OF' 0400 'abcd'",
         {8, 0x60, VR_OF, 4, 8},
         "Fix length of VR=OF written with 2 bytes in tag (0008,0060)",
         0},
        {8, "0800 6000 'UT' FFFF 04000000 'text'", {8, 0x60, VR_UT, 4, 12}},
        {8, "0800 6000 'OB' 0400 04000000 'text'", {8, 0x60, VR_OB, 4, 12}},
    };
    Expect_Good(GetParam(), cases);
    DICOM_Flag_Current_Standard = 0;
}

TEST_P(Read_Tag, ReadsTheFujiVariant)
{
    const Good cases[] = {
        {7, "0800 6000 'CS' 02000000 'MR'", {8, 0x60, VR_CS, 2, 10}},
        {0, "0800 6000 'OB' 03000000 'abc'", {8, 0x60, VR_OB, 3, 10}},
        {0x18, "0800 6000 'a' 00 0D000000", {8, 0x60, 'a' << 8, 13, 10}, "", 0},
        {0, "FEFF 00E0 FFFFFFFF", {0xFFFE, 0xE000, 0, -1, 8}},
        {7, "FEFF 00E0 02000000 'ab'", {0xFFFE, 0xE000, 0, 2, 8}},
    };
    Expect_Good(GetParam(), cases, NEMA_Get_Data_Element_Fuji);
}

TEST_P(Read_Tag, FailsWithAReason)
{
    const Reader plain = NEMA_Get_Data_Element;
    const Reader fuji = NEMA_Get_Data_Element_Fuji;
    struct {
        Reader reader;
        unsigned char mode;
        const char* bytes;
        int file_size;
        const char* reason;
    } const cases[] = {
        {plain, 8, "08", Whole, "(failed to read group)"},
        {plain, 8, "0800 60", Whole, "(failed to read element)"},
        {plain, 0, "0200 00", Whole, "(failed to read element)"},
        {plain, 8, "0800 6000", Whole, "(failed to read VR byte[0])"},
        {plain, 8, "0800 6000 'C'", Whole, "(failed to read VR byte[1])"},
        {plain, 8, "0800 6000 'CS' 02", Whole, "(failed to read size (VR:CS))"},
        {plain, 8, "0800 6000 0200 00", Whole, "(failed to read size (VR:00))"},
        {plain, 0, "E07F 1000 'O'", Whole, "(failed to read size (VR:00))"},
        {plain, 8, "0800 6000 'OB' 00", Whole, "(! NEMA_Read_UShort)"},
        {plain, 8, "0800 6000 'OB' 0000 040000", Whole, "(failed to read size (VR:OB))"},
        {plain, 8, "0800 6000 'CS' 0900 'M'", Whole, "(failed size to big (=00000009))"},
        {plain, 0, "0800 6000 08000000", Whole, "(failed size to big (=00000008))"},
        {plain, 0, "0800 6000 FEFFFFFF", Whole, "(*lenght < -1)"},
        {plain, 8, "0800 6000 00000080", Whole, "(*lenght < -1)"},
        {plain, 8, "0800 6000 09000000", Whole, "(*lenght >= file_size)"},
        {plain, 0, "FFFE E000 00000000", Whole, "(FEFF,00E0)"},
        {plain, 0, "E07F 1000 FFFFFFFF FFD8FFE0 00000000", Whole, "(kk >= file_size)"},
        {plain, 0, "E07F 1000 FFFFFFFF FFD8FFE0 0000 FFD9", 8, "(kk >= file_size)"},
        {fuji, 0, "08", Whole, "(failed to read group)"},
        {fuji, 0, "0800 60", Whole, "(failed to read element)"},
        {fuji, 0, "0800 6000", Whole, "(failed to read VR byte[0])"},
        {fuji, 0, "0800 6000 'C'", Whole, "(failed to read VR byte[1])"},
        {fuji, 0, "0800 6000 'C' 00 0200", Whole, "(failed to read size (VR:C0))"},
        {fuji, 0, "0800 6000 'CS' 0A000000", Whole, "(failed to size to big (=0000000A))"},
        {fuji, 0, "0800 6000 'CS' FEFFFFFF", Whole, "(*lenght < -1)"},
    };
    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.bytes);
        if (entry.file_size != Whole && GetParam() == NEMA_Source_Memory) {
            continue;  // no image is read past its size, so its value is not looked at
        }
        const Message_Log log(9);
        EXPECT_EQ(
            Read(GetParam(), Hex(entry.bytes), entry.mode, entry.file_size, entry.reader).result,
            0);
        const std::string name =
            entry.reader == plain ? "NEMA_Get_Data_Element" : "NEMA_Get_Data_Element_Fuji";
        EXPECT_THAT(log.Text(), HasSubstr("<<< out " + name + entry.reason + "\n"));
    }
}

TEST_P(Read_Tag, ReportsAHeaderCutAnywhere)
{
    for (const char* text : {"0800 6000 'OB' 0000 04000000", "0200 1000 'UI' 0200",
                             "FEFF 00E0 04000000", "E07F 1000 'OB' 0000 04000000"}) {
        const std::string header = Hex(text);
        for (std::size_t size = 0; size < header.size(); ++size) {
            const Message_Log log;
            EXPECT_EQ(Read(GetParam(), header.substr(0, size), 8, Whole).result, 0);
            EXPECT_EQ(log.Count("End of File while reading: ("), 1) << text << " cut at " << size;
            EXPECT_EQ(log.Count(GetParam() == NEMA_Source_File ? "(scan.dcm)" : "(memory image)"),
                      1);
        }
    }
}

TEST_P(Read_Tag, TracesTheElementWithThePositionOfItsTag)
{
    Byte_Input input(GetParam(), Hex("0800 6000 'CS' 0200 'MR' 0800 6100 02000000"));
    const Message_Log log(9);
    for (int i = 0; i < 2; ++i) {
        Outcome outcome;
        NEMA_Get_Data_Element(nullptr, input.source, input.where, input.Ptr(), 8, &outcome.group,
                              &outcome.element, &outcome.vr, &outcome.length, 20);
        input.Set_Position(10);
    }
    EXPECT_EQ(log.Text(), ">>> in  NEMA_Get_Data_Element(mode:0008)\n"
                          "-> reading (0008,0060)\n"
                          "[000000] --> (0008,0060) VR:CS lenght:00000002 (2)\n"
                          "<<< out NEMA_Get_Data_Element()\n"
                          ">>> in  NEMA_Get_Data_Element(mode:0008)\n"
                          "-> reading (0008,0061)\n"
                          "[00000A] --> (0008,0061) BUG! lenght:00000002 (2)\n"
                          "<<< out NEMA_Get_Data_Element()\n");
}

TEST_P(Read_Tag, FindsTheEndOfAJpegStreamFarAway)
{
    const std::string head = Hex("E07F 1000 FFFFFFFF FFD8FFE0");
    const std::string stream = head + std::string(300000, '\x11') + Hex("FFD9");
    const int size = static_cast<int>(stream.size());
    EXPECT_EQ(Read(GetParam(), stream, 0, Whole), (Outcome{0x7FE0, 0x10, 0, size - 8, 8}));
    // Without a size a file still has its own end; an image has none, and is left alone.
    const bool is_file = GetParam() == NEMA_Source_File;
    EXPECT_EQ(Read(GetParam(), stream, 0, 0),
              (Outcome{0x7FE0, 0x10, 0, is_file ? size - 8 : -1, 8}));
    EXPECT_EQ(Read(GetParam(), head + std::string(300001, '\x11'), 0, 0).result, is_file ? 0 : 1);
}

TEST(Read_Tag_Memory, NeverReadsPastTheGivenSizeOrFromANegativeCounter)
{
    Byte_Input input(NEMA_Source_Memory, Hex("0800 6000 'CS' 0200 'MR'"));
    for (const int position : {-1, -8, 3, 8, 0x7FFFFFFF}) {
        const Message_Log log;
        input.Set_Position(position);
        Outcome outcome;
        EXPECT_EQ(NEMA_Get_Data_Element(nullptr, 0, input.where, input.Ptr(), 8, &outcome.group,
                                        &outcome.element, &outcome.vr, &outcome.length, 10),
                  0);
        EXPECT_THAT(log.Text(), HasSubstr("(memory image)")) << position;
    }
}

TEST(Read_Tag_File, ClosesTheDescriptorWhenBytesCannotBeGivenBack)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const std::string bytes = Hex("0800 6000 'CS' 0400 'abcd'");
    ASSERT_EQ(write(ends[1], bytes.data(), bytes.size()), 12);
    close(ends[1]);
    wchar_t name[] = L"pipe";
    const Message_Log log;
    Outcome outcome;
    EXPECT_EQ(NEMA_Get_Data_Element(nullptr, 1, ends[0], name, 8, &outcome.group, &outcome.element,
                                    &outcome.vr, &outcome.length, 0),
              0);
    EXPECT_EQ(fcntl(ends[0], F_GETFD), -1);
    EXPECT_THAT(log.Text(), HasSubstr("\361\004ERROR:\002 while seeking pos -4\n"));
}

}  // namespace
