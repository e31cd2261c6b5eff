// The length of an element's value: what it is checked against, and the faults that are mended.
#ifndef LIB_DICOM_SRC_READ_LENGTH_REPAIRS_H
#define LIB_DICOM_SRC_READ_LENGTH_REPAIRS_H

#include "read/header_input.h"

#include <array>
#include <optional>

namespace lib_dicom {

/** Number of value bytes that repairs look at; with the longest header they fill the window. */
inline constexpr std::size_t Value_Peek = 4;
static_assert(12 + Value_Peek <= Header_Window);

/** The reading of one header. */
struct Header_Reading {
    Header_Input& input;
    const unsigned char callers_mode;
    /** Size of the file or image, 0 when unknown. */
    const int file_size;
    /** The working mode: it changes for the current element only. */
    unsigned char mode;
    Element_Header& header;
    /** The first value bytes, where a repair asks for them. */
    std::optional<std::array<unsigned char, Value_Peek>> value = {};

    bool Is_Pixel_Data() const
    {
        return header.Is(0x7FE0, 0x0010);
    }
    bool Exceeds_File() const
    {
        return file_size != 0 && file_size <= header.length;
    }
};

/** Checks and mends the length behind a header, and leaves the source at the first value byte. */
Step Settle_Length(Header_Reading& reading);

}  // namespace lib_dicom

#endif
