// Verification: which attributes the module list requires and the data set lacks.
//
// By the letter a lookup inside an item makes the sequences around it that the data set lacks. While
// `DICOM_Flag_Current_Standard` is set the data set stays as it is.
#include "attributes/list/attribute_lists.h"
#include "frame/record_codes.h"
#include "frame/vr_rules.h"

#include <Lib_DICOM/dictionary.h>
#include <Lib_DICOM/write.h>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Write_Module";

/** A data set that is verified. */
struct Verified {
    HWND handle;
    DICOM_Root* root;
    DICOM_List* list;
    int result;
    Indexed_Search search;
};

void Warn_Of_Required(Verified& set, const char* fault, const DICOM_List& node)
{
    const char* const quote = node.dict != nullptr ? "\"" : "";
    const char* const name = node.dict != nullptr ? static_cast<const char*>(node.dict->name) : "";
    Report_Warning(set.handle,
                   "    \361\005WARNING:\002 %hs required value for type %hs tag: "
                   "(\001%04x\002,\001%04x\002) \001%hs%hs%hs",
                   fault, node.type == Type_1 ? "1" : "2", node.group, node.element, quote, name,
                   quote);
    set.result = 0;
}

void Verify_Attribute(Verified& set, const DICOM_List& node)
{
    DICOM_List* const list = DICOM_Flag_Current_Standard == 0
                                 ? set.list
                                 : Look_Into_Open_Item(set.handle, set.root, set.list, set.search);
    const DICOM_List* const found =
        Get_Record(set.handle, set.root, list, node.group, node.element, set.search);
    if (node.type != Type_1 && node.type != Type_2) {
        return;
    }
    if (found == nullptr) {
        Warn_Of_Required(set, "Missing", node);
    } else if (node.type == Type_1 && found->size == 0 && Effective_VR(*found) != VR_SQ) {
        Warn_Of_Required(set, "Empty", node);
    }
}

}  // namespace

int DICOM_Postproc_Verification(HWND handle, DICOM_Root* root, DICOM_List* list, DICOM_List* module,
                                int)
{
    constexpr unsigned int No_Banners = 0;
    constexpr Walk_Trace Step = {Trace_Structure, "Lib_Convert: DICOM_Postproc_Verification()",
                                 "done"};
    Verified set{handle, root, list, 1, {}};
    const auto verify = [&](const DICOM_List* node, DICOM_List*) {
        if (node->type != Type_1C && node->type != Type_2C && node->type != Type_3) {
            Verify_Attribute(set, *node);
        }
        return node->type == Type_1;
    };
    const Walk_Context context = {.root = root, .trace = No_Banners};
    return Visit_Records(handle, This_Unit, context, Step, module, verify) ? set.result : 0;
}
