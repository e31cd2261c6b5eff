#include "commands.h"

#include "archive/layout.h"
#include "diff.h"
#include "garbage.h"
#include "lookup.h"
#include "mend/findings/letters.h"
#include "mend/healing/original_attributes.h"
#include "mend/interface/element_path.h"
#include "mend/interface/heal.h"
#include "mend/io/safe_file.h"
#include "mend/io/spool.h"
#include "mend/io/system_files.h"
#include "mend/json/from_json.h"
#include "mend/reading/reader.h"
#include "mend/verify/iod.h"
#include "pager.h"
#include "settings.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <memory>
#include <span>
#include <utility>

#include <unistd.h>

namespace dicom_mend {

namespace {

using lib_mend::Findings;
using lib_mend::Library_Session;
using lib_mend::Source;

/** Takes what users set, and looks whether their rules are there; the reason of a failure. */
std::string Take_Settings(const Completion& completion, std::vector<Setting>& settings)
{
    std::string why;
    if (!completion.rules.empty() && Source::Open(completion.rules, why) == nullptr) {
        return "--rules " + completion.rules + ": " + why;
    }
    for (const std::string& text : completion.values) {
        const std::string error = Take_Setting(text, settings);
        if (!error.empty()) {
            return std::string("--set ").append(text).append(": ").append(error);
        }
    }
    return {};
}

/** The name of a file of definition lines, in a form that is no line; empty for none. */
std::string File_Of_Rules(const Completion& completion)
{
    const bool is_relative =
        !completion.rules.empty() && !lib_mend::Native_Path(completion.rules).has_root_path();
    return (is_relative ? "./" : "") + completion.rules;
}

const std::string& Input_Of(const Mend_Request& request)
{
    return request.run.walk.paths.front();
}

const std::string& Output_Of(const Mend_Request& request)
{
    return request.run.walk.paths.back();
}

/** Finds out before the work what would make the writing of a file fail. */
std::string Refusal(const Mend_Request& request, const std::string& target)
{
    if (lib_mend::Is_Same_File(Input_Of(request), target)) {
        return "is the input, which is never overwritten";
    }
    const std::string fault = lib_mend::Target_Fault(target, request.run.force);
    const bool force_helps = !fault.empty() && lib_mend::Target_Fault(target, true).empty();
    return force_helps ? fault + "; --force replaces it" : fault;
}

/** The same for all files of a request; false after a report. */
bool Can_Write(const Mend_Request& request)
{
    std::string refused = Output_Of(request);
    std::string reason;
    if (refused != Standard_Stream) {
        reason = Refusal(request, refused);
    } else if (isatty(STDOUT_FILENO) == 1 && !request.run.force) {
        reason = "is a terminal, which a file would upset; --force writes to it";
    }
    if (reason.empty() && !request.garbage.empty()) {
        refused = request.garbage;
        reason = Is_Same_Target(Output_Of(request), request.garbage)
                     ? "is the output, and cannot take the garbage too"
                     : Refusal(request, request.garbage);
    }
    if (!reason.empty()) {
        Report_Failure(refused == Standard_Stream ? "standard output" : refused, reason);
    }
    return reason.empty();
}

lib_mend::Data_Set Read_As_It_Is(const std::shared_ptr<Source>& source, Findings& findings)
{
    return lib_mend::Read_Data_Set(source, findings);
}

/** Writes a file that was encoded; the reason of a failure. */
std::string Write_Output(const lib_mend::Encoded_File& file, const std::string& path, bool force)
{
    const auto give = [&](const lib_mend::File_Taker& taker) {
        return file.Give(taker);
    };
    if (path != Standard_Stream) {
        return lib_mend::Write_Safely(path, give, force);
    }
    const auto put = [](std::span<const unsigned char> bytes) {
        return std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size();
    };
    return file.Give(put) && std::fflush(stdout) == 0 ? "" : "cannot be written";
}

/** The data set as it is, to be compared with what becomes of it; nothing when that is written. */
std::optional<lib_mend::Data_Set> Read_For_Trial(const Mend_Request& request,
                                                 const std::shared_ptr<Source>& source)
{
    Findings again;
    return request.is_trial ? std::optional(lib_mend::Read_Data_Set(source, again)) : std::nullopt;
}

/** Prints what would be other in the output. */
void Print_Trial(const lib_mend::Data_Set& original, const lib_mend::Encoded_File& file,
                 const Mend_Request& request)
{
    lib_mend::Spool spool(lib_mend::Spool_Limits().in_memory);
    file.Give([&](std::span<const unsigned char> bytes) {
        spool.Put(bytes);
        return true;
    });
    Findings of_output;
    const lib_mend::Data_Set written =
        lib_mend::Read_Data_Set(spool.Finish("the output"), of_output);
    Print_Differences(original, written, request.trial_format,
                      Look_At(STDOUT_FILENO, request.trial_looks.colours));
}

/**
 * Reads, prepares, encodes and writes a file; what is not healed yet is healed on the way.
 *
 * @param read  makes the data set of the source
 */
template <class Read, class Prepare>
Exit_Status Mend_File(const Mend_Request& request, Read&& read, Prepare&& prepare)
{
    const std::string name = Name_Of(Input_Of(request));
    Findings findings;
    const Library_Session session(findings);
    std::string reason;
    if (!request.is_trial && !Can_Write(request)) {
        return Exit_Failure;
    }
    const std::shared_ptr<Source> source = Open(Input_Of(request), reason);
    if (source == nullptr) {
        Report_Failure(name, reason);
        return Exit_Failure;
    }
    std::optional<lib_mend::Data_Set> original = Read_For_Trial(request, source);
    lib_mend::Data_Set set = read(source, findings);
    lib_mend::Encoded_File file;
    const bool mended = !set.foreign && prepare(set, findings) &&
                        lib_mend::Mend(set, request.options, findings, file);
    const std::string unkept = mended && !request.garbage.empty()
                                   ? Keep_Garbage(set, request.garbage, request.run.force, findings)
                                   : std::string();
    Keep_To_The_End(std::move(set));
    findings.Sum_Up();
    std::optional<Pager> pager;
    if (request.is_trial) {
        pager.emplace(Look_At(STDOUT_FILENO), request.trial_looks);
    }
    Report(name, findings, request.run.verbosity, request.run.show_values);
    if (!unkept.empty()) {
        Report_Failure(request.garbage, unkept);
    }
    if (!mended || !unkept.empty()) {
        return Exit_Failure;
    }
    if (original) {
        Print_Trial(*original, file, request);
        return pager->Finish(Status_Of(findings));
    }
    const std::string error = Write_Output(file, Output_Of(request), request.run.force);
    if (!error.empty()) {
        Report_Failure(
            Output_Of(request) == Standard_Stream ? "standard output" : Output_Of(request), error);
        return Exit_Failure;
    }
    return Status_Of(findings);
}

/** The same for a file of a run, in a worker: the output is left at the staged place. */
template <class Prepare>
void Mend_Staged(const Work_Item& item, const Mend_Request& request, const Layout& layout,
                 const Prepare& prepare, File_Record& record)
{
    Findings findings;
    const Library_Session session(findings);
    std::optional<lib_mend::Data_Set> read = Read_Item(item, findings, record);
    if (!read) {
        return;
    }
    lib_mend::Data_Set& set = *read;
    const bool is_left =
        layout.Is_Given() &&
        lib_mend::Find_Record(set.records.Head(), lib_mend::Directory_Sequence_Tag) != nullptr;
    if (is_left) {
        findings.Report(lib_mend::Fault::Directory_Left, lib_mend::Level::Error, {},
                        "names files that have other places in the layout, and is left out");
    }
    lib_mend::Encoded_File file;
    const bool mended = !set.foreign && !is_left && prepare(set, findings) &&
                        lib_mend::Mend(set, request.options, findings, file);
    Describe(set, findings, record);
    if (!mended) {
        record.status = Exit_Failure;
        return;
    }
    record.layout = layout.Is_Given() ? layout.Path_Of(set) : std::string();
    const auto give = [&](const lib_mend::File_Taker& taker) {
        return file.Give(taker);
    };
    const std::string error = lib_mend::Write_Staged(item.staged, give);
    const std::int64_t size = lib_mend::File_Size(item.staged);
    if (!error.empty() || size < 0) {
        record.failure = "its output " + (error.empty() ? "is gone" : error);
        record.try_again = true;
        record.status = Exit_Failure;
        return;
    }
    record.has_output = true;
    record.output_size = size;
}

/** @param prepare  what is to be done with a data set beside mending it */
template <class Prepare>
Exit_Status Mend_Files(const Mend_Request& request, const Prepare& prepare)
{
    if (request.run.to.empty()) {
        return Mend_File(request, Read_As_It_Is, prepare);
    }
    Layout layout;
    const std::string fault = request.layout.empty() ? std::string() : layout.Parse(request.layout);
    if (!fault.empty()) {
        Report_Failure("--layout " + request.layout, fault);
        return Exit_Failure;
    }
    Run_Options run = request.run;
    run.has_layout = layout.Is_Given();
    return Run_Files(
        run,
        [&](const Work_Item& item, File_Record& record) {
            Mend_Staged(item, request, layout, prepare, record);
        },
        [&run](const File_Record& record) { Report(record, run.verbosity, run.show_values); });
}

}  // namespace

std::string Name_Of(const std::string& path)
{
    return path == Standard_Stream ? "standard input" : path;
}

std::shared_ptr<Source> Open(const std::string& path, std::string& reason)
{
    return path == Standard_Stream ? Source::Open_Input(reason) : Source::Open(path, reason);
}

std::optional<lib_mend::Data_Set> Read_Item(const Work_Item& item, Findings& findings,
                                            File_Record& record)
{
    const std::shared_ptr<Source> source = Open(item.path, record.failure);
    if (source == nullptr) {
        record.status = Exit_Failure;
        return std::nullopt;
    }
    lib_mend::Data_Set set = lib_mend::Read_Data_Set(source, findings);
    record.is_foreign = set.foreign && item.is_found;
    return record.is_foreign ? std::nullopt : std::optional(std::move(set));
}

Exit_Status Go_Through(const Run_Options& run,
                       const std::function<void(const Work_Item&, File_Record&, bool)>& work,
                       const Run_Teller& tell, Comparison* comparison)
{
    if (run.Asks_For_Run()) {
        return Run_Files(
            run, [&](const Work_Item& item, File_Record& record) { work(item, record, false); },
            tell, comparison);
    }
    // The names of elements are those of today's standard where findings are printed, too.
    Findings unasked;
    const Library_Session session(unasked);
    Exit_Status status = Exit_Clean;
    const auto end = [&](const File_Record& record) {
        tell(record);
        status = std::max(status, record.status);
    };
    std::optional<Held_Files> held;
    if (comparison != nullptr) {
        held.emplace(*comparison);
    }
    for (const std::string& path : run.walk.paths) {
        Work_Item item;
        item.path = path;
        File_Record record;
        record.path = Name_Of(path);
        work(item, record, &path == &run.walk.paths.back());
        if (held) {
            held->Hold(record, false, false, true);
        } else {
            end(record);
        }
    }
    if (held) {
        held->Release(true, run.show_values, [&](Held_File&& file) { end(file.record); });
    }
    return status;
}

void Keep_To_The_End(lib_mend::Data_Set&& set)
{
    static auto& kept = *new std::deque<lib_mend::Data_Set>;
    kept.push_back(std::move(set));
}

Exit_Status Run_Mend(const Mend_Request& request)
{
    return Mend_Files(request, [](lib_mend::Data_Set&, Findings&) { return true; });
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
    std::vector<Setting> settings;
    const std::string error = Take_Settings(completion, settings);
    if (!error.empty()) {
        Report_Failure("complete", error);
        return Exit_Failure;
    }
    std::string rules = File_Of_Rules(completion);
    const lib_mend::Override override(rules);
    return Mend_Files(request, [&](lib_mend::Data_Set& set, Findings& findings) {
        const lib_mend::Heal_Options& options = request.options.heal;
        lib_mend::Heal(set, options, findings);
        // What the IOD says of them is looked at with the values that they have in the end.
        const bool are_set = Set_All(set, settings, findings);
        const bool is_complete = lib_mend::Complete_IOD(set, completion.module, findings);
        Heal_Settings(set, settings, options, findings);
        return is_complete && are_set;
    });
}

Exit_Status Run_Undo(const Mend_Request& request)
{
    return Mend_File(request, Read_As_It_Is, [](lib_mend::Data_Set& set, Findings& findings) {
        return lib_mend::Undo(set, findings);
    });
}

}  // namespace dicom_mend
