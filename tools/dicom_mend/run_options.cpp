#include "run_options.h"

#include "mend/io/system_files.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>

namespace dicom_mend {

namespace {

/** "2/8": the part and the number of parts. */
std::string Take_Shard(const std::string& text, Walk_Options& walk)
{
    std::uint64_t shard = 0;
    std::uint64_t shards = 0;
    const char* const end = text.data() + text.size();
    const auto [slash, bad_part] = std::from_chars(text.data(), end, shard);
    const bool has_slash = bad_part == std::errc() && slash != end && *slash == '/';
    const auto [behind, bad_number] = std::from_chars(has_slash ? slash + 1 : end, end, shards);
    if (!has_slash || bad_number != std::errc() || behind != end || shard == 0 || shard > shards) {
        return "has to be K/N, the part and the number of parts, for example 2/8";
    }
    walk.shard = shard;
    walk.shards = shards;
    return {};
}

/** The options that decide about outputs: a run has to go on with the same ones. */
std::string Terms_Of(const CLI::App& command, const Run_Options& run)
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
    terms += "\n" + lib_mend::Whole_Path(lib_mend::Native_Path(run.to)).string();
    for (const std::string& path : run.walk.paths) {
        terms += "\n" + lib_mend::Whole_Path(lib_mend::Native_Path(path)).string();
    }
    return terms;
}

}  // namespace

void Add_Run(CLI::App& command, Run_Options& run)
{
    command
        .add_option("--jobs", run.jobs,
                    "Number of worker processes; the number of cores by default")
        ->check([](const std::string& text) {
            constexpr int Most = 1024;
            int jobs = 0;
            const char* const end = text.data() + text.size();
            const auto [stop, error] = std::from_chars(text.data(), end, jobs);
            return error != std::errc() || stop != end || jobs < 1 || jobs > Most
                       ? "\"" + text + "\" has to be a number from 1 to " + std::to_string(Most)
                       : std::string();
        })
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

void Add_Record(CLI::App& command, Run_Options& run, const char* place)
{
    command
        .add_option("--report", run.report,
                    "File for what became of each file, and totals: .jsonl, .csv, .sarif or .html")
        ->option_text("FILE");
    command.add_option("--state", run.state, std::string("File for the state of the run") + place)
        ->option_text("FILE");
    command.add_flag("--resume", run.resume, "Go on with a run that was interrupted or killed");
}

void Check_Run(const CLI::App& command, Run_Options& run)
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
    // The state holds them, and nothing else.
    run.terms = run.State_Path().empty() ? std::string() : Terms_Of(command, run);
}

}  // namespace dicom_mend
