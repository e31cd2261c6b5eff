// What the definition files are called, as users name them on the command line.
#ifndef TOOLS_DICOM_MEND_DEFINITION_NAMES_H
#define TOOLS_DICOM_MEND_DEFINITION_NAMES_H

#include <string>
#include <vector>

namespace dicom_mend {

/** Codes of the IODs, in the order of the alphabet; "CT" is one. */
std::vector<std::string> Module_Codes();

/** Numbers of the context groups, by size; "29" is one. */
std::vector<std::string> Table_Numbers();

}  // namespace dicom_mend

#endif
