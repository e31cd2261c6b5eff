// The command line of dicom-mend.
#include "check.h"
#include "command_faults.h"
#include "commands.h"
#include "explain_kind.h"
#include "lookup.h"
#include "mend/healing/character_terms.h"
#include "report_command.h"

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
constexpr char Foot[] =
    "dicom-mend help COMMAND shows the options of a command, with examples.\n"
    "\n"
    "Findings go to standard error, one a line, those of check to standard output.\n"
    "Exit status: 0 nothing to report, 1 findings, 2 something could not be read or\n"
    "written.";

/** Examples of each command, and where its output goes. */
constexpr std::pair<const char*, const char*> Feet[] = {
    {"list", "Examples:\n"
             "  dicom-mend list image.dcm                what a file holds, for people\n"
             "  dicom-mend list --format tsv image.dcm   for programs\n"
             "  dicom-mend list --format json image.dcm  in the DICOM JSON model\n"
             "\n"
             "The listing goes to standard output, findings to standard error."},
    {"check",
     "Examples:\n"
     "  dicom-mend check image.dcm               what is wrong with a file\n"
     "  dicom-mend check --module auto --study folder\n"
     "                                           also against the standard, and each other\n"
     "  dicom-mend check --format html folder >findings.html\n"
     "\n"
     "Findings go to standard output."},
    {"mend", "Examples:\n"
             "  dicom-mend mend old.dcm new.dcm          a clean copy of a file\n"
             "  dicom-mend mend --to clean --report clean.jsonl archive\n"
             "                                           of all files of a folder\n"
             "  dicom-mend mend --syntax explicit-little --record old.dcm new.dcm\n"
             "\n"
             "Findings go to standard error."},
    {"undo", "Examples:\n"
             "  dicom-mend mend --record old.dcm new.dcm\n"
             "  dicom-mend undo new.dcm old-values.dcm"},
    {"from-json", "Examples:\n"
                  "  dicom-mend list --format json image.dcm >image.json\n"
                  "  dicom-mend from-json image.json image.dcm"},
    {"complete",
     "Examples:\n"
     "  dicom-mend complete old.dcm new.dcm      supply what its kind of image requires\n"
     "  dicom-mend complete --module SC --set ConversionType=WSD old.dcm new.dcm\n"
     "\n"
     "What is supplied and what is still missing goes to standard error."},
    {"report", "Examples:\n"
               "  dicom-mend report clean.jsonl            what a run came to\n"
               "  dicom-mend report --to all.html shard-*.jsonl"},
    {"dict", "Examples:\n"
             "  dicom-mend dict 0010,0010 WindowCenter"},
    {"uid", "Examples:\n"
            "  dicom-mend uid 1.2.840.10008.1.2 \"CT Image\""},
    {"code", "Examples:\n"
             "  dicom-mend code 4021 fluorodeoxyglucose  of a context group, by its number"},
    {"explain", "Examples:\n"
                "  dicom-mend explain                       all kinds\n"
                "  dicom-mend explain offset-table duplicate"},
};

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

/** "2/8": the part and the number of parts. */
std::string Take_Shard(const std::string& text, dicom_mend::Walk_Options& walk)
{
    unsigned long long shard = 0;
    unsigned long long shards = 0;
    char rest = 0;
    if (std::sscanf(text.c_str(), "%llu/%llu%c", &shard, &shards, &rest) != 2 || shard == 0 ||
        shard > shards) {
        return "has to be K/N, the part and the number of parts, for example 2/8";
    }
    walk.shard = shard;
    walk.shards = shards;
    return {};
}

/** What commands have in common that take files and folders. */
void Add_Run(CLI::App& command, dicom_mend::Run_Options& run)
{
    command
        .add_option("--jobs", run.jobs,
                    "Number of worker processes; the number of cores by default")
        ->check(CLI::Range(1, 1024))
        ->option_text("N");
    command
        .add_option("--from-list", run.walk.list,
                    "File with the names of files and folders, one a line; - is standard input")
        ->option_text("FILE");
    command.add_flag("-0,--null", run.walk.nul_separated, "The names in the list end with NUL");
    command.add_flag("--follow", run.walk.follow, "Follow symbolic links in folders");
    command
        .add_option_function<std::string>(
            "--shard",
            [&run](const std::string& text) {
                const std::string fault = Take_Shard(text, run.walk);
                if (!fault.empty()) {
                    throw CLI::ValidationError("--shard " + text, fault);
                }
            },
            "Take the K-th of N parts of the files, the same on every machine")
        ->option_text("K/N");
}

/** What is kept of a run. */
void Add_Record(CLI::App& command, dicom_mend::Run_Options& run, const char* place)
{
    command
        .add_option("--report", run.report,
                    "File for what became of each file, and totals: .jsonl, .csv, .sarif or .html")
        ->option_text("FILE");
    command.add_option("--state", run.state, std::string("File for the state of the run") + place)
        ->option_text("FILE");
    command.add_flag("--resume", run.resume, "Go on with a run that was interrupted or killed");
}

/** The same for a folder, whether it is there already or not. */
std::string Whole_Path(const std::string& path)
{
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::absolute(path, error);
    return std::filesystem::weakly_canonical(whole, error).string();
}

/** The options that decide about outputs: a run has to go on with the same ones. */
std::string Terms_Of(const CLI::App& command, const dicom_mend::Run_Options& run)
{
    constexpr std::string_view Others[] = {"--jobs",  "--report",    "--state", "--resume",
                                           "--quiet", "--verbose",   "--force", "--to",
                                           "--help",  "--quarantine"};
    std::string terms = command.get_name();
    for (const CLI::Option* const option : command.get_options()) {
        const std::string name = option->get_name();
        const bool is_other =
            std::find(std::begin(Others), std::end(Others), name) != std::end(Others);
        if (option->count() == 0 || is_other || !name.starts_with('-')) {
            continue;
        }
        terms += "\n" + name;
        for (const std::string& value : option->results()) {
            terms += " " + value;
        }
    }
    terms += "\n" + Whole_Path(run.to);
    for (const std::string& path : run.walk.paths) {
        terms += "\n" + Whole_Path(path);
    }
    return terms;
}

/** Says what options of a run do not go together; throws CLI::ValidationError. */
void Check_Run(const CLI::App& command, dicom_mend::Run_Options& run)
{
    const auto refuse = [](const char* text) {
        throw CLI::ValidationError(text);
    };
    if (run.walk.paths.empty() && run.walk.list.empty()) {
        refuse("FILE, FOLDER or --from-list is required");
    }
    if (run.resume && run.state.empty() && run.to.empty()) {
        refuse("--resume needs the --state of the run");
    }
    const auto inputs = std::count(run.walk.paths.begin(), run.walk.paths.end(), "-");
    if (inputs > 0 && (run.Asks_For_Run() || inputs > 1)) {
        refuse("standard input stands for one file, and for nothing else");
    }
    run.command = command.get_name();
    run.terms = Terms_Of(command, run);
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
    Add_Run(*command, request.run);
    Add_Verbosity(*command, request.run);
    command->final_callback([command, &request] { Check_Run(*command, request.run); });
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
    Add_Run(command, run);
    Add_Record(command, run, "; OUT_DIR.state by default");
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
        Check_Run(command, run);
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
    Add_Run(*command, request.run);
    Add_Record(*command, request.run, "");
    Add_Verbosity(*command, request.run);
    command->final_callback([command, &request] {
        Check_Run(*command, request.run);
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

int Run(int argc, char** argv)
{
    CLI::App app(Description, "dicom-mend");
    app.footer(Foot);
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
    for (const auto& [name, foot] : Feet) {
        app.get_subcommand(name)->footer(foot);
    }
    const std::string unknown = dicom_mend::Unknown_Word(app, {argv + 1, argv + argc});
    if (!unknown.empty()) {
        std::fprintf(stderr, "%s\nRun with --help for more information.\n", unknown.c_str());
        return dicom_mend::Exit_Failure;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? dicom_mend::Exit_Clean : dicom_mend::Exit_Failure;
    }
    const dicom_mend::Exit_Status status = Run_Chosen(commands);
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
