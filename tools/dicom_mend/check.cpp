#include "check.h"

#include "archive/file_sum.h"
#include "commands.h"
#include "mend/consistency/study.h"
#include "mend/consistency/study_values.h"
#include "mend/findings/faults.h"
#include "mend/findings/json_text.h"
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

void Add_To(Summary& summary, const std::vector<Finding>& findings)
{
    Summary here;
    for (const Finding& finding : findings) {
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
            const char* const name = lib_mend::Severity_Name(severity);
            const Count& count = entry->second;
            if (json) {
                std::printf(
                    "{\"severity\":\"%s\",\"kind\":\"%s\",\"findings\":%zu,\"files\":%zu}\n", name,
                    kind->name, count.findings, count.files);
            } else {
                std::printf("%-7s  %-16s  %6zu %s in %zu %s\n", name, kind->name, count.findings,
                            count.findings == 1 ? "finding" : "findings", count.files,
                            count.files == 1 ? "file" : "files");
            }
        }
    }
}

std::string Printed(const std::string& path, const Finding& finding, const Check_Request& request,
                    lib_mend::Sarif_Log& log)
{
    switch (request.format) {
    case Format::JSON:
        return Finding_JSON(path, finding, request.run.show_values) + "\n";
    case Format::SARIF:
        return log.Result(path, finding);
    case Format::HTML:
    case Format::Text:
        break;
    }
    return Shown_Line(path, finding, request.run.verbosity, request.run.show_values) + "\n";
}

/** What the check of one file after the other brings about. */
struct Progress {
    Summary summary;
    lib_mend::Sarif_Log log;
    lib_mend::Html_Page page;
};

/** The findings of a file as a part of a page. */
void Print_HTML(const File_Record& record, const Check_Request& request, lib_mend::Html_Page& page)
{
    page.Belongs_To(record.path, record.study);
    std::vector<lib_mend::Finding_In_Page> shown;
    for (std::size_t i = 0; i < record.findings.size(); ++i) {
        const Finding& finding = record.findings[i];
        if (Is_Shown(Severity_Of(finding), request.run.verbosity)) {
            page.Count(record.path, finding);
            shown.push_back(
                {&finding, i < record.headers.size() ? record.headers[i] : std::string()});
        }
    }
    if (!request.summary) {
        std::fputs(page.Findings_Of(record.path, shown).c_str(), stdout);
    }
}

void Print(const File_Record& record, const Check_Request& request, Progress& progress)
{
    if (request.format == Format::HTML) {
        Print_HTML(record, request, progress.page);
    } else {
        Add_To(progress.summary, record.findings);
        for (const Finding& finding : record.findings) {
            if (!request.summary && Is_Shown(Severity_Of(finding), request.run.verbosity)) {
                std::fputs(Printed(record.path, finding, request, progress.log).c_str(), stdout);
            }
        }
    }
    if (!record.failure.empty()) {
        std::fflush(stdout);
        Report_Failure(record.path, record.failure);
    }
}

/** Prints what the IOD says of an attribute, and what was found that is about it. */
void Explain(const lib_mend::Data_Set& set, const Check_Request& request, const Findings& found,
             File_Record& record)
{
    const lib_mend::Element_Path asked = lib_mend::Parse_Path(request.explain).value();
    Findings trouble;
    const std::string module = request.module.empty() ? "auto" : request.module;
    const lib_mend::Explanation said =
        lib_mend::Explain_IOD(set, module, asked.way, asked.tag, found, trouble);
    const std::string line = request.format == Format::JSON
                                 ? "{\"file\":" + lib_mend::JSON_Name(record.path) + ",\"tag\":\"" +
                                       lib_mend::Tag_Text(asked.tag) + "\",\"path\":\"" +
                                       Path_Text(asked.way, asked.tag) +
                                       "\",\"explanation\":" + lib_mend::JSON_Text(said.text) +
                                       "}\n"
                                 : lib_mend::Printable(record.path) + ": " + said.text;
    std::fputs(line.c_str(), stdout);
    record.findings = trouble.All();
    record.status = said.has_iod ? Exit_Clean : Exit_Failure;
}

/** What is found goes into a page, which shows the bytes of headers. */
bool Has_Page(const Check_Request& request)
{
    return request.format == Format::HTML || request.run.report.ends_with(".html");
}

void Check_File(const Work_Item& item, const Check_Request& request, bool is_last,
                File_Record& record)
{
    Findings findings;
    if (!request.explain.empty()) {
        findings.Keep_Path_Sums();
    }
    const lib_mend::Library_Session session(findings);
    std::optional<lib_mend::Data_Set> read = Read_Item(item, findings, record);
    if (record.is_foreign) {
        Findings left_out;
        left_out.Report(lib_mend::Fault::Not_Compared, lib_mend::Level::Info, {},
                        "is no DICOM file, and is left out");
        record.findings = left_out.All();
    }
    if (!read) {
        return;
    }
    lib_mend::Data_Set& set = *read;
    lib_mend::Check(set, request.heal, findings);
    if (!request.explain.empty()) {
        Explain(set, request, findings, record);
        return;
    }
    if (!request.module.empty() && !set.foreign) {
        lib_mend::Verify_IOD(set, request.module, findings);
    }
    if (request.study && !set.foreign && set.records.Head() != nullptr) {
        record.facts = Facts_Of(set);
        record.has_facts = true;
    }
    Describe(set, findings, record);
    if (Has_Page(request)) {
        for (const Finding& finding : record.findings) {
            record.headers.push_back(Header_Bytes(*set.source, finding));
        }
    }
    if (is_last) {
        Keep_To_The_End(std::move(set));
    }
}

/** A file that is read once more; null when it cannot be. */
std::shared_ptr<lib_mend::Source> Opened_Again(const std::string& path)
{
    std::string error;
    return Can_Be_Read_Again(path) ? lib_mend::Source::Open(path, error) : nullptr;
}

/** What a file holds, once more; nothing when it cannot be read any more. */
std::string Sum_Of_Contents(const std::string& path, const Check_Request& request)
{
    Findings findings;
    const lib_mend::Library_Session session(findings);
    const std::shared_ptr<lib_mend::Source> source = Opened_Again(path);
    if (source == nullptr) {
        return {};
    }
    lib_mend::Data_Set set = lib_mend::Read_Data_Set(source, findings);
    lib_mend::Check(set, request.heal, findings);
    return lib_mend::Sum_Of_Contents(set);
}

/** The bytes of the headers that findings are about; none when the file cannot be read any more. */
std::vector<std::string> Headers_Of(const std::string& path, const Findings& found)
{
    Findings findings;
    const lib_mend::Library_Session session(findings);
    const std::shared_ptr<lib_mend::Source> source = Opened_Again(path);
    std::vector<std::string> headers;
    if (source != nullptr) {
        const lib_mend::Data_Set set = lib_mend::Read_Data_Set(source, findings);
        for (const Finding& finding : found.All()) {
            headers.push_back(Header_Bytes(*set.source, finding));
        }
    }
    return headers;
}

/** What the files of patients, studies and series do not agree about. */
class Study_Comparison : public Comparison {
public:
    explicit Study_Comparison(const Check_Request& request) : request_(request)
    {
    }

    void Take(const File_Record& record) override
    {
        if (record.has_facts) {
            study_.Add(record.path, record.facts);
        }
    }
    By_File Compare() override
    {
        By_File findings;
        const auto sum_of = [this](const std::string& path) {
            return Sum_Of_Contents(path, request_);
        };
        for (lib_mend::Study::Told& told : study_.Compare(sum_of)) {
            told.findings.Sum_Up();
            std::vector<std::string> headers = Has_Page(request_)
                                                   ? Headers_Of(told.file, told.findings)
                                                   : std::vector<std::string>();
            findings.emplace(std::move(told.file),
                             Compared{std::move(told.findings), std::move(headers)});
        }
        return findings;
    }

private:
    const Check_Request& request_;
    lib_mend::Study study_;
};

/** Prints what was found in a file. */
void Tell(const File_Record& record, const Check_Request& request, Progress& progress)
{
    if (!request.explain.empty()) {
        record.printed.Print();
        Report(record, request.run.verbosity, request.run.show_values);
        return;
    }
    Print(record, request, progress);
}

/** Why an explanation cannot be given; empty when it can. */
const char* Refused_Explanation(const Check_Request& request)
{
    return request.format == Format::HTML || request.format == Format::SARIF
               ? "an explanation is text or JSON"
           : request.study ? "an explanation is of each file by itself, without --study"
                           : "";
}

}  // namespace

Exit_Status Run_Check(const Check_Request& request)
{
    const bool is_log = request.format == Format::SARIF && !request.summary;
    const bool is_page = request.format == Format::HTML;
    if (const std::string refused = request.explain.empty() ? "" : Refused_Explanation(request);
        !refused.empty()) {
        Report_Failure("--explain", refused);
        return Exit_Failure;
    }
    Progress progress = {{},
                         lib_mend::Sarif_Log(request.run.show_values),
                         lib_mend::Html_Page(request.run.show_values)};
    std::fputs(is_log    ? progress.log.Head().c_str()
               : is_page ? lib_mend::Html_Page::Head().c_str()
                         : "",
               stdout);
    Study_Comparison comparison(request);
    Run_Options run = request.run;
    run.prints = !request.explain.empty();
    const Exit_Status status = Go_Through(
        run,
        [&](const Work_Item& item, File_Record& record, bool is_last) {
            Check_File(item, request, is_last, record);
        },
        [&](const File_Record& record) { Tell(record, request, progress); },
        request.study ? &comparison : nullptr);
    std::fputs(is_log    ? progress.log.Tail(status != Exit_Failure).c_str()
               : is_page ? progress.page.Tail(status != Exit_Failure).c_str()
                         : "",
               stdout);
    if (request.summary && !is_page) {
        Print_Summary(progress.summary, request.format != Format::Text, request.run.verbosity);
    }
    return Finish_Output(status);
}

}  // namespace dicom_mend
