// Private attributes by their creators. No definitions are loaded yet, so every creator is unknown.
#ifndef LIB_DICOM_SRC_ATTRIBUTES_PRIVATE_DEFINITIONS_H
#define LIB_DICOM_SRC_ATTRIBUTES_PRIVATE_DEFINITIONS_H

#include <Lib_DICOM/frame.h>

/**
 * Completes a private record from the definitions of its creator.
 *
 * @param creator  the text of the creator element without blanks around it
 * @return 1 when the element is known, else 0
 */
inline int DICOM_Module_Read_Private(HWND, const char*, DICOM_List*)
{
    return 0;
}

#endif
