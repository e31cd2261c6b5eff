// `dicom-mend check`: the findings of files, for people or for programs.
#ifndef TOOLS_DICOM_MEND_CHECK_H
#define TOOLS_DICOM_MEND_CHECK_H

#include "archive/run.h"
#include "mend/interface/options.h"

#include <string>

namespace dicom_mend {

enum class Format { Text, JSON, SARIF, HTML };

struct Check_Request {
    /** The files, and how they are gone through. */
    Run_Options run;
    /** How mending would heal. */
    lib_mend::Heal_Options heal;
    /** Code of the IOD to verify against, "auto" for that of the SOP class, empty for none. */
    std::string module;
    /** An attribute by tag, keyword or path: what the IOD says of it is printed instead of findings. */
    std::string explain;
    Format format = Format::Text;
    /** Counts by kind instead of the findings themselves. */
    bool summary = false;
    /** Compare what must agree in all files. */
    bool study = false;
};

Exit_Status Run_Check(const Check_Request& request);

}  // namespace dicom_mend

#endif
