// `dicom-mend report`: what runs came to, all together.
#ifndef TOOLS_DICOM_MEND_REPORT_COMMAND_H
#define TOOLS_DICOM_MEND_REPORT_COMMAND_H

#include "report.h"

#include <string>
#include <vector>

namespace dicom_mend {

struct Report_Request {
    /** Reports in JSON lines, states of runs, and folders that runs wrote to. */
    std::vector<std::string> runs;
    /** File for all their records in one report; empty for none. */
    std::string to;
    bool json = false;
    bool force = false;
    bool show_values = false;
    /** States of runs give also what is no fault; what a report in JSON lines has was decided by its run. */
    bool verbose = false;
};

/** Prints the totals; the status is that of the gravest file. */
Exit_Status Run_Report_Command(const Report_Request& request);

}  // namespace dicom_mend

#endif
