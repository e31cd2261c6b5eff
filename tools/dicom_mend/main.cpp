// The command line of dicom-mend.
#include "command_faults.h"
#include "definition_names.h"
#include "help_text.h"
#include "manual.h"
#include "mend/findings/letters.h"
#include "options/command.h"
#include "process.h"
#include "word_completion.h"

#include <CLI/CLI.hpp>
#include <Lib_DICOM_Mend/dicom_mend.h>

#include <cstdio>
#include <exception>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <zlib.h>

namespace {

using dicom_mend::Command;
using dicom_mend::Exit_Status;

constexpr char Description[] =
    "Reads damaged DICOM files, says what is wrong with them, and writes "
    "clean Part 10 files.";
constexpr char Foot[] =
    "dicom-mend help COMMAND shows the options of a command, with examples.\n"
    "\n"
    "Findings go to standard error, one a line, those of check to standard output.\n"
    "Exit status: 0 nothing to report, 1 findings, 2 something could not be read or\n"
    "written.";
constexpr char Help[] = "help";
/** The heading over the commands. */
constexpr char Commands[] = "Commands";

#ifdef __clang__
constexpr char Compiler[] = "Clang " __clang_version__;
#else
constexpr char Compiler[] = "GCC " __VERSION__;
#endif

/** Adds the options of the commands that have a name; of all for an empty one. */
dicom_mend::Run_Command Set_Up(CLI::App& app, const std::string& name)
{
    dicom_mend::Run_Command run;
    for (const Command& command : dicom_mend::All_Commands()) {
        if (name.empty() || name == command.name) {
            run = command.set_up(*app.get_subcommand(command.name));
        }
    }
    return run;
}

Exit_Status Print_Help(CLI::App& app, const std::string& name)
{
    const std::string unknown = dicom_mend::Unknown_Word(app, {name});
    if (!name.empty() && !unknown.empty()) {
        std::fprintf(stderr, "%s\n", lib_mend::Printable(unknown).c_str());
        return dicom_mend::Exit_Failure;
    }
    // The help of what was on the command line would be shown otherwise.
    app.clear();
    if (!name.empty()) {
        Set_Up(app, name);
    }
    const CLI::App& shown = name.empty() ? app : *app.get_subcommand(name);
    std::fputs(shown.help(name.empty() ? "" : "dicom-mend").c_str(), stdout);
    return dicom_mend::Finish_Output(dicom_mend::Exit_Clean);
}

/**
 * Answers what no person asks: the build for the manual, the shells for what a word may become.
 *
 * @return false when it is an ordinary command line
 */
bool Answer_Program(CLI::App& app, const std::vector<std::string>& words, Exit_Status& status)
{
    if (words.size() == 2 && words.front() == "--manual") {
        Set_Up(app, {});
        status = dicom_mend::Write_Manual(app, words.back());
        return true;
    }
    if (!words.empty() && words.front() == "--completions") {
        const std::vector<std::string> typed(words.begin() + 1, words.end());
        Set_Up(app, typed.empty() ? std::string() : typed.front());
        std::fputs(dicom_mend::Completions(app, typed).c_str(), stdout);
        status = dicom_mend::Finish_Output(dicom_mend::Exit_Clean);
        return true;
    }
    return false;
}

/** Says what is wrong with a command line, in lines of letters that can be seen. */
Exit_Status Refuse(const std::string& why)
{
    std::istringstream lines(why);
    for (std::string line; std::getline(lines, line);) {
        std::fprintf(stderr, "%s\n", lib_mend::Printable(line).c_str());
    }
    std::fputs("Run with --help for more information.\n", stderr);
    return dicom_mend::Exit_Failure;
}

Exit_Status Answer(CLI::App& app, const std::vector<std::string>& words)
{
    std::string helped;
    app.get_subcommand(Help)
        ->add_option("COMMAND", helped, "Name of the command")
        ->option_text(" ");
    const std::string asked = words.empty() ? std::string() : words.front();
    Exit_Status status = dicom_mend::Exit_Clean;
    if (Answer_Program(app, words, status)) {
        return status;
    }
    const dicom_mend::Run_Command run =
        asked.empty() ? dicom_mend::Run_Command() : Set_Up(app, asked);
    const std::string unknown = dicom_mend::Unknown_Word(app, words);
    if (!unknown.empty()) {
        return Refuse(unknown);
    }
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::ExtrasError&) {
        return Refuse(dicom_mend::Word_Too_Many(*app.get_subcommand(asked)));
    } catch (const CLI::ArgumentMismatch& error) {
        return Refuse(dicom_mend::Wrong_Number(*app.get_subcommand(asked), error.what()));
    } catch (const CLI::ParseError& error) {
        // Help and the version come this way too.
        return error.get_exit_code() != 0 ? Refuse(error.what())
               : app.exit(error) == 0     ? dicom_mend::Exit_Clean
                                          : dicom_mend::Exit_Failure;
    }
    return asked == Help ? Print_Help(app, helped) : run();
}

Exit_Status Run(const std::vector<std::string>& words)
{
    // Options name elements before any file is read.
    DICOM_Flag_Current_Standard = 1;
    CLI::App app(Description, "dicom-mend");
    const auto format = std::make_shared<dicom_mend::Help_Format>();
    format->label("Positionals", "Operands");
    app.formatter(format);
    app.footer(Foot);
    app.require_subcommand(1);
    // Options are the same everywhere; a slash begins a path.
    app.allow_windows_style_options(false);
    app.set_version_flag("--version", [] {
        // The library calls itself by the name that it has on one system.
        std::string library = Get_Version_DICOM(nullptr);
        constexpr std::string_view Ending = ".dll";
        if (const std::size_t at = library.find(Ending); at != library.npos) {
            library.erase(at, Ending.size());
        }
        return std::string("dicom-mend ") + DICOM_MEND_VERSION + "\nwith " + library + ", zlib " +
               zlibVersion() + ", compiled by " + Compiler + "\ndefinitions in " +
               dicom_mend::Definition_Directory();
    });
    for (const Command& command : dicom_mend::All_Commands()) {
        app.add_subcommand(command.name, command.description)
            ->group(Commands)
            ->footer(command.foot);
    }
    app.add_subcommand(Help, "Show the options of a command")
        ->group(Commands)
        ->footer("Examples:\n"
                 "  dicom-mend help mend\n"
                 "\n"
                 "The help goes to standard output.");
    const Exit_Status status = Answer(app, words);
    DICOM_Lib_Cleanup();
    return status;
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        return Run(dicom_mend::Start_Tool(argc, argv));
    } catch (const std::bad_alloc&) {
        std::fputs("dicom-mend: error: there is not enough memory\n", stderr);
        return dicom_mend::Exit_Failure;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "dicom-mend: error: %s\n", error.what());
        return dicom_mend::Exit_Failure;
    }
}
