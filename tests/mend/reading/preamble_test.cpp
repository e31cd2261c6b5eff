// Files that do not begin with 128 bytes and "DICM", and files that are none.
#include "support/read_in_memory.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

const std::string& Group_And_Data()
{
    static const std::string bytes = Small_File().substr(132);
    return bytes;
}

std::string Zeros(std::size_t count)
{
    return std::string(count, '\0');
}

TEST(Preamble, IsFoundWhateverStandsInItsPlace)
{
    const std::string& rest = Group_And_Data();
    const std::string junk(300, 'j');
    const std::string in_explicit = "the data set is in explicit VR little endian\n";
    const std::string bare =
        "change preamble no preamble and no file meta information; " + in_explicit;
    const std::string no_group = "change file-meta no file meta information; " + in_explicit;
    const Small_File_Case cases[] = {
        {"sound", Small_File(), ""},
        {"in use", "II*\0"s + Zeros(124) + "DICM" + rest,
         "info preamble-used the preamble holds data of an application, which the output does "
         "not\n"},
        {"none", "DICM" + rest, "change preamble \"DICM\" stands without a preamble\n"},
        {"none, and no prefix", rest, "change preamble no preamble\n"},
        {"127 zeros", Zeros(127) + "DICM" + rest,
         "change preamble the preamble has 127 bytes instead of 128\n"},
        {"129 zeros", Zeros(129) + "DICM" + rest,
         "change preamble the preamble has 129 bytes instead of 128\n"},
        {"stray byte", "x" + Small_File(),
         "change preamble 1 byte stands in front of the preamble\n", "x"},
        {"junk", junk + Small_File(), "change preamble 300 bytes stand in front of the preamble\n",
         junk},
        {"junk and no preamble", junk + "DICM" + rest,
         "change preamble 172 bytes stand in front of the preamble\n"
         "info preamble-used the preamble holds data of an application, which the output does "
         "not\n",
         junk.substr(128)},
        {"junk and no prefix", junk + rest,
         "change preamble 300 bytes stand in front of the file meta information\n", junk},
        {"junk and a wrong prefix", junk + Zeros(128) + "DICN" + rest,
         "change preamble 300 bytes stand in front of the preamble, and the prefix \"DICM\" is "
         "misspelt\n",
         junk},
        {"wrong letter", Zeros(128) + "DJCM" + rest,
         "change preamble the prefix \"DICM\" is misspelt\n"},
        {"small letters", Zeros(128) + "dicm" + rest,
         "change preamble the prefix \"DICM\" is misspelt\n"},
        {"other letters", Zeros(128) + "ABCM" + rest,
         "change preamble other bytes stand in the place of \"DICM\"\n"},
        {"wrong letter, no preamble", "DICm" + rest,
         "change preamble the prefix \"DICM\" is misspelt and stands without a preamble\n"},
        {"zeros only", Zeros(128) + rest,
         "change preamble no \"DICM\" stands behind the preamble\n"},
        {"no group", Zeros(128) + "DICM" + Small_Data_Set(), no_group},
        {"no group, no prefix", Zeros(128) + Small_Data_Set(),
         ("change preamble no \"DICM\" stands behind the preamble\n" + no_group)},
        {"nothing", Small_Data_Set(), bare},
        {"junk and nothing", junk + Small_Data_Set(),
         ("change preamble 300 bytes stand in front of the data set\n" + bare), junk},
    };
    Expect_Small_Files(cases);
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
    const std::pair<std::string, const char*> files[] = {
        {"", "is empty"},
        {Zeros(1), "holds nothing but zeros"},
        {Zeros(200000), "holds nothing but zeros"},
        {"root:x:0:0:root:/root:/bin/bash\n", "is no DICOM file, but a text"},
        {std::string(70000, 'a') + "\xC3\xA4\n", "is no DICOM file, but a text"},
        {"\x89PNG\r\n\x1A\n" + noise, "is no DICOM file, but a PNG image"},
        {"\xFF\xD8\xFF\xE0" + noise, "is no DICOM file, but a JPEG image"},
        {"%PDF-1.7\n" + noise, "is no DICOM file, but a PDF document"},
        {"\x1F\x8B\x08" + noise, "is no DICOM file, but a gzip file"},
        {"PK\3\4" + noise + Small_File(), "is no DICOM file, but a ZIP archive; unpack it first"},
        {std::string(257, 'n') + "ustar" + Zeros(250) + Small_File(),
         "is no DICOM file, but a tar archive; unpack it first"},
        {"\1" + noise, "is no DICOM file"},
        {noise.substr(0, 7), "is no DICOM file"},
    };
    for (const auto& [bytes, text] : files) {
        const Read_File read = Read_In_Memory(bytes);
        EXPECT_EQ(read.findings, "error not-dicom "s + text + "\n");
        EXPECT_EQ(read.elements + read.meta, "");
    }
    // An image in front of a DICOM file is junk like any other.
    EXPECT_EQ(Read_In_Memory("\x89PNG\r\n\x1A\n" + noise + Small_File()).elements, Small_Elements);
}

}  // namespace
