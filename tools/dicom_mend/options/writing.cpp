// The commands that write files.
#include "command_faults.h"
#include "commands.h"
#include "options/command.h"
#include "options/common.h"
#include "run_options.h"

#include <memory>

namespace dicom_mend {

namespace {

using lib_mend::Output_Syntax;

/** One file and its output. */
void Add_Files(CLI::App& command, Mend_Request& request)
{
    command.add_flag("--force", request.run.force, "Replace an existing output file");
    std::vector<std::string>& paths = request.run.walk.paths;
    command.add_option("FILE", paths, "File to read, and file to write")
        ->expected(0, 2)
        ->option_text("IN OUT");
    command.final_callback([&paths] {
        if (paths.size() != 2) {
            throw CLI::ValidationError("IN and OUT are required");
        }
    });
    Add_Verbosity(command, request.run);
}

/** What cannot be asked for together. */
void Check_Inputs(const CLI::App& command, Mend_Request& request)
{
    Run_Options& run = request.run;
    const bool is_run = !request.layout.empty() || !run.quarantine.empty() || !run.report.empty() ||
                        !run.state.empty() || run.resume || run.walk.shards > 1 || run.jobs != 0;
    for (const char* const option : {"--format", "--color", "--no-pager"}) {
        if (!request.is_trial && command.get_option(option)->count() > 0) {
            throw CLI::ValidationError(option + std::string(" is for --dry-run"));
        }
    }
    if (run.to.empty()) {
        const std::size_t files = request.is_trial ? 1 : 2;
        if (run.walk.paths.size() != files || !run.walk.list.empty()) {
            throw CLI::ValidationError(
                request.is_trial ? "--dry-run takes one file, and writes none"
                                 : "IN and OUT are required, or --to OUT_DIR and PATH...");
        }
        if (is_run) {
            throw CLI::ValidationError(
                "--layout, --quarantine, --report, --state, --resume, --shard and --jobs need "
                "--to OUT_DIR");
        }
        return;
    }
    if (request.is_trial) {
        throw CLI::ValidationError("--dry-run takes one file, and writes none");
    }
    if (command.get_option("--layout")->count() > 0 && request.layout.empty()) {
        throw CLI::ValidationError("--layout is empty");
    }
    if (!request.garbage.empty()) {
        throw CLI::ValidationError("--keep-garbage takes the bytes of one file, and not of many");
    }
    run.to = Without_Slash(run.to);
    Check_Run(command, run);
}

/** One file and its output, or files and folders and the folder of their outputs. */
void Add_Inputs(CLI::App& command, const std::shared_ptr<Mend_Request>& request)
{
    Run_Options& run = request->run;
    command.add_flag("--force", run.force, "Replace existing output files");
    command
        .add_option(
            "FILE", run.walk.paths,
            "File to read and file to write, - for the standard streams; or with --to, files "
            "and folders to read")
        ->option_text("IN OUT | PATH...");
    command.add_option("--to", run.to, "Folder for the outputs of many files and folders")
        ->option_text("OUT_DIR");
    command
        .add_option("--layout", request->layout,
                    "Places of the outputs by their values instead of those of the inputs, for "
                    "example '{PatientID}/{Modality}/{SOPInstanceUID}.dcm'")
        ->option_text("TEXT");
    command
        .add_option("--quarantine", run.quarantine,
                    "Folder for copies of what could not be mended whole, with the findings")
        ->option_text("DIR");
    Add_Run(command, run);
    Add_Record(command, run, "; OUT_DIR.state by default");
    Add_Verbosity(command, run);
    command.final_callback([&command, request] { Check_Inputs(command, *request); });
}

void Add_Output(CLI::App& command, const std::shared_ptr<Mend_Request>& request)
{
    const std::vector<std::pair<const char*, Output_Syntax>> syntaxes = {
        {"keep", Output_Syntax::Keep},
        {"implicit-little", Output_Syntax::Implicit_Little},
        {"explicit-little", Output_Syntax::Explicit_Little},
        {"explicit-big", Output_Syntax::Explicit_Big}};
    command
        .add_option("--syntax", request->options.syntax,
                    "Transfer syntax of the output: keep (default), implicit-little, "
                    "explicit-little, explicit-big")
        ->transform(Choice(syntaxes))
        ->option_text("SYNTAX");
    command.add_flag("--drop-private", request->options.drop_private, "Leave private elements out");
    command.add_flag("--group-lengths", request->options.group_lengths,
                     "Write a group length in front of each group");
    command.add_flag("--defined-lengths", request->options.defined_lengths,
                     "Write sequences and items with defined lengths");
    Add_Healing(command, request->options.heal);
    command
        .add_option("--keep-garbage", request->garbage,
                    "File for the bytes of IN that belong to no element")
        ->option_text("FILE");
    command.add_flag("--dry-run", request->is_trial,
                     "Write nothing; show what would be added, gone and changed in IN");
    const std::vector<std::pair<const char*, Diff_Format>> formats = {{"text", Diff_Format::Text},
                                                                      {"json", Diff_Format::JSON}};
    command
        .add_option("--format", request->trial_format,
                    "What --dry-run shows as text (default), or as json, one object a line")
        ->transform(Choice(formats))
        ->option_text("FORMAT");
    Add_Looks(command, request->trial_looks);
    Add_Inputs(command, request);
}

}  // namespace

Run_Command Set_Up_Mend(CLI::App& command)
{
    const auto request = std::make_shared<Mend_Request>();
    Add_Output(command, request);
    return [request] {
        return Run_Mend(*request);
    };
}

Run_Command Set_Up_Complete(CLI::App& command)
{
    const auto request = std::make_shared<Mend_Request>();
    const auto completion = std::make_shared<Completion>();
    Add_Module(command, completion->module,
               "Code of the IOD, for example CT; auto (default) is that of the SOP class");
    command
        .add_option("--set", completion->values,
                    "Set an attribute to a value, by its tag, keyword or a path such as "
                    "OtherPatientIDsSequence[0]/PatientID; may be given several times")
        ->take_all()
        ->expected(1)
        ->allow_extra_args(false)
        ->option_text("TAG|KEYWORD|PATH=VALUE");
    command.add_option("--rules", completion->rules, "File of definition lines that override")
        ->option_text("FILE");
    Add_Output(command, request);
    return [request, completion] {
        return Run_Complete(*request, *completion);
    };
}

Run_Command Set_Up_Undo(CLI::App& command)
{
    const auto request = std::make_shared<Mend_Request>();
    Add_Files(command, *request);
    return [request] {
        return Run_Undo(*request);
    };
}

Run_Command Set_Up_From_JSON(CLI::App& command)
{
    const auto request = std::make_shared<Mend_Request>();
    Add_Files(command, *request);
    return [request] {
        return Run_From_JSON(*request);
    };
}

}  // namespace dicom_mend
