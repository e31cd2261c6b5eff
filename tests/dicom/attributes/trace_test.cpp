// The traces of operations on lists, and of the steps that they take.
#include "support/message_log.h"
#include "support/record_builder.h"

#include <gmock/gmock.h>

#include <functional>

namespace {

/**
 * The traces that a notation stands for, one word each: "+Name(arguments)" for an entry,
 * "-Name(reason)" for an exit, "=Name(arguments)" for both, ">text" for a step, "#text" for another
 * line; "~" is a blank.
 */
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
    const struct {
        const char* name;
        std::function<void()> operation;
        const char* traces;
        unsigned int severity = 0x90002009U;
    } rows[] = {
        {"context",
         [&] {
             DICOM_Attribute_Sequence_Start(nullptr, &root, 0x0008, 0x1140, 0, 0);
             DICOM_Attribute_Item_Start(nullptr, &root, 0);
             DICOM_Attribute_Item_Query(nullptr, &root, 1);
             DICOM_Attribute_Item_Stop(nullptr, &root, 0);
             DICOM_Attribute_Sequence_Get(nullptr, &root, 0, nullptr, nullptr, nullptr);
             DICOM_Attribute_Sequence_Query(nullptr, &root);
             DICOM_Attribute_Sequence_Stop(nullptr, &root, 0);
         },
         "=Sequence_Start(0008,1140) +Item_Start() >root->Item_Number[1]~=~1 -Item_Start() "
         "=Item_Query(1) =Item_Stop() =Sequence_Get(0) =Sequence_Query() =Sequence_Stop()"},
        {"get on its way down",
         [&] { DICOM_Attribute_Get(nullptr, &inside, sequence.head, 0x0008, 0x1150, 0); },
         "+Get(0008,1150) =Sequence_Query() =Sequence_Query() =Sequence_Get(0) =Item_Query(1) "
         "+Get(0008,1150) -Get(!~head) -Get(item)"},
        {"insert", [&] { DICOM_Attribute_Insert(nullptr, &root, &list.head, records.head, 0); },
         "+Insert(0008,0060)~CS~2~bytes =Sequence_Query() =Copy_Tag(0008,0060) -Insert(insert)"},
        {"insert without a VR",
         [&] { DICOM_Attribute_Insert(nullptr, &root, &list.head, records.head->next, 0); },
         "+Insert(0029,0010)~--~4~bytes =Sequence_Query() =Copy_Tag(0029,0010) -Insert(insert)"},
        {"get by patterns",
         [&] { DICOM_Attribute_Get(nullptr, &root, list.head, "00??", "006*", 0); },
         "+Get(00??,006*) =Sequence_Query() -Get(pt)"},
        {"get of what is not there",
         [&] { DICOM_Attribute_Get(nullptr, &root, list.head, 0x0008, 0x0061, 0); },
         "+Get(0008,0061) =Sequence_Query() -Get(NULL)"},
        {"sort", [&] { DICOM_Attribute_Sort(nullptr, &root, &list.head); },
         "+Sort() =Sequence_Query() -Sort()"},
        {"delete", [&] { DICOM_Attribute_Delete(nullptr, &root, &list.head, 0x0029, 0x0010); },
         "+Delete(0029,0010) =Sequence_Query() +Free(0029,0010) -Free() -Delete()"},
        {"remove", [&] { DICOM_Attribute_Remove(nullptr, &list.head, 0x10); },
         "+Remove(10) -Remove()"},
        {"delete in items",
         [&] { DICOM_Attribute_Delete(nullptr, &root, &nested.head, "0020", "*"); },
         "+Delete(0020,*) =Sequence_Query() +Sequence_Start(0008,1140) "
         "#------------------------~----~Sequence~in~----(depth=0)----- -Sequence_Start() "
         "+Item_Start() >root->Item_Number[1]~=~1 "
         "#~~~~------------------------~----~Item[1]~in~--------------- -Item_Start() "
         "+Delete(0020,*) =Sequence_Query() -Delete() +Item_Stop() "
         "#~~~~------------------------~----~Item[1]~out~-------------- -Item_Stop() "
         "+Sequence_Stop() #------------------------~----~Sequence~out~-------------- "
         "-Sequence_Stop() -Delete()"},
        {"nothing to delete", [&] { DICOM_Attribute_Delete(nullptr, &root, &none.head, "*", "*"); },
         "+Delete(*,*) -Delete(!~head)"},
        {"nothing to sort", [&] { DICOM_Attribute_Sort(nullptr, &root, &none.head); },
         "+Sort() -Sort(!~head)"},
        {"nothing to remove", [&] { DICOM_Attribute_Remove(nullptr, &none.head, 0); },
         "+Remove(00) -Remove(!~head)"},
        {"a copy that ends at once",
         [&] { DICOM_Attribute_Copy(nullptr, &root, &list.head, multi_frame.head); },
         "+Copy() >DICOM_Attribute_Copy(5200,9229) -Copy(pt->group~==~0x5200)"},
        {"copy", [&] { DICOM_Attribute_Copy(nullptr, &root, &list.head, patient.head); },
         "+Copy() >DICOM_Attribute_Copy(0010,0010) +Find(0010,0010) =Sequence_Query() -Find() "
         "=Copy_Tag(0010,0010) -Copy()"},
        {"assign", [&] { DICOM_Attribute_Assign_Info(nullptr, &root, list.head, patient.head); },
         "+Assign_Info() +Get(0010,0010) =Sequence_Query() -Get(pt) -Assign_Info()"},
        {"parse", [&] { DICOM_Attribute_Parse(nullptr, &root, records.head, &root); },
         "+Parse() >DICOM_Attribute_Parse~(0008,0060) >DICOM_Attribute_Parse~(0029,0010) "
         ">DICOM_Attribute_Parse~(0029,1010) +Get(0029,0010) =Sequence_Query() -Get(pt) -Parse()"},
        {"complement", [&] { DICOM_Attribute_Complement(nullptr, &root, records.head->next); },
         "+Complement() >DICOM_Attribute_Complement(0029,0010) "
         "#>>>~in~~Lib_DICOM:~NEMA_db_Locate(0029,0010) "
         "#<<<~out~Lib_DICOM:~NEMA_db_Locate(private) "
         "+Complement_Private(0029,0010) =Complement_Tag(0029,0010) -Complement_Private() "
         ">DICOM_Attribute_Complement(0029,1010) "
         "#>>>~in~~Lib_DICOM:~NEMA_db_Locate(0029,1010) "
         "#<<<~out~Lib_DICOM:~NEMA_db_Locate(private) "
         "+Complement_Private(0029,1010) +Get(0029,0010) =Sequence_Query() -Get(pt) "
         "#>>>~in~~Lib_DICOM:~DICOM_Module_Read_Private(0029,1010) "
         "#<<<~out~Lib_DICOM:~DICOM_Module_Read_Private(!~element) "
         "=Complement_Tag(0029,1010) -Complement_Private() -Complement()",
         0x90002007U},
    };
    for (const auto& row : rows) {
        const Message_Log log(9);
        row.operation();
        EXPECT_EQ(log.Text(), Traces_Of(row.traces)) << row.name;
        EXPECT_EQ(log.All()[0].severity, row.severity) << row.name;
    }
}

}  // namespace
