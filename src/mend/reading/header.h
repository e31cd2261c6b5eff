// Headers of data elements, decoded from bytes in memory (PS3.5 section 7.1).
//
//    0     2     4   5   6     8           12
//    +-----+-----+-------+-----+-----------+
//    |group| elem|  V  R |len16| value ...              explicit VR: most VRs
//    |group| elem|  V  R | 0  0|   length  | value ...  explicit VR: OB OD OF OL OV OW SQ SV UC ...
//    |group| elem|   length    | value ...              implicit VR, and group FFFE everywhere
//    |group| elem|  V  R |   length  | value ...        no form of the standard: a 4-byte length
//    +-----+-----+-------+-----------+                  directly behind the VR
//
// Group, element and lengths are in the byte order of the list that the element stands in.
#ifndef LIB_MEND_HEADER_H
#define LIB_MEND_HEADER_H

#include "mend/findings/findings.h"

#include <cstdint>
#include <limits>
#include <span>

namespace lib_mend {

/** The rows of the table above. */
enum class Header_Form : unsigned char { Short, Long, Implicit, Packed };

struct Element_Header {
    static constexpr std::uint32_t Undefined = std::numeric_limits<std::uint32_t>::max();

    Tag tag;
    /** As it stands in the stream; 0 in implicit VR and in group FFFE. */
    unsigned short vr = 0;
    /** Byte-order code that the header was decoded in. */
    unsigned char mode = 0;
    Header_Form form = Header_Form::Implicit;
    /** Size of the header; 0 when not all of its bytes are there. */
    int size = 0;
    std::uint32_t length = 0;
    /** The two bytes behind the VR of a long form, which should be zero. */
    unsigned short reserved = 0;

    bool Is_Undefined() const
    {
        return length == Undefined;
    }
};

inline constexpr std::size_t Longest_Header = 12;
inline constexpr unsigned short Delimiter_Group = 0xFFFE;
/** The item tag, read in the other byte order. */
inline constexpr Tag Swapped_Item_Tag = {0xFEFF, 0x00E0};

inline bool Is_Explicit(unsigned char mode)
{
    return (mode & DICOM_Order_Explicit_VR) != 0;
}

inline bool Is_Big_Endian(unsigned char mode)
{
    return (mode & DICOM_Order_Big_Endian) != 0;
}

/** Two letters, or "-" for bytes that are none. */
std::string VR_Text(unsigned short vr);

/** Decodes the header in the form that byte-order code, tag and VR ask for. */
Element_Header Decode_Header(std::span<const unsigned char> bytes, unsigned char mode);
/** Decodes the header in a form of choice. */
Element_Header Decode_Header_As(std::span<const unsigned char> bytes, unsigned char mode,
                                Header_Form form);
/** "explicit VR little endian" */
std::string Mode_Text(unsigned char mode);

}  // namespace lib_mend

#endif
