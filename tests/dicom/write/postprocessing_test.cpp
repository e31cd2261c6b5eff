#include "support/message_log.h"
#include "support/record_builder.h"

#include <Lib_DICOM/dictionary.h>
#include <Lib_DICOM/write.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include <unistd.h>

namespace {

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

TEST(Postprocessing, EmptyListsReturnAtOnce)
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

TEST(Postprocessing, OverwriteReplacesForcedValuesAndMakesWhatIsAbsent)
{
    DICOM_Root root = {};
    Record_List list(Make_List("0008,0060=CT!1000 0010,0010=A"));
    const Record_List module(Make_List("0008,0060=MR!1004 0010,0010=B!4 0040,0275:SQ!4 "
                                       ">0040,0008:SQ!4 >>0008,0100=X!1004 >>0008,0102=Y!1004"));
    DICOM_Postproc_Overwrite(nullptr, &root, &list.head, module.head, DICOM_Mark_Forced);
    EXPECT_EQ(Tags(list.head), "0008,0060 0010,0010 0040,0275[0040,0008[0008,0100 0008,0102]]");
    EXPECT_EQ(Value_Of(*list.head), "MR");
    EXPECT_EQ(Value_Of(*list.head->next), "A");
    EXPECT_EQ(root.Sequence_Depth, 0);
}

TEST(Postprocessing, Step1AppendsMarkedRecordsBehindTheWholeList)
{
    DICOM_Root root = {};
    Record_List list("0008,0060=CT 0020,0010=1");
    DICOM_Attribute_Find(nullptr, &root, &list.head, 0x0010, 0x0010);
    const Record_List module(
        Make_List("0008,0060=MR!2004 0010,0020=X!4 0008,1140:SQ!4 >0008,1150=1.2!2004"));
    DICOM_Postproc_Step_1(nullptr, &root, &list.head, module.head, DICOM_Mark_Default);
    EXPECT_EQ(Tags(list.head), "0008,0060 0010,0010 0020,0010 0008,0060 0008,1140[0008,1150]");
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

TEST(Postprocessing, Step2MarksWhatIsEmpty)
{
    struct Case {
        const char* list;
        const char* marked;
        int bytes;
    };
    const Case cases[] = {
        {"0008,0005 0008,0008@3 0008,0016@2 0008,0018@1 0008,0020@2C 0008,0060=CT",
         "0008,0005 0008,0008 ", 2},
        {"0008,1140:SQ@2C >0008,1150@1 >0008,1155=1.2@1", "0008,1150 ", 3},
        {"0008,1140:SQ@3 >0008,1150@2", "0008,1140 ", 0},
        {"0008,1140:SQ@1 >0008,2112:SQ@2C >>0008,1150@2", "0008,1150 ", 0},
        {"0008,1140:SQ@2C >0008,2112:SQ@1 >>0008,1150@2", "0008,2112 ", 0},
        {"0008,1140:SQ@3 >FFFE,E000#20@1", "0008,1140 ", 0},
        {"0009,0010#2147483647 0009,0011#2147483647", "", 2147483647},
    };
    for (const Case& test : cases) {
        DICOM_Root root = {};
        const Record_List list(Make_List(test.list));
        EXPECT_EQ(DICOM_Postproc_Step_2(nullptr, &root, list.head, 0), test.bytes);
        EXPECT_EQ(Marked(list.head), test.marked) << test.list;
    }
}

TEST(Postprocessing, Step4DeletesAlsoWhatItWalksOver)
{
    constexpr char Marks[] =
        "0008,0060=CT!200 0008,0060=MR 0008,1140:SQ >0008,1150=1!200 >0008,1155=2!200 0010,0010=A";
    const Record_List module(Make_List(Marks));
    DICOM_Root root = {};
    Record_List same(Make_List(Marks));
    EXPECT_EQ(DICOM_Postproc_Step_4(nullptr, &root, &same.head, same.head), 1);
    EXPECT_EQ(Tags(same.head), "0008,1140 0010,0010");

    const Record_List flat("0008,1140:SQ* FFFE,E000* 0008,1150=1 FFFE,E00D FFFE,E000* "
                           "0008,1150=2 FFFE,E00D FFFE,E0DD");
    Record_List other(DICOM_Attribute_Format(nullptr, flat.head));
    DICOM_Attribute_Delete(nullptr, &root, &other.head, 0xFFFE, 0xFFFF);
    DICOM_Postproc_Step_4(nullptr, &root, &other.head, module.head);
    EXPECT_EQ(Tags(other.head), "0008,1140[0008,1150]") << "the emptied item hides the next";

    Record_List without("0010,0010=A");
    DICOM_Postproc_Step_4(nullptr, &root, &without.head, module.head);
    EXPECT_EQ(Tags(without.head), "0010,0010");
}

TEST(Postprocessing, Step5LoadsWhatIsMissing)
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
        EXPECT_EQ(log.Count("End of File while reading: ("), 1) << log.Text();
        std::string values;
        for (const DICOM_List* record :
             {list.head, list.head->next, list.head->next->item[0], list.head->next->item[0]->next,
              list.head->next->next, list.head->next->next->next,
              list.head->next->next->next->next}) {
            values += Value_Of(*record) + "|";
        }
        EXPECT_EQ(values, "89|||8|A|||");
    }
    std::filesystem::remove(path);
    DICOM_Lib_File_Source = 1;
    DICOM_Lib_File_Name = name.data();
    const Message_Log log;
    const Record_List list("0008,0060#2:CS 0008,0070#2:CS");
    EXPECT_EQ(DICOM_Postproc_Step_5(nullptr, &root, list.head), 0);
    EXPECT_EQ(log.Count("Error reading file " + path.string()), 1);
    DICOM_Lib_File_Source = 0;
    DICOM_Lib_File_Name = nullptr;
}

TEST(Postprocessing, VerificationReportsAndChangesNothing)
{
    DICOM_Root root = {};
    const Record_List list(Make_List("0008,0005:CS 0008,0060=CT 0040,0275:SQ"));
    const Record_List module(Make_List("0008,0005@1 0008,0008@3 0008,0020@2 0008,0060@1 "
                                       "0008,1140:SQ@1 >0009,1001@1 0008,1199:SQ@2C >0008,1150@1 "
                                       "0040,0275:SQ@1"));
    const Message_Log log;
    EXPECT_EQ(DICOM_Postproc_Verification(nullptr, &root, list.head, module.head, 0), 0);
    const std::string begin = "    \361\005WARNING:\002 ";
    EXPECT_EQ(log.Text(), begin +
                              "Empty required value for type 1 tag: (\0010008\002,\0010005\002) "
                              "\001\"Specific Character Set\"\n" +
                              begin +
                              "Missing required value for type 2 tag: (\0010008\002,\0010020\002) "
                              "\001\"Study Date\"\n" +
                              begin +
                              "Missing required value for type 1 tag: (\0010008\002,\0011140\002) "
                              "\001\"Referenced Image Sequence\"\n" +
                              begin +
                              "Missing required value for type 1 tag: (\0010009\002,\0011001\002) "
                              "\001\n");
    EXPECT_EQ(Tags(list.head), "0008,0005 0008,0060 0040,0275");
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

TEST(Postprocessing, ModuleAddAsksHandlersFirst)
{
    EXPECT_EQ(DICOM_Module_List_Group_Grow(0x0010, nullptr), 0);
    EXPECT_EQ(DICOM_Module_List_Group_Grow(0x0010, Create), 1);
    DICOM_Module_List_Group_Grow(0x0010, Refuse);
    DICOM_Module_List_Group_Grow(0x0011, Create);
    EXPECT_EQ(DICOM_Module_List_Private_Grow(0x0011, Refuse), 1);
    struct Case {
        const char* node;
        int result;
        int calls;
        const char* tags;
    };
    Message_Log log(1);
    const auto add = [](const Case& test) {
        int calls = 0;
        DICOM_Root root = {};
        const Record_List node(test.node);
        Record_List list;
        EXPECT_EQ(DICOM_Module_Add(nullptr, &root, &list.head, node.head, &calls), test.result);
        EXPECT_EQ(calls, test.calls) << test.node;
        EXPECT_EQ(Tags(list.head), test.tags) << test.node;
    };
    const Case cases[] = {
        {"0010,0010@1", 0, 10, "0010,0010"},   {"0011,0010@1", 1, 11, "0011,0010"},
        {"0008,0020~DA@2", 1, 0, "0008,0020"}, {"0008,0020~DA@2C", 1, 0, "0008,0020"},
        {"0008,0020~DA@1", 1, 0, ""},          {"0008,0020~DA", 0, 0, ""},
    };
    for (const Case& test : cases) {
        add(test);
    }
    EXPECT_EQ(log.Text(), "\361\004ERROR: \002Unknown tag type (\0010008\002,\0010020\002)\n");
    DICOM_Lib_Cleanup();
    add({"0010,0010~PN@2", 1, 0, "0010,0010"});
}

}  // namespace
