// The command line of dicom-mend.
#include "check.h"
#include "command_faults.h"
#include "commands.h"
#include "explain_kind.h"
#include "help_texts.h"
#include "lookup.h"
#include "manual.h"
#include "mend/healing/character_terms.h"
#include "report_command.h"
#include "run_options.h"
#include "word_completion.h"

#include <CLI/CLI.hpp>
#include <Lib_DICOM_Mend/dicom_mend.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <zlib.h>

namespace {

using dicom_mend::Verbosity;
using lib_mend::Output_Syntax;

constexpr char Description[] =
    "Reads damaged DICOM files, says what is wrong with them, and writes "
    "clean Part 10 files.";
void Add_Verbosity(CLI::App& command, dicom_mend::Run_Options& run)
{
    Verbosity& verbosity = run.verbosity;
    command.add_flag("--show-values", run.show_values,
                     "Quote values in reports that may identify a person");
    CLI::Option* const quiet = command.add_flag_callback(
        "-q,--quiet", [&verbosity] { verbosity = Verbosity::Quiet; }, "Report errors only");
    quiet->option_text(" ");
    command
        .add_flag_callback(
            "-v,--verbose", [&verbosity] { verbosity = Verbosity::Verbose; },
            "Report also what is worth knowing but no fault")
        ->excludes(quiet)
        ->option_text(" ");
}

std::string Charset_Fault(const std::string& terms)
{
    return lib_mend::Is_Character_Set(terms)
               ? std::string()
               : "is no defined term of a character set, as \"ISO_IR 100\" is, nor several with "
                 "backslashes between them";
}

/** What mend, complete and check have in common: check tells what the others would do. */
void Add_Healing(CLI::App& command, lib_mend::Heal_Options& heal)
{
    command.add_flag(
        "--strict", heal.strict,
        "Apply the fixed repairs of the VRs in full, at the price of what does not fit");
    command.add_flag("--replace-uids", heal.replace_uids,
                     "Replace UIDs that are none by ones made from a hash of the old value");
    command.add_flag("--pad-pixels", heal.pad_pixels, "Fill pixel data that is too short");
    command
        .add_option("--charset", heal.charset,
                    "Character set that the texts have, whatever the file declares, for example "
                    "\"ISO_IR 100\"")
        ->check(Charset_Fault)
        ->option_text("TERM");
    command.add_flag("--to-utf8", heal.to_utf8, "Convert all texts to UTF-8");
    command.add_flag("--record", heal.record,
                     "Keep what is changed in the file's Original Attributes Sequence");
}

CLI::App* Add_List(CLI::App& app, dicom_mend::List_Request& request)
{
    CLI::App* const command = app.add_subcommand("list", "Show the elements of files");
    const std::vector<std::pair<const char*, dicom_mend::List_Format>> formats = {
        {"text", dicom_mend::List_Format::Text},
        {"tsv", dicom_mend::List_Format::TSV},
        {"json", dicom_mend::List_Format::JSON}};
    command
        ->add_option("--format", request.format,
                     "text (default), tsv, or json, the DICOM JSON model")
        ->transform(dicom_mend::Choice(formats))
        ->option_text("FORMAT");
    command
        ->add_option("FILE", request.run.walk.paths,
                     "Files to read, folders, or - for standard input")
        ->option_text("...");
    dicom_mend::Add_Run(*command, request.run);
    Add_Verbosity(*command, request.run);
    command->final_callback([command, &request] { dicom_mend::Check_Run(*command, request.run); });
    return command;
}

/** One file and its output. */
void Add_Files(CLI::App& command, dicom_mend::Mend_Request& request)
{
    command.add_flag("--force", request.run.force, "Replace an existing output file");
    command.add_option("FILE", request.run.walk.paths, "File to read, and file to write")
        ->required()
        ->expected(2)
        ->option_text("IN OUT");
    Add_Verbosity(command, request.run);
}

/** One file and its output, or files and folders and the folder of their outputs. */
void Add_Inputs(CLI::App& command, dicom_mend::Mend_Request& request)
{
    dicom_mend::Run_Options& run = request.run;
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
        .add_option("--layout", request.layout,
                    "Places of the outputs by their values instead of those of the inputs, for "
                    "example '{PatientID}/{StudyDate}-{Modality}/{SOPInstanceUID}.dcm'")
        ->option_text("TEXT");
    command
        .add_option("--quarantine", run.quarantine,
                    "Folder for copies of what could not be mended whole, with the findings")
        ->option_text("DIR");
    dicom_mend::Add_Run(command, run);
    dicom_mend::Add_Record(command, run, "; OUT_DIR.state by default");
    Add_Verbosity(command, run);
    command.final_callback([&command, &request, &run] {
        if (run.to.empty()) {
            if (run.walk.paths.size() != 2 || !run.walk.list.empty()) {
                throw CLI::ValidationError("IN and OUT are required, or --to OUT_DIR and PATH...");
            }
            if (!request.layout.empty() || !run.quarantine.empty() || !run.report.empty() ||
                !run.state.empty() || run.resume || run.walk.shards > 1 || run.jobs != 0) {
                throw CLI::ValidationError(
                    "--layout, --quarantine, --report, --state, --resume, --shard and --jobs need "
                    "--to OUT_DIR");
            }
            return;
        }
        if (command.get_option("--layout")->count() > 0 && request.layout.empty()) {
            throw CLI::ValidationError("--layout is empty");
        }
        if (!request.garbage.empty()) {
            throw CLI::ValidationError(
                "--keep-garbage takes the bytes of one file, and not of many");
        }
        run.to = dicom_mend::Without_Slash(run.to);
        dicom_mend::Check_Run(command, run);
    });
}

void Add_Output(CLI::App& command, dicom_mend::Mend_Request& request)
{
    const std::vector<std::pair<const char*, Output_Syntax>> syntaxes = {
        {"keep", Output_Syntax::Keep},
        {"implicit-little", Output_Syntax::Implicit_Little},
        {"explicit-little", Output_Syntax::Explicit_Little},
        {"explicit-big", Output_Syntax::Explicit_Big}};
    command
        .add_option("--syntax", request.options.syntax,
                    "Transfer syntax of the output: keep (default), implicit-little, "
                    "explicit-little, explicit-big")
        ->transform(dicom_mend::Choice(syntaxes))
        ->option_text("SYNTAX");
    command.add_flag("--drop-private", request.options.drop_private, "Leave private elements out");
    command.add_flag("--group-lengths", request.options.group_lengths,
                     "Write a group length in front of each group");
    command.add_flag("--defined-lengths", request.options.defined_lengths,
                     "Write sequences and items with defined lengths");
    Add_Healing(command, request.options.heal);
    command
        .add_option("--keep-garbage", request.garbage,
                    "File for the bytes of IN that belong to no element")
        ->option_text("FILE");
    Add_Inputs(command, request);
}

CLI::App* Add_Mend(CLI::App& app, dicom_mend::Mend_Request& request)
{
    CLI::App* const command = app.add_subcommand("mend", "Write a clean copy of a file");
    Add_Output(*command, request);
    return command;
}

CLI::App* Add_Complete(CLI::App& app, dicom_mend::Mend_Request& request,
                       dicom_mend::Completion& completion)
{
    CLI::App* const command = app.add_subcommand(
        "complete", "Write a clean copy that has what its kind of image or document requires");
    command
        ->add_option("--module", completion.module,
                     "Code of the IOD, for example CT; auto (default) is that of the SOP class")
        ->option_text("CODE");
    command
        ->add_option("--set", completion.values,
                     "Set an attribute to a value; may be given several times")
        ->take_all()
        ->expected(1)
        ->allow_extra_args(false)
        ->option_text("TAG|KEYWORD=VALUE");
    command->add_option("--rules", completion.rules, "File of definition lines that override")
        ->option_text("FILE");
    Add_Output(*command, request);
    return command;
}

CLI::App* Add_From_JSON(CLI::App& app, dicom_mend::Mend_Request& request)
{
    CLI::App* const command =
        app.add_subcommand("from-json", "Write a file of what a text in the DICOM JSON model says");
    Add_Files(*command, request);
    return command;
}

CLI::App* Add_Undo(CLI::App& app, dicom_mend::Mend_Request& request)
{
    CLI::App* const command = app.add_subcommand(
        "undo", "Put the values back that the last mending with --record changed");
    Add_Files(*command, request);
    return command;
}

CLI::App* Add_Check(CLI::App& app, dicom_mend::Check_Request& request)
{
    CLI::App* const command =
        app.add_subcommand("check", "Report what is wrong with files, and change nothing");
    const std::vector<std::pair<const char*, dicom_mend::Format>> formats = {
        {"text", dicom_mend::Format::Text},
        {"json", dicom_mend::Format::JSON},
        {"sarif", dicom_mend::Format::SARIF},
        {"html", dicom_mend::Format::HTML}};
    command
        ->add_option(
            "--format", request.format,
            "text (default), json, one object a line, sarif, one SARIF 2.1.0 log, or html, "
            "one page")
        ->transform(dicom_mend::Choice(formats))
        ->option_text("FORMAT");
    command
        ->add_option("--module", request.module,
                     "Verify against an IOD: its code, or auto for that of the SOP class")
        ->option_text("CODE");
    command
        ->add_option("--explain", request.explain,
                     "Tell what the IOD says of an attribute, and why it is reported or not")
        ->check([](const std::string& term) {
            return term.empty() ? std::string("names no attribute") : std::string();
        })
        ->option_text("TAG|KEYWORD");
    Add_Healing(*command, request.heal);
    command->add_flag("--summary", request.summary, "Count the findings of all files by kind");
    command->add_flag("--study", request.study,
                      "Compare also what must agree in the files of a patient, study, series and "
                      "frame of reference");
    command
        ->add_option("FILE", request.run.walk.paths,
                     "Files to check, folders, or - for standard input")
        ->option_text("...");
    dicom_mend::Add_Run(*command, request.run);
    dicom_mend::Add_Record(*command, request.run, "");
    Add_Verbosity(*command, request.run);
    command->final_callback([command, &request] {
        dicom_mend::Check_Run(*command, request.run);
        if (request.run.resume && request.study) {
            throw CLI::ValidationError("--study compares all files, and cannot go on with a run");
        }
    });
    return command;
}

CLI::App* Add_Report(CLI::App& app, dicom_mend::Report_Request& request)
{
    CLI::App* const command =
        app.add_subcommand("report", "Print what runs came to, and merge their reports");
    command->add_flag("--json", request.json, "Print the totals as an object of JSON");
    command
        ->add_option("--to", request.to,
                     "File for the records of all runs: .jsonl, .csv, .sarif or .html")
        ->option_text("FILE");
    command->add_flag("--force", request.force, "Replace an existing FILE");
    command->add_flag("--show-values", request.show_values,
                      "Quote values in FILE that may identify a person");
    command
        ->add_option("RUN", request.runs,
                     "Reports in JSON lines, states of runs, or folders that runs wrote to")
        ->required()
        ->option_text("...");
    return command;
}

CLI::App* Add_Explain(CLI::App& app, std::vector<std::string>& kinds)
{
    CLI::App* const command =
        app.add_subcommand("explain", "Tell what a kind of finding is, or which kinds there are");
    command->add_option("KIND", kinds, "Names of kinds, as check --format json prints them")
        ->option_text("...");
    return command;
}

CLI::App* Add_Help(CLI::App& app, std::string& name)
{
    CLI::App* const command = app.add_subcommand("help", "Show the options of a command");
    command->add_option("COMMAND", name, "Name of the command")->option_text(" ");
    return command;
}

dicom_mend::Exit_Status Print_Help(const CLI::App& app, const std::string& name)
{
    const std::string unknown = dicom_mend::Unknown_Word(app, {name});
    if (!name.empty() && !unknown.empty()) {
        std::fprintf(stderr, "%s\n", unknown.c_str());
        return dicom_mend::Exit_Failure;
    }
    const CLI::App& shown = name.empty() ? app : *app.get_subcommand(name);
    std::fputs(shown.help(name.empty() ? "" : "dicom-mend " + name).c_str(), stdout);
    return dicom_mend::Finish_Output(dicom_mend::Exit_Clean);
}

CLI::App* Add_Lookup(CLI::App& app, const char* name, const char* description, const char* value,
                     dicom_mend::Lookup_Request& request)
{
    CLI::App* const command = app.add_subcommand(name, description);
    command->add_option(value, request.terms, "What to look up; a name may be a part of one")
        ->required()
        ->option_text("...");
    return command;
}

CLI::App* Add_Code(CLI::App& app, dicom_mend::Code_Request& request)
{
    CLI::App* const command = app.add_subcommand("code", "Find the coded concept of a free text");
    command->add_option("TABLE", request.table, "Number of a context group, or a table's file name")
        ->required()
        ->option_text(" ");
    command->add_option("NAME", request.names, "The text, for example a drug's name")
        ->required()
        ->option_text("...");
    return command;
}

/** The commands with what runs them. */
using Commands = std::vector<std::pair<CLI::App*, std::function<dicom_mend::Exit_Status()>>>;

dicom_mend::Exit_Status Run_Chosen(const Commands& commands)
{
    for (const auto& [command, run] : commands) {
        if (command->parsed()) {
            return run();
        }
    }
    return dicom_mend::Exit_Failure;
}

/**
 * Answers what no person asks: the build for the manual, the shells for what a word may become.
 *
 * @return false when it is an ordinary command line
 */
bool Answer_Program(CLI::App& app, const std::vector<std::string>& words,
                    dicom_mend::Exit_Status& status)
{
    if (words.size() == 2 && words.front() == "--manual") {
        status = dicom_mend::Write_Manual(app, words.back());
        return true;
    }
    if (!words.empty() && words.front() == "--completions") {
        std::fputs(dicom_mend::Completions(app, {words.begin() + 1, words.end()}).c_str(), stdout);
        status = dicom_mend::Finish_Output(dicom_mend::Exit_Clean);
        return true;
    }
    return false;
}

int Run(int argc, char** argv)
{
    CLI::App app(Description, "dicom-mend");
    app.footer(dicom_mend::Foot);
    app.require_subcommand(1);
    app.set_version_flag("--version", [] {
        return std::string("dicom-mend ") + DICOM_MEND_VERSION + "\nwith " +
               Get_Version_DICOM(nullptr) + ", zlib " + zlibVersion() +
               ", compiled by " __VERSION__;
    });
    dicom_mend::List_Request list;
    dicom_mend::Check_Request check;
    dicom_mend::Mend_Request mend;
    dicom_mend::Mend_Request undo;
    dicom_mend::Mend_Request from_json;
    dicom_mend::Mend_Request complete;
    dicom_mend::Completion completion;
    dicom_mend::Report_Request report;
    std::vector<std::string> kinds;
    std::string helped;
    dicom_mend::Lookup_Request dict;
    dicom_mend::Lookup_Request uid;
    dicom_mend::Code_Request code;
    const Commands commands = {
        {Add_List(app, list),
         [&] {
             return Run_List(list);
         }},
        {Add_Check(app, check),
         [&] {
             return Run_Check(check);
         }},
        {Add_Mend(app, mend),
         [&] {
             return Run_Mend(mend);
         }},
        {Add_Undo(app, undo),
         [&] {
             return Run_Undo(undo);
         }},
        {Add_From_JSON(app, from_json),
         [&] {
             return Run_From_JSON(from_json);
         }},
        {Add_Complete(app, complete, completion),
         [&] {
             return Run_Complete(complete, completion);
         }},
        {Add_Explain(app, kinds),
         [&] {
             return dicom_mend::Run_Explain(kinds);
         }},
        {Add_Help(app, helped),
         [&] {
             return Print_Help(app, helped);
         }},
        {Add_Report(app, report),
         [&] {
             return Run_Report_Command(report);
         }},
        {Add_Lookup(app, "dict", "Look up data elements", "TAG|NAME", dict),
         [&] {
             return Run_Dict(dict);
         }},
        {Add_Lookup(app, "uid", "Look up unique identifiers", "UID|NAME", uid),
         [&] {
             return Run_UID(uid);
         }},
        {Add_Code(app, code),
         [&] {
             return Run_Code(code);
         }},
    };
    for (const auto& [name, foot] : dicom_mend::Feet) {
        app.get_subcommand(name)->footer(foot);
    }
    const std::vector<std::string> words(argv + 1, argv + argc);
    dicom_mend::Exit_Status status = dicom_mend::Exit_Clean;
    if (Answer_Program(app, words, status)) {
        DICOM_Lib_Cleanup();
        return status;
    }
    const std::string unknown = dicom_mend::Unknown_Word(app, words);
    if (!unknown.empty()) {
        std::fprintf(stderr, "%s\nRun with --help for more information.\n", unknown.c_str());
        return dicom_mend::Exit_Failure;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? dicom_mend::Exit_Clean : dicom_mend::Exit_Failure;
    }
    status = Run_Chosen(commands);
    DICOM_Lib_Cleanup();
    return status;
}

}  // namespace

int main(int argc, char** argv)
{
    // A limit on the size of files is to be met as an error of the writing, not as a sudden end.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return Run(argc, argv);
    } catch (const std::bad_alloc&) {
        std::fputs("dicom-mend: error: there is not enough memory\n", stderr);
        return dicom_mend::Exit_Failure;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "dicom-mend: error: %s\n", error.what());
        return dicom_mend::Exit_Failure;
    }
}
