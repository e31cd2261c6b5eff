#include "report.h"

#include "mend/findings/finding_kinds.h"
#include "terminal.h"

#include <cstdio>

namespace dicom_mend {

namespace {

using lib_mend::Finding;
using lib_mend::Level;

bool Is_Shown(Level level, Verbosity verbosity)
{
    switch (level) {
    case Level::Error:
        return true;
    case Level::Change:
        return verbosity != Verbosity::Quiet;
    case Level::Info:
        break;
    }
    return verbosity == Verbosity::Verbose;
}

}  // namespace

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
        if (Is_Shown(finding.level, verbosity)) {
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
    return findings.Has(Level::Change) ? Exit_Findings : Exit_Clean;
}

}  // namespace dicom_mend
