// Group 0002 with faults.
#include "support/case_page.h"
#include "support/read_in_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace {

using namespace std::string_literals;

constexpr char Uid[] = "1.2.840.10008.1.2.1";
constexpr char Group[] = "0002,0001=\1\n"
                         "0002,0002=1.2.840.10008.5.1.4.1.1.7\n"
                         "0002,0003=1.2.3.4\n"
                         "0002,0010=1.2.840.10008.1.2.1\n"
                         "0002,0012=1.2.3\n";

std::string Envelope(const std::string& group)
{
    return std::string(128, '\0') + "DICM" + group + Small_Data_Set();
}

/** Group 0002 in one of the byte-order codes, with a length that is off by `excess`. */
std::string Meta(unsigned char code, int excess = 0)
{
    Stream_Builder group(code);
    group.Element(0x0002, 0x0001, "OB", "\0\1"s);
    group.Element(0x0002, 0x0002, "UI", Padded_UID("1.2.840.10008.5.1.4.1.1.7"));
    group.Element(0x0002, 0x0003, "UI", Padded_UID("1.2.3.4"));
    group.Element(0x0002, 0x0010, "UI", Padded_UID(Uid));
    group.Element(0x0002, 0x0012, "UI", Padded_UID("1.2.3"));
    const int size = static_cast<int>(group.Bytes().size()) + excess;
    return Stream_Builder(code).Header(2, 0, "UL", 4).Int(size).Raw(group.Bytes()).Bytes();
}

std::string Without_Length(const std::string& meta)
{
    return meta.substr(meta.find('\n') + 1);
}

TEST(Meta_Group, IsReadInEveryForm)
{
    For_Each_Case("mend/reading/meta_group.cases", "forms", 6, [](const Case_Row& row) {
        std::string group = Meta(static_cast<unsigned char>(row.Number(1)), row.Number(4));
        ASSERT_NE(group.find(row[2]), group.npos);
        group.replace(group.find(row[2]), row[2].size(), row[3]);
        const Read_File read = Read_In_Memory(Envelope(group));
        const std::string version = row[0] == "other version" ? "0002,0001=\2\n" : "";
        const std::string meta = read.meta.substr(read.meta.find("0002,0001"));
        EXPECT_EQ(meta.substr(version.size()), std::string(Group).substr(version.size()));
        EXPECT_EQ(read.findings, row[5]);
        EXPECT_EQ(read.skipped, row[0] == "garbage" ? "garbage that is no element" : "");
        EXPECT_EQ(read.syntax, Uid);
        std::string elements = Small_Elements;
        if (row[0] == "stray") {
            elements.insert(elements.find("0010,0010"), "0008,0070=ACME\n");
        }
        EXPECT_EQ(read.elements, elements);
    });
}

TEST(Meta_Group, TakesFromASecondWhatTheFirstLacks)
{
    Stream_Builder second;
    second.Element(0x0002, 0x0003, "UI", Padded_UID("1.2.3.5"));
    second.Element(0x0002, 0x0010, "UI", Padded_UID(Uid));
    second.Element(0x0002, 0x0013, "SH", "NAME");
    Stream_Builder group;
    group.Header(2, 0, "UL", 4).Int(static_cast<int>(second.Bytes().size())).Raw(second.Bytes());
    constexpr char Findings[] =
        "change file-meta a second file meta information follows; what the first lacks is taken "
        "from it\n"
        "error lost (0002,0003) stands in a second file meta information with another value, which "
        "is left out\n";
    const std::string envelope = std::string(128, '\0') + "DICM";
    for (const std::string& between : {std::string(), envelope, "DICM"s}) {
        const Read_File read = Read_In_Memory(Envelope(Meta(8) + between + group.Bytes()));
        EXPECT_EQ(Without_Length(read.meta), Group + "0002,0013=NAME\n"s);
        EXPECT_EQ(read.findings, Findings);
        EXPECT_EQ(read.elements, Small_Elements);
    }
}

/** Elements of the sound group that are not in another. */
int Missing(const std::string& meta)
{
    std::istringstream lines(Group);
    int missing = 0;
    for (std::string line; std::getline(lines, line);) {
        missing += meta.find(line + "\n") == std::string::npos ? 1 : 0;
    }
    return missing;
}

TEST(Meta_Group, LosesOneElementToAWrongByteAtTheMost)
{
    const std::string sound = Envelope(Meta(8));
    const std::size_t end = sound.size() - Small_Data_Set().size();
    for (std::size_t place = 132; place < end; ++place) {
        for (const int change : {0x01, 0x02, 0x20, 0x80, 0xFF}) {
            std::string bytes = sound;
            bytes[place] = static_cast<char>(bytes[place] ^ change);
            const Read_File read = Read_In_Memory(bytes);
            ASSERT_EQ(read.elements, Small_Elements) << place << " " << change << read.findings;
            ASSERT_LE(Missing(read.meta), 1) << place << " " << change << read.meta;
        }
    }
}

TEST(Meta_Group, GivesUpSearchesThatFindNothing)
{
    // Headers of the group that lead nowhere: a search behind each would read 64 KiB.
    std::string bytes = std::string(128, '\0') + "DICM";
    for (int i = 0; i < 50000; ++i) {
        bytes += "\2\0\x10\0UI\0\0"s;
    }
    const Read_File read = Read_In_Memory(bytes + Small_Data_Set());
    EXPECT_EQ(read.elements, Small_Elements);
}

}  // namespace
