#include "check.h"

#include "commands.h"
#include "files.h"
#include "mend/consistency/study.h"
#include "mend/consistency/study_values.h"
#include "mend/findings/faults.h"
#include "mend/findings/letters.h"
#include "mend/findings/report_html.h"
#include "mend/findings/report_json.h"
#include "mend/findings/report_sarif.h"
#include "mend/findings/report_text.h"
#include "mend/interface/check.h"
#include "mend/interface/element_path.h"
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
    case Format::HTML:
    case Format::Text:
        break;
    }
    return Finding_Line(path, finding, request.show_values) + "\n";
}

/** What the check of one file after the other brings about. */
struct Progress {
    Summary summary;
    lib_mend::Sarif_Log log;
    lib_mend::Html_Page page;
    lib_mend::Study study = {};
};

/** The findings of a file as a part of a page. @param source  where their places are, null when unknown */
void Print_HTML(const std::string& path, const Findings& findings, const lib_mend::Source* source,
                const Check_Request& request, lib_mend::Html_Page& page)
{
    std::vector<lib_mend::Finding_In_Page> shown;
    for (const Finding& finding : findings.All()) {
        if (Is_Shown(Severity_Of(finding), request.verbosity)) {
            page.Count(path, finding);
            shown.push_back({&finding, source != nullptr ? Header_Bytes(*source, finding) : ""});
        }
    }
    if (!request.summary) {
        std::fputs(page.Findings_Of(path, shown).c_str(), stdout);
    }
}

void Print(const std::string& path, const Findings& findings, const lib_mend::Source* source,
           const Check_Request& request, Progress& progress)
{
    if (request.format == Format::HTML) {
        Print_HTML(path, findings, source, request, progress.page);
        return;
    }
    Add_To(progress.summary, findings);
    for (const Finding& finding : findings.All()) {
        if (!request.summary && Is_Shown(Severity_Of(finding), request.verbosity)) {
            std::fputs(Printed(path, finding, request, progress.log).c_str(), stdout);
        }
    }
}

/** Prints what the IOD says of an attribute; what was found in the file is another question. */
Exit_Status Explain(const std::string& path, const lib_mend::Data_Set& set,
                    const Check_Request& request)
{
    const std::optional<lib_mend::Tag> tag = lib_mend::Parse_Tag(request.explain);
    if (!tag) {
        Report_Failure(path, request.explain + " is neither a tag nor a keyword");
        return Exit_Failure;
    }
    Findings said;
    const std::string module = request.module.empty() ? "auto" : request.module;
    const std::string text = lib_mend::Explain_IOD(set, module, *tag, said);
    Report(path, said, request.verbosity, request.show_values);
    std::fputs((lib_mend::Printable(path) + ": " + text).c_str(), stdout);
    return text.empty() ? Exit_Failure : Exit_Clean;
}

Exit_Status Check_File(const Found_File& file, bool is_last, const Check_Request& request,
                       Progress& progress)
{
    Findings findings;
    const lib_mend::Library_Session session(findings);
    const std::shared_ptr<lib_mend::Source> source = Open(file.path);
    if (source == nullptr) {
        return Exit_Failure;
    }
    lib_mend::Data_Set set = lib_mend::Read_Data_Set(source, findings);
    if (set.foreign && file.is_found) {
        Findings left_out;
        left_out.Report(lib_mend::Fault::Not_Compared, lib_mend::Level::Info, {},
                        "is no DICOM file, and is left out");
        Print(file.path, left_out, nullptr, request, progress);
        return Exit_Clean;
    }
    lib_mend::Check(set, request.heal, findings);
    if (!request.explain.empty()) {
        return Explain(file.path, set, request);
    }
    if (!request.module.empty()) {
        lib_mend::Verify_IOD(set, request.module, findings);
    }
    if (request.study) {
        progress.study.Add(file.path, set);
    }
    if (request.format == Format::HTML) {
        progress.page.Belongs_To(file.path, set.Text({0x0020, 0x000D}));
    }
    const std::shared_ptr<lib_mend::Source> bytes = set.source;
    if (is_last) {
        Keep_To_The_End(std::move(set));
    }
    findings.Sum_Up();
    Print(file.path, findings, bytes.get(), request, progress);
    return Status_Of(findings);
}

/** What a file holds, once more; nothing when it cannot be read any more. */
std::string Sum_Of_File(const std::string& path, const Check_Request& request)
{
    Findings findings;
    const lib_mend::Library_Session session(findings);
    std::string error;
    const std::shared_ptr<lib_mend::Source> source = lib_mend::Source::Open(path, error);
    if (source == nullptr) {
        return {};
    }
    lib_mend::Data_Set set = lib_mend::Read_Data_Set(source, findings);
    lib_mend::Check(set, request.heal, findings);
    return lib_mend::Sum_Of_Contents(set);
}

Exit_Status Compare_Files(const Check_Request& request, Progress& progress)
{
    Exit_Status status = Exit_Clean;
    const auto sum_of = [&request](const std::string& path) {
        return Sum_Of_File(path, request);
    };
    for (const lib_mend::Study::Told& told : progress.study.Compare(sum_of)) {
        Print(told.file, told.findings, nullptr, request, progress);
        status = std::max(status, Status_Of(told.findings));
    }
    return status;
}

}  // namespace

Exit_Status Run_Check(const Check_Request& request)
{
    const bool is_log = request.format == Format::SARIF && !request.summary;
    const bool is_page = request.format == Format::HTML;
    Progress progress = {
        {}, lib_mend::Sarif_Log(request.show_values), lib_mend::Html_Page(request.show_values)};
    bool complete = true;
    std::vector<Found_File> files;
    if (request.study) {
        files = Files_Of(request.files, complete);
    } else {
        for (const std::string& path : request.files) {
            files.push_back({path, false});
        }
    }
    Exit_Status status = complete ? Exit_Clean : Exit_Failure;
    std::fputs(is_log    ? progress.log.Head().c_str()
               : is_page ? lib_mend::Html_Page::Head().c_str()
                         : "",
               stdout);
    for (const Found_File& file : files) {
        status = std::max(status, Check_File(file, &file == &files.back(), request, progress));
    }
    if (request.study) {
        status = std::max(status, Compare_Files(request, progress));
    }
    std::fputs(is_log    ? progress.log.Tail(status != Exit_Failure).c_str()
               : is_page ? progress.page.Tail(status != Exit_Failure).c_str()
                         : "",
               stdout);
    if (request.summary && !is_page) {
        Print_Summary(progress.summary, request.format != Format::Text, request.verbosity);
    }
    return Finish_Output(status);
}

}  // namespace dicom_mend
