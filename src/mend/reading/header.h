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
#include "mend/reading/vr_forms.h"

#include <cstdint>
#include <limits>
#include <span>

namespace lib_mend {

/** The rows of the table above. */
enum class Header_Form : unsigned char { Short, Long, Implicit, Packed };

struct Element_Header {
    static constexpr std::int64_t Undefined = std::numeric_limits<std::uint32_t>::max();

    Tag tag;
    /** As it stands in the stream; 0 in implicit VR and in group FFFE. */
    unsigned short vr = 0;
    /** Byte-order code that the header was decoded in. */
    unsigned char mode = 0;
    Header_Form form = Header_Form::Implicit;
    /** Size of the header; 0 when not all of its bytes are there. */
    int size = 0;
    /** Above 32 bits only where it was mended. */
    std::int64_t length = 0;
    /** The two bytes behind the VR of a long form, which should be zero. */
    unsigned short reserved = 0;

    bool Is_Undefined() const
    {
        return length == Undefined;
    }
    /** What the registry says of the tag, null for nothing. */
    TAG_db_Elems* Entry() const
    {
        if (looked_up.tag != tag) {
            looked_up.tag = tag;
            looked_up.entry = tag.group % 2 == 0 ? NEMA_db_Locate(tag.group, tag.element) : nullptr;
        }
        return looked_up.entry;
    }

    /** Every rule asks for the entry, which is looked up once. */
    struct Looked_Up {
        Tag tag = {0x0000, 0xFFFF};
        TAG_db_Elems* entry = nullptr;
    };
    mutable Looked_Up looked_up = {};
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

inline unsigned short Number_16(const unsigned char* bytes, bool big)
{
    return static_cast<unsigned short>(big ? bytes[0] << 8 | bytes[1] : bytes[1] << 8 | bytes[0]);
}

inline std::uint32_t Number_32(const unsigned char* bytes, bool big)
{
    const std::uint32_t first = Number_16(bytes, big);
    const std::uint32_t second = Number_16(bytes + 2, big);
    return big ? first << 16 | second : second << 16 | first;
}

/** Decodes the header in a form of choice. */
inline Element_Header Decode_Header_As(std::span<const unsigned char> bytes, unsigned char mode,
                                       Header_Form form)
{
    constexpr int Sizes[] = {8, 12, 8, 10};
    Element_Header header;
    header.mode = mode;
    header.form = form;
    const int size = Sizes[static_cast<std::size_t>(form)];
    if (std::ssize(bytes) < size) {
        return header;
    }
    const bool big = Is_Big_Endian(mode);
    const unsigned char* const at = bytes.data();
    header.size = size;
    header.tag = {Number_16(at, big), Number_16(at + 2, big)};
    header.vr = form == Header_Form::Implicit ? static_cast<unsigned short>(0)
                                              : static_cast<unsigned short>(at[4] << 8 | at[5]);
    header.reserved =
        form == Header_Form::Long ? Number_16(at + 6, big) : static_cast<unsigned short>(0);
    header.length =
        form == Header_Form::Short ? Number_16(at + 6, big) : Number_32(at + size - 4, big);
    return header;
}

/** Decodes the header in the form that byte-order code, tag and VR ask for. */
inline Element_Header Decode_Header(std::span<const unsigned char> bytes, unsigned char mode)
{
    if (bytes.size() < 8) {
        return {};
    }
    const bool is_delimiter = Number_16(bytes.data(), Is_Big_Endian(mode)) == Delimiter_Group;
    if (!Is_Explicit(mode) || is_delimiter) {
        return Decode_Header_As(bytes, mode, Header_Form::Implicit);
    }
    const auto vr = static_cast<unsigned short>(bytes[4] << 8 | bytes[5]);
    return Decode_Header_As(bytes, mode, Is_Long_VR(vr) ? Header_Form::Long : Header_Form::Short);
}

/** "explicit VR little endian" */
std::string Mode_Text(unsigned char mode);

}  // namespace lib_mend

#endif
