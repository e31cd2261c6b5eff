// Lists that a client nests deeper than any stack reaches: every operation walks them to the ground.
#include "support/message_log.h"
#include "support/record_builder.h"

#include <Lib_DICOM/Lib_DICOM.h>

#include <gtest/gtest.h>

#include <functional>

namespace {

constexpr int Levels = 100'000;
constexpr char Innermost[] = "0029,0010:LO=ODD!1";

DICOM_List* Innermost_Of(DICOM_List* list)
{
    while (list != nullptr && list->nb_item != 0) {
        list = list->item[0];
    }
    return list;
}

TEST(Deep_Lists, AreWalkedToTheGround)
{
    const std::pair<const char*, std::function<bool(DICOM_Root*, DICOM_List*&)>> operations[] = {
        {"cleanup and syntax",
         [](DICOM_Root* root, DICOM_List*& list) {
             Innermost_Of(list)->vr = VR_SS;
             const Message_Log log;
             DICOM_Attribute_Syntax(nullptr, root, list);
             DICOM_Attribute_Cleanup(nullptr, root, list);
             return log.Count("Expecting \"Signed Short\"") == 2 &&
                    Innermost_Of(list)->data == nullptr;
         }},
        {"complement",
         [](DICOM_Root* root, DICOM_List*& list) {
             DICOM_Attribute_Complement(nullptr, root, list);
             return Innermost_Of(list)->description != nullptr;
         }},
        {"sort",
         [](DICOM_Root* root, DICOM_List*& list) {
             Record_List lower("0008,0001");
             lower.head->depth = Innermost_Of(list)->depth;
             Innermost_Of(list)->next = std::exchange(lower.head, nullptr);
             return DICOM_Attribute_Sort(nullptr, root, &list) == 1 &&
                    Innermost_Of(list)->group == 0x0008;
         }},
        {"remove",
         [](DICOM_Root*, DICOM_List*& list) {
             Innermost_Of(list)->flags = DICOM_Mark_Invalid;
             DICOM_Attribute_Remove(nullptr, &list, 0);
             return Innermost_Of(list) == nullptr;
         }},
        {"delete",
         [](DICOM_Root* root, DICOM_List*& list) {
             return DICOM_Attribute_Delete(nullptr, root, &list, 0x0029, 0x0010) == 1 &&
                    Innermost_Of(list) == nullptr;
         }},
        {"copy",
         [](DICOM_Root* root, DICOM_List*& list) {
             // Levels that the context cannot tell apart share the deepest one.
             Record_List copy;
             return DICOM_Attribute_Copy(nullptr, root, &copy.head, list) == 1 &&
                    Tags(copy.head) ==
                        "0008,1140[0008,1140[0008,1140[0008,1140[0008,1140[0008,1140[0008,1140["
                        "0008,1140[0008,1140[0008,1140 0029,0010]]]]]]]]]";
         }},
        {"assign",
         [](DICOM_Root* root, DICOM_List*& list) {
             Deep_List reference(9, "0008,1140 0029,0010");
             Innermost_Of(reference.head)->type = DICOM_VR('1', ' ');
             DICOM_List* const described = Innermost_Of(reference.head)->next;
             described->type = DICOM_VR('2', ' ');
             described->depth = 9;
             DICOM_Attribute_Assign_Info(nullptr, root, reference.head, list);
             return Innermost_Of(list)->type == DICOM_VR('2', ' ');
         }},
        {"listing",
         [](DICOM_Root* root, DICOM_List*& list) {
             const Message_Log log;
             return DICOM_Attribute_Stool(nullptr, root, list, 0) == 1 && log.Count("ODD") == 1;
         }},
        {"parse",
         [](DICOM_Root* root, DICOM_List*& list) {
             return DICOM_Attribute_Parse(nullptr, root, list, root) == root;
         }},
        {"format",
         [](DICOM_Root*, DICOM_List*& list) {
             const Record_List formatted(DICOM_Attribute_Format(nullptr, list));
             return Tags(formatted.head).substr(0, 19) == "0008,1140[0008,1140";
         }},
    };
    for (const auto& [name, operation] : operations) {
        SCOPED_TRACE(name);
        Deep_List list(Levels, Innermost);
        DICOM_Root root = {};
        const Message_Log log;
        EXPECT_TRUE(operation(&root, list.head));
        EXPECT_EQ(root.Sequence_Depth, 0);
    }
}

TEST(Deep_Lists, WithoutDepthsAreSearchedToTheGround)
{
    // The records say that they stand at the top, so that each list is taken for an outer one.
    Deep_List list(Levels, Innermost);
    for (DICOM_List* at = list.head; at->nb_item != 0; at = at->item[0]) {
        at->item[0]->depth = 0;
    }
    DICOM_Root root = {};
    DICOM_Attribute_Sequence_Start(nullptr, &root, 0x0008, 0x1140, 0, 0);
    DICOM_Attribute_Item_Start(nullptr, &root, 0);
    EXPECT_EQ(DICOM_Attribute_Get(nullptr, &root, list.head, 0x0029, 0x0010, 0), nullptr);
    EXPECT_EQ(Tags(Innermost_Of(list.head)), "0029,0010 0008,1140");
    const Record_List record("0029,0011");
    EXPECT_NE(DICOM_Attribute_Insert(nullptr, &root, &list.head, record.head, 0), nullptr);
    EXPECT_EQ(DICOM_Attribute_Sort(nullptr, &root, &list.head), 1);
    EXPECT_EQ(DICOM_Attribute_Delete(nullptr, &root, &list.head, 0x0029, 0x0011), 1);
}

}  // namespace
