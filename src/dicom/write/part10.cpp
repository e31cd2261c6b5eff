// The head of a Part 10 file (PS3.10 section 7.1).
#include "frame/c_memory.h"
#include "write/stream_writer.h"

#include <cstring>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Write_Buffer";

constexpr unsigned short Group_Meta = 0x0002;
constexpr int Preamble_Size = 128;
constexpr char Part10_Mark[] = {'D', 'I', 'C', 'M'};

/** Encodes the group behind the preamble. It is explicit VR little endian, whatever the code. */
void Encode_Meta(HWND handle, char code, DICOM_List* list, long long size, char* out)
{
    // A kept quirk: the length element of the group follows the caller's code.
    out += DICOM_Write_Element_0000(handle, Group_Meta, code, static_cast<int>(size), out);
    DICOM_Write_Group(handle, Group_Meta, DICOM_Order_Explicit_VR, list, out);
}

}  // namespace

unsigned int DICOM_Write_Part10(HWND handle, char code, DICOM_List* list, char** buffer)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Write_Part10()");
    *buffer = nullptr;
    return Guarded(handle, This_Unit, 0U, [&] {
        const long long group = Group_Size(handle, Group_Meta, DICOM_Order_Explicit_VR, list);
        const long long head = Preamble_Size + sizeof Part10_Mark;
        const long long total = group == 0 ? head : head + Element_0000_Size + group;
        if (!Is_Writable_Size(handle, total)) {
            return trace.Leave(0U, "! size");
        }
        *buffer =
            C_Calloc<char>(handle, This_Unit, static_cast<std::size_t>(total), "buffer").release();
        if (*buffer == nullptr) {
            return trace.Leave(0U, "! buffer");
        }
        std::memcpy(*buffer + Preamble_Size, Part10_Mark, sizeof Part10_Mark);
        if (group != 0) {
            Encode_Meta(handle, code, list, group, *buffer + head);
        }
        return static_cast<unsigned int>(total);
    });
}
