// Values from the text of a definition file.
#ifndef LIB_DICOM_SRC_DEFINITIONS_MODULE_VALUE_H
#define LIB_DICOM_SRC_DEFINITIONS_MODULE_VALUE_H

#include "frame/report.h"

#include <string>
#include <string_view>

namespace lib_dicom {

/** Why a text is no value of a VR. */
struct Value_Fault {
    /** Who says so. */
    Place place;
    std::string text;
};

/** The bytes of a value, little endian and of even length. Throws Value_Fault. */
std::string Value_Bytes(unsigned short vr, std::string_view text);

/**
 * Tells whether a value of a VR may be equal to a text, which stands for one value: no separators, no
 * blanks around it. A tag may also be written as eight digits. Throws Value_Fault when none ever is.
 */
void Check_Compared(unsigned short vr, std::string_view text);
/** The same for a comparison by size, of numbers alone. */
bool Is_Number_VR(unsigned short vr);

/** Replaces the value of a record. Throws std::bad_alloc. */
void Replace_Value(DICOM_List& record, std::string_view bytes);

}  // namespace lib_dicom

#endif
