// Opens a Part 10 file in explicit VR little endian and prints ten of its values in typed form.
// It uses the library alone, to show the reading loop that every client needs.
//
//   print_values FILE
#include <Lib_DICOM/Lib_DICOM.h>

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int Part10_Prefix_Size = 132;
constexpr int Longest_In_Memory = 1024;

/** An open file and what the library wants to know of it. */
struct File {
    explicit File(const char* path) : descriptor(open(path, O_RDONLY | O_CLOEXEC))
    {
        wchar_t* const wide = Char_2_Wchar(path);
        name = wide != nullptr ? wide : L"";
        std::free(wide);
        struct stat status = {};
        if (descriptor >= 0 && fstat(descriptor, &status) == 0) {
            size = static_cast<int>(status.st_size);
        }
        // Values that the loop leaves in the file are fetched from there on first use.
        DICOM_Lib_File_Source = NEMA_Source_File;
        DICOM_Lib_File_Name = name.data();
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File()
    {
        DICOM_Lib_File_Name = nullptr;
        if (descriptor >= 0) {
            close(descriptor);
        }
    }

    int descriptor;
    int size = 0;
    std::wstring name;
};

void Free_List(DICOM_List* list)
{
    while (list != nullptr) {
        DICOM_List* const next = list->next;
        DICOM_Attribute_Free(nullptr, list);
        list = next;
    }
}

/** Reads one element and appends it to the flat list; false at the end. */
bool Read_Element(File& file, DICOM_Root& root, DICOM_List** flat)
{
    DICOM_List record = {};
    const auto position = lseek(file.descriptor, 0, SEEK_CUR);
    if (position >= file.size ||
        NEMA_Get_Data_Element(nullptr, NEMA_Source_File, file.descriptor, file.name.data(),
                              DICOM_Order_Explicit_VR, &record.group, &record.element, &record.vr,
                              &record.size, file.size) == 0) {
        return false;
    }
    record.byte_order = DICOM_Order_Explicit_VR;
    record.flags = DICOM_Origin_Stream;
    record.dict = NEMA_db_Locate(record.group, record.element);
    record.vr_default = record.dict != nullptr ? record.dict->vr[0] : VR_UN;
    record.pos = static_cast<unsigned int>(position);
    record.data_pos = static_cast<unsigned int>(lseek(file.descriptor, 0, SEEK_CUR));

    const bool is_nested = record.vr == VR_SQ || record.group == 0xFFFE;
    char* value = nullptr;
    if (!is_nested && record.size > Longest_In_Memory) {
        NEMA_Skip(nullptr, NEMA_Source_File, file.descriptor, file.name.data(), record.size);
    } else if (!is_nested && record.size > 0) {
        value = NEMA_Read_Buffer(nullptr, NEMA_Source_File, file.descriptor, file.name.data(), 0,
                                 record.size);
    }
    record.data = reinterpret_cast<unsigned char*>(value);
    const bool inserted = DICOM_Attribute_Insert(nullptr, &root, flat, &record, 0) != nullptr;
    DICOM_Lib_Free(&value);
    return inserted;
}

DICOM_List* Read_File(File& file)
{
    DICOM_Root root = {};
    DICOM_List* flat = nullptr;
    lseek(file.descriptor, Part10_Prefix_Size, SEEK_SET);
    while (Read_Element(file, root, &flat)) {
    }
    DICOM_List* const nested = DICOM_Attribute_Format(nullptr, flat);
    Free_List(flat);
    return nested;
}

DICOM_List* Find(DICOM_List* list, unsigned short group, unsigned short element)
{
    DICOM_Root root = {};
    return DICOM_Attribute_Get(nullptr, &root, list, group, element, 0);
}

void Print_Text(DICOM_List* list, const char* label, unsigned short group, unsigned short element)
{
    DICOM_List* const record = Find(list, group, element);
    char** const texts = record != nullptr ? NEMA_Value_Str(nullptr, record, 0) : nullptr;
    std::printf("%-12s %s\n", label, texts != nullptr ? texts[0] : "-");
}

void Print_Number(DICOM_List* list, const char* label, unsigned short group, unsigned short element)
{
    DICOM_List* const record = Find(list, group, element);
    const int* const numbers = record != nullptr ? NEMA_Value_Int(nullptr, record, 0) : nullptr;
    std::printf("%-12s %d\n", label, numbers != nullptr ? numbers[0] : 0);
}

void Print_Values(DICOM_List* list)
{
    DICOM_List* const patient = Find(list, 0x0010, 0x0010);
    DICOM_List* const day = Find(list, 0x0008, 0x0020);
    DICOM_List* const hour = Find(list, 0x0008, 0x0030);
    OrisWare_Name* const name = patient != nullptr ? NEMA_Value_Name(nullptr, patient, 0) : nullptr;
    OrisWare_Date* const date = day != nullptr ? NEMA_Value_Date(nullptr, day, 0) : nullptr;
    OrisWare_Time* const time = hour != nullptr ? NEMA_Value_Time(nullptr, hour, 0) : nullptr;
    std::printf("%-12s %s\n", "Patient", name != nullptr ? Name_2_Str(name) : "-");
    std::printf("%-12s %s\n", "Date", date != nullptr ? Date_2_Str(date) : "-");
    std::printf("%-12s %s\n", "Time", time != nullptr ? Time_2_Str(time) : "-");
    Print_Text(list, "Patient ID", 0x0010, 0x0020);
    Print_Text(list, "Modality", 0x0008, 0x0060);
    Print_Text(list, "SOP class", 0x0008, 0x0016);
    Print_Text(list, "Instance", 0x0008, 0x0018);
    Print_Number(list, "Rows", 0x0028, 0x0010);
    Print_Number(list, "Columns", 0x0028, 0x0011);
    Print_Number(list, "Image", 0x0020, 0x0013);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: print_values FILE\n");
        return 2;
    }
    File file(argv[1]);
    if (file.descriptor < 0) {
        std::fprintf(stderr, "%s: cannot be opened\n", argv[1]);
        return 2;
    }
    DICOM_List* const list = Read_File(file);
    Print_Values(list);
    Free_List(list);
    DICOM_Lib_Cleanup();
    return list != nullptr ? 0 : 2;
}
