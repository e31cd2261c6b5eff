// Element headers of streams with explicit VR and a length of 4 bytes for every VR:
//
//     | group   | element | VR     | length           |    FFFE: | group   | element | length           |
//     0         2         4        6                  10
//
// Nothing is mended in them.
#include "frame/record_codes.h"
#include "read/header_input.h"

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Read_TAG";

/** What items and delimiters keep of the caller's mode: they are implicit and little endian. */
constexpr unsigned char Kept_Mask = 0xC0;

Step Check_Length(Header_Input& input, const Element_Header& header, int file_size)
{
    if (file_size != 0 && file_size <= header.length) {
        return input.Fail("failed to size to big (=%08X)",
                          static_cast<unsigned int>(header.length));
    }
    return header.length < DICOM_Undefined_Length ? input.Fail("*lenght < -1")
                                                  : input.Finish(header);
}

Step Read_Plain(Header_Input& input, unsigned char callers_mode, int file_size,
                Element_Header& header)
{
    unsigned char mode = (callers_mode & 0xF8) | DICOM_Order_Explicit_VR;
    if (!input.Read_UShort(0, header.group)) {
        return input.Fail("failed to read group");
    }
    if (!input.Read_UShort(mode, header.element)) {
        return input.Fail("failed to read element");
    }
    Trace(input.Handle(), Trace_Entry, "--> reading (%04x,%04x)", header.group, header.element);
    Step step = Step::Next;
    if (header.group == Item_Group) {
        mode = callers_mode & Kept_Mask;
    } else {
        step = input.Read_VR(header);
    }
    step = step == Step::Next ? input.Read_Length(mode, header) : step;
    step = step == Step::Next ? input.Settle() : step;
    return step == Step::Next ? Check_Length(input, header, file_size) : step;
}

}  // namespace

int NEMA_Get_Data_Element_Fuji(HWND handle, int source, int where, void* ptr, unsigned char mode,
                               unsigned short* group, unsigned short* element, unsigned short* vr,
                               int* length, int file_size)
{
    Trace_Scope trace(handle, Trace_Entry, "NEMA_Get_Data_Element_Fuji(mode:%04X)", mode);
    return Read_Header(handle, This_Unit, source, where, ptr, file_size, trace,
                       {group, element, vr, length},
                       [=](Header_Input& input, Element_Header& header) {
                           return Read_Plain(input, mode, file_size, header);
                       });
}
