#include "commands.h"
#include "list.h"
#include "mend/findings/letters.h"
#include "pager.h"
#include "terminal.h"

#include <cstdio>
#include <optional>
#include <string>
#include <utility>

#include <unistd.h>

namespace dicom_mend {

namespace {

void List_File(const Work_Item& item, const List_Request& request, const Terminal& terminal,
               bool is_last, File_Record& record)
{
    lib_mend::Findings findings;
    const lib_mend::Library_Session session(findings);
    std::optional<lib_mend::Data_Set> read = Read_Item(item, findings, record);
    if (!read) {
        return;
    }
    lib_mend::Data_Set& set = *read;
    const Selection selection(set, request.selection);
    const std::string name = request.run.Asks_For_Run() || request.run.walk.paths.size() > 1
                                 ? lib_mend::Printable(Name_Of(item.path))
                                 : std::string();
    if (request.format == List_Format::TSV) {
        Print_TSV(set, selection, name.empty() ? name : name + "\t");
    } else if (request.format == List_Format::JSON) {
        Print_JSON(set, selection, findings);
    } else {
        if (!name.empty()) {
            std::printf("%s\n", name.c_str());
        }
        Print_Text(set, selection, terminal);
    }
    if (selection.Is_Empty() && !request.run.Asks_For_Run() && !set.foreign) {
        std::fflush(stdout);
        std::fprintf(stderr, "%s: there is nothing to show of what is asked for\n",
                     lib_mend::Printable(Name_Of(item.path)).c_str());
    }
    if (request.run.Asks_For_Run()) {
        Describe(set, findings, record);
    } else {
        Take_Findings(findings, record);
    }
    if (is_last) {
        Keep_To_The_End(std::move(set));
    }
}

}  // namespace

Exit_Status Run_List(const List_Request& request)
{
    const Terminal terminal = Look_At(STDOUT_FILENO, request.looks.colours);
    std::optional<Pager> pager;
    if (!request.run.Asks_For_Run()) {
        pager.emplace(terminal, request.looks);
    }
    const bool is_json = request.format == List_Format::JSON;
    const bool is_array =
        is_json && (request.run.walk.paths.size() != 1 || request.run.Asks_For_Run());
    const char* separator = is_array ? "[\n" : "";
    const auto work = [&](const Work_Item& item, File_Record& record, bool is_last) {
        if (!request.run.Asks_For_Run()) {
            std::fputs(separator, stdout);
        }
        List_File(item, request, terminal, is_last, record);
    };
    const auto tell = [&](const File_Record& record) {
        if (record.is_foreign) {
            return;
        }
        if (request.run.Asks_For_Run()) {
            std::fputs(separator, stdout);
        }
        separator = is_array ? ",\n" : "";
        // A worker that died has printed nothing either.
        const bool is_missing =
            !record.failure.empty() || (request.run.Asks_For_Run() && record.printed.Is_Empty());
        std::fputs(is_json && is_missing ? "null" : "", stdout);
        record.printed.Print();
        Report(record, request.run.verbosity, request.run.show_values);
    };
    Run_Options run = request.run;
    run.prints = true;
    const Exit_Status status = Go_Through(run, work, tell);
    const bool is_empty = is_array && *separator == '[';
    std::fputs(is_empty ? "[\n]\n" : is_array ? "\n]\n" : is_json ? "\n" : "", stdout);
    return pager ? pager->Finish(status) : Finish_Output(status);
}

}  // namespace dicom_mend
