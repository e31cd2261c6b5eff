// `dicom-mend dict`, `uid` and `code`: questions to the registries of PS3.6 and to code tables.
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

struct Code_Request {
    /** Number of a context group, or the name of a table's file in the definition directory. */
    std::string table;
    std::vector<std::string> names;
};

/** Prints the data elements that the terms stand for, one a line. */
Exit_Status Run_Dict(const Lookup_Request& request);
/** The same for UIDs. */
Exit_Status Run_UID(const Lookup_Request& request);
/** Prints the coded concept that fits each name best, with its score, and what comes after it. */
Exit_Status Run_Code(const Code_Request& request);
/** Prints the codes that `--module` takes, of the IODs whose code or title holds one of the parts. */
Exit_Status Run_Modules(const std::vector<std::string>& parts);
/** The same for the numbers of tables that `code` takes. */
Exit_Status Run_Tables(const std::vector<std::string>& parts);

}  // namespace dicom_mend

#endif
