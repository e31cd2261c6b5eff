#include "commands.h"

#include "garbage.h"
#include "list.h"
#include "lookup.h"
#include "mend/findings/letters.h"
#include "mend/healing/original_attributes.h"
#include "mend/interface/element_path.h"
#include "mend/interface/heal.h"
#include "mend/io/safe_file.h"
#include "mend/json/from_json.h"
#include "mend/reading/reader.h"
#include "mend/verify/iod.h"
#include "terminal.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <memory>
#include <utility>

#include <unistd.h>

namespace dicom_mend {

namespace {

using lib_mend::Findings;
using lib_mend::Library_Session;
using lib_mend::Printable;
using lib_mend::Source;

Exit_Status List_File(const std::string& path, const List_Request& request,
                      const Terminal& terminal)
{
    Findings findings;
    const Library_Session session(findings);
    const std::shared_ptr<Source> source = Open(path);
    if (source == nullptr) {
        std::fputs(request.format == List_Format::JSON ? "null" : "", stdout);
        return Exit_Failure;
    }
    lib_mend::Data_Set set = lib_mend::Read_Data_Set(source, findings);
    if (request.format == List_Format::TSV) {
        Print_TSV(set);
    } else if (request.format == List_Format::JSON) {
        Print_JSON(set, findings);
    } else {
        if (request.files.size() > 1) {
            std::printf("%s\n", Printable(path).c_str());
        }
        Print_Text(set, terminal);
    }
    if (&path == &request.files.back()) {
        Keep_To_The_End(std::move(set));
    }
    findings.Sum_Up();
    Report(path, findings, request.verbosity, request.show_values);
    return Status_Of(findings);
}

/** One line of a definition file for "TAG=VALUE"; empty when it has another form. */
std::string Rule_Of(const std::string& setting)
{
    const std::size_t equals = setting.find('=');
    const auto tag = lib_mend::Parse_Tag_Digits(setting.substr(0, equals));
    if (equals == setting.npos || !tag) {
        return {};
    }
    std::string rule = "(" + Tag_Text(*tag) + ") - -- ! \"";
    for (const char c : setting.substr(equals + 1)) {
        rule += c == '"' ? "\"\"" : std::string(1, c);
    }
    return rule + "\"\n";
}

/** Reads a file of definition lines; returns the reason of a failure. */
std::string Read_Text(const std::string& path, std::string& text)
{
    std::string error;
    const std::shared_ptr<Source> source = Source::Open(path, error);
    if (source == nullptr) {
        return path + ": " + error;
    }
    lib_mend::Bytes bytes(static_cast<std::size_t>(source->Size()));
    bytes.resize(source->Read(0, bytes));
    text.assign(bytes.begin(), bytes.end());
    text += '\n';
    return text.find('\0') != text.npos ? path + ": is no text" : std::string();
}

/**
 * Finds what overrides the lines of the IOD: a file, which the library reads and names in its
 * messages, or the lines of one together with those that the settings stand for.
 *
 * @return the reason of a failure
 */
std::string Find_Rules(const Completion& completion, std::string& rules)
{
    if (completion.values.empty()) {
        const bool is_relative = !completion.rules.empty() && completion.rules.front() != '/';
        rules = (is_relative ? "./" : "") + completion.rules;
        return {};
    }
    std::string error =
        completion.rules.empty() ? std::string() : Read_Text(completion.rules, rules);
    if (!error.empty()) {
        return error;
    }
    for (const std::string& setting : completion.values) {
        const std::string rule = Rule_Of(setting);
        if (rule.empty()) {
            return "--set " + setting + ": expected TAG=VALUE, for example 0008,0060=CT";
        }
        rules += rule;
    }
    return {};
}

/** Finds out before the work what would make the writing of a file fail. */
std::string Refusal(const Mend_Request& request, const std::string& target)
{
    if (lib_mend::Is_Same_File(request.input, target)) {
        return "is the input, which is never overwritten";
    }
    const std::string fault = lib_mend::Target_Fault(target, request.force);
    const bool force_helps = !fault.empty() && lib_mend::Target_Fault(target, true).empty();
    return force_helps ? fault + "; --force replaces it" : fault;
}

/** The same for all files of a request; false after a report. */
bool Can_Write(const Mend_Request& request)
{
    std::string refused = request.output;
    std::string reason = Refusal(request, request.output);
    if (reason.empty() && !request.garbage.empty()) {
        refused = request.garbage;
        reason = Is_Same_Target(request.output, request.garbage)
                     ? "is the output, and cannot take the garbage too"
                     : Refusal(request, request.garbage);
    }
    if (!reason.empty()) {
        Report_Failure(refused, reason);
    }
    return reason.empty();
}

lib_mend::Data_Set Read_As_It_Is(const std::shared_ptr<Source>& source, Findings& findings)
{
    return lib_mend::Read_Data_Set(source, findings);
}

/**
 * Reads, prepares, encodes and writes a file; what is not healed yet is healed on the way.
 *
 * @param read  makes the data set of the source
 */
template <class Read, class Prepare>
Exit_Status Mend_File(const Mend_Request& request, Read&& read, Prepare&& prepare)
{
    Findings findings;
    const Library_Session session(findings);
    const std::shared_ptr<Source> source = Can_Write(request) ? Open(request.input) : nullptr;
    if (source == nullptr) {
        return Exit_Failure;
    }
    lib_mend::Data_Set set = read(source, findings);
    lib_mend::Encoded_File file;
    const bool mended = !set.foreign && prepare(set, findings) &&
                        lib_mend::Mend(set, request.options, findings, file);
    const std::string unkept = mended && !request.garbage.empty()
                                   ? Keep_Garbage(set, request.garbage, request.force, findings)
                                   : std::string();
    Keep_To_The_End(std::move(set));
    findings.Sum_Up();
    Report(request.input, findings, request.verbosity, request.show_values);
    if (!unkept.empty()) {
        Report_Failure(request.garbage, unkept);
    }
    if (!mended || !unkept.empty()) {
        return Exit_Failure;
    }
    const auto give = [&](const lib_mend::File_Taker& taker) {
        return file.Give(taker);
    };
    const std::string error = lib_mend::Write_Safely(request.output, give, request.force);
    if (!error.empty()) {
        Report_Failure(request.output, error);
        return Exit_Failure;
    }
    return Status_Of(findings);
}

}  // namespace

std::shared_ptr<Source> Open(const std::string& path)
{
    std::string error;
    std::shared_ptr<Source> source = Source::Open(path, error);
    if (source == nullptr) {
        Report_Failure(path, error);
    }
    return source;
}

void Keep_To_The_End(lib_mend::Data_Set&& set)
{
    static auto& kept = *new std::deque<lib_mend::Data_Set>;
    kept.push_back(std::move(set));
}

Exit_Status Run_List(const List_Request& request)
{
    const Terminal terminal = Look_At(STDOUT_FILENO);
    const bool is_json = request.format == List_Format::JSON;
    const bool is_array = is_json && request.files.size() > 1;
    Exit_Status status = Exit_Clean;
    const char* separator = is_array ? "[\n" : "";
    for (const std::string& path : request.files) {
        std::fputs(separator, stdout);
        separator = is_array ? ",\n" : "";
        status = std::max(status, List_File(path, request, terminal));
    }
    std::fputs(is_array ? "\n]\n" : is_json ? "\n" : "", stdout);
    return Finish_Output(status);
}

Exit_Status Run_Mend(const Mend_Request& request)
{
    return Mend_File(request, Read_As_It_Is, [](lib_mend::Data_Set&, Findings&) { return true; });
}

Exit_Status Run_From_JSON(const Mend_Request& request)
{
    const auto read = [](const std::shared_ptr<Source>& source, Findings& findings) {
        lib_mend::Data_Set set = lib_mend::From_JSON(*source, findings);
        if (source->Failure() != 0) {
            findings.Report(lib_mend::Fault::Unreadable, lib_mend::Level::Error, {},
                            "cannot be read");
            set.unreadable = true;
        }
        return set;
    };
    return Mend_File(request, read, [](lib_mend::Data_Set&, Findings&) { return true; });
}

Exit_Status Run_Complete(const Mend_Request& request, const Completion& completion)
{
    std::string rules;
    const std::string error = Find_Rules(completion, rules);
    if (!error.empty()) {
        Report_Failure("complete", error);
        return Exit_Failure;
    }
    const lib_mend::Override override(rules);
    return Mend_File(request, Read_As_It_Is, [&](lib_mend::Data_Set& set, Findings& findings) {
        lib_mend::Heal(set, request.options.heal, findings);
        return lib_mend::Complete_IOD(set, completion.module, findings);
    });
}

Exit_Status Run_Undo(const Mend_Request& request)
{
    return Mend_File(request, Read_As_It_Is, [](lib_mend::Data_Set& set, Findings& findings) {
        return lib_mend::Undo(set, findings);
    });
}

}  // namespace dicom_mend
