#include "report.h"

#include "mend/findings/faults.h"
#include "terminal.h"

#include <algorithm>
#include <cstdio>

namespace dicom_mend {

namespace {

using lib_mend::Finding;
using lib_mend::Level;

}  // namespace

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

std::string Place_Text(const Finding& finding)
{
    std::string text;
    if (finding.has_tag) {
        text.append("(").append(Tag_Text(finding.tag)).append(") ").append(Tag_Name(finding.tag));
    }
    if (finding.offset != Finding::Nowhere) {
        char offset[32];
        std::snprintf(offset, sizeof offset, "at 0x%llX",
                      static_cast<unsigned long long>(finding.offset));
        text.append(text.empty() ? "" : " ").append(offset);
    }
    return text.empty() ? text : text + ": ";
}

void Report(const std::string& file, const lib_mend::Findings& findings, Verbosity verbosity,
            bool show_values)
{
    std::fflush(stdout);
    for (const Finding& finding : findings.All()) {
        if (Is_Shown(Severity_Of(finding), verbosity)) {
            std::fprintf(stderr, "%s: %s%s%s\n", Printable(file).c_str(),
                         finding.level == Level::Error ? "error: " : "",
                         Place_Text(finding).c_str(),
                         Printable(Shown_Text(finding, show_values)).c_str());
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
    if (findings.Has(Level::Error)) {
        return Exit_Failure;
    }
    const auto is_fault = [](const Finding& finding) {
        return Severity_Of(finding) != lib_mend::Severity::Info;
    };
    return std::any_of(findings.All().begin(), findings.All().end(), is_fault) ? Exit_Findings
                                                                               : Exit_Clean;
}

}  // namespace dicom_mend
