// Removing records by their status.
#include "attributes/list/attribute_lists.h"

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Tag_Copy";
constexpr char Call[] = "Lib_DICOM: DICOM_Attribute_Remove(%02X)";

class Remover final : public List_Visitor {
public:
    Remover(HWND handle, unsigned char mode) : handle_(handle), mode_(mode)
    {
    }

    Way_In Enter(DICOM_List** list) override
    {
        Trace_In(handle_, Trace_Entry, Call, mode_);
        if (*list == nullptr) {
            reason_ = "! head";
            return {};
        }
        Remove_Run(list, list);
        return {.first = *list};
    }
    void Leave_Record(DICOM_List** list, DICOM_List* record) override
    {
        Remove_Run(list, &record->next);
    }
    void Leave() override
    {
        Trace_Out(handle_, Trace_Entry, Call, reason_);
        reason_ = "";
    }

private:
    bool Is_To_Be_Removed(const DICOM_List& record) const
    {
        const auto has = [&](unsigned short mark) {
            return (record.flags & mark) != 0;
        };
        const auto asked = [&](unsigned char bit) {
            return (mode_ & bit) != 0;
        };
        return (asked(DICOM_Remove_Group_Lengths) && record.element == 0x0000) ||
               has(DICOM_Mark_Invalid) ||
               (asked(DICOM_Remove_Deleted) && has(DICOM_Mark_Deleted)) ||
               (asked(DICOM_Remove_Retired) && has(DICOM_Mark_Retired)) ||
               (asked(DICOM_Remove_Delimiters) &&
                (record.vr_default == VR_Item || record.vr_default == VR_Delimiter)) ||
               (asked(DICOM_Remove_Private) && has(DICOM_Mark_Private) &&
                Flag_DICOM_Propriatery == 0);
    }
    /** Removes the records that a link points to, up to the first that stays. */
    void Remove_Run(DICOM_List** list, DICOM_List** link)
    {
        while (*link != nullptr && Is_To_Be_Removed(**link)) {
            Trace(handle_, Trace_Structure, "DICOM_Attribute_Remove(%04x,%04x) Removing tag",
                  (*link)->group, (*link)->element);
            Unlink_Record(handle_, list, link);
        }
    }

    HWND handle_;
    unsigned char mode_;
    const char* reason_ = "";
};

}  // namespace

int DICOM_Attribute_Remove(HWND handle, DICOM_List** list, unsigned char mode)
{
    Remover remover(handle, mode);
    Walk_Lists(handle, This_Unit, {.root = nullptr}, list, remover);
    return 0;
}
