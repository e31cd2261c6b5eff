// `dicom-mend dict` and `dicom-mend uid`: questions to the registries of PS3.6.
#ifndef TOOLS_DICOM_MEND_LOOKUP_H
#define TOOLS_DICOM_MEND_LOOKUP_H

#include "report.h"

#include <string>
#include <vector>

namespace dicom_mend {

struct Lookup_Request {
    /** Tags or UIDs, or parts of names. */
    std::vector<std::string> terms;
};

/** Prints the data elements that the terms stand for, one a line. */
Exit_Status Run_Dict(const Lookup_Request& request);
/** The same for UIDs. */
Exit_Status Run_UID(const Lookup_Request& request);

}  // namespace dicom_mend

#endif
