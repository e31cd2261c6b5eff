// Creates a secondary capture image from scratch and writes it as a Part 10 file.
//
//   create_secondary_capture FILE
#include <Lib_DICOM/Lib_DICOM.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr char Secondary_Capture_UID[] = "1.2.840.10008.5.1.4.1.1.7";
constexpr char Explicit_Little_UID[] = "1.2.840.10008.1.2.1";
constexpr char Instance_UID[] = "1.2.999.0.1.4400321.7.512.1.1";
constexpr char Study_UID[] = "1.2.999.0.1.4400321.7.512.1.2";
constexpr char Series_UID[] = "1.2.999.0.1.4400321.7.512.1.3";

constexpr unsigned short Rows = 16;
constexpr unsigned short Columns = 16;
constexpr unsigned int Pixel_Count = Rows * Columns;

/** A data set under construction: the list, and the sequence and item that are open in it. */
struct Data_Set {
    DICOM_Root root = {};
    DICOM_List* list = nullptr;

    Data_Set() = default;
    Data_Set(const Data_Set&) = delete;
    Data_Set& operator=(const Data_Set&) = delete;
    ~Data_Set()
    {
        while (list != nullptr) {
            DICOM_List* const next = list->next;
            DICOM_Attribute_Free(nullptr, list);
            list = next;
        }
    }
    void Text(unsigned short group, unsigned short element, unsigned short vr, const char* text)
    {
        DICOM_Attribute_Add(nullptr, &root, &list, group, element, vr, 1, text);
    }
    void Empty(unsigned short group, unsigned short element, unsigned short vr)
    {
        DICOM_Attribute_Add(nullptr, &root, &list, group, element, vr, 0);
    }
    void Number(unsigned short group, unsigned short element, unsigned short number)
    {
        DICOM_Attribute_Add(nullptr, &root, &list, group, element, VR_US, 1, number);
    }
};

void Add_Patient_And_Study(Data_Set& set)
{
    OrisWare_Date date = {};
    OrisWare_Time time = {};
    Make_Oris_Date(&date, "20240131", "yyyymmdd");
    Make_Oris_Time(&time, "101500", "hhmmss");
    set.Text(0x0010, 0x0010, VR_PN, "Doe^Jane");
    set.Text(0x0010, 0x0020, VR_LO, "4711");
    set.Empty(0x0010, 0x0030, VR_DA);
    set.Text(0x0010, 0x0040, VR_CS, "F");
    set.Text(0x0020, 0x000D, VR_UI, Study_UID);
    DICOM_Attribute_Add(nullptr, &set.root, &set.list, 0x0008, 0x0020, VR_DA, 1, &date);
    DICOM_Attribute_Add(nullptr, &set.root, &set.list, 0x0008, 0x0030, VR_TM, 1, &time);
    set.Empty(0x0008, 0x0050, VR_SH);
    set.Empty(0x0008, 0x0090, VR_PN);
    set.Text(0x0020, 0x0010, VR_SH, "1");
    Date_Free(&date);
    Time_Free(&time);
}

void Add_Series_And_Image(Data_Set& set)
{
    set.Text(0x0008, 0x0060, VR_CS, "OT");
    set.Text(0x0008, 0x0064, VR_CS, "SYN");
    set.Text(0x0008, 0x0016, VR_UI, Secondary_Capture_UID);
    set.Text(0x0008, 0x0018, VR_UI, Instance_UID);
    set.Text(0x0020, 0x000E, VR_UI, Series_UID);
    const int first = 1;
    DICOM_Attribute_Add(nullptr, &set.root, &set.list, 0x0020, 0x0011, VR_IS, 1, first);
    DICOM_Attribute_Add(nullptr, &set.root, &set.list, 0x0020, 0x0013, VR_IS, 1, first);
    set.Empty(0x0020, 0x0020, VR_CS);
    set.Number(0x0028, 0x0002, 1);
    set.Text(0x0028, 0x0004, VR_CS, "MONOCHROME2");
    set.Number(0x0028, 0x0010, Rows);
    set.Number(0x0028, 0x0011, Columns);
    set.Number(0x0028, 0x0100, 8);
    set.Number(0x0028, 0x0101, 8);
    set.Number(0x0028, 0x0102, 7);
    set.Number(0x0028, 0x0103, 0);
}

/** Derivation Code Sequence with one item: sequences are opened in the context around their items. */
void Add_Derivation(Data_Set& set)
{
    const unsigned short no_flags = 0;
    DICOM_Attribute_Add(nullptr, &set.root, &set.list, 0x0008, 0x9215, VR_SQ, 1, no_flags);
    DICOM_Attribute_Sequence_Start(nullptr, &set.root, 0x0008, 0x9215, no_flags, 0);
    DICOM_Attribute_Item_Start(nullptr, &set.root, 0);
    set.Text(0x0008, 0x0100, VR_SH, "113085");
    set.Text(0x0008, 0x0102, VR_SH, "DCM");
    set.Text(0x0008, 0x0104, VR_LO, "Spatial resampling");
    DICOM_Attribute_Item_Stop(nullptr, &set.root, 0);
    DICOM_Attribute_Sequence_Stop(nullptr, &set.root, 0);
}

void Add_Meta(Data_Set& meta)
{
    const unsigned char version[] = {0, 1};
    DICOM_Attribute_Add(nullptr, &meta.root, &meta.list, 0x0002, 0x0001, VR_OB, -2, version);
    meta.Text(0x0002, 0x0002, VR_UI, Secondary_Capture_UID);
    meta.Text(0x0002, 0x0003, VR_UI, Instance_UID);
    meta.Text(0x0002, 0x0010, VR_UI, Explicit_Little_UID);
    meta.Text(0x0002, 0x0012, VR_UI, OrisWare_UID);
}

/** The pixel data callback: appends (7FE0,0010) with a grey wedge. */
int Append_Pixels(HWND, char code, unsigned int offset, char** buffer, void*)
{
    constexpr unsigned int Header_Size = 12;
    constexpr unsigned int Size = Header_Size + Pixel_Count;
    if (DICOM_Lib_Realloc(buffer, offset + Size) == 0) {
        return -1;
    }
    const auto order = static_cast<unsigned char>(code);
    char* const element = *buffer + offset;
    std::memcpy(element, Put_UShort(order, 0x7FE0), 2);
    std::memcpy(element + 2, Put_UShort(order, 0x0010), 2);
    std::memcpy(element + 4, "OB\0", 4);
    std::memcpy(element + 8, Put_Int(order, Pixel_Count), 4);
    for (unsigned int i = 0; i < Pixel_Count; ++i) {
        element[Header_Size + i] = static_cast<char>(i);
    }
    return Size;
}

bool Write_File(const char* path, Data_Set& meta, Data_Set& set)
{
    char* head = nullptr;
    char* body = nullptr;
    DICOM_Write_Image_Fct(&Append_Pixels);
    const unsigned int head_size =
        DICOM_Write_Part10(nullptr, DICOM_Order_Explicit_VR, meta.list, &head);
    const unsigned int body_size =
        DICOM_Write_Buffer(nullptr, DICOM_Order_Explicit_VR, set.list, &body, nullptr);
    std::FILE* const file = std::fopen(path, "wb");
    const bool written = file != nullptr && head_size != 0 && body_size != 0 &&
                         std::fwrite(head, 1, head_size, file) == head_size &&
                         std::fwrite(body, 1, body_size, file) == body_size;
    const bool closed = file != nullptr && std::fclose(file) == 0;
    DICOM_Lib_Free(&head);
    DICOM_Lib_Free(&body);
    return written && closed;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: create_secondary_capture FILE\n");
        return 2;
    }
    Data_Set meta;
    Data_Set set;
    Add_Meta(meta);
    Add_Patient_And_Study(set);
    Add_Series_And_Image(set);
    Add_Derivation(set);
    const bool written = Write_File(argv[1], meta, set);
    DICOM_Lib_Cleanup();
    if (!written) {
        std::fprintf(stderr, "%s: cannot be written\n", argv[1]);
    }
    return written ? 0 : 2;
}
