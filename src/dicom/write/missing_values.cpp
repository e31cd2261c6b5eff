// Loading of the values that were left in the source.
#include "attributes/list/walk.h"
#include "frame/record_codes.h"
#include "frame/vr_rules.h"
#include "read/deferred_value.h"

#include <Lib_DICOM/write.h>

#include <optional>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Write_Module";

/** Loads values from the source, which is opened for the first of them. */
class Value_Loader {
public:
    explicit Value_Loader(HWND handle) : handle_(handle)
    {
    }

    /** False after a message. */
    bool Load(DICOM_List& pt)
    {
        Trace(handle_, Trace_Structure,
              "-> DICOM_Postproc_Step_5() Reading missing: %d bytes at %d", pt.size, pt.data_pos);
        if (!Open()) {
            return false;
        }
        Fetched_Value value = source_->Fetch(handle_, This_Unit, pt, "pt->data");
        switch (value.fault) {
        case Fetch_Fault::None:
            pt.data = value.data.release();
            return true;
        case Fetch_Fault::Memory:
            return false;
        case Fetch_Fault::End:
            return Fail_At_End(This_Unit, value.count, pt);
        case Fetch_Fault::Seek:
        case Fetch_Fault::Read:
            break;
        }
        return Fail(This_Unit);
    }

private:
    bool Open()
    {
        const bool is_first = !source_;
        if (is_first) {
            source_.emplace();
        }
        if (source_->Is_Open()) {
            return true;
        }
        // Once is enough, but by the letter each value is tried and reported by itself.
        return is_first || DICOM_Flag_Current_Standard == 0 ? Fail(This_Unit) : false;
    }
    bool Fail(Place place) const
    {
        Report_Error(handle_, place, "Error reading file %ls", source_->Name());
        return false;
    }
    bool Fail_At_End(Place place, long long count, const DICOM_List& pt) const
    {
        Report_Error(handle_, place, "End of File while reading: (%d /vs/ %d) (%ls)",
                     static_cast<int>(count), pt.size, source_->Name());
        return false;
    }

    HWND handle_;
    std::optional<Value_Source> source_;
};

bool Is_Value_Missing(const DICOM_List& record)
{
    return record.size > 0 && record.data == nullptr && record.item == nullptr &&
           record.group != Item_Group && Effective_VR(record) != VR_SQ;
}

}  // namespace

int DICOM_Postproc_Step_5(HWND handle, DICOM_Root* root, DICOM_List* list)
{
    constexpr Walk_Trace Step = {Trace_Structure, "Lib_Convert: DICOM_Postproc_Step_5()", "done"};
    Value_Loader loader(handle);
    int result = 1;
    const auto load = [&](DICOM_List* record, DICOM_List*) {
        if (Is_Value_Missing(*record) && !loader.Load(*record)) {
            result = 0;
        }
    };
    return Visit_Records(handle, This_Unit, {.root = root}, Step, list, load) ? result : 0;
}
