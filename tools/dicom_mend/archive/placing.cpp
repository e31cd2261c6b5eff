#include "archive/placing.h"

#include "archive/file_sum.h"
#include "archive/layout.h"
#include "archive/processes.h"
#include "mend/findings/json_text.h"
#include "mend/findings/report_json.h"
#include "mend/io/safe_file.h"
#include "mend/io/source.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <span>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dicom_mend {

namespace {

namespace fs = std::filesystem;

constexpr char Exists[] = "exists already";

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

}  // namespace

std::string Make_Folders(const std::string& path)
{
    std::error_code error;
    fs::create_directories(path, error);
    return error ? error.message() : std::string();
}

Placing::Placing(std::string folder, std::string work, const std::vector<std::string>& inputs,
                 bool force, bool shared)
    : folder_(std::move(folder)), work_(std::move(work)), force_(force), shared_(shared),
      inputs_(inputs)
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
    std::string error;
    for (std::uint64_t i = 0; i < Folders && error.empty(); ++i) {
        error = Make_Folders(work_ + "/" + std::to_string(i));
    }
    if (error.empty() && work_folder_ < 0) {
        work_folder_ = open(work_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        error = work_folder_ < 0            ? std::strerror(errno)
                : !Lock_Alone(work_folder_) ? "a run is at work there"
                                            : "";
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

void Placing::Take_Place(const std::string& path)
{
    if (!folder_.empty() && Stands_In(path, folder_)) {
        taken_.insert(std::hash<std::string>()(
            Place_Of(path).lexically_relative(Place_Of(folder_)).string()));
    }
}

void Placing::Clear_Work() const
{
    std::error_code error;
    fs::remove_all(work_, error);
}

bool Placing::Is_In_Place(const File_Record& record)
{
    struct stat status = {};
    return !record.has_output || (lstat(record.output.c_str(), &status) == 0 &&
                                  S_ISREG(status.st_mode) && status.st_size == record.output_size);
}

bool Placing::Is_Own(const std::string& path, std::int64_t size)
{
    struct stat status = {};
    return lstat(path.c_str(), &status) != 0 ||
           (S_ISREG(status.st_mode) && (status.st_size == size || status.st_size == 0));
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
        return {};
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
    const std::string wanted = record.layout.empty() ? record.relative : record.layout;
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
    if ((name != wanted || (is_numbered && record.layout.empty())) && !is_said) {
        Add_Finding(record, lib_mend::Fault::Name_Taken, lib_mend::Level::Kept,
                    "another file has its name; a number tells them apart");
    }
}

Placing::Outcome Placing::Place(File_Record& record, const std::string& staged, bool is_own)
{
    const std::string error = Put(staged, record.output, record.path, is_own);
    if (error.empty()) {
        return Outcome::In_Place;
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
