#include "attributes/complete/vr_completion.h"

#include "support/message_log.h"
#include "support/record_builder.h"

#include <Lib_DICOM/dictionary.h>

#include <gmock/gmock.h>

using namespace lib_dicom;

namespace {

struct Guess_Case {
    const char* tag;
    std::string value;
    unsigned short expected;
};

TEST(VR_Completion, FollowsTheLookOfTheValue)
{
    using namespace std::string_literals;
    const std::string eleven(11, '1');
    const Guess_Case cases[] = {
        {"0029,1010", std::string(1025, 'A'), VR_OB},
        {"0029,0000", "\x04\0\0\0"s, VR_UL},
        {"0029,0010", "\x04\0\0\0"s, VR_LO},
        {"0028,0010", "12", VR_IS},
        {"0029,1010", "\xF0\xFF\xFF\xFF"s, VR_SL},
        {"0029,1010", "\x01\x02\x03\x44"s, VR_FL},
        {"0029,1010", "\xFF\xFF\xFF\x7F"s, 0},
        {"0029,1010", "\x01\x02"s, VR_SS},
        {"0029,1010", "\x01\x02\x03"s, 0},
        {"0029,1010", "1.2.3\0"s, VR_UI},
        {"0029,1010", "1.2.840.10008.1.23", VR_UI},
        {"0029,1010", " 12-3 ", VR_IS},
        {"0029,1010", eleven + "1", VR_IS},
        {"0029,1010", eleven + "11", VR_DS},
        {"0029,1010", "1.5E3 ", VR_DS},
        {"0029,1010", "AX_1 B", VR_CS},
        {"0029,1010", "AXIAL\\HFS", VR_SH},
        {"0029,1010", "Axial\\" + std::string(17, 'x'), VR_ST},
        {"0029,1010", "Axial", VR_ST},
        {"0029,1010", "\0\0\0\x01"s, VR_IS},
    };
    for (const Guess_Case& test : cases) {
        const Record_List list(test.tag);
        Complete_VR(nullptr, *list.head);
        EXPECT_EQ(list.head->vr_default, 0);
        Set_Value(*list.head, test.value);
        Complete_VR(nullptr, *list.head);
        EXPECT_EQ(list.head->vr_default, test.expected) << test.tag << " " << test.value;
    }
}

struct Complete_Case {
    const char* record;
    unsigned short vr;
    unsigned short vr_default;
    unsigned short flags;
    std::string message = "";
};

TEST(VR_Completion, CompletionSettlesTheExplicitVR)
{
    const Complete_Case cases[] = {
        {"0010,0010:PN", VR_PN, 0, 0},
        {"0010,0010:UN", VR_UN, 0, 0},
        {"0010,0010:ZZ~PN", 0, VR_PN, 0},
        {"0010,0010:DA", VR_DA, 0, 0,
         "\002    (\001"
         "0010\002,\001"
         "0010\002) Explicit VR (=DA) differs from the dictionary's "
         "(PN)\n"},
        {"0028,0106:SS", VR_SS, 0, 0},
        {"0028,3006:OB", VR_OB, 0, 0,
         "\002    (\001"
         "0028\002,\001"
         "3006\002) Explicit VR (=OB) differs from the dictionary's "
         "(US or SS or OW)\n"},
        // Retired elements have their VRs too.
        {"5000,3000:OB", VR_OB, 0, 0},
        {"7FE0,0010:OX", VR_OW, 0, 0x0010,
         "    \361\005WARNING:\002 (\001"
         "7fe0\002,\001"
         "0010\002) Explicit VR=OX is invalid!\n"},
        {"0028,0010~RT#2", 0, VR_US, 0},
        {"0028,0010~RT#4", 0, VR_UL, 0},
        {"0028,0010~RT#6", 0, VR_OB, 0},
        {"0029,1010", 0, 0, 0x0400},
        {"0029,1010:OV", 0, 0, 0x0400},
    };
    for (const Complete_Case& test : cases) {
        SCOPED_TRACE(test.record);
        Message_Log log;
        const Record_List list(test.record);
        list.head->dict = NEMA_db_Locate(list.head->group, list.head->element);
        Complete_VR(nullptr, *list.head);
        EXPECT_EQ(list.head->vr, test.vr);
        EXPECT_EQ(list.head->vr_default, test.vr_default);
        EXPECT_EQ(list.head->flags, test.flags);
        EXPECT_EQ(log.Text(), test.message);
    }
}

TEST(VR_Completion, CurrentStandardKnowsNewVRsAndTakesBytesForWords)
{
    Message_Log log;
    const Record_List list("0028,3006:OB 0029,1010:OV");
    list.head->dict = NEMA_db_Locate(0x0028, 0x3006);
    DICOM_Flag_Current_Standard = 1;
    Complete_VR(nullptr, *list.head);
    Complete_VR(nullptr, *list.head->next);
    DICOM_Flag_Current_Standard = 0;
    EXPECT_EQ(log.Text(), "");
    EXPECT_EQ(list.head->next->vr, VR_OV);
}

}  // namespace
