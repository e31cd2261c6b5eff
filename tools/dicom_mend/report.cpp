#include "report.h"

#include "json.h"
#include "mend/findings/faults.h"
#include "terminal.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace dicom_mend {

namespace {

using lib_mend::Finding;
using lib_mend::Level;

/** "dates are YYYYMMDD, PS3.5 6.2", as far as the standard says anything. */
std::string Rule_Text(const lib_mend::Finding_Kind& kind)
{
    const std::string rule = kind.rule;
    return rule.empty() || *kind.clause == '\0' ? rule + kind.clause : rule + ", " + kind.clause;
}

/** The sequences and items around an element: its path without the element itself. */
std::string Around_Text(const Finding& finding)
{
    const std::size_t slash = finding.path.rfind('/');
    return slash == std::string::npos ? std::string() : finding.path.substr(0, slash);
}

std::string Place_Text(const Finding& finding)
{
    std::string text;
    if (finding.has_tag) {
        text.append("(").append(Tag_Text(finding.tag)).append(") ").append(Tag_Name(finding.tag));
    }
    if (const std::string around = Around_Text(finding); !around.empty()) {
        text.append(text.empty() ? "in " : " in ").append(around);
    }
    if (finding.offset != Finding::Nowhere) {
        char offset[32];
        std::snprintf(offset, sizeof offset, "at 0x%llX",
                      static_cast<unsigned long long>(finding.offset));
        text.append(text.empty() ? "" : " ").append(offset);
    }
    return text.empty() ? text : text + ": ";
}

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

std::string Finding_Line(const std::string& file, const Finding& finding, bool show_values)
{
    const std::string rule = Rule_Text(Kind_Of(finding));
    return Printable(file) + ": " + Severity_Name(Severity_Of(finding)) + ": " +
           Place_Text(finding) + Printable(Shown_Text(finding, show_values)) +
           (rule.empty() ? "" : " (" + rule + ")");
}

std::string Finding_JSON(const std::string& file, const Finding& finding, bool show_values)
{
    const lib_mend::Finding_Kind& kind = Kind_Of(finding);
    std::string line = "{\"file\":" + JSON_Name(file);
    if (finding.offset != Finding::Nowhere) {
        line += ",\"offset\":" + std::to_string(finding.offset);
    }
    if (finding.has_tag) {
        line += ",\"tag\":" + JSON_Text(Tag_Text(finding.tag)) +
                ",\"name\":" + JSON_Text(Tag_Name(finding.tag));
    }
    if (!finding.path.empty()) {
        line += ",\"path\":" + JSON_Text(finding.path);
    }
    if (finding.length != Finding::Nowhere) {
        line += ",\"length\":" + std::to_string(finding.length);
    }
    line += std::string(",\"severity\":") + JSON_Text(Severity_Name(Severity_Of(finding))) +
            ",\"kind\":" + JSON_Text(kind.name) +
            ",\"text\":" + JSON_Text(Shown_Text(finding, show_values));
    for (const auto& [name, value] :
         {std::pair("before", &finding.before), {"after", &finding.after}}) {
        if (!value->empty() && Shows_Values(finding, show_values)) {
            line += std::string(",\"") + name + "\":" + JSON_Text(*value);
        }
    }
    return line + ",\"rule\":" + JSON_Text(kind.rule) + ",\"clause\":" + JSON_Text(kind.clause) +
           "}";
}

void Report(const std::string& file, const lib_mend::Findings& findings, Verbosity verbosity,
            bool show_values)
{
    std::fflush(stdout);
    for (const Finding& finding : findings.All()) {
        if (Is_Shown(Severity_Of(finding), verbosity)) {
            std::fprintf(stderr, "%s\n", Finding_Line(file, finding, show_values).c_str());
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
