// Writing files under bad conditions: sudden ends, targets that are in the way.
#include "mend/io/safe_file.h"
#include "mend/writing/output.h"
#include "support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <span>
#include <sstream>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using lib_mend::Write_Safely;
using ::testing::HasSubstr;
namespace fs = std::filesystem;

class Safe_File : public ::testing::Test, public Scratch_Folder {
protected:
    static std::string Write(const std::string& path, const std::string& text, bool replace)
    {
        const std::span bytes(reinterpret_cast<const unsigned char*>(text.data()), text.size());
        const std::size_t half = text.size() / 2;
        return Write_Safely(path, {bytes.first(half), bytes.subspan(half)}, replace);
    }
    static std::string Contents(const std::string& path)
    {
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    }
    /** Runs a child process and gives its end as waitpid tells it. */
    static int In_Child(const std::function<bool()>& work,
                        const std::function<void(pid_t)>& disturb)
    {
        const pid_t child = fork();
        if (child == 0) {
            _exit(work() ? 0 : 1);
        }
        disturb(child);
        int status = 0;
        waitpid(child, &status, 0);
        return status;
    }
};

TEST_F(Safe_File, LeavesWhatItMayNotReplace)
{
    Write(Path("file"), "old", false);
    fs::create_directory(Path("folder"));
    fs::create_symlink("file", Path("link"));
    fs::create_symlink("nowhere", Path("dangling"));
    ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
    struct Case {
        std::string name;
        bool replace;
        std::string reason;
    };
    const Case cases[] = {
        {"file", false, "exists already"},
        {"link", true, "symbolic link"},
        {"link", false, "symbolic link"},
        {"dangling", true, "symbolic link"},
        {"folder", true, "is a folder"},
        {"folder/", true, "is a folder"},
        {"pipe", true, "no regular file"},
        {"none/file", true, "folder cannot be opened"},
        {std::string(300, 'n'), true, "cannot be written"},
    };
    for (const Case& each : cases) {
        EXPECT_THAT(Write(Path(each.name), "new", each.replace), HasSubstr(each.reason));
        EXPECT_EQ(Contents(Path("file")), "old");
        EXPECT_EQ(Count(), 5);
    }
}

TEST_F(Safe_File, KeepsTheRightsOfAReplacedFile)
{
    const mode_t old_mask = umask(027);
    for (const mode_t rights : {0600U, 0444U, 0666U, 0640U}) {
        const std::string path = Path(std::to_string(rights));
        struct stat status = {};
        EXPECT_EQ(Write(path, "old", false), "");
        stat(path.c_str(), &status);
        EXPECT_EQ(status.st_mode & 07777U, 0640U);
        chmod(path.c_str(), rights);
        const bool moved = chown(path.c_str(), 12345, 23456) == 0;
        EXPECT_EQ(Write(path, "new", true), "");
        EXPECT_EQ(Contents(path), "new");
        stat(path.c_str(), &status);
        EXPECT_EQ(status.st_mode & 07777U, rights);
        EXPECT_EQ(status.st_uid, moved ? 12345 : geteuid());
        EXPECT_EQ(status.st_gid, moved ? 23456 : getegid());
    }
    umask(old_mask);
}

TEST_F(Safe_File, LeavesAWholeFileWheneverItIsKilled)
{
    const std::string texts[] = {std::string(700000, 'a'), std::string(900000, 'b')};
    const std::string path = Path("file");
    std::minstd_rand random(1);
    Write(path, texts[0], false);
    for (int i = 0; i < 32; ++i) {
        const int number =
            std::array{SIGKILL, SIGTERM, SIGINT, SIGHUP}[static_cast<unsigned>(i) % 4];
        const auto work = [&] {
            std::signal(number, SIG_DFL);
            for (unsigned int turn = 0;; ++turn) {
                Write(path, texts[turn % 2], true);
            }
            return false;
        };
        const int status = In_Child(work, [&](pid_t child) {
            usleep(static_cast<useconds_t>(random() % 9000));
            kill(child, number);
        });
        ASSERT_TRUE(WIFSIGNALED(status));
        ASSERT_EQ(WTERMSIG(status), number);
        const std::string found = Contents(path);
        ASSERT_TRUE(found == texts[0] || found == texts[1]) << found.size();
        if (number != SIGKILL) {
            ASSERT_EQ(Count(), 1);
        }
        for (const auto& entry : fs::directory_iterator(folder)) {
            if (entry.path() != path) {
                fs::remove(entry);
            }
        }
    }
}

TEST_F(Safe_File, CopiesValuesWhetherTheSystemDoesItOrNot)
{
    constexpr std::int64_t Size = (std::int64_t{3} << 20) + 2;
    std::string bytes(static_cast<std::size_t>(Size) + 5, ' ');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(i * i / 7);
    }
    ASSERT_EQ(Write(Path("source"), bytes, false), "");
    std::string error;
    const auto source = lib_mend::Source::Open(Path("source"), error, 0);
    ASSERT_NE(source, nullptr) << error;
    const auto expected = [&](int width) {
        std::string value = bytes.substr(3, static_cast<std::size_t>(Size));
        for (std::size_t i = 0; width == 2 && i < value.size(); i += 2) {
            std::swap(value[i], value[i + 1]);
        }
        return "ab" + value + "c";
    };
    for (const int width : {1, 2}) {
        lib_mend::Encoded_File out;
        out.Put(std::array<unsigned char, 2>{'a', 'b'});
        out.Copy({source, 3, Size, width});
        out.Put(std::array<unsigned char, 1>{'c'});
        const auto give = [&](const lib_mend::File_Taker& file) {
            return out.Give(file);
        };
        EXPECT_EQ(Write_Safely(Path("target"), give, true), "");
        EXPECT_TRUE(Contents(Path("target")) == expected(width)) << width;
        // A system that copies a part of it, or nothing.
        for (const std::int64_t most : {std::int64_t{0}, std::int64_t{1}, Size - 1, Size}) {
            std::string taken;
            const lib_mend::File_Taker partly = {
                .take =
                    [&](std::span<const unsigned char> piece) {
                        taken.append(piece.begin(), piece.end());
                        return true;
                    },
                .copy =
                    [&](int, std::int64_t offset, std::int64_t size) {
                        const auto count = static_cast<std::size_t>(std::min(most, size));
                        taken += bytes.substr(static_cast<std::size_t>(offset), count);
                        return static_cast<std::int64_t>(count);
                    },
            };
            EXPECT_TRUE(out.Give(partly));
            EXPECT_TRUE(taken == expected(width)) << width << ' ' << most;
        }
    }
}

}  // namespace
