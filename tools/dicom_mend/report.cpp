#include "report.h"

#include "mend/findings/faults.h"
#include "mend/findings/letters.h"
#include "mend/findings/report_text.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace dicom_mend {

using lib_mend::Finding;
using lib_mend::Printable;

bool Is_Shown(lib_mend::Severity severity, Verbosity verbosity)
{
    switch (severity) {
    case lib_mend::Severity::Error:
        return true;
    case lib_mend::Severity::Warning:
        return verbosity != Verbosity::Quiet;
    case lib_mend::Severity::Info:
        break;
    }
    return verbosity == Verbosity::Verbose;
}

std::string Shown_Line(const std::string& file, const Finding& finding, Verbosity verbosity,
                       bool show_values)
{
    const std::string line = Finding_Line(file, finding, show_values);
    return verbosity == Verbosity::Verbose ? line + " [" + Kind_Of(finding).name + "]" : line;
}

void Report(const std::string& file, const lib_mend::Findings& findings, Verbosity verbosity,
            bool show_values)
{
    std::fflush(stdout);
    for (const Finding& finding : findings.All()) {
        if (Is_Shown(Severity_Of(finding), verbosity)) {
            std::fprintf(stderr, "%s\n", Shown_Line(file, finding, verbosity, show_values).c_str());
        }
    }
}

void Report_Failure(const std::string& file, const std::string& reason)
{
    std::fprintf(stderr, "%s: error: %s\n", Printable(file).c_str(), Printable(reason).c_str());
}

Exit_Status Finish_Output(Exit_Status status)
{
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        Report_Failure("standard output", "cannot be written");
        return Exit_Failure;
    }
    return status;
}

Exit_Status Status_Of(const lib_mend::Findings& findings)
{
    return static_cast<Exit_Status>(lib_mend::Outcome_Of(findings));
}

}  // namespace dicom_mend
