#include "archive/placing.h"

#include "archive/file_sum.h"
#include "archive/layout.h"
#include "archive/processes.h"
#include "mend/findings/json_text.h"
#include "mend/findings/report_json.h"
#include "mend/io/safe_file.h"
#include "mend/io/source.h"
#include "mend/io/system_files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <span>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dicom_mend {

namespace {

namespace fs = std::filesystem;

constexpr char Exists[] = "exists already";
constexpr char Same_Bytes[] = "was there";
/** What a run makes for itself begins so. */
constexpr std::string_view Own_Names = ".dicom-mend";

bool Is_Same_Content(const std::string& path, const std::string& other)
{
    std::string error;
    const std::shared_ptr<lib_mend::Source> first = lib_mend::Source::Open(path, error, 0);
    const std::shared_ptr<lib_mend::Source> second = lib_mend::Source::Open(other, error, 0);
    if (first == nullptr || second == nullptr || first->Size() != second->Size()) {
        return false;
    }
    constexpr std::size_t Together = std::size_t{1} << 16;
    lib_mend::Bytes one(Together);
    lib_mend::Bytes two(Together);
    std::int64_t at = 0;
    while (at < first->Size()) {
        const std::size_t count = first->Read(at, one);
        if (count == 0 || second->Read(at, std::span(two).first(count)) != count ||
            !std::equal(one.begin(), one.begin() + static_cast<std::ptrdiff_t>(count),
                        two.begin())) {
            return false;
        }
        at += static_cast<std::int64_t>(count);
    }
    return true;
}

bool Is_Staged_Name(const std::string& name)
{
    return name.find_first_not_of("0123456789-") == name.npos;
}

}  // namespace

std::int64_t Modified_Of(const std::string& path)
{
    constexpr std::int64_t Nanoseconds = 1'000'000'000;
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0
               ? status.st_mtim.tv_sec * Nanoseconds + status.st_mtim.tv_nsec
               : 0;
}

std::string Make_Folders(const std::string& path)
{
    std::error_code error;
    fs::create_directories(path, error);
    return error ? error.message() : std::string();
}

Placing::Placing(std::string folder, std::string work, const std::vector<std::string>& inputs,
                 bool force, bool shared)
    : folder_(std::move(folder)), work_(std::move(work)), force_(force), shared_(shared),
      // Who writes nothing is in nobody's way.
      inputs_(folder_.empty() ? std::vector<std::string>() : inputs)
{
}

std::string Placing::Staged(const std::string& session, std::uint64_t index) const
{
    return work_ + "/" + std::to_string(index % Folders) + "/" + session + "-" +
           std::to_string(index);
}

Placing::~Placing()
{
    if (work_folder_ >= 0) {
        close(work_folder_);
    }
}

std::string Placing::Make_Work()
{
    constexpr int Tries = 100;
    for (int i = 0; i < Tries && work_folder_ < 0; ++i) {
        const std::string error = Make_Folders(work_);
        if (!error.empty()) {
            return error;
        }
        work_folder_ = open(work_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (work_folder_ < 0) {
            return std::strerror(errno);
        }
        if (!Lock_Alone(work_folder_)) {
            return "a run is at work there";
        }
        struct stat held = {};
        struct stat there = {};
        if (fstat(work_folder_, &held) != 0 || lstat(work_.c_str(), &there) != 0 ||
            held.st_ino != there.st_ino || held.st_dev != there.st_dev) {
            // The run that was at work there has taken it away when it ended.
            close(std::exchange(work_folder_, -1));
        }
    }
    std::string error = work_folder_ < 0 ? "runs end there one after the other" : "";
    for (std::uint64_t i = 0; i < Folders && error.empty(); ++i) {
        error = Make_Folders(work_ + "/" + std::to_string(i));
    }
    return error;
}

void Placing::Unmake_Work() const
{
    for (std::uint64_t i = 0; i < Folders; ++i) {
        rmdir((work_ + "/" + std::to_string(i)).c_str());
    }
    rmdir(work_.c_str());
}

void Placing::Clear_Work() const
{
    std::error_code error;
    for (std::uint64_t i = 0; i < Folders; ++i) {
        fs::directory_iterator entry(work_ + "/" + std::to_string(i), error);
        for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
            // Whatever else stands there is not the run's to take away.
            if (Is_Staged_Name(entry->path().filename().string())) {
                unlink(entry->path().c_str());
            }
        }
    }
    Unmake_Work();
}

void Placing::Take_Place(const std::string& path)
{
    if (!folder_.empty() && Stands_In(path, folder_)) {
        taken_.insert(std::hash<std::string>()(
            Place_Of(path).lexically_relative(Place_Of(folder_)).string()));
    }
}

bool Placing::Is_In_Place(const Own_Output& own)
{
    struct stat status = {};
    return lstat(own.path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           status.st_size == own.size && Modified_Of(own.path) == own.modified;
}

bool Placing::Is_Own(const Own_Output& own)
{
    struct stat status = {};
    return lstat(own.path.c_str(), &status) != 0 ||
           (S_ISREG(status.st_mode) && status.st_size == 0) || Is_In_Place(own);
}

std::string Placing::Put(const std::string& staged, const std::string& path,
                         const std::string& input, bool is_own)
{
    const std::string around = path.substr(0, path.find_last_of('/'));
    // A link may lead out of OUT_DIR by now, where nothing is the run's own.
    const bool is_ours = is_own && Stands_In(around, folder_);
    // What stands there may be of another shard, whatever the log of this one says.
    const bool replace = !shared_ && (force_ || is_ours);
    if (around != last_folder_) {
        std::string error = Make_Folders(around);
        if (!error.empty()) {
            return "its folder cannot be made: " + error;
        }
        last_folder_ = around;
    }
    if (!replace) {
        if (renameat2(AT_FDCWD, staged.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0) {
            return {};
        }
        // Some file systems do not know the flag; a second name is never put over another file.
        if ((errno == EINVAL || errno == ENOSYS) && link(staged.c_str(), path.c_str()) == 0) {
            unlink(staged.c_str());
            return {};
        }
        if (errno != EEXIST) {
            return std::strerror(errno);
        }
        // Another shard may have put a twin there, which counts for itself.
        if ((shared_ && !is_ours) || !Can_Be_Read_Again(path) || !Is_Same_Content(staged, path)) {
            return Exists;
        }
        // Where the machine lost power, the log may know less than the folder.
        unlink(staged.c_str());
        return Same_Bytes;
    }
    const std::string fault = lib_mend::Target_Fault(path, true);
    std::error_code error;
    if (!is_ours && fs::exists(path, error) && inputs_.Hold_Entry(path)) {
        return "stands in the input, where nothing is replaced";
    }
    if (lib_mend::Is_Same_File(input, path)) {
        return "is the input, which is never overwritten";
    }
    if (!fault.empty()) {
        return fault;
    }
    return rename(staged.c_str(), path.c_str()) == 0 ? "" : std::strerror(errno);
}

void Placing::Choose(File_Record& record, const std::string& own, bool is_numbered)
{
    constexpr int Most = 1'000'000;
    std::string wanted = record.layout.empty() ? record.relative : record.layout;
    const bool is_reserved = wanted.starts_with(Own_Names);
    wanted.insert(0, is_reserved ? "_" : "");
    std::string name = wanted;
    const auto is_taken = [&] {
        const std::string path = folder_ + "/" + name;
        return path != own && taken_.contains(std::hash<std::string>()(name));
    };
    for (int number = 2; is_taken() && number < Most; ++number) {
        name = Numbered(wanted, number);
    }
    record.output = folder_ + "/" + name;
    taken_.insert(std::hash<std::string>()(name));
    const bool is_said =
        !record.findings.empty() && record.findings.back().fault == lib_mend::Fault::Name_Taken;
    if (is_reserved && !is_said) {
        Add_Finding(
            record, lib_mend::Fault::Name_Taken, lib_mend::Level::Kept,
            "what a run makes for itself has names that begin so; an underscore tells them apart");
    } else if ((name != wanted || (is_numbered && record.layout.empty())) && !is_said) {
        Add_Finding(record, lib_mend::Fault::Name_Taken, lib_mend::Level::Kept,
                    "another file has its name; a number tells them apart");
    }
}

Placing::Outcome Placing::Place(File_Record& record, const std::string& staged, bool is_own)
{
    const std::string error = Put(staged, record.output, record.path, is_own);
    if (error.empty() || error == Same_Bytes) {
        return error.empty() ? Outcome::In_Place : Outcome::Was_There;
    }
    if (shared_ && error == Exists) {
        return Outcome::Taken;
    }
    unlink(staged.c_str());
    // A layout makes names of values, which may tell who somebody is.
    Add_Finding(record, lib_mend::Fault::Not_Written, lib_mend::Level::Error,
                "cannot be written to " +
                    (record.layout.empty() ? record.output : "its place in the layout") + ": " +
                    error + (error == Exists ? "; --force replaces it" : ""));
    record.output.clear();
    record.has_output = false;
    return Outcome::Failed;
}

}  // namespace dicom_mend
