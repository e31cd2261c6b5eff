// Names of files and folders are as long as the system allows, and have letters of every script.
#include "support/definition_directory.h"
#include "support/extracted_values.h"
#include "support/message_log.h"

#include <Lib_DICOM/codes.h>
#include <Lib_DICOM/definitions.h>
#include <Lib_DICOM/read.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

using Wide_Text = std::unique_ptr<wchar_t, void (*)(void*)>;

Wide_Text Wide(const std::string& name)
{
    return {Char_2_Wchar(name.c_str()), &std::free};
}

/** A name for the test's own work, which does not rely on what the library does with it. */
fs::path Place(const std::string& name)
{
    const fs::path path = fs::path(std::u8string(name.begin(), name.end())).make_preferred();
#ifdef _WIN32
    return L"\\\\?\\" + path.wstring();
#else
    return path;
#endif
}

/** Files and folders that go with their owner, one by one: some systems take a whole tree of long names for none. */
class Long_Folder {
public:
    /** @param below  one folder in the other, each behind a slash */
    Long_Folder(const std::string& folder, const std::string& below)
    {
        for (std::size_t end = 0; end != below.npos;) {
            end = below.find('/', end + 1);
            Make(folder + below.substr(0, end));
        }
    }
    Long_Folder(const Long_Folder&) = delete;
    Long_Folder& operator=(const Long_Folder&) = delete;
    ~Long_Folder()
    {
        for (; !made_.empty(); made_.pop_back()) {
            fs::remove(made_.back());
        }
    }
    void Make(const std::string& name)
    {
        made_.push_back(Place(name));
        fs::create_directory(made_.back());
    }
    void Write(const std::string& name, const std::string& text)
    {
        made_.push_back(Place(name));
        std::ofstream(made_.back(), std::ios::binary) << text;
    }

private:
    std::vector<fs::path> made_;
};

void Set_Environment(const std::string& folder)
{
#ifdef _WIN32
    _wputenv_s(L"LIB_DICOM_DEFINITIONS", Wide(folder).get());
#else
    setenv("LIB_DICOM_DEFINITIONS", folder.c_str(), 1);
#endif
}

/** The value of a record that was left in a file. */
std::string Left_In(const std::string& name)
{
    const Wide_Text wide = Wide(name);
    DICOM_Lib_File_Source = NEMA_Source_File;
    DICOM_Lib_File_Name = wide.get();
    DICOM_List record = {};
    record.vr = VR_LT;
    record.size = 1025;
    record.data_pos = 7;
    std::string value = Extract("Str", record, VR_LT);
    std::free(record.data);
    DICOM_Lib_File_Source = 0;
    DICOM_Lib_File_Name = nullptr;
    return value;
}

TEST(File_Names, AreOfAnyLengthAndScript)
{
    const std::string part(80, 'a');
    const std::string scripts = "/M\303\274ller \347\224\273\345\203\217 \320\267\320\264";
    const Scratch_Folder scratch;
    for (const std::string& below : {scripts, "/" + part + "/" + part + "/" + part + scripts}) {
        SCOPED_TRACE(below);
        const std::string folder = scratch.folder + below;
        Long_Folder files(scratch.folder, below);
        files.Make(folder + "/iods");
        const std::string bytes = std::string(1000, 'x') + std::string(1000, 'y');
        files.Write(folder + "/\303\274.bin", bytes);
        files.Write(folder + "/iods/T.txt", "(0008,0060) 1 CS = \"CT\"\n");
        files.Write(folder + "/site \303\274.txt", "(0008,0060) - -- ! \"OT\"\n");
        files.Write(folder + "/\303\274.txt", "99X C1 Fluorine\n");
        const Message_Log log(2);

        EXPECT_EQ(Left_In(folder + "/\303\274.bin"), bytes.substr(7, 1025) + ";");
        // By a call and by the environment, which counts while no other is in use.
        for (const bool by_call : {true, false}) {
            Set_Environment(by_call ? "no such folder" : folder);
            EXPECT_NE(DICOM_Module_Setup(nullptr, by_call ? Wide(folder).get() : nullptr), nullptr);
            EXPECT_EQ(Module_Text(DICOM_Module_Read(nullptr, "T")), "0008,0060 1  CS = CT");
            std::string rules = folder + "/site \303\274.txt";
            DICOM_Override = rules.data();
            EXPECT_EQ(Module_Text(DICOM_Module_Read(nullptr, "T")), "0008,0060 1  CS ! OT");
            DICOM_Override = nullptr;
            std::string text = "fluorine";
            Code_Seq code = {nullptr, nullptr, nullptr, text.data()};
            EXPECT_EQ(DICOM_Macro_CodeSequence_Set(&code, "\303\274.txt"), 1);
            for (char* const each : {code.code_value, code.coding_scheme, code.code_meaning}) {
                std::free(each);
            }
            DICOM_Lib_Cleanup();
        }
        EXPECT_EQ(log.Text(), "Reading missing: 1025 bytes at 7\n");
    }
#ifdef _WIN32
    _wputenv_s(L"LIB_DICOM_DEFINITIONS", L"");
#else
    unsetenv("LIB_DICOM_DEFINITIONS");
#endif
}

}  // namespace
