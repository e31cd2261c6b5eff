// Files that do not begin with 128 bytes and "DICM", and files that are none.
#include "support/case_page.h"
#include "support/read_in_memory.h"

#include <gtest/gtest.h>

#include <map>

namespace {

using namespace std::string_literals;

constexpr char Page[] = "mend/reading/preamble.cases";

TEST(Preamble, IsFoundWhateverStandsInItsPlace)
{
    const std::string file = Small_File();
    const std::map<std::string, std::size_t> places = {
        {"preamble", 0},
        {"DICM", 128},
        {"group", 132},
        {"data", file.size() - Small_Data_Set().size()}};
    For_Each_Case(Page, "found", 5, [&](const Case_Row& row) {
        const Read_File read = Read_In_Memory(row[1] + file.substr(places.at(row[2])));
        EXPECT_EQ(read.elements, Small_Elements);
        EXPECT_EQ(read.findings, row[3]);
        EXPECT_EQ(read.skipped, row[4]);
    });
}

TEST(Preamble, IsLookedForInTheFirstMebibyte)
{
    constexpr std::size_t Mebibyte = std::size_t{1} << 20;
    // The prefix ends with the mebibyte, and one byte behind it.
    const std::string last = std::string(Mebibyte - 132, 'j') + Small_File();
    EXPECT_EQ(Read_In_Memory(last).elements, Small_Elements);
    const std::string beyond = std::string(Mebibyte + 1, 'j') + Small_File();
    EXPECT_EQ(Read_In_Memory(beyond).findings, "error not-dicom is no DICOM file, but a text\n");
}

TEST(Preamble, TellsAFileThatIsNoneInOneLine)
{
    std::string noise;
    unsigned int state = 7;
    for (int i = 0; i < 5000; ++i) {
        state = state * 1103515245U + 12345U;
        noise += static_cast<char>(state >> 16);
    }
    const std::map<std::string, std::string> rests = {{"", ""},
                                                      {"noise", noise},
                                                      {"seven bytes", noise.substr(0, 7)},
                                                      {"file", Small_File()},
                                                      {"noise, file", noise + Small_File()}};
    For_Each_Case(Page, "none", 3, [&](const Case_Row& row) {
        const Read_File read = Read_In_Memory(row[0] + rests.at(row[1]));
        EXPECT_EQ(read.findings, "error not-dicom " + row[2] + "\n");
        EXPECT_EQ(read.elements + read.meta, "");
    });
    // An image in front of a DICOM file is junk like any other.
    EXPECT_EQ(Read_In_Memory("\x89PNG\r\n\x1A\n" + noise + Small_File()).elements, Small_Elements);
}

}  // namespace
