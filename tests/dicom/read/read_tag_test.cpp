// Element headers, from a file and from a memory image alike: encodings, repairs with their
// warnings, and streams that end or lie.
#include "support/byte_input.h"
#include "support/case_page.h"
#include "support/message_log.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
};

/** "GGGG,EEEE VR LENGTH at POSITION", with "--" for no VR. */
std::string Shown(const Outcome& outcome)
{
    const unsigned short vr = outcome.vr != 0 ? outcome.vr : DICOM_VR('-', '-');
    char tag[16];
    std::snprintf(tag, sizeof tag, "%04X,%04X ", outcome.group, outcome.element);
    return tag + std::string({static_cast<char>(vr >> 8), static_cast<char>(vr)}) + " " +
           std::to_string(outcome.length) + " at " + std::to_string(outcome.position);
}

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

constexpr char Read_Tag_Page[] = "dicom/read/read_tag.cases";

/** What the number of bytes is where a row gives none. */
int Size_In(const std::string& field)
{
    return field.empty() ? Whole : std::stoi(field);
}

void Expect_Read(int source, const std::string& table, Reader reader = NEMA_Get_Data_Element)
{
    For_Each_Case(Read_Tag_Page, table, 5, [&](const Case_Row& row) {
        const Message_Log log;
        const auto mode = static_cast<unsigned char>(std::stoi(row[0], nullptr, 16));
        const Outcome outcome = Read(source, Hex(row[1]), mode, Size_In(row[3]), reader);
        EXPECT_EQ(outcome.result, 1);
        EXPECT_EQ(Shown(outcome), row[2]);
        EXPECT_EQ(log.Text(), row[4].empty() ? "" : Warning + row[4] + "\n");
    });
}

TEST_P(Read_Tag, ReadsEveryEncodingAndMendsKnownFaults)
{
    Expect_Read(GetParam(), "encodings");
    Expect_Read(GetParam(), "faults");
    Expect_Read(GetParam(), "fuji", NEMA_Get_Data_Element_Fuji);
    DICOM_Flag_Current_Standard = 1;
    Expect_Read(GetParam(), "current");
    DICOM_Flag_Current_Standard = 0;
}

TEST_P(Read_Tag, FailsWithAReason)
{
    For_Each_Case(Read_Tag_Page, "failures", 5, [](const Case_Row& row) {
        if (!row[3].empty() && GetParam() == NEMA_Source_Memory) {
            return;  // no image is read past its size, so its value is not looked at
        }
        const bool is_fuji = row[0] == "fuji";
        const Reader reader = is_fuji ? NEMA_Get_Data_Element_Fuji : NEMA_Get_Data_Element;
        const auto mode = static_cast<unsigned char>(std::stoi(row[1], nullptr, 16));
        const Message_Log log(9);
        EXPECT_EQ(Read(GetParam(), Hex(row[2]), mode, Size_In(row[3]), reader).result, 0);
        const std::string name = is_fuji ? "NEMA_Get_Data_Element_Fuji" : "NEMA_Get_Data_Element";
        EXPECT_THAT(log.Text(), HasSubstr("<<< out " + name + row[4] + "\n"));
    });
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
    const std::string found = "7FE0,0010 -- " + std::to_string(size - 8) + " at 8";
    EXPECT_EQ(Shown(Read(GetParam(), stream, 0, Whole)), found);
    // Without a size a file still has its own end; an image has none, and is left alone.
    const bool is_file = GetParam() == NEMA_Source_File;
    EXPECT_EQ(Shown(Read(GetParam(), stream, 0, 0)), is_file ? found : "7FE0,0010 -- -1 at 8");
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

#ifndef _WIN32
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
#endif

}  // namespace
