// Where paths lead, whatever form they are given in.
#include "mend/io/system_files.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

using lib_mend::Native_Path;
using lib_mend::Whole_Path;

TEST(System_Files, LeadToOnePlace)
{
    const Scratch_Folder scratch;
    fs::create_directory(scratch.Path("there"));
    const fs::path folder = Whole_Path(Native_Path(scratch.folder));
    const fs::path root = folder.root_path();
    const std::string start = root.string();
    const std::pair<std::string, fs::path> cases[] = {
        {scratch.Path("there"), folder / "there"},
        {scratch.Path("there/"), folder / "there"},
        {scratch.Path("there/../there/."), folder / "there"},
        {scratch.Path("absent/none"), folder / "absent" / "none"},
        {scratch.Path("absent/../none/"), folder / "none"},
        {start + "no such folder", root / "no such folder"},
        {start + "no such folder/a", root / "no such folder" / "a"},
        {"no such folder/a", Whole_Path(fs::current_path()) / "no such folder" / "a"},
    };
    for (const auto& [given, place] : cases) {
        EXPECT_EQ(Whole_Path(Native_Path(given)), place) << given;
    }
    EXPECT_EQ(Whole_Path(root), root);
}

TEST(System_Files, AreToldFromFolders)
{
    const Scratch_Folder scratch;
    fs::create_directory(scratch.Path("folder"));
    scratch.Write("empty", "");
    scratch.Write("four", "1234");
    EXPECT_TRUE(lib_mend::Is_Folder(scratch.Path("folder")));
    EXPECT_FALSE(lib_mend::Is_Folder(scratch.Path("four")));
    EXPECT_FALSE(lib_mend::Is_Folder(scratch.Path("none")));
    EXPECT_EQ(lib_mend::File_Size(scratch.Path("folder")), -1);
    EXPECT_EQ(lib_mend::File_Size(scratch.Path("none")), -1);
    EXPECT_EQ(lib_mend::File_Size(scratch.Path("empty")), 0);
    EXPECT_EQ(lib_mend::File_Size(scratch.Path("four")), 4);
    std::vector<std::string> names = lib_mend::Names_In(scratch.folder);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"empty", "folder", "four"}));
    EXPECT_TRUE(lib_mend::Names_In(scratch.Path("none")).empty());
    lib_mend::Remove_File(scratch.Path("four"));
    EXPECT_EQ(lib_mend::File_Size(scratch.Path("four")), -1);
}

}  // namespace
