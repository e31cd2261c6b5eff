#include "support/case_page.h"
#include "support/definition_directory.h"
#include "support/message_log.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace {

using testing::StrEq;

TEST(Definition_Include, UsageWeakensTheLevelThatIsIncluded)
{
    const Definition_Directory directory;
    directory.Write("modules/a", "(0010,0010) 1 PN\n(0010,0020) 2 LO\n(0008,1140) 1 SQ\n"
                                 ">include macros/m\ninclude macros/n");
    directory.Write("macros/m", "(0008,1150) 1 UI\n");
    directory.Write("macros/n", "(0010,0030) 1 DA\n");
    const Message_Log log;
    For_Each_Case("dicom/definitions/include.cases", "usage", 2, [&](const Case_Row& row) {
        EXPECT_EQ(Module_Text(directory.Read(row[0])), row[1]);
    });
    EXPECT_EQ(log.Text(), "");
    EXPECT_EQ(Tags(directory.Read("include macros/m\n>(0008,1155) 1 UI")), "0008,1150");
    EXPECT_EQ(log.Count("T.txt:2:1: expected the attribute line"), 1) << log.Text();
}

/** A line without a VR of its own is kept as it was read for one, and is another one for another VR. */
TEST(Definition_Include, LinesAreReadForTheVROfTheirPlace)
{
    const Definition_Directory directory;
    directory.Write("macros/v", "(0009,1001) 3 -- in \"1\"|\"A\"\n>(0009,1002) 3 CS\n");
    const std::string text = "(0009,1001) 3 CS\ninclude macros/v\n"
                             "(0008,1140) 3 SQ\n>(0009,1001) 3 %\n>include macros/v\n"
                             "(0008,1150) 3 UI\n";
    for (const std::string vr : {"CS", "US"}) {
        Message_Log log;
        std::string lines = text;
        lines.replace(lines.find('%'), 1, vr);
        const DICOM_List* const list = directory.Read(lines);
        EXPECT_EQ(Tags(list), "0008,1140[0009,1001] 0008,1150 0009,1001");
        EXPECT_EQ(log.Count("macros/v.txt:1:25: a value of VR US is a decimal number within its "
                            "range, not \"A\""),
                  vr == "US" ? 1 : 0)
            << log.Text();
        EXPECT_EQ(log.Count("macros/v.txt:2:1: expected a sequence"), 1) << log.Text();
        const DICOM_Rule* rules = nullptr;
        ASSERT_EQ(DICOM_Module_Rules(list->item[0], &rules), 1);
        EXPECT_EQ(rules[0].value_set_count, vr == "US" ? 0 : 1);
        ASSERT_EQ(DICOM_Module_Rules(list->last, &rules), 2);
        EXPECT_STREQ(rules[1].value_sets[0].values[1], "A");
    }
}

TEST(Definition_Include, HostileIncludesEnd)
{
    const Definition_Directory directory;
    Message_Log log;
    directory.Write("m/a", "(0010,0010) 1 PN\ninclude m/b\n");
    directory.Write("m/b", "(0010,0020) 1 LO\n(0010,0020) 9 LO\ninclude m/a\n(0010,0030) 1 DA\n");
    EXPECT_EQ(Tags(directory.Read("include m/a\ninclude m/b\n")), "0010,0010 0010,0020 0010,0030");
    EXPECT_EQ(log.Count("m/b.txt:3:1: \"m/a\" includes itself"), 1) << log.Text();
    EXPECT_EQ(log.Count("m/b.txt:2:13: "), 1) << "once, however often the file is read";

    // Each file includes the next one twice.
    for (int i = 0; i < 30; ++i) {
        const std::string next = "include bomb/" + std::to_string(i + 1) + "\n";
        directory.Write("bomb/" + std::to_string(i), "(0010,0010) 1 PN\n" + next + next);
    }
    directory.Write("bomb/30", "(0010,0020) 1 LO\n");
    EXPECT_EQ(Tags(directory.Read("include bomb/0\n(0010,0030) 1 DA")), "0010,0010 0010,0020");
    EXPECT_EQ(log.Count("more than a million lines"), 1);

    std::string many;
    for (int i = 0; i < 10000; ++i) {
        many += "include none/" + std::to_string(i) + "\n";
    }
    log.Clear();
    EXPECT_EQ(Tags(directory.Read("(0010,0010) 1 PN\n" + many)), "0010,0010");
    EXPECT_EQ(log.Count("is no file"), 20);
    EXPECT_EQ(log.Count("T.txt:21: 20 faults in this file; the rest of it is left out"), 1);
}

TEST(Definition_Include, LevelsAreLeftAndEnteredForEveryLine)
{
    // Each level is left and entered again for every line, in descending order of the tags.
    const Definition_Directory directory;
    std::string text = "(0008,1140) 1 SQ\n";
    for (int i = 0xFFFF; i >= 0x1000; --i) {
        char line[64];
        std::snprintf(line, sizeof line, "(0009,%04X) 1 LO\n(0008,1140) - --\n>(0009,%04X) 1 LO\n",
                      i, i);
        text += line;
    }
    const DICOM_List* list = directory.Read(text);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->last->element, 0xFFFF);
    int count = 0;
    for (const DICOM_List* record = list->item[0]; record != nullptr; record = record->next) {
        ++count;
    }
    EXPECT_EQ(count, 0xF000);
}

TEST(Definition_Include, OverridesAndListsThatAreKept)
{
    const Definition_Directory directory;
    directory.Write("iods/index", "CT CT 1.2.3|1.2.4 \"CT Image\"\nCT2 CT - \"Another\"\n"
                                  "SEG SEG 1.2.5 \"Segmentation\"\nbad\n");
    directory.Write("iods/CT", "(0008,0060) 1 CS = \"CT\"\n(0008,1140) 3 SQ\n");
    Message_Log log;
    EXPECT_THAT(DICOM_Module_Name(nullptr, DICOM_VR('C', 'T')), StrEq("CT"));
    EXPECT_EQ(DICOM_Module_Name(nullptr, DICOM_VR('M', 'R')), nullptr);
    EXPECT_THAT(DICOM_Module_Name(nullptr, "1.2.4"), StrEq("CT"));
    EXPECT_THAT(DICOM_Module_Name(nullptr, "1.2.5"), StrEq("SEG"));
    EXPECT_EQ(DICOM_Module_Name(nullptr, "1.2"), nullptr);
    EXPECT_EQ(log.Count("iods/index.txt:4:4: expected a modality or -"), 1) << log.Text();
    log.Clear();

    DICOM_Modality = DICOM_VR('C', 'T');
    DICOM_List* const plain = DICOM_Module_Read(nullptr, nullptr);
    std::string setting = "(0008,0060) - -- ! \"OT\"";
    DICOM_Override = setting.data();
    const DICOM_List* const changed = DICOM_Module_Read(nullptr, nullptr);
    EXPECT_EQ(Module_Text(changed), "0008,0060 1  CS ! OT; 0008,1140 3  SQ");
    EXPECT_EQ(Module_Text(plain), "0008,0060 1  CS = CT; 0008,1140 3  SQ");
    EXPECT_EQ(changed->flags & 0xFU, DICOM_Origin_Module);

    setting = directory.Write("site", ">(0008,1150) 1 UI\n(0008,1140) - --\n>(0008,1155) 1 UI\n");
    DICOM_Override = setting.data();
    EXPECT_EQ(Tags(DICOM_Module_Read(nullptr, "CT")), "0008,0060 0008,1140[0008,1155]");
    EXPECT_EQ(log.Count("site.txt:1:1: expected the attribute line"), 1) << log.Text();
    std::string none = "no/such/file";
    DICOM_Override = none.data();
    EXPECT_EQ(DICOM_Module_Read(nullptr, "CT"), nullptr);
    EXPECT_EQ(log.Count("no/such/file is no file"), 1) << log.Text();

    // A list that is kept outlives the dictionary entries that it was made with.
    DICOM_Override = nullptr;
    directory.Write("iods/CT", "");
    NEMA_db_Cleanup();
    EXPECT_EQ(DICOM_Module_Read(nullptr, "CT"), plain);
    EXPECT_THAT(plain->dict->name, StrEq("Modality"));
    DICOM_Module_Free();
    EXPECT_EQ(DICOM_Module_Read(nullptr, "CT"), nullptr);
    EXPECT_EQ(DICOM_Module_Read(nullptr, "../iods/CT"), nullptr);
    DICOM_Modality = DICOM_VR('M', 'R');
    EXPECT_EQ(DICOM_Module_Read(nullptr, nullptr), nullptr);
    EXPECT_EQ(log.Count("no IOD of the modality \"MR\""), 1) << log.Text();
}

TEST(Definition_Include, NullNamesFail)
{
    const Definition_Directory directory;
    const Record_List list("0029,1008:LO");
    DICOM_Root root = {};
    DICOM_List* head = nullptr;
    const Message_Log log;
    EXPECT_EQ(DICOM_Module_Name(nullptr, nullptr), nullptr);
    EXPECT_EQ(DICOM_Module_Include_Get(nullptr, nullptr), nullptr);
    EXPECT_EQ(DICOM_Module_Read_Private(nullptr, nullptr, list.head), 0);
    EXPECT_EQ(DICOM_Module_Read_Value(nullptr, list.head, nullptr), 0);
    EXPECT_EQ(DICOM_Module_Read_Line(nullptr, &root, &head, nullptr), 0);
    EXPECT_EQ(log.Text(), "");
}

TEST(Definition_Include, LinesGoIntoListsOfAnyDepth)
{
    const Definition_Directory directory;
    Deep_List deep(100'000, "0010,0010:PN");
    DICOM_Root root = {};
    EXPECT_EQ(DICOM_Module_Read_Line(nullptr, &root, &deep.head, "(0008,0060) 1 CS"), 1);
    EXPECT_EQ(deep.head->element, 0x0060);
    DICOM_List* const first = std::exchange(deep.head, deep.head->next);
    DICOM_Attribute_Free(nullptr, first);
}

TEST(Definition_Include, DirectoryNeedNotBeNamedInUtf8)
{
    const Definition_Directory directory;
    const std::string name = directory.Write("x\374/macros/m", "(0010,0010) 1 PN");
    const std::filesystem::path path = std::filesystem::path(name).parent_path().parent_path();
    const std::unique_ptr<wchar_t, void (*)(void*)> wide(Char_2_Wchar(path.string().c_str()),
                                                         &std::free);
    const wchar_t slash = static_cast<wchar_t>(std::filesystem::path::preferred_separator);
    std::wstring expected = wide.get() + std::wstring(1, slash);
    std::replace(expected.begin(), expected.end(), L'/', slash);
    EXPECT_EQ(std::wstring(DICOM_Module_Setup(nullptr, wide.get())), expected);
    EXPECT_THAT(DICOM_Module_Include_Get(nullptr, "macros/m"), StrEq("(0010,0010) 1 PN"));
    std::wstring no_path = L"\xD800";
    EXPECT_EQ(DICOM_Module_Setup(nullptr, no_path.c_str()), nullptr);
}

TEST(Definition_Include, DirectoryIsNamedOrFound)
{
    const Definition_Directory directory;
    const std::string file = directory.Write("macros/m", "(0010,0010) 1 PN");
    const std::string path = std::filesystem::path(file).parent_path().parent_path().string();
    Message_Log log;
    EXPECT_EQ(DICOM_Module_Setup(nullptr, L"/no/such/directory"), nullptr);
    EXPECT_EQ(log.Count("ERROR"), 1) << log.Text();
    EXPECT_THAT(DICOM_Module_Include_Get(nullptr, "macros/m"), StrEq("(0010,0010) 1 PN"));
    DICOM_Module_Cleanup();
    ::setenv("LIB_DICOM_DEFINITIONS", path.c_str(), 1);
    EXPECT_EQ(std::filesystem::path(DICOM_Module_Setup(nullptr, nullptr)),
              std::filesystem::path(path + "/"));
    DICOM_Module_Cleanup();
    ::setenv("LIB_DICOM_DEFINITIONS", "/no/such/directory", 1);
    EXPECT_EQ(DICOM_Module_Setup(nullptr, nullptr), nullptr);
    ::unsetenv("LIB_DICOM_DEFINITIONS");
}

}  // namespace
