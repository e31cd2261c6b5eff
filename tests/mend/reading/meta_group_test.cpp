// Group 0002 with faults.
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

/** The sound group with `from` replaced by `to`, which changes no length. */
std::string Changed(std::string_view from, std::string_view to)
{
    std::string group = Meta(8);
    return group.replace(group.find(from), from.size(), to);
}

std::string Without_Length(const std::string& meta)
{
    return meta.substr(meta.find('\n') + 1);
}

TEST(Meta_Group, IsReadInEveryForm)
{
    struct Case {
        const char* name;
        std::string group;
        std::string findings;
        std::string skipped = {};
    };
    Stream_Builder no_length;
    no_length.Raw(Meta(8).substr(12));
    const std::string stray = Stream_Builder().Element(0x0008, 0x0070, "LO", "ACME").Bytes();
    const std::string at_0010("\2\0\x10\0UI", 6);
    const std::string with_stray = [&] {
        std::string group = Meta(8, static_cast<int>(stray.size()));
        return group.insert(group.find(at_0010), stray);
    }();
    const std::string garbage = "garbage that is no element";
    const std::string with_garbage = [&] {
        std::string group = Meta(8, static_cast<int>(garbage.size()));
        return group.insert(group.find(at_0010), garbage);
    }();
    const Case cases[] = {
        {"sound", Meta(8), ""},
        {"implicit", Meta(0), "change file-meta the file meta information is in implicit VR\n"},
        {"big endian", Meta(9), "change file-meta the file meta information is in big endian\n"},
        {"small letters", Changed("\x10\0UI"s, "\x10\0ui"s),
         "change vr (0002,0010) VR=UI stands in small letters\n"},
        {"no letters", Changed("\x10\0UI"s, "\x10\0--"s),
         "change vr (0002,0010) has a VR that does not exist, and is taken as UI\n"},
        {"zeros, long", Changed("\1\0OB"s, "\1\0\0\0"s),
         "change vr (0002,0001) has a VR that does not exist, and is taken as OB\n"},
        {"another VR", Changed("\x10\0UI"s, "\x10\0LO"s),
         "change vr (0002,0010) VR=LO is replaced by UI\n"},
        {"VR of another width", Changed("\x10\0UI"s, "\x10\0UN"s),
         "change header (0002,0010) the length of VR=UN has the width of another VR\n"
         "change vr (0002,0010) VR=UN is replaced by UI\n"},
        {"length too long", Changed("\3\0UI\x08"s, "\3\0UI\x0A"s),
         "change value-length (0002,0003) the length does not fit; the value ends where the next "
         "part begins\n"},
        {"length beyond the file", Changed("\x12\0UI\6\0"s, "\x12\0UI\6\xF0"s),
         "change value-length (0002,0012) the length does not fit; the value ends where the next "
         "part begins\n"},
        {"damaged tag", Changed("\2\0\x10\0UI"s, "\2\1\x10\0UI"s),
         "change header (0002,0010) is taken for the element that stands as (0102,0010)\n"},
        {"damaged last tag", Changed("\2\0\x12\0UI"s, "\3\0\x12\0UI"s),
         "change header (0002,0012) is taken for the element that stands as (0003,0012)\n"},
        {"reserved bytes", Changed("\1\0OB\0"s, "\1\0OB\1"s),
         "change header (0002,0001) the reserved bytes of the header are not zero\n"},
        {"group length too long by one", Meta(8, 1),
         "change file-meta (0002,0000) the group length does not fit the file meta information: "
         "107 > 106\n"},
        {"group length too short by one", Meta(8, -1),
         "change file-meta (0002,0000) the group length does not fit the file meta information: "
         "105 > 106\n"},
        {"group length of zero", Meta(8, -106),
         "change file-meta (0002,0000) the group length does not fit the file meta information: "
         "0 > 106\n"},
        {"no group length", no_length.Bytes(),
         "change file-meta (0002,0000) the file meta information has no group length\n"},
        {"other version", Changed("\2\0\0\0\0\1"s, "\2\0\0\0\0\2"s),
         "kept file-meta (0002,0001) is another version than 1, the only one that there is\n"},
        {"garbage", with_garbage,
         "error garbage 26 bytes in the file meta information are no element, and left out\n",
         garbage},
        {"stray", with_stray,
         "change file-meta (0008,0070) does not belong in the file meta information, and moves to "
         "the data set\n"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const Read_File read = Read_In_Memory(Envelope(each.group));
        const std::string version = each.name == "other version"s ? "0002,0001=\2\n" : "";
        const std::string meta = read.meta.substr(read.meta.find("0002,0001"));
        EXPECT_EQ(meta.substr(version.size()), std::string(Group).substr(version.size()));
        EXPECT_EQ(read.findings, each.findings);
        EXPECT_EQ(read.skipped, each.skipped);
        EXPECT_EQ(read.syntax, Uid);
        std::string elements = Small_Elements;
        if (each.name == "stray"s) {
            elements.insert(elements.find("0010,0010"), "0008,0070=ACME\n");
        }
        EXPECT_EQ(read.elements, elements);
    }
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
