// `dicom-mend diff`, and `--dry-run`: what is other in one file than in another.
#ifndef TOOLS_DICOM_MEND_DIFF_H
#define TOOLS_DICOM_MEND_DIFF_H

#include "mend/reading/data_set.h"
#include "report.h"
#include "terminal.h"

#include <string>
#include <vector>

namespace dicom_mend {

enum class Diff_Format { Text, JSON };

struct Diff_Request {
    /** Two names of files. */
    std::vector<std::string> files;
    Diff_Format format = Diff_Format::Text;
    Looks looks;
};

/** Prints what Find_Differences finds; true when there was anything. */
bool Print_Differences(const lib_mend::Data_Set& before, const lib_mend::Data_Set& after,
                       Diff_Format format, const Terminal& terminal);

/** @return Exit_Findings where there are differences */
Exit_Status Run_Diff(const Diff_Request& request);

}  // namespace dicom_mend

#endif
