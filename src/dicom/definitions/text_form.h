// What a text of a VR has to be besides its length and its characters: a day that there is, a number.
#ifndef LIB_DICOM_SRC_DEFINITIONS_TEXT_FORM_H
#define LIB_DICOM_SRC_DEFINITIONS_TEXT_FORM_H

#include <string_view>

namespace lib_dicom {

/**
 * Tells whether one value has the form of its VR (PS3.5 section 6.2).
 *
 * @param text  without padding
 * @return null when it has, or its VR has none; otherwise what it is to be
 */
const char* Missed_Form(unsigned short vr, std::string_view text);

}  // namespace lib_dicom

#endif
