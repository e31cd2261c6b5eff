// The commands that read files and write none.
#include "check.h"
#include "command_faults.h"
#include "commands.h"
#include "diff.h"
#include "options/command.h"
#include "options/common.h"
#include "report_command.h"
#include "run_options.h"

#include <memory>

namespace dicom_mend {

Run_Command Set_Up_List(CLI::App& command)
{
    const auto request = std::make_shared<List_Request>();
    const std::vector<std::pair<const char*, List_Format>> formats = {
        {"text", List_Format::Text}, {"tsv", List_Format::TSV}, {"json", List_Format::JSON}};
    command
        .add_option("--format", request->format,
                    "text (default), tsv, or json, the DICOM JSON model")
        ->transform(Choice(formats))
        ->option_text("FORMAT");
    command
        .add_option("--only", request->selection.only,
                    "Show this attribute alone, wherever it stands, or the one that a path leads "
                    "to; may be given several times")
        ->check(Path_Fault)
        ->take_all()
        ->expected(1)
        ->allow_extra_args(false)
        ->option_text("TAG|KEYWORD|PATH");
    command
        .add_option("--depth", request->selection.depth,
                    "Levels of sequences that are opened; 0 shows none of their items")
        ->check([](const std::string& text) {
            return text.empty() || text.find_first_not_of("0123456789") != text.npos ||
                           text.size() > 9
                       ? "\"" + text + "\" has to be a number of levels, 0 or more"
                       : std::string();
        })
        ->option_text("N");
    Add_Looks(command, request->looks);
    command
        .add_option("FILE", request->run.walk.paths,
                    "Files to read, folders, or - for standard input")
        ->option_text("...");
    Add_Run(command, request->run);
    Add_Verbosity(command, request->run);
    command.final_callback([&command, request] { Check_Run(command, request->run); });
    return [request] {
        return Run_List(*request);
    };
}

Run_Command Set_Up_Check(CLI::App& command)
{
    const auto request = std::make_shared<Check_Request>();
    const std::vector<std::pair<const char*, Format>> formats = {{"text", Format::Text},
                                                                 {"json", Format::JSON},
                                                                 {"sarif", Format::SARIF},
                                                                 {"html", Format::HTML}};
    command
        .add_option("--format", request->format,
                    "text (default), json, one object a line, sarif, one SARIF 2.1.0 log, or html, "
                    "one page")
        ->transform(Choice(formats))
        ->option_text("FORMAT");
    Add_Module(command, request->module,
               "Verify against an IOD: its code, or auto for that of the SOP class");
    command
        .add_option("--explain", request->explain,
                    "Tell what the IOD says of an attribute, wherever it stands or where a path "
                    "leads to, and why it is reported or not")
        ->check(Path_Fault)
        ->option_text("TAG|KEYWORD|PATH");
    Add_Healing(command, request->heal);
    command.add_flag("--summary", request->summary, "Count the findings of all files by kind");
    command.add_flag("--study", request->study,
                     "Compare also what must agree in the files of a patient, study, series and "
                     "frame of reference");
    command
        .add_option("FILE", request->run.walk.paths,
                    "Files to check, folders, or - for standard input")
        ->option_text("...");
    Add_Run(command, request->run);
    Add_Record(command, request->run, "");
    Add_Verbosity(command, request->run);
    command.final_callback([&command, request] { Check_Run(command, request->run); });
    return [request] {
        return Run_Check(*request);
    };
}

Run_Command Set_Up_Diff(CLI::App& command)
{
    const auto request = std::make_shared<Diff_Request>();
    const std::vector<std::pair<const char*, Diff_Format>> formats = {{"text", Diff_Format::Text},
                                                                      {"json", Diff_Format::JSON}};
    command.add_option("--format", request->format, "text (default), or json, one object a line")
        ->transform(Choice(formats))
        ->option_text("FORMAT");
    Add_Looks(command, request->looks);
    command.add_option("FILE", request->files, "The two files; - is standard input")
        ->expected(0, 2)
        ->option_text("A B");
    command.final_callback([request] {
        if (request->files.size() != 2) {
            throw CLI::ValidationError("A and B are required");
        }
    });
    return [request] {
        return Run_Diff(*request);
    };
}

Run_Command Set_Up_Report(CLI::App& command)
{
    const auto request = std::make_shared<Report_Request>();
    command.add_flag("--json", request->json, "Print the totals as an object of JSON");
    command
        .add_option("--to", request->to,
                    "File for the records of all runs: .jsonl, .csv, .sarif or .html")
        ->option_text("FILE");
    command.add_flag("--force", request->force, "Replace an existing FILE");
    command.add_flag("--show-values", request->show_values,
                     "Quote values in FILE that may identify a person");
    command
        .add_flag("-v,--verbose", request->verbose,
                  "Take from states also what is worth knowing but no fault")
        ->option_text(" ");
    command
        .add_option("RUN", request->runs,
                    "Reports in JSON lines, states of runs, or folders that runs wrote to")
        ->required()
        ->option_text("...");
    return [request] {
        return Run_Report_Command(*request);
    };
}

}  // namespace dicom_mend
