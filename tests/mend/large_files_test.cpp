// Files beyond what 32 bits count: values of gigabytes, and what stands behind them. The files are sparse,
// and mending leaves their holes as holes, so that neither takes room on the disk.
#include "mend/io/safe_file.h"
#include "support/mend_in_memory.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace lib_mend;

namespace fs = std::filesystem;

constexpr std::int64_t GiB = std::int64_t{1} << 30;

/** Bytes, and how many zeros follow them. */
struct Part {
    std::string bytes;
    std::int64_t zeros = 0;
};
using Parts = std::vector<Part>;

struct Large_Case {
    const char* name;
    const char* syntax;
    int frames;
    Parts parts;
    /** Findings of check; mending says the same, and more where it writes nothing. */
    std::string said;
    bool is_written = true;
    /** What the output has instead of the first part. */
    std::string first = {};
};

std::string Header(unsigned int element, const char* vr, std::int64_t length)
{
    return Stream_Builder()
        .Header(0x7FE0, element, vr, static_cast<int>(static_cast<std::uint32_t>(length)))
        .Bytes();
}

/** What stands behind the pixel data: a private value, and a sequence. */
std::string Tail()
{
    Stream_Builder s;
    s.Element(0x7FE1, 0x0010, "LO", "ACME").Element(0x7FE1, 0x1001, "LO", "behind");
    s.Sequence(0xFFFA, 0xFFFA).Item().Element(0x0400, 0x0015, "CS", "RIPEMD160 ");
    return s.Item_End().Sequence_End().Bytes();
}

std::string Number_64(std::int64_t number)
{
    std::string bytes;
    for (int i = 0; i < 8; ++i) {
        bytes += static_cast<char>(number >> 8 * i & 0xFF);
    }
    return bytes;
}
std::string Head(const Large_Case& row)
{
    Stream_Builder s;
    s.Raw(Part10_Head(row.syntax));
    s.Element(0x0008, 0x0016, "UI", Padded_UID("1.2.840.10008.5.1.4.1.1.7"));
    s.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    s.US(0x0028, 0x0002, 1).Element(0x0028, 0x0004, "CS", "MONOCHROME2 ");
    const std::string frames = std::to_string(row.frames);
    s.Element(0x0028, 0x0008, "IS", frames + std::string(frames.size() % 2, ' '));
    s.US(0x0028, 0x0010, 32768).US(0x0028, 0x0011, 32768).US(0x0028, 0x0100, 8);
    return s.US(0x0028, 0x0101, 8).US(0x0028, 0x0102, 7).US(0x0028, 0x0103, 0).Bytes();
}

class Large_Files : public testing::Test {
protected:
    void SetUp() override
    {
        folder_ = fs::temp_directory_path() / ("large_" + std::to_string(getpid()));
        fs::create_directory(folder_);
    }
    void TearDown() override
    {
        fs::remove_all(folder_);
    }
    std::string Path(const char* name) const
    {
        return (folder_ / name).string();
    }

    void Make(const Large_Case& row) const
    {
        std::ofstream file(Path("in.dcm"), std::ios::binary);
        file << Head(row);
        for (const Part& part : row.parts) {
            file << part.bytes;
            file.seekp(part.zeros, std::ios::cur);
        }
    }
    /** Reads a file and checks it, or mends it to another; the findings as lines. */
    std::string Run(const char* in, const char* out) const
    {
        Mended_File run;
        Findings findings;
        const Library_Session session(findings);
        std::string error;
        Data_Set set = Read_Data_Set(Source::Open(Path(in), error), findings);
        Encoded_File file;
        if (out == nullptr) {
            Check(set, {}, findings);
        } else if (Mend(set, {}, findings, file)) {
            const auto give = [&file](const File_Taker& taker) {
                return file.Give(taker);
            };
            error = Write_Safely(Path(out), give, false);
        }
        run.findings = findings.All();
        return error + run.Lines();
    }
    /** The parts that the output does not have where they should stand, and its size if it is wrong. */
    std::string Faults_Of_Output(const Large_Case& row) const
    {
        std::string faults;
        std::ifstream file(Path("out.dcm"), std::ios::binary);
        const auto take = [&](const std::string& bytes) {
            std::string there(bytes.size(), '\0');
            file.read(there.data(), std::ssize(there));
            faults += there != bytes ? "part at " + std::to_string(file.tellg()) + "\n" : "";
        };
        take(Head(row));
        for (std::size_t i = 0; i < row.parts.size(); ++i) {
            take(i == 0 && !row.first.empty() ? row.first : row.parts[i].bytes);
            file.seekg(row.parts[i].zeros, std::ios::cur);
        }
        const std::streamoff end = file.tellg();
        const auto size = static_cast<std::streamoff>(fs::file_size(Path("out.dcm")));
        return faults + (size != end ? "size " + std::to_string(size) + "\n" : "");
    }

    fs::path folder_;
};

Parts Joined(std::vector<Parts> lists)
{
    Parts all;
    for (const Parts& list : lists) {
        all.insert(all.end(), list.begin(), list.end());
    }
    return all;
}

Parts Native(std::int64_t length, std::int64_t size)
{
    return {{Header(0x0010, "OB", length) + "first", size - 9}, {"last" + Tail()}};
}

std::string Tables(const std::vector<std::int64_t>& offsets,
                   const std::vector<std::int64_t>& lengths)
{
    std::string bytes = Header(0x0001, "OV", 8 * std::ssize(offsets));
    for (const std::int64_t offset : offsets) {
        bytes += Number_64(offset);
    }
    bytes += Header(0x0002, "OV", 8 * std::ssize(lengths));
    for (const std::int64_t length : lengths) {
        bytes += Number_64(length);
    }
    return bytes;
}

std::string Pixels(const std::string& table)
{
    return Header(0x0010, "OB", -1) +
           Stream_Builder().Item(static_cast<int>(table.size())).Raw(table).Bytes();
}

Parts Fragments(const std::vector<std::int64_t>& sizes)
{
    Parts parts;
    for (const std::int64_t size : sizes) {
        Stream_Builder item;
        item.Item(static_cast<int>(static_cast<std::uint32_t>(size))).Raw("\xFF\xD8\xFF\xE0");
        parts.push_back({item.Bytes(), size - 6});
        parts.push_back({"\xFF\xD9"});
    }
    parts.push_back({Stream_Builder().Sequence_End().Bytes() + Tail()});
    return parts;
}

TEST_F(Large_Files, values_and_places_beyond_32_bits)
{
    constexpr const char* Native_Syntax = "1.2.840.10008.1.2.1";
    constexpr const char* JPEG = "1.2.840.10008.1.2.4.50";
    constexpr std::int64_t Longest = 0xFFFFFFFE;
    const std::vector<std::int64_t> twenty(20, GiB);
    std::vector<std::int64_t> offsets;
    for (int i = 0; i < 20; ++i) {
        offsets.push_back(i * (GiB + 8));
    }
    const std::vector<std::int64_t> longest(5, Longest);
    std::vector<std::int64_t> places;
    for (int i = 0; i < 5; ++i) {
        places.push_back(i * (Longest + 8));
    }
    std::vector<std::int64_t> wrong_places = places;
    wrong_places[4] += 2;
    std::vector<std::int64_t> wrong_lengths = longest;
    wrong_lengths[4] -= 2;
    const std::string wrong_table(20, '\x01');

    const std::vector<Large_Case> rows = {
        {"native, below 2 GiB and behind it", Native_Syntax, 3, Native(3 * GiB, 3 * GiB), ""},
        {"longest value", Native_Syntax, 3, Native(Longest, Longest),
         "kept pixel-excess (7fe0,0010) 1073741822 bytes more than the image has\n"},
        {"no length for it", Native_Syntax, 4, Native(0, 4 * GiB),
         "error value-length (7fe0,0010) the length is 0, but 4294967296 bytes fit what follows, "
         "which no length of 32 bits can tell; so large an image is stored in fragments, "
         "compressed or not (PS3.5 sections A.4 and A.4.11), or in several files\n",
         false},
        {"low bits of its length, and damage behind it",
         Native_Syntax,
         5,
         {{Header(0x0010, "OB", 5 * GiB) + "first", 5 * GiB - 9}, {"last????????????" + Tail()}},
         "error value-length (7fe0,0010) the length is 1073741824, but 5368709120 bytes fit what "
         "follows, which no length of 32 bits can tell; so large an image is stored in fragments, "
         "compressed or not (PS3.5 sections A.4 and A.4.11), or in several files\n"
         "error garbage (0000,0000) 12 bytes from 5368709532 on are no elements; they are "
         "skipped\n",
         false},
        {"20 GB in fragments", JPEG, 20,
         Joined({{{Tables(offsets, twenty) + Pixels("")}}, Fragments(twenty)}), ""},
        {"wrong extended tables", JPEG, 5,
         Joined({{{Tables(wrong_places, wrong_lengths) + Pixels("")}}, Fragments(longest)}),
         "change offset-table (7fe0,0001) the extended offset table does not fit the fragments; "
         "made anew from them\n"
         "change offset-table (7fe0,0002) the lengths of frames do not fit the fragments; made "
         "anew from them\n",
         true, Tables(places, longest) + Pixels("")},
        {"table that 32 bits cannot hold", JPEG, 5,
         Joined({{{Pixels(wrong_table)}}, Fragments(longest)}),
         "change offset-table (7fe0,0010[0]/fffe,e000) the offset table is wrong; it is emptied, "
         "for 32 bits do not reach the frames\n",
         true, Pixels("")},
    };
    for (const Large_Case& row : rows) {
        SCOPED_TRACE(row.name);
        Make(row);
        const std::string not_written =
            "error not-written (7fe0,0010) a value of 4 GiB and more cannot be written\n";
        const std::string said = row.said + (row.is_written ? "" : not_written);
        EXPECT_EQ(said, Run("in.dcm", nullptr));
        EXPECT_EQ(said, Run("in.dcm", "out.dcm"));
        EXPECT_EQ(row.is_written, fs::exists(Path("out.dcm")));
        if (row.is_written) {
            EXPECT_EQ("", Faults_Of_Output(row));
#ifndef _WIN32
            struct stat status = {};
            ASSERT_EQ(0, stat(Path("out.dcm").c_str(), &status));
            constexpr std::int64_t Little = 1 << 20;
            EXPECT_LT(512 * status.st_blocks, Little);
#endif
            fs::remove(Path("out.dcm"));
        }
    }
}

}  // namespace
