#include "support/definition_directory.h"
#include "support/message_log.h"

#include <Lib_DICOM/codes.h>
#include <Lib_DICOM/definitions.h>

#include <gmock/gmock.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

/** A definition directory of its own, with one table at a time. */
class Codes : public testing::Test {
protected:
    ~Codes() override
    {
        for (char* text : {code_.code_value, code_.coding_scheme, code_.code_meaning}) {
            std::free(text);
        }
    }

    void Write(const std::string& text, const char* name = "table") const
    {
        directory_.Write(name, text);
    }
    /** The result and the code: "1 scheme value meaning". */
    std::string Set(std::string name, const char* table = "table.txt")
    {
        code_.original_name = name.data();
        std::string text = std::to_string(DICOM_Macro_CodeSequence_Set(&code_, table));
        EXPECT_EQ(DICOM_Macro_Code_Sequence_Get(), text == "1" ? &code_ : nullptr);
        for (const char* part : {code_.coding_scheme, code_.code_value, code_.code_meaning}) {
            text += std::string(" ") + (part != nullptr ? part : "-");
        }
        return text;
    }

    Code_Seq code_ = {};

private:
    Definition_Directory directory_;
};

TEST_F(Codes, TakesTheBestEntryOverTheThreshold)
{
    Write("# 99X C1 Fluorine\n* 99X C2 Fluorine\n; 99X C3 Fluorine\n\nSRT C-B1031 Fludeoxyglucose "
          "F^18\r\nSRT C-1 AB\nSRT C-2 Iodine\tlong words\n99Y  Xenon gas\nnothing");
    const std::string before = "0 SRT C-B1031 Fludeoxyglucose F^18";
    EXPECT_EQ(Set("fludeoxyglucose"), "1 SRT C-B1031 Fludeoxyglucose F^18");
    EXPECT_EQ(Set("unknown stuff"), before);
    // 5 * 2 + 10 is the threshold of two characters, and below that of three.
    EXPECT_EQ(Set("ab"), "1 SRT C-1 AB");
    EXPECT_EQ(Set("abc"), "0 SRT C-1 AB");
    // Nine characters and more need 40: six letters, and the beginning of a word.
    EXPECT_EQ(Set("-iodine-xx"), "0 SRT C-1 AB");
    EXPECT_EQ(Set("x iodine-x"), "1 SRT C-2 Iodine\tlong words");
    EXPECT_EQ(Set("xenon gas"), "1 99Y - Xenon gas");
    EXPECT_EQ(Set("a"), "0 99Y - Xenon gas");
    EXPECT_EQ(Set(""), "0 99Y - Xenon gas");
    EXPECT_EQ(Set("tC-99M", "no such table"), "1 99SDM C-163A8 TC-99m");
    DICOM_Macro_Code_Sequence_Reset();
    EXPECT_EQ(DICOM_Macro_Code_Sequence_Get(), nullptr);
    code_.original_name = nullptr;
    EXPECT_EQ(DICOM_Macro_CodeSequence_Set(&code_, "table.txt"), 0);
    EXPECT_EQ(DICOM_Macro_CodeSequence_Set(nullptr, "table.txt"), 0);
    EXPECT_EQ(Set("iodine", nullptr), "0 99SDM C-163A8 TC-99m");
}

TEST_F(Codes, TracesTheTableAndTheReason)
{
    Write("# comment\nS V1 Iodine^123\tx\n\nS V2\n");
    const auto traced = [&](const char* name, const char* table, const std::string& steps,
                            const std::string& reason) {
        std::string text = name != nullptr ? name : "";
        code_.original_name = name != nullptr ? text.data() : nullptr;
        Message_Log log(9);
        DICOM_Macro_CodeSequence_Set(&code_, table);
        std::string lines;
        for (const Message& message : log.All()) {
            if (message.text.find("DICOM_Module_Setup") == std::string::npos) {
                EXPECT_EQ(message.severity,
                          message.text.starts_with("->") ? 0x90002007U : 0x90002009U);
                lines += message.text + "\n";
            }
        }
        EXPECT_EQ(lines, ">>> in  Oris_DICOM_Get_CodeSequence(str:" +
                             std::string(name != nullptr ? name : "(null)") + ", table:" + table +
                             ")\n" + steps + "<<< out Oris_DICOM_Get_CodeSequence(" + reason +
                             ")\n");
    };
    const std::string step = "-> DICOM_Macro_CodeSequence_Set: ";
    const std::string table =
        step + "table line[0] -> S  V1  Iodine^123\tx\n" + step + "table line[1] ->     \n" + step +
        "table line[2] -> S  V2  \n" + step + "count_b=3\n" + step + "[0] = IODINE\n" + step +
        "[1] = 123\n" + step + "[2] = X\n" + step + "count_b=0\n" + step + "count_b=0\n";
    traced("iodine", "table.txt", table, "done");
    traced("zz", "table.txt", table, "! match_max");
    traced("tc-99M", "table.txt", "", "Tc-99m");
    traced("iodine", "none.txt", "", "! f_table");
    traced(nullptr, "table.txt", "", "! code->original_name");
}

TEST_F(Codes, WarnsOfEqualEntriesAndRanksAll)
{
    Write("S V1 Xenon gas\nS V2 Xenon\nS V3 Gas xenon\nS V4 Iodine\n");
    const Message_Log log;
    EXPECT_EQ(Set("xenon gas"), "1 S V1 Xenon gas");
    EXPECT_EQ(log.Text(), "    \361\005WARNING:\002 Find to many matchs (\0012\002) for \001xenon "
                          "gas\002 in table \001table.txt\n"
                          "\t\t\t   We used: \001V1\002 = \001Xenon gas\n"
                          "\t\t\t   And not:   \001V3\002 = \001Gas xenon\n");
    Code_Match* matches = nullptr;
    ASSERT_EQ(DICOM_Macro_CodeSequence_Rank("xenon gas with", "table.txt", &matches), 2);
    EXPECT_STREQ(matches[0].code.code_value, "V1");
    EXPECT_STREQ(matches[1].code.code_value, "V3");
    EXPECT_EQ(matches[0].score, 60);
    DICOM_Macro_CodeSequence_Free(&matches, 2);
    EXPECT_EQ(matches, nullptr);
    EXPECT_EQ(DICOM_Macro_CodeSequence_Rank("zzz", "table.txt", &matches), 0);
    EXPECT_EQ(DICOM_Macro_CodeSequence_Rank("xenon", "absent.txt", &matches), -1);
}

TEST_F(Codes, RefusesWhatIsOutsideTheDirectory)
{
    Write("S V Xenon\n", "inner/table");
    EXPECT_EQ(Set("xenon", "inner/table.txt"), "1 S V Xenon");
    const Message_Log log;
    for (const char* table : {"../t", "inner/../../t", "/etc/passwd", "..\\t", "c:t", "", ".."}) {
        EXPECT_EQ(Set("xenon", table), "0 S V Xenon") << table;
    }
    EXPECT_EQ(log.Count("is not below the definition directory"), 7);
    EXPECT_EQ(Set("xenon", "inner"), "0 S V Xenon");
    EXPECT_EQ(Set("xenon", "inner/..t"), "0 S V Xenon");
}

TEST_F(Codes, BearsHostileTablesAndNames)
{
    const std::string head = "S V Xenon ";
    const std::string exact = head + std::string(179 - head.size() - 9, ' ') + "tail text";
    Write(exact + "\n" + exact + "cut S2 V2 iodine\n#" + std::string(100000, 'x') + "\n");
    const Message_Log log;
    EXPECT_EQ(Set("xenon"), "1 " + exact);
    EXPECT_EQ(log.Count("is cut"), 1);
    EXPECT_EQ(Set("iodine"), "0 " + exact);

    Write("S V Xenon\nS V " + std::string(79, 'x') + "\n");
    EXPECT_EQ(Set("xenon"), "1 S V Xenon");
    EXPECT_EQ(Set(std::string(1 << 20, 'x')), "1 S V " + std::string(79, 'x'));
    Write("S V0 Xenon\nS V " + std::string(80, 'x') + "\n");
    EXPECT_EQ(Set("xenon"), "0 S V " + std::string(79, 'x'));
    EXPECT_EQ(log.Count("Word of 80 characters in line 2 of table table.txt"), 1);
}

}  // namespace
