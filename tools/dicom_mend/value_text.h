// Values as text for people.
#ifndef TOOLS_DICOM_MEND_VALUE_TEXT_H
#define TOOLS_DICOM_MEND_VALUE_TEXT_H

#include "client/data_set.h"

#include <string>

namespace dicom_mend {

/** "--" for a VR that is not known. */
std::string VR_Text(unsigned short vr);

/** The beginning of a value: texts and numbers as such, other bytes in hexadecimal. */
std::string Value_Text(const dicom_client::Data_Set& set, const DICOM_List& record);

/** Bytes in small hexadecimal digits. */
std::string Hexadecimal(const dicom_client::Bytes& bytes);

}  // namespace dicom_mend

#endif
