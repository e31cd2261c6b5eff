// The steps before the output: merging, marking, deleting, loading, verifying.
#include "support/case_page.h"
#include "support/current_standard.h"
#include "support/message_log.h"
#include "support/record_builder.h"

#include <Lib_DICOM/dictionary.h>
#include <Lib_DICOM/write.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>

#include <unistd.h>

namespace {

constexpr char Post_Processing_Page[] = "dicom/write/post_processing.cases";

/** A nested list: records of the one item of a sequence follow it, with a ">" per level. */
DICOM_List* Make_List(const std::string& notation)
{
    DICOM_List* head = nullptr;
    DICOM_Root root = {};
    const DICOM_List* last = nullptr;
    std::istringstream words(notation);
    for (std::string word; words >> word;) {
        const int depth = static_cast<int>(word.find_first_not_of('>'));
        while (root.Sequence_Depth > depth) {
            DICOM_Attribute_Sequence_Stop(nullptr, &root, 0);
        }
        if (root.Sequence_Depth < depth) {
            DICOM_Attribute_Sequence_Start(nullptr, &root, last->group, last->element, 0, 0);
            DICOM_Attribute_Item_Start(nullptr, &root, 0);
        }
        const Record_List single(word.substr(static_cast<std::size_t>(depth)));
        single.head->dict = NEMA_db_Locate(single.head->group, single.head->element);
        last = DICOM_Attribute_Insert(nullptr, &root, &head, single.head, 0);
    }
    return head;
}

TEST(Post_Processing, EmptyListsReturnAtOnce)
{
    DICOM_Root root = {};
    DICOM_List* none = nullptr;
    EXPECT_EQ(DICOM_Postproc_Overwrite(nullptr, &root, &none, nullptr, 0xFFFF), 1);
    EXPECT_EQ(DICOM_Postproc_Step_1(nullptr, &root, &none, nullptr, 0xFFFF), 1);
    EXPECT_EQ(DICOM_Postproc_Step_2(nullptr, &root, nullptr, 0), 0);
    EXPECT_EQ(DICOM_Postproc_Step_4(nullptr, &root, &none, nullptr), 1);
    EXPECT_EQ(DICOM_Postproc_Step_5(nullptr, &root, nullptr), 1);
    EXPECT_EQ(DICOM_Postproc_Verification(nullptr, &root, nullptr, nullptr, 0), 1);
}

TEST(Post_Processing, OverwriteReplacesForcedValuesAndMakesWhatIsAbsent)
{
    struct Case {
        bool current;
        const char* tags;
    };
    // By the letter Find makes one sequence, and takes the empty item for the place it looks for.
    for (const Case& test :
         {Case{false, "0008,0060 0010,0010 0040,0275[0008,0100 0008,0102]"},
          Case{true, "0008,0060 0010,0010 0040,0275[0040,0008[0008,0100 0008,0102]]"}}) {
        const Current_Standard standard(test.current);
        DICOM_Root root = {};
        Record_List list(Make_List("0008,0060=CT!1000 0010,0010=A!1000"));
        const Record_List module(
            Make_List("0008,0060=MR!1004 0010,0010=B!4 0040,0275:SQ!4 "
                      ">0040,0008:SQ!4 >>0008,0100=X!1004 >>0008,0102=Y!1004"));
        EXPECT_EQ(DICOM_Postproc_Overwrite(nullptr, &root, &list.head, module.head,
                                           DICOM_Mark_Forced | DICOM_Mark_Default),
                  1);
        EXPECT_EQ(Tags(list.head), test.tags);
        EXPECT_EQ(Value_Of(*list.head), "MR");
        EXPECT_EQ(list.head->flags, 0x1004);
        EXPECT_EQ(Value_Of(*list.head->next), "A");
        EXPECT_EQ(list.head->next->flags, 0x1000);
        EXPECT_EQ(root.Sequence_Depth, 0);
    }
    DICOM_Root root = {};
    Record_List list("0008,0060=CT!1000");
    const Record_List empty("0008,0060!1004");
    DICOM_Postproc_Overwrite(nullptr, &root, &list.head, empty.head, DICOM_Mark_Forced);
    EXPECT_EQ(list.head->data, nullptr);
    EXPECT_EQ(list.head->size, 0);
}

TEST(Post_Processing, Step1AppendsMarkedRecordsBehindTheLast)
{
    constexpr char Module[] = "0008,0060=MR!2004 0010,0020=X!4 0008,1140:SQ!4 >0008,1150=1.2!2004";
    const Record_List module(Make_List(Module));
    for (const bool current : {false, true}) {
        const Current_Standard standard(current);
        DICOM_Root root = {};
        Record_List list("0008,0060=CT 0020,0010=1");
        Record_List behind(list.head->next);
        // What Find leaves as the last record is in the middle of the list, and Insert cuts there.
        DICOM_Attribute_Find(nullptr, &root, &list.head, 0x0010, 0x0010);
        EXPECT_EQ(
            DICOM_Postproc_Step_1(nullptr, &root, &list.head, module.head, DICOM_Mark_Default), 1);
        if (current) {
            behind.head = nullptr;
        }
        EXPECT_EQ(Tags(list.head), std::string("0008,0060 0010,0010 ") +
                                       (current ? "0020,0010 " : "") +
                                       "0008,0060 0008,1140[0008,1150]");
        EXPECT_EQ(Value_Of(*list.head), "CT");
        EXPECT_EQ(root.Sequence_Depth, 0);
        // In an empty list it makes the sequence around the record.
        Record_List none;
        DICOM_Postproc_Step_1(nullptr, &root, &none.head, module.head->next->next,
                              DICOM_Mark_Default);
        EXPECT_EQ(Tags(none.head), "0008,1140[0008,1150]");
    }
}

/** Tags that are marked as deleted, in the order of the walk. */
std::string Marked(const DICOM_List* list)
{
    std::string text;
    for (; list != nullptr; list = list->next) {
        const bool marked = (list->flags & DICOM_Mark_Deleted) != 0;
        text += marked ? Tags(list).substr(0, 9) + " " : "";
        text += list->item != nullptr ? Marked(list->item[0]) : "";
    }
    return text;
}

TEST(Post_Processing, Step2MarksWhatIsEmpty)
{
    For_Each_Case(Post_Processing_Page, "step 2", 3, [](const Case_Row& row) {
        DICOM_Root root = {};
        const Record_List list(Make_List(row[0]));
        EXPECT_EQ(DICOM_Postproc_Step_2(nullptr, &root, list.head, 0), row.Number(2));
        EXPECT_EQ(Marked(list.head), row[1] + (row[1].empty() ? "" : " "));
    });
    const Current_Standard standard;
    DICOM_Root root = {};
    const Record_List list(Make_List("0008,1140:SQ@3 >FFFE,E000#20@1"));
    EXPECT_EQ(DICOM_Postproc_Step_2(nullptr, &root, list.head, 0), 0);
    EXPECT_EQ(Marked(list.head), "0008,1140 ") << "the length of an item tag is no value";
}

TEST(Post_Processing, Step4DeletesAlsoWhatItWalksOver)
{
    constexpr char Marks[] =
        "0008,0060=CT!200 0008,0060=MR 0008,1140:SQ >0008,1150=1!200 >0008,1155=2!200 0010,0010=A";
    const Record_List module(Make_List(Marks));
    const auto delete_from = [&](DICOM_List* made) {
        DICOM_Root root = {};
        Record_List list(made);
        EXPECT_EQ(DICOM_Postproc_Step_4(nullptr, &root, &list.head, module.head), 1);
        EXPECT_EQ(root.Sequence_Depth, 0);
        return Tags(list.head);
    };
    for (const bool current : {false, true}) {
        const Current_Standard standard(current);
        DICOM_Root root = {};
        Record_List same(Make_List(Marks));
        EXPECT_EQ(DICOM_Postproc_Step_4(nullptr, &root, &same.head, same.head), 1);
        EXPECT_EQ(Tags(same.head), "0008,1140 0010,0010");
        EXPECT_EQ(delete_from(Make_List("0008,1140:SQ >0008,1150=1 >0010,0010=A")),
                  "0008,1140[0010,0010]");
    }
    EXPECT_EQ(delete_from(Make_List("0010,0010=A")), "0010,0010 0008,1140")
        << "a lookup inside a sequence makes it";
    const Current_Standard standard;
    EXPECT_EQ(delete_from(Make_List("0010,0010=A")), "0010,0010");
}

TEST(Post_Processing, WalksGoAsDeepAsAnyListIsNested)
{
    const Deep_List deep(100'000, "0008,1150:UI@2");
    DICOM_Root root = {};
    Record_List list("0008,0060=CT");
    Flag_Error_Warning = static_cast<int>(0x90002009);  // a context has ten levels, and says so
    EXPECT_EQ(DICOM_Postproc_Overwrite(nullptr, &root, &list.head, deep.head, 0x8000), 1);
    EXPECT_EQ(DICOM_Postproc_Step_1(nullptr, &root, &list.head, deep.head, 0x8000), 1);
    EXPECT_EQ(DICOM_Postproc_Step_4(nullptr, &root, &list.head, deep.head), 1);
    EXPECT_EQ(DICOM_Postproc_Step_5(nullptr, &root, deep.head), 1);
    EXPECT_EQ(DICOM_Postproc_Step_2(nullptr, &root, deep.head, 0), 0);
    EXPECT_EQ(DICOM_Postproc_Verification(nullptr, &root, nullptr, deep.head, 0), 0);
    EXPECT_EQ(root.Sequence_Depth, 0);
    Flag_Error_Warning = 0;
}

TEST(Post_Processing, Step5LoadsWhatIsMissing)
{
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("step_5_" + std::to_string(getpid()));
    std::ofstream(path) << "0123456789";
    std::wstring name = path.wstring();
    std::string image = "0123456789";
    DICOM_Root root = {};
    for (const int source : {1, 2}) {
        DICOM_Lib_File_Source = source;
        DICOM_Lib_File_Name = source == 1 ? name.data() : reinterpret_cast<wchar_t*>(image.data());
        const Record_List list(Make_List("0008,0060#2:CS 0008,1140:SQ#9 >FFFE,E000#2 >0008,1150#1 "
                                         "0010,0010=A 0010,0020:SQ#2 0010,0030:LO#2147483647"));
        const Message_Log log;
        EXPECT_EQ(DICOM_Postproc_Step_5(nullptr, &root, list.head), 0);
        const std::string source_name = source == 1 ? path.string() : "memory image";
        // How much of the value was read depends on the system.
        const std::regex read("[(]-?[0-9]+ ");
        EXPECT_EQ(
            std::regex_replace(log.Lines(), read, "(N "),
            Error_Lines("NEMA_Write_Module",
                        "End of File while reading: (N /vs/ 2147483647) (" + source_name + ")"));
        std::string values;
        for (const DICOM_List* record :
             {list.head, list.head->next, list.head->next->item[0], list.head->next->item[0]->next,
              list.head->next->next, list.head->next->next->next,
              list.head->next->next->next->next}) {
            values += Value_Of(*record) + "|";
        }
        EXPECT_EQ(values, "89|||8|A|||");
    }
    DICOM_Lib_File_Source = 1;
    DICOM_Lib_File_Name = name.data();
    {
        const Message_Log log;
        const Record_List list("0008,0060#2:CS 0010,0010=A");
        EXPECT_EQ(DICOM_Postproc_Step_5(nullptr, &root, list.head), 1);
        EXPECT_EQ(Value_Of(*list.head), "89");
        EXPECT_EQ(log.Text(), "");
    }
    std::filesystem::remove(path);
    DICOM_Lib_File_Name = name.data();
    for (const bool current : {false, true}) {
        const Current_Standard standard(current);
        const Message_Log log(5);
        const Record_List list("0008,0060#2:CS 0008,0070#2:CS");
        EXPECT_EQ(DICOM_Postproc_Step_5(nullptr, &root, list.head), 0);
        EXPECT_EQ(log.Count("Error reading file " + path.string() + "\n"), 0);
        EXPECT_EQ(log.Count("Error reading file " + path.string()), current ? 1 : 2);
        EXPECT_EQ(log.All()[1].severity, 0x90002005U);
        EXPECT_EQ(log.All()[1].text, "-> DICOM_Postproc_Step_5() Reading missing: 2 bytes at 8");
    }
    DICOM_Lib_File_Source = 0;
    DICOM_Lib_File_Name = nullptr;
}

TEST(Post_Processing, VerificationNamesWhatIsRequired)
{
    const Record_List module(Make_List("0008,0005@1 0008,0008@3 0008,0016@1C 0008,0020@2 "
                                       "0008,0060@1 0008,1140:SQ@1 >0009,1001@1 >0008,1150@2 "
                                       "0008,1199:SQ@2C >0008,1150@1 0040,0275:SQ@1 0040,0280@2"));
    const std::string Begin = "7     \361\005WARNING:\002 ";
    std::string expected;
    For_Each_Case(Post_Processing_Page, "verified", 1,
                  [&](const Case_Row& row) { expected += Begin + row[0] + "\n"; });
    Flag_Error_Warning = 7;
    for (const bool current : {false, true}) {
        const Current_Standard standard(current);
        DICOM_Root root = {};
        const Record_List list(Make_List("0008,0005:CS 0008,0060=CT 0040,0275:SQ 0040,0280:ST@2"));
        const Message_Log log;
        EXPECT_EQ(DICOM_Postproc_Verification(nullptr, &root, list.head, module.head, 0), 0);
        EXPECT_EQ(log.Lines(), expected);
        EXPECT_EQ(Tags(list.head), std::string("0008,0005 0008,0060 0040,0275 0040,0280") +
                                       (current ? "" : " 0008,1140"))
            << "a lookup inside a sequence makes it";
        EXPECT_EQ(root.Sequence_Depth, 0);
    }
    Flag_Error_Warning = 0;
}

TEST(Post_Processing, VerificationLooksUpOnlyWhatMayBeRequired)
{
    DICOM_Root root = {};
    struct Case {
        const char* module;
        const char* tags;
    };
    for (const Case& test :
         {Case{"0008,1140:SQ@1 >0008,1150@1C >0008,1155@2C >0008,1156@3", "0010,0010"},
          Case{"0008,1140:SQ@1 >0008,1150", "0010,0010 0008,1140"}}) {
        Record_List list("0010,0010");
        const Record_List module(Make_List(test.module));
        const Message_Log log;
        DICOM_Postproc_Verification(nullptr, &root, list.head, module.head, 0);
        EXPECT_EQ(Tags(list.head), test.tags);
        EXPECT_EQ(log.All().size(), 1U) << log.Text();
    }
}

TEST(Post_Processing, StepsTraceEachList)
{
    const Record_List module(Make_List("0008,1140:SQ@1 >0008,1150=1@1"));
    DICOM_Root root = {};
    Record_List list(Make_List("0008,1140:SQ >0008,1150=1"));
    DICOM_List** const head = &list.head;
    const struct {
        std::function<int()> step;
        const char* name;
    } steps[] = {
        {[&] { return DICOM_Postproc_Overwrite(nullptr, &root, head, module.head, 1); },
         "DICOM_Postproc_Overwrite"},
        {[&] { return DICOM_Postproc_Step_1(nullptr, &root, head, module.head, 1); },
         "DICOM_Postproc_Step_1"},
        {[&] { return DICOM_Postproc_Step_2(nullptr, &root, *head, 0); }, "DICOM_Postproc_Step_2"},
        {[&] { return DICOM_Postproc_Step_4(nullptr, &root, head, module.head); },
         "DICOM_Postproc_Step_4"},
        {[&] { return DICOM_Postproc_Step_5(nullptr, &root, *head); }, "DICOM_Postproc_Step_5"},
        {[&] { return DICOM_Postproc_Verification(nullptr, &root, *head, module.head, 0); },
         "DICOM_Postproc_Verification"},
    };
    for (const auto& row : steps) {
        const Message_Log log(5);
        EXPECT_EQ(row.step(), 1) << row.name;
        const std::string name = row.name;
        const std::string in = "90002005 >>> in  Lib_Convert: " + name + "()\n";
        const std::string out = "90002005 <<< out Lib_Convert: " + name + "(done)\n";
        EXPECT_EQ(log.Lines(), in + in + out + out);
        Message_Log banners(9);
        row.step();
        EXPECT_EQ(banners.Count("Sequence in") > 0, name != "DICOM_Postproc_Verification");
    }
}

DICOM_List* Refuse(HWND, DICOM_Root*, DICOM_List**, DICOM_List*, void* param)
{
    ++*static_cast<int*>(param);
    return nullptr;
}

DICOM_List* Create(HWND handle, DICOM_Root* root, DICOM_List** list, DICOM_List* node, void* param)
{
    *static_cast<int*>(param) += 10;
    return DICOM_Attribute_Find(handle, root, list, node->group, node->element);
}

DICOM_List* Throw(HWND, DICOM_Root*, DICOM_List**, DICOM_List*, void* param)
{
    *static_cast<int*>(param) += 100;
    throw std::runtime_error("handler");
}

TEST(Post_Processing, ModuleAddAsksHandlersFirst)
{
    EXPECT_EQ(DICOM_Module_List_Group_Grow(0x0010, nullptr), 0);
    EXPECT_EQ(DICOM_Module_List_Group_Grow(0x0010, Create), 1);
    DICOM_Module_List_Group_Grow(0x0010, Refuse);
    DICOM_Module_List_Group_Grow(0x0011, Create);
    EXPECT_EQ(DICOM_Module_List_Private_Grow(0x0011, Refuse), 1);
    DICOM_Module_List_Private_Grow(0x0012, Throw);
    DICOM_Module_List_Private_Grow(0x0014, [](auto...) -> DICOM_List* { throw std::bad_alloc(); });
    Message_Log log(1);
    const auto add = [](const Case_Row& row) {
        int calls = 0;
        DICOM_Root root = {};
        const Record_List node(row[0]);
        Record_List list;
        EXPECT_EQ(DICOM_Module_Add(nullptr, &root, &list.head, node.head, &calls), row.Number(1));
        EXPECT_EQ(calls, row.Number(2));
        EXPECT_EQ(Tags(list.head), row[3]);
    };
    For_Each_Case(Post_Processing_Page, "module add", 4, add);
    EXPECT_EQ(std::regex_replace(log.Lines(), std::regex("1 line [0-9]+ +"), "1 line N "),
              "90002001 \361\004ERROR: \002Unknown tag type (\0010008\002,\0010020\002)\n"
              "1 Error: file:NEMA_Write_Module line:N\n1 line N of NEMA_Write_Module \n"
              "memory error in new (var=attribute, dim=1x1)\n");
    DICOM_Lib_Cleanup();
    add(Case_Row({"0010,0010~PN@2", "1", "0", "0010,0010"}));

    log.Clear();
    Flag_Trace = 9;
    DICOM_Module_List_Group_Grow(0x0010, Create);
    DICOM_Module_List_Private_Grow(0x0011, Refuse);
    DICOM_Module_List_Cleanup();
    std::string expected;
    for (const char* const call : {"Group_Grow(0010)", "Private_Grow(0011)", "Cleanup()"}) {
        const std::string name = std::string("Lib_DICOM: DICOM_Module_List_") + call;
        expected += "90002009 >>> in  " + name + "\n90002009 <<< out " +
                    name.substr(0, name.find('(')) + "()\n";
    }
    EXPECT_EQ(log.Lines(), expected);
    struct Left {
        const char* node;
        const char* reason;
    };
    DICOM_Module_List_Group_Grow(0x0010, Create);
    for (const Left& test : {Left{"0010,0010@1", "handler"}, Left{"0008,0020", "! node->type"},
                             Left{"0008,0020@1", ""}}) {
        log.Clear();
        int calls = 0;
        DICOM_Root root = {};
        const Record_List node(test.node);
        Record_List list;
        DICOM_Module_Add(nullptr, &root, &list.head, node.head, &calls);
        EXPECT_EQ(log.All().front().text, ">>> in  Lib_DICOM: DICOM_Module_Add(" +
                                              std::string(test.node).substr(0, 9) + ")");
        EXPECT_EQ(log.All().back().text,
                  std::string("<<< out Lib_DICOM: DICOM_Module_Add(") + test.reason + ")");
    }
    DICOM_Module_List_Cleanup();
}

}  // namespace
