// Exported settings, memory helpers and the version of the shared library.
#include "support/message_log.h"

#include <Lib_DICOM/frame.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

TEST(Frame, SettingsHaveTheirDocumentedDefaults)
{
    const struct {
        const char* name;
        long value, expected;
    } numbers[] = {
        {"Flag_Error_Warning", Flag_Error_Warning, 0},
        {"Flag_Error_Report", Flag_Error_Report, 0},
        {"Flag_Error_Error", Flag_Error_Error, 2},
        {"Flag_Error_Suppress", Flag_Error_Suppress, 0},
        {"Flag_DICOM_Propriatery", Flag_DICOM_Propriatery, 0},
        {"DICOM_Flag_Elem_0000", DICOM_Flag_Elem_0000, 0},
        {"DICOM_Flag_Seq_Size", DICOM_Flag_Seq_Size, 0},
        {"DICOM_Modality", DICOM_Modality, 0},
        {"DICOM_Lib_File_Source", DICOM_Lib_File_Source, 0},
        {"File_Work_File_Count", File_Work_File_Count, 0},
        {"DICOM_Tranfer_Syntax", DICOM_Tranfer_Syntax, 8},
        {"DICOM_Flag_Contibuting_Equip", DICOM_Flag_Contibuting_Equip, 1},
        {"DICOM_Keep_UID", DICOM_Keep_UID, 1},
        {"DICOM_Keep_Overlay", DICOM_Keep_Overlay, 1},
        {"Flag_Split_Multiframe", Flag_Split_Multiframe, 0},
        {"Flag_UNIX_Filename", Flag_UNIX_Filename, 0},
        {"DICOM_Flag_Current_Standard", DICOM_Flag_Current_Standard, 0},
        {"Flag_Trace", Flag_Trace, 0},
    };
    for (const auto& item : numbers) {
        EXPECT_EQ(item.value, item.expected) << item.name;
    }
    for (const void* pointer :
         {static_cast<const void*>(DICOM_Override), static_cast<const void*>(DICOM_Lib_File_Name),
          static_cast<const void*>(Oris_Date_Template),
          static_cast<const void*>(Oris_Time_Template), static_cast<const void*>(hwnd),
          static_cast<const void*>(Prog_Name)}) {
        EXPECT_EQ(pointer, nullptr);
    }
    EXPECT_THAT(File_Work_File_Pos, testing::Each(0));
    EXPECT_STREQ(OrisWare_UID, "1.2.999.0.1.4400321.7.512");
    const unsigned short deleted[5][2] = {
        {0x0002, 0x0001}, {0x0002, 0x0010}, {0x0002, 0x0013}, {0x0002, 0x0016}, {0xFFFF, 0x0000}};
    EXPECT_EQ(std::memcmp(DICOM_Delete_Tags, deleted, sizeof deleted), 0);
}

TEST(Frame, ReallocKeepsTheContentAndSize0Frees)
{
    const Message_Log log;
    char* buffer = nullptr;
    ASSERT_EQ(DICOM_Lib_Realloc(&buffer, 4), 1);
    std::memcpy(buffer, "abc", 4);
    ASSERT_EQ(DICOM_Lib_Realloc(&buffer, 100000), 1);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(DICOM_Lib_Realloc(&buffer, 0), 1);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(DICOM_Lib_Realloc(&buffer, 0), 1);

    ASSERT_EQ(DICOM_Lib_Realloc(&buffer, 1), 1);
    DICOM_Lib_Free(&buffer);
    EXPECT_EQ(buffer, nullptr);
    DICOM_Lib_Free(&buffer);
    EXPECT_EQ(log.Text(), "");
}

TEST(Frame, VersionOfTheSharedLibrary)
{
    char right[] = "21.9";
    EXPECT_STREQ(Get_Version_DICOM(right), "Lib_DICOM.dll 21.9 (rev-b)");
    EXPECT_STREQ(Get_Version_DICOM(nullptr), "Lib_DICOM.dll 21.9 (rev-b)");
    for (const char* wrong : {"21", "21.90", "21.8", ""}) {
        EXPECT_EQ(Get_Version_DICOM(std::string(wrong).data()), nullptr) << wrong;
    }
}

}  // namespace
