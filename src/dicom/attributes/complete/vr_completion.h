// The VR of a record that was read: checked against the dictionary where it is explicit, and
// guessed from the value where nothing tells it.
#ifndef LIB_DICOM_SRC_ATTRIBUTES_VR_COMPLETION_H
#define LIB_DICOM_SRC_ATTRIBUTES_VR_COMPLETION_H

#include <Lib_DICOM/frame.h>

namespace lib_dicom {

/**
 * Completes `vr` and `vr_default` of a record.
 *
 * @return false when the explicit VR is not the dictionary's, or the VR stays unknown
 */
bool Complete_VR(HWND handle, DICOM_List& record);

}  // namespace lib_dicom

#endif
