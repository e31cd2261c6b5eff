// The state of the definition files: what has been read and is kept.
#ifndef LIB_DICOM_SRC_DEFINITIONS_DEFINITIONS_H
#define LIB_DICOM_SRC_DEFINITIONS_DEFINITIONS_H

#include "definitions/definition_files.h"
#include "definitions/private_definitions.h"
#include "definitions/rule_store.h"

#include <Lib_DICOM/attributes.h>

#include <memory>
#include <optional>
#include <unordered_map>

namespace lib_dicom {

/** Frees a list with all its records. */
struct List_Deleter {
    void operator()(DICOM_List* list) const
    {
        while (list != nullptr) {
            DICOM_List* const next = list->next;
            DICOM_Attribute_Free(hwnd, list);
            list = next;
        }
    }
};
using List_Owner = std::unique_ptr<DICOM_List, List_Deleter>;

/** Codes of IODs by what names them. */
struct Module_Index {
    std::unordered_map<unsigned short, std::string> by_modality;
    Text_Map<std::string> by_uid;
};

/** A module list that is kept. */
struct Kept_Module {
    List_Owner list;
    /** The dictionary that the entries of its records are from. */
    unsigned int dictionary = 0;
};

struct Definitions {
    Definition_Files files;
    std::optional<Module_Index> index;
    Private_Definitions privates;
    /** Module lists by everything that they were made from. */
    Text_Map<Kept_Module> lists;
    /** What belongs to the lists that are kept. */
    Rule_Store rules;

    /** Forgets what belongs to one directory. */
    void Leave_Directory()
    {
        index.reset();
        privates = Private_Definitions();
    }
};

Definitions& Get_Definitions();

}  // namespace lib_dicom

#endif
