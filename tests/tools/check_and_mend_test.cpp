// The command line as its users call it: check and mend say the same and end with the same status, and
// files are refused in plain words.
#include "mend/io/deflate.h"
#include "support/case_page.h"
#include "support/fault_generator.h"
#include "support/read_in_memory.h"
#include "support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

struct Outcome {
    int status = -1;
    /** Standard output and standard error together. */
    std::string text;
};

/** Runs a command line of the shell. */
Outcome Run_Shell(const std::string& line)
{
    Outcome run;
    FILE* const pipe = popen(("{ " + line + "; } 2>&1").c_str(), "r");
    char block[4096];
    for (std::size_t count = 1; pipe != nullptr && count > 0;) {
        count = std::fread(block, 1, sizeof block, pipe);
        run.text.append(block, count);
    }
    const int status = pipe != nullptr ? pclose(pipe) : -1;
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

Outcome Run_Tool(const std::string& arguments)
{
    return Run_Shell(std::string(DICOM_MEND_PROGRAM) + " " + arguments);
}

class Tool : public testing::Test, public Scratch_Folder {
protected:
    static std::string Contents(const std::string& path)
    {
        std::ifstream stream(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    void Compare(const std::string& path, const std::string& options) const
    {
        const Outcome check = Run_Tool("check " + options + " '" + path + "'");
        const Outcome mend =
            Run_Tool("mend --force " + options + " '" + path + "' " + Path("out.dcm"));
        EXPECT_EQ(mend.text, check.text);
        EXPECT_EQ(check.status, mend.status) << path;
    }
};

TEST_F(Tool, ChecksAndMendsInTheSameWords)
{
    int files = 0;
    const char* const samples = std::getenv("LIB_DICOM_SAMPLES");
    if (samples != nullptr) {
        for (const fs::directory_entry& entry : fs::directory_iterator(samples)) {
            if (entry.path().extension() == ".dcm") {
                Compare(entry.path().string(), "");
                ++files;
            }
        }
        std::printf("samples compared: %d files\n", files);
        return;
    }
    for (const Sound_File& sound : Made_Sound_Files()) {
        Compare(Write("sound.dcm", sound.bytes), "");
        ++files;
    }
    // All kinds are compared in memory, with all options; these go through the command line.
    int kinds = 0;
    For_Each_Fault(Made_Sound_Files().front(), 1, [&](const Fault_Case& fault) {
        SCOPED_TRACE(fault.kind);
        if (++kinds % 4 != 0) {
            return;
        }
        Compare(Write("fault.dcm", fault.bytes), files % 2 == 0 ? "" : "--strict --replace-uids");
        ++files;
    });
    std::printf("generated files compared: %d\n", files);
    EXPECT_GT(files, 15);
}

TEST_F(Tool, RefusesWhatIsNoFile)
{
    const std::string out = Path("out.dcm");
    const std::string text = Write("text", "root:x:0:0:root:/root:/bin/bash\n");
    const std::pair<std::string, std::string> cases[] = {
        {"/dev/zero", "/dev/zero: error: is a device, not a file\n"},
        {"/dev/urandom", "/dev/urandom: error: is a device, not a file\n"},
        {text, text + ": error: is no DICOM file, but a text (PS3.10 7.1)\n"},
    };
    for (const auto& [path, expected] : cases) {
        for (const std::string& command : {"check " + path, "mend " + path + " " + out}) {
            const Outcome run = Run_Tool(command);
            EXPECT_EQ(run.text, expected);
            EXPECT_EQ(run.status, 2);
        }
    }
    EXPECT_FALSE(fs::exists(out));
}

/** Folders stand for their files, and nothing leads out of them. */
TEST_F(Tool, ComparesTheFilesOfFolders)
{
    const std::string study = Path("study");
    fs::create_directories(study + "/b/c");
    const std::string sound = Made_Sound_Files().front().bytes;
    std::ofstream(study + "/b/c/2.dcm", std::ios::binary) << sound;
    std::ofstream(study + "/b/1.dcm", std::ios::binary) << sound;
    std::ofstream(study + "/text") << "no DICOM";
    fs::create_directory_symlink("..", study + "/loop");
    fs::create_symlink("b/1.dcm", study + "/link.dcm");
    ASSERT_EQ(mkfifo((study + "/fifo").c_str(), 0600), 0);
    const std::string named = study + "/b/../b/1.dcm";
    const Outcome run = Run_Tool("check -v --study " + study + " " + named + " | grep -v 0x");
    const std::string left_out =
        study + "/text: info: is no DICOM file, and is left out [not-compared]\n";
    EXPECT_THAT(run.text, testing::HasSubstr(left_out));
    const Outcome twins =
        Run_Tool("check -v --study " + study + " " + named + " 2>/dev/null | grep same");
    EXPECT_THAT(twins.text,
                testing::MatchesRegex(study + "/b/c/2.dcm: info: .* the same instance is in " +
                                      study + "/b/1.dcm.*\n"));
    // What is named itself has to be there, and to be DICOM.
    EXPECT_EQ(Run_Tool("check --study " + study + "/none").status, 2);
    EXPECT_EQ(Run_Tool("check --study " + study + "/text").status, 2);
}

TEST_F(Tool, ReadsPipesToTheirEnd)
{
    const std::string path = Write("small.dcm", Small_File());
    EXPECT_EQ(Run_Tool("check " + path).text, Run_Tool("check <" + path + " /dev/stdin").text);
    const std::string fifo = Path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const std::string feed = "cat " + path + " >" + fifo + " & ";
    FILE* const shell = popen((feed + "true").c_str(), "r");
    const Outcome run = Run_Tool("list --format tsv " + fifo);
    pclose(shell);
    EXPECT_EQ(run.text, Run_Tool("list --format tsv " + path).text);
    EXPECT_EQ(run.status, 0);
}

std::string Deflated_File(const std::string& data_set)
{
    const lib_mend::Bytes deflated = lib_mend::Deflated(
        {reinterpret_cast<const unsigned char*>(data_set.data()), data_set.size()});
    return Part10_Head("1.2.840.10008.1.2.1.99") + std::string(deflated.begin(), deflated.end());
}

/** A data set that is larger than what is kept in memory, of bytes that follow no pattern. */
std::string Large_Data_Set()
{
    std::string pixels(std::size_t{5} << 20, '\0');
    unsigned int state = 1;
    for (char& byte : pixels) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>(state >> 24);
    }
    Stream_Builder stream;
    stream.Element(0x7FE0, 0x0010, "OW", pixels);
    return Small_Data_Set() + stream.Bytes();
}

TEST_F(Tool, KeepsWhatComesOnceInAFile)
{
    const std::string data_set = Large_Data_Set();
    const std::string plain = Write("plain", Part10_Head("1.2.840.10008.1.2.1") + data_set);
    const std::string deflated = Write("deflated", Deflated_File(data_set));
    const std::string plain_out = Path("plain.out");
    const std::string out = Path("out");
    Run_Tool("mend " + plain + " " + plain_out);
    const std::string wanted = Contents(plain_out);
    ASSERT_EQ(wanted.size(), Contents(plain).size());
    const std::string mend = DICOM_MEND_PROGRAM + std::string(" mend --force ");
    const std::string unpacked = "; " + mend + "--syntax explicit-little " + plain_out + " " + out;
    const std::string sound[] = {
        {"cat " + plain + " | " + mend + "/dev/stdin " + out},
        {"gzip -1c " + plain + " | " + mend + "/dev/stdin " + out},
        {mend + "--syntax explicit-little " + deflated + " " + out},
        {"cat " + deflated + " | " + mend + "/dev/stdin " + plain_out + unpacked},
    };
    for (const std::string& command : sound) {
        fs::remove(out);
        Run_Shell(command);
        EXPECT_TRUE(Contents(out) == wanted) << command;
    }
    fs::remove(out);
    // A pipe of the shell, without a folder for the file, and without room for it.
    const std::string file = Path("text");
    const std::string kept = "its bytes cannot be kept in a temporary file in ";
    const std::string advice = "; set TMPDIR to a folder with room for them";
    const struct {
        std::string command;
        std::string text;
    } failing[] = {
        {"cat " + plain + " | TMPDIR=/nowhere " + mend + "/dev/stdin " + out,
         "/dev/stdin: error: " + kept + "/nowhere: No such file or directory" + advice + "\n"},
        {"export TMPDIR=" + plain + "; " + mend + deflated + " " + out,
         deflated + ": error: cannot be unpacked: " + kept + plain + ": Not a directory" + advice +
             "\n"},
        {"trap '' XFSZ; ulimit -f 2048; TMPDIR=" + Path("") + " " + mend + deflated + " " + out,
         deflated + ": error: cannot be unpacked: " + kept + Path("") + ": File too large" +
             advice + "\n"},
    };
    for (const auto& [command, text] : failing) {
        const Outcome run = Run_Shell(command);
        EXPECT_EQ(run.text, text);
        EXPECT_EQ(run.status, 2);
    }
    EXPECT_FALSE(fs::exists(out));
}

TEST_F(Tool, ListsAnyDepth)
{
    Stream_Builder stream;
    constexpr int Levels = 100'000;
    for (int i = 0; i < Levels; ++i) {
        stream.Sequence(0x0008, 0x1140).Item();
    }
    stream.US(0x0028, 0x0010, 7);
    for (int i = 0; i < Levels; ++i) {
        stream.Item_End().Sequence_End();
    }
    const std::string path = Write("deep.dcm", Part10_Head("1.2.840.10008.1.2.1") + stream.Bytes());
    for (const char* const format : {"text", "tsv"}) {
        const Outcome run = Run_Tool(std::string("list --format ") + format + " " + path);
        EXPECT_EQ(run.status, 0) << run.text.substr(0, 1000);
        EXPECT_NE(run.text.find(format[1] == 'e' ? "Rows" : "/0028,0010\tUS\t2\t0700\n"),
                  std::string::npos)
            << format;
    }
}

TEST_F(Tool, ListsValuesAsTheyAreWritten)
{
    For_Each_Case("tools/list.cases", "values", 3, [&](const Case_Row& row) {
        Stream_Builder stream;
        stream.Element(0x0008, 0x0005, "CS", "ISO_IR 100").Element(0x0009, 0x0010, "LO", "ACME");
        stream.Element(0x0009, 0x1001, row[0], row[1]);
        const std::string path =
            Write("value.dcm", Part10_Head("1.2.840.10008.1.2.1") + stream.Bytes());
        const std::string text = Run_Tool("list " + path).text;
        const std::size_t at = text.find("(0009,1001) ");
        ASSERT_NE(at, std::string::npos) << text;
        EXPECT_EQ(text.substr(at + 12), row[2] + "\n");
    });
}

TEST_F(Tool, ShowsWhatIsAskedForAndWhatIsOther)
{
    Stream_Builder one;
    one.Element(0x0008, 0x0020, "DA", "20200101").Element(0x0008, 0x1110, "SQ", "");
    one.Sequence(0x0008, 0x1140).Item().Element(0x0008, 0x1155, "UI", "1.2.3 ").Item_End();
    one.Item()
        .Element(0x0008, 0x1155, "UI", "1.2.4 ")
        .Element(0x0010, 0x0020, "LO", "A")
        .Item_End();
    one.Item().Item_End().Sequence_End();
    one.Element(0x0010, 0x0020, "LO", "ACME  ").US(0x0028, 0x0010, 258);
    one.Element(0x7FE0, 0x0010, "OW", std::string(200, 'x'));
    Stream_Builder other(DICOM_Order_Explicit_VR | DICOM_Order_Big_Endian);
    other.Element(0x0008, 0x0020, "DA", "20200102").Element(0x0008, 0x0060, "CS", "CT");
    other.Sequence(0x0008, 0x1140).Item().Element(0x0008, 0x1155, "UI", "1.2.3").Item_End();
    other.Item().Element(0x0008, 0x1155, "UI", "1.2.5 ").Element(0x0010, 0x0020, "LO", "A ");
    other.Item_End().Sequence_End();
    other.Element(0x0010, 0x0020, "SH", "ACME").US(0x0028, 0x0010, 258);
    other.Element(0x7FE0, 0x0010, "OW", std::string(199, 'x') + "y");
    Write("one.dcm", Part10_Head("1.2.840.10008.1.2.1") + one.Bytes());
    Write("other.dcm", Part10_Head("1.2.840.10008.1.2.2") + other.Bytes());
    For_Each_Case("tools/command_lines.cases", "lines", 3, [&](const Case_Row& row) {
        const Outcome run =
            Run_Shell("cd '" + Path(".") + "' && T=" DICOM_MEND_PROGRAM " && $T " + row[0]);
        EXPECT_EQ(std::to_string(run.status), row[1]);
        EXPECT_EQ(run.text, row[2]);
    });
}

TEST_F(Tool, ListsNestedItems)
{
    Stream_Builder stream(DICOM_Order_Explicit_VR | DICOM_Order_Big_Endian);
    stream.Sequence(0x0040, 0xA043).Item().Element(0x0008, 0x0104, "LO", "Diagnosis ").Item_End();
    stream.Item().US(0x0028, 0x0010, 7).Element(0x0040, 0xDB06, "DT", "").Item_End();
    stream.Sequence_End();
    const std::string path =
        Write("nested.dcm", Part10_Head("1.2.840.10008.1.2.2") + stream.Bytes());
    const std::string text = Run_Tool("list " + path).text;
    EXPECT_EQ(text.substr(text.find("(0040,a043)")),
              "(0040,a043) SQ       - Concept Name Code Sequence               2 items\n"
              "  item 1\n"
              "  (0008,0104) LO      10 Code Meaning                           Diagnosis\n"
              "  item 2\n"
              "  (0028,0010) US       2 Rows                                   7\n"
              "  (0040,db06) DT       0 Template Version (retired)\n");
    const std::string programs = Run_Tool("list --format tsv " + path).text;
    EXPECT_EQ(programs.substr(programs.find("0040,a043")),
              "0040,a043\tSQ\t-1\t\n"
              "0040,a043[0]/0008,0104\tLO\t10\t446961676e6f73697320\n"
              "0040,a043[1]/0028,0010\tUS\t2\t0007\n"
              "0040,a043[1]/0040,db06\tDT\t0\t\n");
}

TEST_F(Tool, KeepsGarbageInAFile)
{
    const std::string junk = "junk in front";
    const std::string in = Write("junk.dcm", junk + Small_File());
    const std::string sound = Write("sound.dcm", Small_File());
    const std::string out = Path("out.dcm");
    const std::string garbage = Path("garbage");

    Outcome run = Run_Tool("mend --keep-garbage " + garbage + " " + sound + " " + out);
    EXPECT_FALSE(fs::exists(garbage)) << run.text;

    run = Run_Tool("mend --force --keep-garbage " + garbage + " " + in + " " + out);
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.text.find("13 bytes that belong to no element are kept in " + garbage),
              std::string::npos)
        << run.text;
    EXPECT_EQ(Contents(garbage), junk);
    EXPECT_EQ(Contents(out), Contents(Path("out.dcm")));

    const std::pair<std::string, std::string> refused[] = {
        {garbage, garbage + ": error: exists already; --force replaces it\n"},
        {out, out + ": error: is the output, and cannot take the garbage too\n"},
        {in, in + ": error: is the input, which is never overwritten\n"},
    };
    for (const auto& [target, text] : refused) {
        const std::string fresh = Path("fresh.dcm");
        const std::string output = target == out ? out : fresh;
        fs::remove(out);
        run = Run_Tool("mend --keep-garbage " + target + " " + in + " " + output);
        EXPECT_EQ(run.text, text);
        EXPECT_EQ(run.status, 2);
        EXPECT_FALSE(fs::exists(output));
    }
}

TEST_F(Tool, RefusesACharacterSetThatDoesNotExist)
{
    const std::string in = Write("small.dcm", Small_File());
    for (const std::string term : {"", "KLINGON", "ISO_IR 100\\\\KLINGON"}) {
        const Outcome run = Run_Tool("check --charset '" + term + "' " + in);
        EXPECT_EQ(run.status, 2) << term;
        EXPECT_NE(run.text.find("--charset"), std::string::npos) << run.text;
    }
    EXPECT_EQ(Run_Tool("check --charset 'ISO_IR 100' --to-utf8 " + in).status, 1);
}

}  // namespace
