// The exported settings and their defaults. They are the library's only bare globals: the names are
// what applications link against, odd letters included.
#include <Lib_DICOM/frame.h>

namespace {

char uid_root[] = "1.2.999.0.1.4400321.7.512";

}  // namespace

int Flag_Error_Warning = 0;
int Flag_Error_Report = 0;
int Flag_Error_Error = 2;
int Flag_Error_Suppress = 0;
char Flag_DICOM_Propriatery = 0;
char DICOM_Flag_Elem_0000 = 0;
char DICOM_Flag_Seq_Size = 0;
char* DICOM_Override = nullptr;
unsigned short DICOM_Modality = 0;
wchar_t* DICOM_Lib_File_Name = nullptr;
int DICOM_Lib_File_Source = 0;
unsigned int DICOM_Lib_Image_Size = 0;
int File_Work_File_Count = 0;
int File_Work_File_Pos[10] = {};
char* Oris_Date_Template = nullptr;
char* Oris_Time_Template = nullptr;
char DICOM_Tranfer_Syntax = 8;
char DICOM_Flag_Contibuting_Equip = 1;
char DICOM_Keep_UID = 1;
char DICOM_Keep_Overlay = 1;
char Flag_Split_Multiframe = 0;
char Flag_UNIX_Filename = 0;
char* OrisWare_UID = uid_root;
unsigned short DICOM_Delete_Tags[5][2] = {
    {0x0002, 0x0001}, {0x0002, 0x0010}, {0x0002, 0x0013}, {0x0002, 0x0016}, {0xFFFF, 0x0000}};
char DICOM_Flag_Current_Standard = 0;
