#include "archive/run_report.h"

#include "mend/findings/json_text.h"
#include "mend/findings/letters.h"
#include "mend/findings/report_html.h"
#include "mend/findings/report_json.h"
#include "mend/findings/report_sarif.h"
#include "mend/io/path_parts.h"
#include "mend/io/safe_file.h"
#include "mend/io/system_files.h"

#include <Lib_DICOM_Mend/dicom_mend.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <string_view>
#include <system_error>
#include <vector>

namespace dicom_mend {

namespace {

using lib_mend::JSON_Name;
using lib_mend::JSON_Text;

std::string Seconds_Of(const File_Record& record)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.6f", static_cast<double>(record.microseconds) / 1e6);
    return text;
}

/** One object a line: the run, its files, and the totals. */
class JSON_Lines : public Report_Form {
public:
    JSON_Lines(std::string command, bool show_values)
        : command_(std::move(command)), show_values_(show_values)
    {
    }
    std::string Head() override
    {
        return std::string("{\"run\":{\"tool\":\"dicom-mend\",\"version\":") +
               JSON_Text(DICOM_MEND_VERSION) + ",\"command\":" + JSON_Text(command_) + "}}\n";
    }
    std::string Record(const File_Record& record) override
    {
        std::string line = "{\"file\":" + JSON_Name(record.path);
        for (const auto& [name, value] : {std::pair("output", &record.output),
                                          {"sha256_in", &record.sum_in},
                                          {"sha256_out", &record.sum_out},
                                          {"sop_class", &record.sop_class},
                                          {"manufacturer", &record.device.manufacturer},
                                          {"model", &record.device.model},
                                          {"software", &record.device.software},
                                          {"failure", &record.failure}}) {
            if (!value->empty()) {
                line += std::string(",\"") + name +
                        "\":" + (value == &record.output ? JSON_Name(*value) : JSON_Text(*value));
            }
        }
        line += ",\"size\":" + std::to_string(record.size) + ",\"status\":\"" +
                Status_Name(record) + "\",\"findings\":[";
        const char* separator = "";
        for (const lib_mend::Finding& finding : record.findings) {
            line += separator + Finding_JSON(record.path, finding, show_values_);
            separator = ",";
        }
        return line + "],\"seconds\":" + Seconds_Of(record) + "}\n";
    }
    std::string Tail(const Totals& totals, bool complete) override
    {
        return "{\"totals\":" + Totals_JSON(totals) +
               ",\"complete\":" + (complete ? "true" : "false") + "}\n";
    }

private:
    std::string command_;
    bool show_values_;
};

/** A row a file (RFC 4180). What a file holds is no formula, whatever it begins with. */
class CSV : public Report_Form {
public:
    std::string Head() override
    {
        return "file,output,size,sha256_in,sha256_out,sop_class,manufacturer,model,software,status,"
               "errors,warnings,kinds,failure,seconds\r\n";
    }
    std::string Record(const File_Record& record) override
    {
        std::map<std::string, std::size_t> kinds;
        std::map<lib_mend::Severity, std::size_t> severities;
        for (const lib_mend::Finding& finding : record.findings) {
            ++kinds[Kind_Of(finding).name];
            ++severities[Severity_Of(finding)];
        }
        std::string all;
        for (const auto& [kind, count] : kinds) {
            all += (all.empty() ? "" : " ") + kind + ":" + std::to_string(count);
        }
        return Row({record.path, record.output, std::to_string(record.size), record.sum_in,
                    record.sum_out, record.sop_class, record.device.manufacturer,
                    record.device.model, record.device.software, std::string(Status_Name(record)),
                    std::to_string(severities[lib_mend::Severity::Error]),
                    std::to_string(severities[lib_mend::Severity::Warning]), all, record.failure,
                    Seconds_Of(record)});
    }
    /**
     * Rows whose file is "(total)": of all files, and of each device and software version. The first says
     * where there may be more files.
     */
    std::string Tail(const Totals& totals, bool complete) override
    {
        const std::string all = "clean:" + std::to_string(totals.clean) +
                                " findings:" + std::to_string(totals.with_findings) +
                                " failed:" + std::to_string(totals.failed) +
                                " left:" + std::to_string(totals.foreign);
        std::string rows = Total(complete ? "(total)" : "(total of a run that is not at its end)",
                                 std::to_string(totals.bytes), {}, all, totals.kinds);
        for (const auto& [device, count] : totals.devices) {
            const std::uint64_t clean = count.files - count.with_findings - count.failed;
            rows += Total("(total)", "", device,
                          "clean:" + std::to_string(clean) +
                              " findings:" + std::to_string(count.with_findings) +
                              " failed:" + std::to_string(count.failed),
                          count.kinds);
        }
        return rows;
    }

private:
    static std::string Total(const std::string& name, const std::string& bytes,
                             const Device& device, const std::string& statuses,
                             const Totals::Kinds& kinds)
    {
        std::map<lib_mend::Severity, std::uint64_t> severities;
        std::string all;
        for (const auto& [kind, count] : kinds) {
            severities[kind.first] += count.findings;
            all += (all.empty() ? "" : " ") + kind.second + ":" + std::to_string(count.findings);
        }
        return Row({name, "", bytes, "", "", "", device.manufacturer, device.model, device.software,
                    statuses, std::to_string(severities[lib_mend::Severity::Error]),
                    std::to_string(severities[lib_mend::Severity::Warning]), all, "", ""});
    }
    static std::string Row(const std::vector<std::string>& cells)
    {
        std::string row;
        for (const std::string& cell : cells) {
            row += (row.empty() ? "" : ",") + Cell(cell);
        }
        return row + "\r\n";
    }
    static std::string Cell(const std::string& text)
    {
        std::string cell = lib_mend::Printable(text);
        if (!cell.empty() &&
            std::string_view("=+-@").find(cell.front()) != std::string_view::npos) {
            cell.insert(0, "'");
        }
        if (cell.find_first_of(",\"\r\n") == cell.npos) {
            return cell;
        }
        std::string quoted = "\"";
        for (const char c : cell) {
            quoted += c == '"' ? "\"\"" : std::string(1, c);
        }
        return quoted + "\"";
    }
};

class Sarif : public Report_Form {
public:
    explicit Sarif(bool show_values) : log_(show_values)
    {
    }
    std::string Head() override
    {
        return log_.Head();
    }
    std::string Record(const File_Record& record) override
    {
        std::string text;
        for (const lib_mend::Finding& finding : record.findings) {
            text += log_.Result(record.path, finding);
        }
        artifacts_ += (artifacts_.empty() ? "\n" : ",\n") + Artifact(record);
        return text;
    }
    std::string Tail(const Totals& totals, bool complete) override
    {
        failed_ = totals.failed > 0;
        return log_.Tail(complete && !failed_, artifacts_, Totals_JSON(totals));
    }

private:
    static std::string Artifact(const File_Record& record)
    {
        std::string json =
            "{\"location\":{\"uri\":" + JSON_Text(lib_mend::Sarif_Log::URI_Of(record.path)) +
            "},\"length\":" + std::to_string(record.size);
        if (!record.sum_in.empty()) {
            json += ",\"hashes\":{\"sha-256\":" + JSON_Text(record.sum_in) + "}";
        }
        json += std::string(",\"properties\":{\"status\":\"") + Status_Name(record) +
                "\",\"sop_class\":" + JSON_Text(record.sop_class) +
                ",\"manufacturer\":" + JSON_Text(record.device.manufacturer) +
                ",\"model\":" + JSON_Text(record.device.model) +
                ",\"software\":" + JSON_Text(record.device.software);
        if (!record.output.empty()) {
            json += ",\"output\":" + JSON_Name(record.output) +
                    ",\"sha256_out\":" + JSON_Text(record.sum_out);
        }
        return json + ",\"seconds\":" + Seconds_Of(record) + "}}";
    }

    lib_mend::Sarif_Log log_;
    std::string artifacts_;
    bool failed_ = false;
};

class HTML : public Report_Form {
public:
    explicit HTML(bool show_values) : page_(show_values)
    {
    }
    std::string Head() override
    {
        return lib_mend::Html_Page::Head();
    }
    std::string Record(const File_Record& record) override
    {
        rows_.push_back({record.path, Status_Name(record), std::to_string(record.size),
                         record.sop_class, Device_Name(record.device), record.sum_in,
                         record.sum_out, Seconds_Of(record)});
        if (record.is_foreign) {
            return {};
        }
        page_.Belongs_To(record.path, record.study);
        std::vector<lib_mend::Finding_In_Page> shown;
        for (std::size_t i = 0; i < record.findings.size(); ++i) {
            page_.Count(record.path, record.findings[i]);
            shown.push_back({&record.findings[i],
                             i < record.headers.size() ? record.headers[i] : std::string()});
        }
        return page_.Findings_Of(record.path, shown);
    }
    std::string Tail(const Totals& totals, bool complete) override
    {
        if (!complete) {
            page_.Add_Table("The run is not at its end", {"#Files that are told of"},
                            {{std::to_string(rows_.size())}});
        }
        std::vector<std::vector<std::string>> devices;
        for (const auto& [device, count] : totals.devices) {
            devices.push_back({Device_Name(device), std::to_string(count.files),
                               std::to_string(count.with_findings), std::to_string(count.failed)});
        }
        page_.Add_Table("By device and software version",
                        {"Device", "#Files", "#With findings", "#Not whole"}, devices);
        page_.Add_Table("Files",
                        {"File", "Status", "#Bytes", "SOP class", "Device", "SHA-256 before",
                         "SHA-256 after", "#Seconds"},
                        rows_);
        return page_.Tail(complete && totals.failed == 0);
    }

private:
    lib_mend::Html_Page page_;
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace

std::unique_ptr<Report_Form> Form_Of(const std::string& name, const std::string& command,
                                     bool show_values)
{
    const std::string ending = name.substr(name.find_last_of('.') + 1);
    if (ending == "jsonl" || ending == "json" || ending == "ndjson") {
        return std::make_unique<JSON_Lines>(command, show_values);
    }
    if (ending == "csv") {
        return std::make_unique<CSV>();
    }
    if (ending == "sarif") {
        return std::make_unique<Sarif>(show_values);
    }
    return ending == "html" ? std::make_unique<HTML>(show_values) : nullptr;
}

Run_Report::~Run_Report()
{
    if (Is_Open()) {
        std::fclose(file_);
        lib_mend::Remove_File(part_);
    }
}

namespace {

/** What begins as reports do may be replaced, and what is empty. */
bool Is_Absent_Or_Report(const std::string& path, const std::string& head)
{
    constexpr std::size_t Enough = 40;
    std::ifstream file(lib_mend::Native_Path(path), std::ios::binary);
    std::string begin(std::min(head.size(), Enough), '\0');
    file.read(begin.data(), static_cast<std::streamsize>(begin.size()));
    return file.gcount() == 0 || head.starts_with(begin);
}

}  // namespace

std::string Run_Report::Open(const std::string& path, const std::string& command, bool show_values,
                             bool replace)
{
    form_ = Form_Of(path, command, show_values);
    if (form_ == nullptr) {
        return "has to end in .jsonl, .csv, .sarif or .html";
    }
    std::string fault = lib_mend::Target_Fault(path, replace);
    if (!fault.empty()) {
        return fault + (lib_mend::Target_Fault(path, true).empty() ? "; --force replaces it" : "");
    }
    if (!Is_Absent_Or_Report(path, form_->Head())) {
        return "is no report of a run, and is never replaced";
    }
    path_ = path;
    // Hidden files are no inputs, which a report must not be written over.
    const std::string name = lib_mend::Name_Of(path);
    part_ = path.substr(0, path.size() - name.size()) + ".dicom-mend-" + name + ".part";
    file_ = lib_mend::Open_To_Write(part_);
    if (file_ == nullptr) {
        return std::string("cannot be written: ") + std::strerror(errno);
    }
    Put(form_->Head());
    return {};
}

void Run_Report::Put(const std::string& text)
{
    // A failure is told once, at the end.
    std::fwrite(text.data(), 1, text.size(), file_);
}

void Run_Report::Add(const File_Record& record)
{
    if (Is_Open()) {
        Put(form_->Record(record));
    }
}

std::string Run_Report::Close(const Totals& totals, bool complete)
{
    if (!Is_Open()) {
        return {};
    }
    Put(form_->Tail(totals, complete));
    const bool is_written = std::ferror(file_) == 0 && lib_mend::Sync_File(file_);
    const bool is_closed = std::fclose(file_) == 0;
    file_ = nullptr;
    std::error_code error(is_written && is_closed ? 0 : errno, std::generic_category());
    if (!error) {
        std::filesystem::rename(lib_mend::Native_Path(part_), lib_mend::Native_Path(path_), error);
    }
    if (error) {
        lib_mend::Remove_File(part_);
        return "cannot be written: " + error.message();
    }
    return {};
}

}  // namespace dicom_mend
