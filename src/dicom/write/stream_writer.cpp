// Output of plain lists and of groups, and the buffer that it goes to.
#include "write/stream_writer.h"

#include "frame/c_memory.h"
#include "frame/vr_rules.h"
#include "write/record_form.h"

#include <climits>
#include <cstring>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Write_Buffer";

/** Calls `visit` for each record that DICOM_Write_Group writes. */
template <class Record, class Visit>
void For_Each_In_Group(Record* list, unsigned short group, Visit visit)
{
    for (; list != nullptr && list->group <= group; list = list->next) {
        if (list->group == group) {
            visit(*list);
        }
    }
}

}  // namespace

bool lib_dicom::Is_Writable_Size(HWND handle, long long total)
{
    if (total <= INT_MAX) {
        return true;
    }
    Report_Error(handle, This_Unit,
                 "%lld bytes are too many to be written into one buffer (limit %d)", total,
                 INT_MAX);
    return false;
}

bool lib_dicom::Resize_Output(HWND handle, char*& buffer, long long total)
{
    if (!Is_Writable_Size(handle, total)) {
        return false;
    }
    const auto size = static_cast<std::size_t>(total);
    if (buffer == nullptr && size != 0) {
        buffer = C_Malloc<char>(handle, This_Unit, size, "*buffer").release();
        return buffer != nullptr;
    }
    return C_Resize(handle, This_Unit, buffer, size, "*buffer");
}

long long lib_dicom::Group_Size(HWND handle, unsigned short group, char code, DICOM_List* list)
{
    long long size = 0;
    For_Each_In_Group(list, group, [&](DICOM_List& record) {
        size += DICOM_Attribute_Size(handle, code, record);
    });
    return size;
}

int lib_dicom::DICOM_Write_Group(HWND handle, unsigned short group, char code, DICOM_List* list,
                                 char* out)
{
    Trace_Scope trace(handle, Trace_Step, "Lib_DICOM: DICOM_Write_Group(%04x)", group);
    char* at = out;
    For_Each_In_Group(list, group, [&](DICOM_List& record) {
        at = DICOM_Attribute_To_Str(handle, code, record, at);
    });
    const int size = static_cast<int>(at - out);
    return trace.Leave(size, "size=%d", size);
}

int lib_dicom::DICOM_Write_Element_0000(HWND handle, unsigned short group, char code,
                                        int group_bytes, char* out)
{
    const Trace_Scope trace(handle, Trace_Step, "Lib_DICOM: DICOM_Write_Element_0000(%04x)", group);
    unsigned char value[Length_Size];
    std::memcpy(value, Put_Int(0, group_bytes), sizeof value);
    DICOM_List record = {};
    record.group = group;
    record.vr = VR_UL;
    record.size = sizeof value;
    record.data = value;
    return static_cast<int>(DICOM_Attribute_To_Str(handle, code, record, out) - out);
}

int DICOM_List2Stream(HWND handle, char code, DICOM_List* list, char** buffer)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_List2Stream()");
    *buffer = nullptr;
    return Guarded(handle, This_Unit, 0, [&] {
        long long total = 0;
        for (DICOM_List* record = list; record != nullptr; record = record->next) {
            total += DICOM_Attribute_Size(handle, code, *record);
        }
        if (!Resize_Output(handle, *buffer, total)) {
            return trace.Leave(0, "! *buffer");
        }
        char* at = *buffer;
        for (DICOM_List* record = list; record != nullptr; record = record->next) {
            at = DICOM_Attribute_To_Str(handle, code, *record, at);
        }
        return static_cast<int>(total);
    });
}
