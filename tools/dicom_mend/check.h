// `dicom-mend check`: the findings of files, for people or for programs.
#ifndef TOOLS_DICOM_MEND_CHECK_H
#define TOOLS_DICOM_MEND_CHECK_H

#include "mend/interface/options.h"
#include "report.h"

#include <string>
#include <vector>

namespace dicom_mend {

enum class Format { Text, JSON, SARIF, HTML };

struct Check_Request {
    std::vector<std::string> files;
    /** How mending would heal. */
    lib_mend::Heal_Options heal;
    /** Code of the IOD to verify against, "auto" for that of the SOP class, empty for none. */
    std::string module;
    /** An attribute by tag or keyword: what the IOD says of it is printed instead of findings. */
    std::string explain;
    Format format = Format::Text;
    /** Counts by kind instead of the findings themselves. */
    bool summary = false;
    Verbosity verbosity = Verbosity::Normal;
    /** Findings quote values that may identify a person. */
    bool show_values = false;
    /** Compare what must agree in all files; folders stand for the files in them. */
    bool study = false;
};

Exit_Status Run_Check(const Check_Request& request);

}  // namespace dicom_mend

#endif
