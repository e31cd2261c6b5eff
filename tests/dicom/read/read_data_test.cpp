// Primitive reads from both kinds of source, moves, and position counters.
#include "support/byte_input.h"
#include "support/case_page.h"
#include "support/message_log.h"

#include <Lib_DICOM/read.h>

#include <fcntl.h>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <memory>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class Read_Data : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Sources, Read_Data, testing::Values(NEMA_Source_File, NEMA_Source_Memory),
                         [](const auto& source) { return source.param == 1 ? "File" : "Memory"; });

template <class Value>
double Number(int (*read)(HWND, int, int, void*, unsigned char, int, Value*), Byte_Input& input,
              unsigned char order, int size)
{
    Value value = {};
    EXPECT_EQ(read(nullptr, input.source, input.where, input.Ptr(), order, size, &value), 1);
    return static_cast<double>(value);
}

TEST_P(Read_Data, MakesNumbersOfTheFirstBytesAndAdvancesBySize)
{
    using Read = std::function<double(Byte_Input&, unsigned char, int)>;
    const auto with = [](auto read) -> Read {
        return [read](Byte_Input& input, unsigned char order, int size) {
            return Number(read, input, order, size);
        };
    };
    const std::map<std::string, Read> reads = {
        {"Short", with(NEMA_Read_Short)}, {"UShort", with(NEMA_Read_UShort)},
        {"Int", with(NEMA_Read_Int)},     {"UInt", with(NEMA_Read_UInt)},
        {"Float", with(NEMA_Read_Float)}, {"Double", with(NEMA_Read_Double)}};
    For_Each_Case("dicom/read/read_data.cases", "numbers", 5, [&](const Case_Row& row) {
        Byte_Input input(GetParam(), Hex(row[0]) + "rest");
        const Message_Log log(9);
        const auto order = static_cast<unsigned char>(row.Number(2));
        EXPECT_EQ(reads.at(row[1])(input, order, row.Number(3)), std::stod(row[4]));
        EXPECT_EQ(input.Position(), row.Number(3));
        const std::string call = "Lib_DICOM: NEMA_Read_" + row[1];
        EXPECT_EQ(log.Lines(), "90002009 >>> in  " + call + "(size:" + row[3] +
                                   ")\n90002009 <<< out " + call + "()\n");
    });
}

TEST_P(Read_Data, ReadsBlocksAndSwapsPairs)
{
    struct {
        unsigned char order;
        int size;
        const char* text;
    } const cases[] = {{0, 5, "abcde"}, {1, 4, "abcd"}, {2, 4, "badc"}, {2, 5, "badce"},
                       {2, 1, "a"},     {0, 0, ""},     {2, 0, ""}};
    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.text);
        Byte_Input input(GetParam(), "abcdefgh");
        char* text =
            NEMA_Read_Str(nullptr, input.source, input.where, input.Ptr(), entry.order, entry.size);
        EXPECT_STREQ(text, entry.text);
        EXPECT_EQ(input.Position(), entry.size);
        DICOM_Lib_Free(&text);

        input.Set_Position(0);
        char* block = NEMA_Read_Buffer(nullptr, input.source, input.where, input.Ptr(), entry.order,
                                       entry.size);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(std::string(block, static_cast<std::size_t>(entry.size)), entry.text);
        DICOM_Lib_Free(&block);

        // Single bytes know no order.
        std::string bytes(static_cast<std::size_t>(entry.size), '.');
        input.Set_Position(0);
        EXPECT_EQ(NEMA_Read_Byte(nullptr, input.source, input.where, input.Ptr(), entry.order,
                                 entry.size, bytes.data()),
                  1);
        EXPECT_EQ(bytes, std::string("abcde").substr(0, bytes.size()));
    }
}

TEST_P(Read_Data, ReadsMoreThanIsAskedForAtOnce)
{
    std::string bytes;
    for (int i = 0; i < 700'000; ++i) {
        bytes += std::to_string(i);
    }
    const int size = static_cast<int>(bytes.size()) - 1;
    Byte_Input input(GetParam(), bytes);
    char* text = NEMA_Read_Str(nullptr, input.source, input.where, input.Ptr(), 0, size);
    EXPECT_TRUE(text != nullptr && text == bytes.substr(0, bytes.size() - 1));
    EXPECT_EQ(input.Position(), size);
    DICOM_Lib_Free(&text);
}

TEST_P(Read_Data, RefusesNegativeSizes)
{
    Byte_Input input(GetParam(), "abcdefgh");
    const Message_Log log;
    int value = 7;
    EXPECT_EQ(NEMA_Read_Int(nullptr, input.source, input.where, input.Ptr(), 0, -1, &value), 0);
    EXPECT_EQ(NEMA_Read_Str(nullptr, input.source, input.where, input.Ptr(), 0, -1), nullptr);
    EXPECT_EQ(value, 7);
    EXPECT_EQ(input.Position(), 0);
    EXPECT_EQ(log.Count("End of File while reading: (0 /vs/ -1)"), 2);
}

TEST(Read_Data_File, ReportsAnEndInsideTheValue)
{
    Byte_Input input(NEMA_Source_File, "abc");
    const Message_Log log;
    EXPECT_EQ(NEMA_Read_Buffer(nullptr, 1, input.where, input.Ptr(), 0, 5), nullptr);
    EXPECT_EQ(log.Lines(),
              Error_Lines("NEMA_Read_Data", "End of File while reading: (3 /vs/ 5) (scan.dcm)"));
    EXPECT_EQ(input.Position(), 3);
}

TEST(Read_Data_File, ReportsAReadError)
{
    wchar_t name[] = L"gone.dcm";
    const Message_Log log;
    int value = 0;
    EXPECT_EQ(NEMA_Read_Int(nullptr, 1, -1, name, 0, 4, &value), 0);
    ASSERT_EQ(log.All().size(), 3U);
    EXPECT_EQ(log.All()[1].text, "Error reading file gone.dcm");
    EXPECT_EQ(log.All()[2].text, strerror(EBADF));
}

TEST(Read_Data_Memory, RefusesCountersOutOfRange)
{
    Byte_Input input(NEMA_Source_Memory, "abcdefgh");
    const int last = std::numeric_limits<int>::max();
    struct {
        int position;
        int skip;
    } const cases[] = {{-1, 5}, {std::numeric_limits<int>::min(), 1}, {last - 1, 2}};
    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.position);
        const Message_Log log;
        input.Set_Position(entry.position);
        EXPECT_EQ(NEMA_Skip(nullptr, 0, input.where, input.Ptr(), entry.skip), 0);
        EXPECT_EQ(input.Position(), entry.position);
        EXPECT_GT(log.Count("file: (memory image)"), 0);
    }
    const Message_Log log;
    int value = 0;
    input.Set_Position(-4);
    EXPECT_EQ(NEMA_Read_Int(nullptr, 0, input.where, input.Ptr(), 0, 4, &value), 0);
    EXPECT_EQ(log.Count("End of File while reading: (0 /vs/ 4) (memory image)"), 1);
}

TEST_P(Read_Data, Skips)
{
    struct {
        int size;
        long position;
    } const cases[] = {{-1, 4}, {0, 4}, {3, 7}, {-3, 1}, {1000, 1004}};
    for (const auto& entry : cases) {
        Byte_Input input(GetParam(), "abcdefgh");
        input.Set_Position(4);
        const Message_Log log(9);
        EXPECT_EQ(NEMA_Skip(nullptr, input.source, input.where, input.Ptr(), entry.size), 1);
        EXPECT_EQ(input.Position(), entry.position);
        EXPECT_EQ(log.Text(), ">>> in  NEMA_Skip(size:" + std::to_string(entry.size) + ")\n" +
                                  (entry.size == -1 ? "<<< out NEMA_Skip(size == -1)\n"
                                                    : "<<< out NEMA_Skip()\n"));
    }
}

#ifndef _WIN32
TEST(Read_Data_File, ClosesTheDescriptorAfterAFailedSeek)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    wchar_t name[] = L"pipe";
    const Message_Log log;
    EXPECT_EQ(NEMA_Skip(nullptr, 1, ends[0], name, 6), 0);
    EXPECT_EQ(fcntl(ends[0], F_GETFD), -1);
    close(ends[1]);
    std::vector<unsigned int> severities;
    for (const Message& message : log.All()) {
        severities.push_back(message.severity);
    }
    EXPECT_THAT(severities, ElementsAre(0x80000001U, 0x80000001U, 0x80000001U, 0x80000001U,
                                        0x80000001U, 2U, 2U, 2U));
    const std::string reason = std::string(strerror(ESPIPE)) + "\nfile: (pipe)\n";
    EXPECT_THAT(log.Text(), HasSubstr("using lseek()\n" + reason));
    EXPECT_THAT(log.Text(), HasSubstr("\361\004ERROR:\002 while seeking pos 6\n" + reason));
}
#endif

TEST(Position_Counters, SurviveTheWayThrough32Bits)
{
    // More than one page of them, so that pages are added and given back.
    std::vector<int*> counters(3000);
    for (std::size_t i = 0; i < counters.size(); ++i) {
        counters[i] = NEMA_Position_New(nullptr);
        ASSERT_NE(counters[i], nullptr);
        EXPECT_EQ(*counters[i], 0);
        *counters[i] = static_cast<int>(i);
    }
    char image[3004] = {};
    for (std::size_t i = 0; i < counters.size(); ++i) {
        ASSERT_EQ(*counters[i], static_cast<int>(i));
        ASSERT_EQ(NEMA_Skip(nullptr, 0, NEMA_Position_Where(counters[i]), image, 4), 1);
        ASSERT_EQ(*counters[i], static_cast<int>(i) + 4);
    }
    int* const reused = counters[1500];
    NEMA_Position_Free(reused);
    EXPECT_EQ(NEMA_Position_New(nullptr), reused);
    EXPECT_EQ(*reused, 0);
    for (int* counter : counters) {
        NEMA_Position_Free(counter);
    }
    NEMA_Position_Free(nullptr);
}

}  // namespace
