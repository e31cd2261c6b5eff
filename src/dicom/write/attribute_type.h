// Types of attributes (PS3.5 section 7.4), in the coding of the `type` of a record.
#ifndef LIB_DICOM_SRC_WRITE_ATTRIBUTE_TYPE_H
#define LIB_DICOM_SRC_WRITE_ATTRIBUTE_TYPE_H

#include <Lib_DICOM/frame.h>

namespace lib_dicom {

inline constexpr unsigned short Type_1 = DICOM_VR('1', ' ');
inline constexpr unsigned short Type_2 = DICOM_VR('2', ' ');
inline constexpr unsigned short Type_2C = DICOM_VR('2', 'C');
inline constexpr unsigned short Type_3 = DICOM_VR('3', ' ');

}  // namespace lib_dicom

#endif
