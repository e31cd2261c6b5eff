#include "archive/run.h"
#include "archive/run_report.h"
#include "archive/run_state.h"
#include "mend/interface/element_path.h"
#include "mend/io/system_files.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace dicom_mend {

namespace {

using nlohmann::json;

std::string Text(const json& object, const char* name)
{
    const auto entry = object.find(name);
    return entry != object.end() && entry->is_string() ? entry->get<std::string>() : std::string();
}

std::int64_t Number(const json& object, const char* name, std::int64_t otherwise)
{
    const auto entry = object.find(name);
    return entry != object.end() && entry->is_number_integer() ? entry->get<std::int64_t>()
                                                               : otherwise;
}

lib_mend::Finding Without_Text(lib_mend::Finding finding)
{
    finding.text.clear();
    return finding;
}

lib_mend::Finding Finding_Of(const json& object)
{
    lib_mend::Finding finding;
    finding.fault = lib_mend::Fault_Of(Text(object, "kind"));
    finding.path = Text(object, "path");
    finding.offset = Number(object, "offset", lib_mend::Finding::Nowhere);
    finding.length = Number(object, "length", lib_mend::Finding::Nowhere);
    finding.before = Text(object, "before");
    finding.after = Text(object, "after");
    // The text says the values that may be shown, and will say them again.
    finding.text = Text(object, "text");
    const std::string values = Shown_Text(Without_Text(finding), true);
    if (!values.empty() && finding.text.ends_with(values)) {
        finding.text.resize(finding.text.size() - values.size());
    }
    const std::string clause = Text(object, "clause");
    if (clause != Clause_Of(finding)) {
        finding.clause = Kept_Clause(clause);
    }
    if (const auto tag = lib_mend::Parse_Tag_Digits(Text(object, "tag"))) {
        finding.has_tag = true;
        finding.tag = *tag;
    }
    const std::string severity = Text(object, "severity");
    finding.level = lib_mend::Level::Kept;
    if (severity == "error" && Severity_Of(finding) != lib_mend::Severity::Error) {
        finding.level = lib_mend::Level::Error;
    }
    return finding;
}

File_Record Record_Of(const json& object)
{
    File_Record record;
    record.path = Text(object, "file");
    record.output = Text(object, "output");
    record.sum_in = Text(object, "sha256_in");
    record.sum_out = Text(object, "sha256_out");
    record.sop_class = Text(object, "sop_class");
    record.device = {Text(object, "manufacturer"), Text(object, "model"), Text(object, "software")};
    record.failure = Text(object, "failure");
    record.size = Number(object, "size", 0);
    const std::string status = Text(object, "status");
    record.is_foreign = status == "left";
    record.status = status == "failed"     ? Exit_Failure
                    : status == "findings" ? Exit_Findings
                                           : Exit_Clean;
    const auto seconds = object.find("seconds");
    if (seconds != object.end() && seconds->is_number()) {
        record.microseconds = static_cast<std::int64_t>(seconds->get<double>() * 1e6 + 0.5);
    }
    const auto findings = object.find("findings");
    if (findings != object.end() && findings->is_array()) {
        for (const json& finding : *findings) {
            record.findings.push_back(Finding_Of(finding));
        }
    }
    return record;
}

constexpr char Unfinished[] = "the run is not at its end";

std::string Read_Lines(const std::string& path, const std::function<void(File_Record&&)>& take)
{
    std::ifstream stream(lib_mend::Native_Path(path), std::ios::binary);
    std::string line;
    bool is_whole = false;
    for (std::size_t number = 1; std::getline(stream, line); ++number) {
        const json object = json::parse(line, nullptr, false);
        if (!object.is_object()) {
            return "line " + std::to_string(number) + " is no record of a report in JSON lines";
        }
        if (object.contains("totals")) {
            is_whole = object.value("complete", json()) == true;
        }
        if (object.contains("file")) {
            take(Record_Of(object));
        } else if (!object.contains("run") && !object.contains("totals")) {
            return "line " + std::to_string(number) + " is no record of a report in JSON lines";
        }
    }
    if (stream.bad()) {
        return std::strerror(errno);
    }
    return is_whole ? "" : Unfinished;
}

}  // namespace

std::string Read_Run(const std::string& path, bool verbose,
                     const std::function<void(File_Record&&)>& take)
{
    namespace fs = std::filesystem;
    // The log knows all that was found; a report says what the run did.
    const auto take_said = [&take, verbose](File_Record&& record) {
        std::erase_if(record.findings, [verbose](const lib_mend::Finding& finding) {
            return !verbose && Severity_Of(finding) == lib_mend::Severity::Info;
        });
        take(std::move(record));
    };
    if (lib_mend::Is_Folder(path)) {
        std::error_code error;
        const fs::path folder = Without_Slash(path);
        const std::string beginning = folder.filename().string() + State_Ending;
        const fs::path around = folder.has_parent_path() ? folder.parent_path() : fs::path(".");
        std::vector<std::string> states;
        for (fs::directory_iterator entry(around, error);
             !error && entry != fs::directory_iterator(); entry.increment(error)) {
            if (entry->path().filename().string().starts_with(beginning)) {
                states.push_back(entry->path().string());
            }
        }
        std::sort(states.begin(), states.end());
        std::string unfinished;
        for (const std::string& state : states) {
            bool is_whole = false;
            if (!Run_State::Read(state, take_said, is_whole)) {
                return state + " is no state of a run";
            }
            if (!is_whole && unfinished.empty()) {
                unfinished = state + ": " + Unfinished;
            }
        }
        return states.empty() ? "has no state of a run beside it" : unfinished;
    }
    if (!std::ifstream(lib_mend::Native_Path(path))) {
        return std::strerror(errno);
    }
    bool is_whole = false;
    if (Run_State::Read(path, take_said, is_whole)) {
        return is_whole ? "" : Unfinished;
    }
    return Read_Lines(path, take);
}

}  // namespace dicom_mend
