// VRs and bytes as text.
#ifndef TOOLS_DICOM_MEND_VALUE_TEXT_H
#define TOOLS_DICOM_MEND_VALUE_TEXT_H

#include "mend/io/source.h"

#include <string>

namespace dicom_mend {

/** "--" for a VR that is not known. */
std::string VR_Text(unsigned short vr);

/** Bytes in small hexadecimal digits. */
std::string Hexadecimal(const lib_mend::Bytes& bytes);

}  // namespace dicom_mend

#endif
