#include "read/header_input.h"

#include "frame/record_codes.h"

#include <array>

namespace lib_dicom {

bool Header_Input::Read(void* out, int size)
{
    size_ += size;
    return Read_Bytes(handle_, source_, out, size);
}

bool Header_Input::Read_UShort(unsigned char order, unsigned short& value)
{
    std::array<unsigned char, 2> bytes = {};
    if (!Read(bytes.data(), 2)) {
        return false;
    }
    value = NEMA_Convert_UShort(order, bytes.data());
    return true;
}

Step Header_Input::Read_VR(Element_Header& header)
{
    unsigned char first = 0;
    unsigned char second = 0;
    if (!Read(&first, 1)) {
        return Fail("failed to read VR byte[0]");
    }
    if (!Read(&second, 1)) {
        return Fail("failed to read VR byte[1]");
    }
    header.vr = static_cast<unsigned short>(first << 8 | second);
    return Step::Next;
}

Step Header_Input::Read_Length(unsigned char order, Element_Header& header)
{
    std::array<unsigned char, 4> bytes = {};
    if (!Read(bytes.data(), 4)) {
        return Fail_Size(header);
    }
    header.length = NEMA_Convert_Int(order, bytes.data());
    return Step::Next;
}

Step Header_Input::Settle()
{
    return lib_dicom::Settle(handle_, source_, position_) ? Step::Next : Fail("! lseek");
}

Step Header_Input::Fail_Size(const Element_Header& header)
{
    return Fail("failed to read size (VR:%c%c)", First_Letter(header.vr, '0'),
                Second_Letter(header.vr, '0'));
}

Step Header_Input::Finish(const Element_Header& header)
{
    Trace(handle_, Trace_Element, "[%06X] --> (%04x,%04x) VR:%c%c lenght:%08X (%d)", Start(),
          header.group, header.element, First_Letter(header.vr, '0'), Second_Letter(header.vr, '0'),
          static_cast<unsigned int>(header.length), header.length);
    return Step::Done;
}

Step Header_Input::Finish_Without_VR(const Element_Header& header)
{
    Trace(handle_, Trace_Element, "[%06X] --> (%04x,%04x) BUG! lenght:%08X (%d)", Start(),
          header.group, header.element, static_cast<unsigned int>(header.length), header.length);
    return Step::Done;
}

}  // namespace lib_dicom
