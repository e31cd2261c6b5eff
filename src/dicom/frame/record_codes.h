// Codes that records are made of: the tags of a data set's structure, types, and the letters of VRs.
#ifndef LIB_DICOM_SRC_FRAME_RECORD_CODES_H
#define LIB_DICOM_SRC_FRAME_RECORD_CODES_H

#include <Lib_DICOM/frame.h>

#include <cstdint>
#include <string>

namespace lib_dicom {

/** The group of items and delimiters (PS3.5 section 7.5), and their elements. */
inline constexpr unsigned short Item_Group = 0xFFFE;
inline constexpr unsigned short Item_Element = 0xE000;
inline constexpr unsigned short Item_End_Element = 0xE00D;
inline constexpr unsigned short Sequence_End_Element = 0xE0DD;

/** Types of attributes (PS3.5 section 7.4), in the coding of the `type` of a record. */
inline constexpr unsigned short Type_1 = DICOM_VR('1', ' ');
inline constexpr unsigned short Type_1C = DICOM_VR('1', 'C');
inline constexpr unsigned short Type_2 = DICOM_VR('2', ' ');
inline constexpr unsigned short Type_2C = DICOM_VR('2', 'C');
inline constexpr unsigned short Type_3 = DICOM_VR('3', ' ');

/** A tag as one number, in the order of tags. */
inline std::uint32_t Tag_Number(unsigned short group, unsigned short element)
{
    return static_cast<std::uint32_t>(group) << 16 | element;
}

inline std::uint32_t Tag_Number(const DICOM_List& record)
{
    return Tag_Number(record.group, record.element);
}

/** The letters of a VR; `missing` stands for a byte of 0. */
constexpr char First_Letter(unsigned short vr, char missing = '\0')
{
    return vr >> 8 == 0 ? missing : static_cast<char>(vr >> 8);
}

constexpr char Second_Letter(unsigned short vr, char missing = '\0')
{
    return (vr & 0xFF) == 0 ? missing : static_cast<char>(vr & 0xFF);
}

inline std::string VR_Text(unsigned short vr)
{
    return {First_Letter(vr), Second_Letter(vr)};
}

}  // namespace lib_dicom

#endif
