// A definition directory for one test, and module lists in a notation that is easy to compare.
#ifndef TESTS_DEFINITION_DIRECTORY_H
#define TESTS_DEFINITION_DIRECTORY_H

#include "support/record_builder.h"
#include "support/scratch_folder.h"

#include <Lib_DICOM/Lib_DICOM.h>

#include <filesystem>
#include <string>

class Definition_Directory {
public:
    Definition_Directory()
    {
        DICOM_Module_Setup(nullptr, std::filesystem::path(folder_.folder).wstring().c_str());
    }
    Definition_Directory(const Definition_Directory&) = delete;
    Definition_Directory& operator=(const Definition_Directory&) = delete;
    ~Definition_Directory()
    {
        DICOM_Override = nullptr;
        DICOM_Modality = 0;
        DICOM_Lib_Cleanup();
    }

    std::string Write(const std::string& name, const std::string& text) const
    {
        const std::filesystem::path file = folder_.Path(name + ".txt");
        std::filesystem::create_directories(file.parent_path());
        return folder_.Write(name + ".txt", text);
    }
    /** The list that a text gives as the one IOD of the directory. */
    DICOM_List* Read(const std::string& text) const
    {
        DICOM_Module_Free();
        Write("iods/T", text);
        return DICOM_Module_Read(nullptr, "T");
    }

private:
    Scratch_Folder folder_;
};

/** One record: "0008,0060 1 CS = CT" with the effective VR, and its nested lines in brackets. */
inline std::string Module_Text(const DICOM_List* list)
{
    std::string text;
    for (; list != nullptr; list = list->next) {
        char line[32];
        const unsigned int type = list->type != 0 ? list->type : DICOM_VR('-', ' ');
        const unsigned int vr = list->vr != 0 ? list->vr : list->vr_default;
        std::snprintf(line, sizeof line, "%04X,%04X %c%c %c%c", list->group, list->element,
                      static_cast<char>(type >> 8), static_cast<char>(type & 0xFF),
                      static_cast<char>(vr >> 8), static_cast<char>(vr & 0xFF));
        text += (text.empty() ? "" : "; ") + std::string(line);
        text += (list->flags & DICOM_Mark_Forced) != 0           ? " ! "
                : (list->flags & DICOM_Mark_Default) != 0        ? " = "
                : (list->flags & DICOM_Mark_Append) != 0         ? " + "
                : (list->flags & DICOM_Mark_Delete_Request) != 0 ? " x"
                                                                 : "";
        text += Value_Of(*list);
        if (list->nb_item > 0) {
            text += " [" + Module_Text(list->item[0]) + "]";
        }
    }
    return text;
}

#endif
