// Definition files: module lists, their index, includes and private elements.
//
// Input: the kind of the file; the file.
#include "definition_folder.h"

#include <sstream>

namespace {

void Check_List(const DICOM_List* list, int depth)
{
    fuzz::Require(depth < DICOM_Max_Depth, "a list is no deeper than a context can tell");
    for (; list != nullptr; list = list->next) {
        fuzz::Require(list->size >= 0 || list->size == DICOM_Undefined_Length,
                      "a value has a size");
        fuzz::Require(list->size <= 0 || list->data != nullptr, "a value has its bytes");
        const std::string value(reinterpret_cast<const char*>(list->data),
                                list->data != nullptr ? static_cast<std::size_t>(list->size) : 0);
        fuzz::Require(value.size() % 2 == 0, "a value is of even length");
        for (int i = 0; i < list->nb_item && list->item[i] != nullptr; ++i) {
            Check_List(list->item[i], depth + 1);
        }
    }
}

void Read_IOD(const fuzz::Definition_Folder& folder, const std::string& text)
{
    folder.Write("iods/F.txt", text);
    folder.Write("modules/m.txt", text);
    folder.Write("macros/m.txt", "(0008,0100) 1 SH\n>(0008,0102) 1 SH\n");
    Check_List(DICOM_Module_Read(nullptr, "F"), 0);
}

void Read_Override(const std::string& text)
{
    std::string lines = text + "\n";
    DICOM_Override = lines.data();
    Check_List(DICOM_Module_Read(nullptr, nullptr), 0);
    DICOM_Override = nullptr;
}

void Read_Index(const fuzz::Definition_Folder& folder, const std::string& text)
{
    folder.Write("iods/index.txt", text);
    for (const char* const name : {DICOM_Module_Name(nullptr, DICOM_VR('C', 'T')),
                                   DICOM_Module_Name(nullptr, "1.2.840.10008.5.1.4.1.1.2")}) {
        fuzz::Require(name == nullptr || *name != '\0', "an IOD has a name");
    }
}

void Read_Private(const fuzz::Definition_Folder& folder, const std::string& text)
{
    folder.Write("private/f.txt", text);
    folder.Write("private/index.txt", "\"ACME\" f\n");
    fuzz::Owned_Record record;
    record->group = 0x0029;
    constexpr unsigned short Elements[] = {0x1008, 0x2008, 0x1010, 0x0010};
    for (const unsigned short element : Elements) {
        record->element = element;
        DICOM_Module_Read_Private(nullptr, "ACME", record.Get());
    }
    folder.Write("private/index.txt", text);
    DICOM_Module_Free_Private();
    DICOM_Module_Read_Private(nullptr, "ACME", record.Get());
}

void Read_Lines(const std::string& text)
{
    DICOM_Root root = {};
    DICOM_List* list = nullptr;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        DICOM_Module_Read_Line(nullptr, &root, &list, line.c_str());
    }
    Check_List(list, 0);
    while (list != nullptr) {
        DICOM_List* const next = list->next;
        DICOM_Attribute_Free(nullptr, list);
        list = next;
    }
}

void Read_Value(const std::string& text)
{
    fuzz::Owned_Record record;
    record->vr = fuzz::Pick_VR(text.empty() ? '\0' : static_cast<std::uint8_t>(text[0]));
    DICOM_Module_Read_Value(nullptr, record.Get(), text.substr(text.empty() ? 0 : 1).c_str());
    Check_List(record.Get(), 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const fuzz::Definition_Folder folder;
    const fuzz::Silence silence;
    fuzz::Input input(data, size);
    const int kind = input.Byte() % 6;
    const std::string text = input.Text();
    switch (kind) {
    case 0:
        Read_IOD(folder, text);
        break;
    case 1:
        Read_Override(text);
        break;
    case 2:
        Read_Index(folder, text);
        break;
    case 3:
        Read_Private(folder, text);
        break;
    case 4:
        Read_Lines(text);
        break;
    default:
        Read_Value(text);
        break;
    }
    DICOM_Module_Free();
    DICOM_Module_Free_Private();
    DICOM_Module_Cleanup();
    folder.Use();
    return 0;
}
