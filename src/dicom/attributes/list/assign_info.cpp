// Carrying type and default VR over from a reference list.
#include "attributes/list/attribute_lists.h"

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Tag_Copy";

}  // namespace

void DICOM_Attribute_Assign_Info(HWND handle, DICOM_Root* root, DICOM_List* reference,
                                 DICOM_List* target)
{
    Indexed_Search search;
    // A kept quirk: one item is started for all, so that each is matched against the first item of
    // the reference.
    Visit_Records(handle, This_Unit, {.root = root, .one_item_for_all = true},
                  {Trace_Entry, "Lib_DICOM: DICOM_Attribute_Assign_Info()"}, target,
                  [&](DICOM_List* record, DICOM_List*) {
                      const DICOM_List* const found = Get_Record(
                          handle, root, reference, record->group, record->element, search);
                      if (found == nullptr) {
                          return;
                      }
                      record->type = found->type;
                      if (record->vr_default == 0) {
                          record->vr_default = found->vr_default;
                      }
                  });
}
