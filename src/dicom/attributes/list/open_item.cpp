// The frame of operations on the list of the item that the context has open.
#include "attributes/list/attribute_lists.h"

namespace lib_dicom {

Way_In Open_Item_Visitor::Enter(DICOM_List** list)
{
    Trace_Call();
    if (*list == nullptr) {
        return Refuse("! head");
    }
    if (Is_Outer_List(handle_, root_, *list)) {
        DICOM_List** const slot = DICOM_Attribute_Dig(handle_, root_, *list, 0);
        return slot != nullptr ? Way_In{.instead = slot} : Refuse("! DICOM_Attribute_Dig");
    }
    result_ = 1;
    Work_On(list);
    return {.first = *list};
}

void Open_Item_Visitor::Leave()
{
    Trace_Out(handle_, Trace_Entry, call_, reason_);
    reason_ = "";
}

Way_In Open_Item_Visitor::Refuse(const char* reason)
{
    reason_ = reason;
    return {};
}

}  // namespace lib_dicom
