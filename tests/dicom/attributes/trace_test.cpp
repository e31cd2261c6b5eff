// The traces of operations on lists, and of the steps that they take.
#include "support/case_page.h"
#include "support/message_log.h"
#include "support/record_builder.h"

#include <gmock/gmock.h>

#include <functional>
#include <map>

namespace {

/** The traces that the notation of the page stands for. */
std::string Traces_Of(const std::string& notation)
{
    std::string text;
    std::istringstream words(notation);
    for (std::string word; words >> word;) {
        std::replace(word.begin(), word.end(), '~', ' ');
        const char mark = word[0];
        std::string call = "Lib_DICOM: DICOM_Attribute_" + word.substr(1) + "\n";
        if (mark == '>' || mark == '#') {
            text += (mark == '>' ? "-> " : "") + word.substr(1) + "\n";
            continue;
        }
        text += mark != '-' ? ">>> in  " + call : "";
        call = mark == '=' ? call.substr(0, call.find('(')) + "()\n" : call;
        text += mark != '+' ? "<<< out " + call : "";
    }
    return text;
}

TEST(Traces, NameTheStepsOfAnOperation)
{
    DICOM_Root root = {};
    DICOM_Root inside = {};
    DICOM_Attribute_Sequence_Start(nullptr, &inside, 0x0008, 0x1140, 0, 0);
    DICOM_Attribute_Item_Start(nullptr, &inside, 0);
    const Inserted_List sequence("0008,1140:SQ");
    Record_List list;
    const Record_List records("0008,0060:CS=MR 0029,0010=ACME 0029,1010");
    const Record_List multi_frame("5200,9229 0010,0010");
    const Record_List patient("0010,0010");
    Record_List none;
    Record_List nested("0008,1140");
    Add_Items(*nested.head, {"0010,0010"});
    const std::map<std::string, std::function<void()>> operations = {
        {"context",
         [&] {
             DICOM_Attribute_Sequence_Start(nullptr, &root, 0x0008, 0x1140, 0, 0);
             DICOM_Attribute_Item_Start(nullptr, &root, 0);
             DICOM_Attribute_Item_Query(nullptr, &root, 1);
             DICOM_Attribute_Item_Stop(nullptr, &root, 0);
             DICOM_Attribute_Sequence_Get(nullptr, &root, 0, nullptr, nullptr, nullptr);
             DICOM_Attribute_Sequence_Query(nullptr, &root);
             DICOM_Attribute_Sequence_Stop(nullptr, &root, 0);
         }},
        {"get on its way down",
         [&] {
             DICOM_Attribute_Get(nullptr, &inside, sequence.head, 0x0008, 0x1150, 0);
         }},
        {"insert",
         [&] {
             DICOM_Attribute_Insert(nullptr, &root, &list.head, records.head, 0);
         }},
        {"insert without a VR",
         [&] {
             DICOM_Attribute_Insert(nullptr, &root, &list.head, records.head->next, 0);
         }},
        {"get by patterns",
         [&] {
             DICOM_Attribute_Get(nullptr, &root, list.head, "00??", "006*", 0);
         }},
        {"get of what is not there",
         [&] {
             DICOM_Attribute_Get(nullptr, &root, list.head, 0x0008, 0x0061, 0);
         }},
        {"sort",
         [&] {
             DICOM_Attribute_Sort(nullptr, &root, &list.head);
         }},
        {"delete",
         [&] {
             DICOM_Attribute_Delete(nullptr, &root, &list.head, 0x0029, 0x0010);
         }},
        {"remove",
         [&] {
             DICOM_Attribute_Remove(nullptr, &list.head, 0x10);
         }},
        {"delete in items",
         [&] {
             DICOM_Attribute_Delete(nullptr, &root, &nested.head, "0020", "*");
         }},
        {"nothing to delete",
         [&] {
             DICOM_Attribute_Delete(nullptr, &root, &none.head, "*", "*");
         }},
        {"nothing to sort",
         [&] {
             DICOM_Attribute_Sort(nullptr, &root, &none.head);
         }},
        {"nothing to remove",
         [&] {
             DICOM_Attribute_Remove(nullptr, &none.head, 0);
         }},
        {"a copy that ends at once",
         [&] {
             DICOM_Attribute_Copy(nullptr, &root, &list.head, multi_frame.head);
         }},
        {"copy",
         [&] {
             DICOM_Attribute_Copy(nullptr, &root, &list.head, patient.head);
         }},
        {"assign",
         [&] {
             DICOM_Attribute_Assign_Info(nullptr, &root, list.head, patient.head);
         }},
        {"parse",
         [&] {
             DICOM_Attribute_Parse(nullptr, &root, records.head, &root);
         }},
        {"complement",
         [&] {
             DICOM_Attribute_Complement(nullptr, &root, records.head->next);
         }},
    };
    std::size_t count = 0;
    For_Each_Case("dicom/attributes/trace.cases", "operations", 3, [&](const Case_Row& row) {
        const Message_Log log(9);
        operations.at(row[0])();
        EXPECT_EQ(log.Text(), Traces_Of(row[2]));
        EXPECT_EQ(static_cast<int>(log.All()[0].severity), row.Number(1));
        ++count;
    });
    EXPECT_EQ(count, operations.size());
}

}  // namespace
