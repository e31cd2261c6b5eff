// Removing records by their status.
#include "attributes/list/attribute_lists.h"

using namespace lib_dicom;

namespace {

bool Is_To_Be_Removed(const DICOM_List& record, unsigned char mode)
{
    const auto has = [&](unsigned short mark) {
        return (record.flags & mark) != 0;
    };
    const auto asked = [&](unsigned char bit) {
        return (mode & bit) != 0;
    };
    return (asked(DICOM_Remove_Group_Lengths) && record.element == 0x0000) ||
           has(DICOM_Mark_Invalid) || (asked(DICOM_Remove_Deleted) && has(DICOM_Mark_Deleted)) ||
           (asked(DICOM_Remove_Retired) && has(DICOM_Mark_Retired)) ||
           (asked(DICOM_Remove_Delimiters) &&
            (record.vr_default == VR_Item || record.vr_default == VR_Delimiter)) ||
           (asked(DICOM_Remove_Private) && has(DICOM_Mark_Private) && Flag_DICOM_Propriatery == 0);
}

/** Removes the records that a link points to, up to the first that stays. */
void Remove_Run(HWND handle, DICOM_List** list, DICOM_List** link, unsigned char mode)
{
    while (*link != nullptr && Is_To_Be_Removed(**link, mode)) {
        Trace(handle, Trace_Structure, "DICOM_Attribute_Remove(%04x,%04x) Removing tag",
              (*link)->group, (*link)->element);
        Unlink_Record(handle, list, link);
    }
}

}  // namespace

int DICOM_Attribute_Remove(HWND handle, DICOM_List** list, unsigned char mode)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Remove(%02X)", mode);
    if (*list == nullptr) {
        return trace.Leave(0, "! head");
    }
    Remove_Run(handle, list, list, mode);
    for (DICOM_List* record = *list; record != nullptr; record = record->next) {
        int count = 0;
        for (; count < record->nb_item && record->item[count] != nullptr; ++count) {
            DICOM_Attribute_Remove(handle, &record->item[count], mode);
        }
        Close_Gaps(record, count);
        Remove_Run(handle, list, &record->next, mode);
    }
    return 0;
}
