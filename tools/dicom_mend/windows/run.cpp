// A run on Windows: one file after the other, in this process. What needs workers, or a log that outlives a
// process that was killed, is not offered there.
#include "archive/run.h"

#include "archive/file_sum.h"
#include "archive/inputs.h"
#include "archive/layout.h"
#include "archive/run_report.h"
#include "archive/run_state.h"
#include "mend/findings/letters.h"
#include "mend/io/path_parts.h"
#include "mend/io/safe_file.h"
#include "mend/io/spool.h"
#include "mend/io/system_files.h"
#include "mend/io/windows_names.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>

#include <io.h>
#include <windows.h>

namespace dicom_mend {

namespace {

namespace fs = std::filesystem;

std::string Text_Of(const fs::path& path)
{
    const std::u8string text = path.generic_u8string();
    return {text.begin(), text.end()};
}

/** Takes what is printed to standard output, as long as it lives. */
class Taken_Output {
public:
    Taken_Output() : file_(lib_mend::Open_Nameless_File(folder_))
    {
        std::fflush(stdout);
        saved_ = _dup(_fileno(stdout));
        _dup2(file_, _fileno(stdout));
    }
    Taken_Output(const Taken_Output&) = delete;
    Taken_Output& operator=(const Taken_Output&) = delete;
    ~Taken_Output()
    {
        Put_Back();
        _close(file_);
    }

    Printed Text()
    {
        Put_Back();
        std::shared_ptr<Waiting_Room> none;
        return Printed(file_, _lseeki64(file_, 0, SEEK_END), none);
    }

private:
    void Put_Back()
    {
        if (saved_ >= 0) {
            std::fflush(stdout);
            _dup2(saved_, _fileno(stdout));
            _close(std::exchange(saved_, -1));
        }
    }

    std::string folder_;
    int file_;
    int saved_ = -1;
};

/** The option that is not offered; empty when all are. */
const char* Refused(const Run_Options& options)
{
    const std::pair<bool, const char*> needs[] = {
        {options.jobs > 1, "--jobs"},         {!options.walk.list.empty(), "--from-list"},
        {options.walk.shards > 1, "--shard"}, {options.resume, "--resume"},
        {!options.state.empty(), "--state"},  {!options.quarantine.empty(), "--quarantine"},
    };
    const auto* const found = std::find_if(std::begin(needs), std::end(needs),
                                           [](const auto& need) { return need.first; });
    return found != std::end(needs) ? found->second : "";
}

/** Adds the files of a folder and of those in it, but no links, and nothing whose name begins with a dot. */
void Add_Folder(const std::string& path, const std::string& name_in_output,
                std::vector<Work_Item>& items)
{
    std::vector<std::string> folders = {""};
    while (!folders.empty()) {
        const std::string below = std::move(folders.back());
        folders.pop_back();
        WIN32_FIND_DATAW found = {};
        const HANDLE search =
            FindFirstFileW(lib_mend::Wide_Name(path + "/" + below + "*").c_str(), &found);
        BOOL has_more = search != INVALID_HANDLE_VALUE ? TRUE : FALSE;
        for (; has_more != FALSE; has_more = FindNextFileW(search, &found)) {
            const std::string name = below + lib_mend::Narrow_Name(found.cFileName);
            if (found.cFileName[0] == L'.' ||
                (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
                continue;
            }
            if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
                folders.push_back(name + "/");
                continue;
            }
            Work_Item item;
            item.path = path + "/" + name;
            item.relative = name_in_output + name;
            item.is_found = true;
            items.push_back(item);
        }
        if (search != INVALID_HANDLE_VALUE) {
            FindClose(search);
        }
    }
}

/** The files that a path stands for, by their names below it; those of a folder in their order. */
std::vector<Work_Item> Items_Of(const std::string& path, bool is_alone)
{
    std::vector<Work_Item> items;
    if (!lib_mend::Is_Folder(path)) {
        Work_Item item;
        item.path = path;
        item.relative = lib_mend::Name_Of(path);
        items.push_back(item);
        return items;
    }
    // Of several folders, each has one of its name.
    const std::string last = Text_Of(lib_mend::Whole_Path(lib_mend::Native_Path(path)).filename());
    Add_Folder(path, is_alone || last.empty() ? "" : last + "/", items);
    std::sort(items.begin(), items.end(), [](const Work_Item& one, const Work_Item& other) {
        return one.relative < other.relative;
    });
    return items;
}

/** Makes a folder and those around it. */
void Make_Folders(const std::string& path)
{
    const std::size_t end = path.find_last_not_of(lib_mend::Path_Separators) + 1;
    const std::string folder = path.substr(0, end);
    const auto make = [&folder] {
        return CreateDirectoryW(lib_mend::Wide_Name(folder).c_str(), nullptr) != 0;
    };
    const std::size_t separator = folder.find_last_of(lib_mend::Path_Separators);
    if (!make() && GetLastError() == ERROR_PATH_NOT_FOUND && separator != folder.npos) {
        Make_Folders(folder.substr(0, separator));
        make();
    }
}

/** Puts an output into its place below the folder. */
void Place(const Run_Options& options, const Inputs& inputs, const std::string& staged,
           std::set<std::string>& taken, File_Record& record)
{
    const std::string wanted = record.layout.empty() ? record.relative : record.layout;
    std::string name = wanted;
    for (int number = 2; !taken.insert(name).second; ++number) {
        name = Numbered(wanted, number);
    }
    if (name != wanted) {
        Add_Finding(record, lib_mend::Fault::Name_Taken, lib_mend::Level::Kept,
                    "another file has its name; a number tells them apart");
    }
    const std::string output = options.to + "/" + name;
    Make_Folders(lib_mend::Folder_Of(output));
    std::string fault = lib_mend::Is_Same_File(record.path, output)
                            ? "is the input, which is never overwritten"
                            : lib_mend::Target_Fault(output, options.force);
    if (fault.empty() && inputs.Hold(output) && lib_mend::File_Size(output) >= 0) {
        fault = "stands in the input, where nothing is replaced";
    }
    if (fault.empty()) {
        std::error_code error;
        fs::rename(lib_mend::Native_Path(staged), lib_mend::Native_Path(output), error);
        fault = error ? error.message() : "";
    }
    if (fault.empty()) {
        record.output = output;
        return;
    }
    lib_mend::Remove_File(staged);
    Add_Finding(record, lib_mend::Fault::Not_Written, lib_mend::Level::Error,
                "cannot be written to " +
                    (record.layout.empty() ? output : "its place in the layout") + ": " + fault +
                    (fault == "exists already" ? "; --force replaces it" : ""));
    record.has_output = false;
}

}  // namespace

Printed::Printed(int descriptor, std::int64_t size, std::shared_ptr<Waiting_Room>&)
    : text_(static_cast<std::size_t>(size), '\0')
{
    for (std::size_t at = 0; at < text_.size();) {
        const std::int64_t count = lib_mend::Read_At(
            descriptor, text_.data() + at, text_.size() - at, static_cast<std::int64_t>(at));
        if (count <= 0) {
            throw std::runtime_error("what was printed cannot be read");
        }
        at += static_cast<std::size_t>(count);
    }
}

void Printed::Print() const
{
    std::fwrite(text_.data(), 1, text_.size(), stdout);
}

Waiting_Room::~Waiting_Room() = default;

Run_Log::~Run_Log() = default;

bool Run_State::Read(const std::string&, const std::function<void(File_Record&&)>&, bool&)
{
    return false;
}

bool Can_Be_Read_Again(const std::string& path)
{
    return lib_mend::File_Size(path) >= 0;
}

Exit_Status Run_Files(const Run_Options& options, const File_Work& work, const Run_Teller& tell,
                      Comparison* comparison)
{
    std::string refused = Refused(options);
    refused = refused.empty() ? Refusal_Of(options) : refused + " is not offered on Windows";
    if (!refused.empty()) {
        std::fprintf(stderr, "%s\n", lib_mend::Printable(refused).c_str());
        return Exit_Failure;
    }
    const Inputs inputs(options.walk.paths);
    lib_mend::Findings unasked;
    const lib_mend::Library_Session session(unasked);
    Run_Report report;
    std::string fault;
    if (!options.report.empty()) {
        fault = report.Open(options.report, options.command, options.show_values, options.force);
    }
    if (!fault.empty()) {
        Report_Failure(options.report, fault);
        return Exit_Failure;
    }
    Exit_Status status = Exit_Clean;
    Totals totals;
    std::set<std::string> taken;
    const std::string staged = options.to + "/.dicom-mend-staged";
    if (!options.to.empty()) {
        Make_Folders(options.to);
    }
    const auto add = [&](const File_Record& record) {
        tell(record);
        status = std::max(status, record.status);
        totals.Add(record);
        if (report.Is_Open()) {
            report.Add(record);
        }
    };
    std::optional<Held_Files> held;
    if (comparison != nullptr) {
        held.emplace(*comparison);
    }
    std::uint64_t index = 0;
    for (const std::string& path : options.walk.paths) {
        for (Work_Item& item : Items_Of(path, options.walk.paths.size() == 1)) {
            item.index = index++;
            item.staged = options.to.empty() ? "" : staged;
            File_Record record;
            record.path = item.path;
            record.relative = item.relative;
            record.size = lib_mend::File_Size(item.path);
            Taken_Output output;
            work(item, record);
            record.printed = output.Text();
            record.found = record.findings.size();
            if (record.has_output) {
                Place(options, inputs, staged, taken, record);
            }
            if (held) {
                held->Hold(record, false, false, true);
            } else {
                add(record);
            }
        }
    }
    if (held) {
        held->Release(true, options.show_values, [&](Held_File&& file) { add(file.record); });
    }
    fault = report.Is_Open() ? report.Close(totals, true) : std::string();
    if (!fault.empty()) {
        Report_Failure(options.report, fault);
        status = Exit_Failure;
    }
    if (options.verbosity != Verbosity::Quiet) {
        std::fprintf(stderr, "%s\n", Totals_Text(totals).c_str());
    }
    return status;
}

}  // namespace dicom_mend
