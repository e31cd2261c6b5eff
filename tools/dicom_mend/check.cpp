#include "check.h"

#include "commands.h"
#include "mend/findings/faults.h"
#include "mend/findings/report_json.h"
#include "mend/findings/report_sarif.h"
#include "mend/findings/report_text.h"
#include "mend/interface/check.h"
#include "mend/reading/reader.h"
#include "mend/verify/iod.h"
#include "report.h"
#include "terminal.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <utility>

namespace dicom_mend {

namespace {

using lib_mend::Finding;
using lib_mend::Finding_Kind;
using lib_mend::Findings;
using lib_mend::Kind_Of;
using lib_mend::Severity;
using lib_mend::Severity_Of;

/** What was found in all files, by severity and kind. */
struct Count {
    std::size_t findings = 0;
    std::size_t files = 0;
};
using Summary = std::map<std::pair<Severity, const Finding_Kind*>, Count>;

void Add_To(Summary& summary, const Findings& findings)
{
    Summary here;
    for (const Finding& finding : findings.All()) {
        ++here[{Severity_Of(finding), &Kind_Of(finding)}].findings;
    }
    for (const auto& [key, count] : here) {
        summary[key].findings += count.findings;
        ++summary[key].files;
    }
}

void Print_Summary(const Summary& summary, bool json, Verbosity verbosity)
{
    for (auto entry = summary.rbegin(); entry != summary.rend(); ++entry) {
        const auto& [severity, kind] = entry->first;
        if (Is_Shown(severity, verbosity)) {
            const char* const format =
                json ? "{\"severity\":\"%s\",\"kind\":\"%s\",\"findings\":%zu,\"files\":%zu}\n"
                     : "%-7s  %-16s  %6zu findings in %zu files\n";
            std::printf(format, lib_mend::Severity_Name(severity), kind->name,
                        entry->second.findings, entry->second.files);
        }
    }
}

std::string Printed(const std::string& path, const Finding& finding, const Check_Request& request,
                    lib_mend::Sarif_Log& log)
{
    switch (request.format) {
    case Format::JSON:
        return Finding_JSON(path, finding, request.show_values) + "\n";
    case Format::SARIF:
        return log.Result(path, finding);
    case Format::Text:
        break;
    }
    return Finding_Line(path, finding, request.show_values) + "\n";
}

Exit_Status Check_File(const std::string& path, const Check_Request& request, Summary& summary,
                       lib_mend::Sarif_Log& log)
{
    Findings findings;
    const lib_mend::Library_Session session(findings);
    const std::shared_ptr<lib_mend::Source> source = Open(path);
    if (source == nullptr) {
        return Exit_Failure;
    }
    lib_mend::Data_Set set = lib_mend::Read_Data_Set(source, findings);
    lib_mend::Check(set, request.heal, findings);
    if (!request.module.empty()) {
        lib_mend::Verify_IOD(set, request.module, findings);
    }
    if (&path == &request.files.back()) {
        Keep_To_The_End(std::move(set));
    }
    findings.Sum_Up();
    Add_To(summary, findings);
    for (const Finding& finding : findings.All()) {
        if (!request.summary && Is_Shown(Severity_Of(finding), request.verbosity)) {
            std::fputs(Printed(path, finding, request, log).c_str(), stdout);
        }
    }
    return Status_Of(findings);
}

}  // namespace

Exit_Status Run_Check(const Check_Request& request)
{
    Summary summary;
    Exit_Status status = Exit_Clean;
    const bool is_log = request.format == Format::SARIF && !request.summary;
    lib_mend::Sarif_Log log(request.show_values);
    std::fputs(is_log ? log.Head().c_str() : "", stdout);
    for (const std::string& path : request.files) {
        status = std::max(status, Check_File(path, request, summary, log));
    }
    std::fputs(is_log ? log.Tail(status != Exit_Failure).c_str() : "", stdout);
    if (request.summary) {
        Print_Summary(summary, request.format != Format::Text, request.verbosity);
    }
    return Finish_Output(status);
}

}  // namespace dicom_mend
