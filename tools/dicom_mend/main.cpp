// The command line of dicom-mend.
#include "check.h"
#include "commands.h"
#include "lookup.h"
#include "mend/healing/character_terms.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdio>
#include <exception>
#include <functional>
#include <map>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace {

using dicom_mend::Verbosity;
using lib_mend::Output_Syntax;

constexpr char Description[] =
    "Reads damaged DICOM files, says what is wrong with them, and writes "
    "clean Part 10 files.";
constexpr char Examples[] =
    "Examples:\n"
    "  dicom-mend list image.dcm                      show what a file holds\n"
    "  dicom-mend list --format tsv image.dcm         the same for programs\n"
    "  dicom-mend list --format json image.dcm        the same in the DICOM JSON model\n"
    "  dicom-mend from-json image.json image.dcm      and back\n"
    "  dicom-mend check image.dcm                     say what is wrong with it\n"
    "  dicom-mend mend old.dcm new.dcm                write a clean copy\n"
    "  dicom-mend mend --syntax explicit-little old.dcm new.dcm\n"
    "  dicom-mend mend --record old.dcm new.dcm       the same, and keep what was changed\n"
    "  dicom-mend undo new.dcm old-values.dcm         put it back\n"
    "  dicom-mend complete --module SC --set 0008,0064=WSD old.dcm new.dcm\n"
    "                                                 supply what the IOD requires\n"
    "  dicom-mend dict 0010,0010 WindowCenter         what the standard says of elements\n"
    "  dicom-mend uid 1.2.840.10008.1.2               which name belongs to a UID\n"
    "  dicom-mend code 4021 fluorodeoxyglucose        the code of a radiopharmaceutical\n"
    "\n"
    "Findings go to standard error, one a line. Exit status: 0 nothing to report,\n"
    "1 findings, 2 something could not be read or written.";

void Add_Verbosity(CLI::App& command, Verbosity& verbosity, bool& show_values)
{
    command.add_flag("--show-values", show_values,
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
    const std::map<std::string, dicom_mend::List_Format> formats = {
        {"text", dicom_mend::List_Format::Text},
        {"tsv", dicom_mend::List_Format::TSV},
        {"json", dicom_mend::List_Format::JSON}};
    command
        ->add_option("--format", request.format,
                     "text (default), tsv, or json, the DICOM JSON model")
        ->transform(CLI::CheckedTransformer(formats))
        ->option_text("FORMAT");
    command->add_option("FILE", request.files, "Files to read")->required()->option_text("...");
    Add_Verbosity(*command, request.verbosity, request.show_values);
    return command;
}

void Add_Files(CLI::App& command, dicom_mend::Mend_Request& request)
{
    command.add_flag("--force", request.force, "Replace an existing output file");
    command.add_option("IN", request.input, "File to read")->required()->option_text(" ");
    command.add_option("OUT", request.output, "File to write")->required()->option_text(" ");
    Add_Verbosity(command, request.verbosity, request.show_values);
}

void Add_Output(CLI::App& command, dicom_mend::Mend_Request& request)
{
    const std::map<std::string, Output_Syntax> syntaxes = {
        {"keep", Output_Syntax::Keep},
        {"implicit-little", Output_Syntax::Implicit_Little},
        {"explicit-little", Output_Syntax::Explicit_Little},
        {"explicit-big", Output_Syntax::Explicit_Big}};
    command
        .add_option("--syntax", request.options.syntax,
                    "Transfer syntax of the output: keep (default), implicit-little, "
                    "explicit-little, explicit-big")
        ->transform(CLI::CheckedTransformer(syntaxes))
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
    Add_Files(command, request);
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
        ->option_text("TAG=VALUE");
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
    const std::map<std::string, dicom_mend::Format> formats = {{"text", dicom_mend::Format::Text},
                                                               {"json", dicom_mend::Format::JSON},
                                                               {"sarif", dicom_mend::Format::SARIF},
                                                               {"html", dicom_mend::Format::HTML}};
    command
        ->add_option(
            "--format", request.format,
            "text (default), json, one object a line, sarif, one SARIF 2.1.0 log, or html, "
            "one page")
        ->transform(CLI::CheckedTransformer(formats))
        ->option_text("FORMAT");
    command
        ->add_option("--module", request.module,
                     "Verify against an IOD: its code, or auto for that of the SOP class")
        ->option_text("CODE");
    command
        ->add_option("--explain", request.explain,
                     "Tell what the IOD says of an attribute, and why it is reported or not")
        ->option_text("TAG|KEYWORD");
    Add_Healing(*command, request.heal);
    command->add_flag("--summary", request.summary, "Count the findings of all files by kind");
    command->add_flag("--study", request.study,
                      "Compare also what must agree in the files of a patient, study, series and "
                      "frame of reference; folders stand for the files in them");
    command->add_option("FILE", request.files, "Files to check")->required()->option_text("...");
    Add_Verbosity(*command, request.verbosity, request.show_values);
    return command;
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
    app.footer(Examples);
    app.require_subcommand(1);
    app.set_version_flag("--version", [] { return std::string(Get_Version_DICOM(nullptr)); });
    dicom_mend::List_Request list;
    dicom_mend::Check_Request check;
    dicom_mend::Mend_Request mend;
    dicom_mend::Mend_Request undo;
    dicom_mend::Mend_Request from_json;
    dicom_mend::Mend_Request complete;
    dicom_mend::Completion completion;
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
