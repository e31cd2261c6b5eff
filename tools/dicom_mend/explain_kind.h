// `dicom-mend explain`: what kinds of findings there are.
#ifndef TOOLS_DICOM_MEND_EXPLAIN_KIND_H
#define TOOLS_DICOM_MEND_EXPLAIN_KIND_H

#include "report.h"

#include <string>
#include <vector>

namespace dicom_mend {

/** Prints what kinds of findings are; without names a line for each kind that there is. */
Exit_Status Run_Explain(const std::vector<std::string>& kinds);

}  // namespace dicom_mend

#endif
