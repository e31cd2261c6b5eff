// Files inside the frame of a compression.
#include "support/read_in_memory.h"

#include <gtest/gtest.h>
#include <zlib.h>

namespace {

using namespace std::string_literals;

constexpr int Gzip_Window = 15 + 16;
constexpr int Zlib_Window = 15;
constexpr int Raw_Window = -15;
constexpr std::size_t Mebibyte = std::size_t{1} << 20;

std::string Compressed(const std::string& bytes, int window)
{
    z_stream stream = {};
    EXPECT_EQ(deflateInit2(&stream, 9, Z_DEFLATED, window, 8, Z_DEFAULT_STRATEGY), Z_OK);
    std::string out(bytes.size() + 1000, '\0');
    std::string in = bytes;
    stream.next_in = reinterpret_cast<Bytef*>(in.data());
    stream.avail_in = static_cast<uInt>(in.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

std::string Exchanged(std::string bytes)
{
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        std::swap(bytes[i], bytes[i + 1]);
    }
    return bytes;
}

TEST(Wrapper, IsTakenOff)
{
    const std::string file = Small_File();
    const std::string gzip = Compressed(file, Gzip_Window);
    const std::string zlib = Compressed(file, Zlib_Window);
    const std::string head = Part10_Head("1.2.840.10008.1.2.1.99");
    const std::string taken =
        "change wrapper the file stands in a gzip wrapper, and is taken out of it\n";
    std::string wrong_sum = gzip;
    wrong_sum[wrong_sum.size() - 8] ^= 1;
    const Small_File_Case cases[] = {
        {"gzip", gzip, taken},
        {"zlib", zlib,
         "change wrapper the file stands in a zlib wrapper, and is taken out of it\n"},
        {"two members",
         Compressed(file.substr(0, 200), Gzip_Window) + Compressed(file.substr(200), Gzip_Window),
         taken},
        {"gzip in zlib in gzip", Compressed(Compressed(gzip, Zlib_Window) + "x", Gzip_Window),
         taken +
             "change wrapper the file stands in a zlib wrapper, and is taken out of it\n"
             "change trailing 1 byte stands behind the zlib wrapper\n" +
             taken,
         "x"},
        {"one byte behind", gzip + "x",
         (taken + "change trailing 1 byte stands behind the gzip wrapper\n"), "x"},
        {"bytes behind", gzip + "xyz",
         (taken + "change trailing 3 bytes stand behind the gzip wrapper\n"), "xyz"},
        {"wrong sum", wrong_sum,
         (taken + "error truncated the gzip wrapper is damaged: incorrect data check\n")},
        {"cut off", gzip.substr(0, gzip.size() - 8),
         (taken + "error truncated the gzip wrapper is damaged: it is cut off\n")},
        {"exchanged", Exchanged(file),
         "change wrapper the bytes of each pair are exchanged throughout the file\n"},
        {"deflated in gzip",
         Compressed(head + Compressed(Small_Data_Set(), Raw_Window), Gzip_Window), taken},
        {"data set in zlib", head + Compressed(Small_Data_Set(), Zlib_Window),
         "change deflated the deflated data set stands in the wrapper of another format\n"},
        {"bytes behind the stream", head + Compressed(Small_Data_Set(), Raw_Window) + "xy",
         "change deflated 2 bytes stand behind the deflated data set\n", "xy"},
        {"the byte that pads it", head + Compressed(Small_Data_Set(), Raw_Window) + "\0"s, ""},
        {"declared only", head + Small_Data_Set(),
         "change transfer-syntax (0002,0010) another transfer syntax is declared, but the data set "
         "is in explicit VR little endian: 1.2.840.10008.1.2.1.99 > 1.2.840.10008.1.2.1\n"},
        {"not declared", Part10_Head("") + Compressed(Small_Data_Set(), Raw_Window),
         "change transfer-syntax (0002,0010) no transfer syntax is given; the data set is in "
         "deflated explicit VR little endian\n"},
        {"bare", Compressed(Small_Data_Set(), Raw_Window),
         "change preamble no preamble and no file meta information; the data set is in deflated "
         "explicit VR little endian\n"},
    };
    Expect_Small_Files(cases);
    // The same by way of a file, from the first byte on.
    Expect_Small_Files(cases, {.in_memory = 0});
}

TEST(Wrapper, OfATextOrOfTooManyLayersStays)
{
    const std::string none = "error not-dicom is no DICOM file, but a gzip file\n";
    EXPECT_EQ(Read_In_Memory(Compressed("no DICOM file\n", Gzip_Window)).findings, none);
    std::string packed = Small_File();
    for (int layer = 0; layer < 4; ++layer) {
        packed = Compressed(packed, Gzip_Window);
    }
    EXPECT_EQ(Read_In_Memory(packed).elements, Small_Elements);
    EXPECT_EQ(Read_In_Memory(Compressed(packed, Gzip_Window)).findings, none);
}

TEST(Wrapper, MayNotGrowOutOfProportion)
{
    const std::string bomb = Compressed(Small_File() + std::string(Mebibyte, '\0'), Gzip_Window);
    const std::string twice = Compressed(bomb, Gzip_Window);
    const auto inflated = static_cast<std::int64_t>(Small_File().size() + Mebibyte);
    const std::pair<std::string, std::int64_t> cases[] = {
        {bomb, inflated - 200 * std::ssize(bomb)},
        // All layers count.
        {twice, inflated + std::ssize(bomb) - 200 * std::ssize(twice)},
    };
    for (const auto& [file, allowed] : cases) {
        EXPECT_EQ(Read_In_Memory(file, {.always_inflated = allowed}).findings.find("proportion"),
                  std::string::npos);
        const Read_File read = Read_In_Memory(file, {.always_inflated = allowed - 1});
        EXPECT_NE(read.findings.find(
                      "error truncated the gzip wrapper is damaged: it grows out of proportion\n"),
                  std::string::npos)
            << read.findings;
        EXPECT_EQ(read.elements, Small_Elements);
    }
}

}  // namespace
