#include "archive/quarantine.h"

#include "archive/file_sum.h"
#include "archive/layout.h"
#include "archive/placing.h"
#include "mend/findings/json_text.h"
#include "mend/findings/report_json.h"
#include "mend/io/safe_file.h"
#include "mend/io/source.h"

#include <filesystem>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <span>
#include <string_view>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace dicom_mend {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view Ending = ".findings.jsonl";

/** Where the copy of a file stands, and its findings: names have room for an ending. */
struct Copy_Names {
    Copy_Names(const std::string& folder, const File_Record& record) : copy(folder)
    {
        constexpr std::size_t Longest = 255;
        std::string name;
        for (const fs::path& part : fs::path(record.relative)) {
            name = part.string();
            // What is called like the findings of another file stands beside them.
            if (name.substr(0, name.find_last_not_of('~') + 1).ends_with(Ending)) {
                name = (name.size() < Longest ? name : Cut_Name(name, Longest - 1)) + '~';
            }
            copy += "/" + name;
        }
        findings = copy.substr(0, copy.size() - name.size());
        findings +=
            name.size() + Ending.size() <= Longest ? name : Cut_Name(name, Longest - Ending.size());
        findings += Ending;
    }

    std::string copy;
    std::string findings;
};

bool Is_There(const std::string& path)
{
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0;
}

std::string Findings_Text(const File_Record& record, bool show_values)
{
    std::string lines;
    if (!record.failure.empty()) {
        lines += "{\"file\":" + lib_mend::JSON_Name(record.path) +
                 ",\"severity\":\"error\",\"text\":" + lib_mend::JSON_Text(record.failure) + "}\n";
    }
    for (const lib_mend::Finding& finding : record.findings) {
        lines += Finding_JSON(record.path, finding, show_values) + "\n";
    }
    return lines;
}

/** Gives the bytes of a file, by the system itself where it can. */
bool Give(const lib_mend::Source& source, const lib_mend::File_Taker& taker)
{
    lib_mend::Bytes block(std::size_t{1} << 20);
    std::int64_t at =
        source.Descriptor() >= 0 ? taker.copy(source.Descriptor(), 0, source.Size()) : 0;
    while (at < source.Size()) {
        const std::size_t count = source.Read(at, block);
        if (count == 0 || !taker.take(std::span(block).first(count))) {
            return false;
        }
        at += static_cast<std::int64_t>(count);
    }
    return true;
}

}  // namespace

void Quarantine::Clear_Copies() const
{
    std::error_code error;
    for (fs::recursive_directory_iterator entry(folder_, error);
         !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        if (entry->path().filename().string().starts_with(".dicom-mend-")) {
            unlink(entry->path().c_str());
        }
    }
}

/** No link leads to another place. */
bool Quarantine::Is_Inside(const std::string& path) const
{
    return Stands_In(path.substr(0, path.find_last_of('/')), folder_) && !inputs_.Hold_Entry(path);
}

bool Quarantine::Has(const File_Record& record, bool show_values) const
{
    const Copy_Names names(folder_, record);
    const auto has_size = [](const std::string& path, std::int64_t size) {
        struct stat status = {};
        return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
               status.st_size == size;
    };
    return has_size(names.copy, record.size) &&
           has_size(names.findings, std::ssize(Findings_Text(record, show_values)));
}

std::string Quarantine::Take(const File_Record& record, bool show_values) const
{
    const Copy_Names names(folder_, record);
    std::string error = Make_Folders(names.copy.substr(0, names.copy.find_last_of('/')));
    if (!error.empty()) {
        return error;
    }
    if (!Is_Inside(names.copy)) {
        return "its place leads out of the folder, or into the inputs, where nothing is replaced";
    }
    const std::string lines = Findings_Text(record, show_values);
    const std::span<const unsigned char> bytes(reinterpret_cast<const unsigned char*>(lines.data()),
                                               lines.size());
    error = lib_mend::Write_Safely(names.findings, {bytes}, true);
    if (!error.empty()) {
        return "the findings: " + error;
    }
    // What cannot be read is said already.
    const bool is_said = !record.failure.empty();
    if (!Can_Be_Read_Again(record.path)) {
        return is_said ? "" : "it is no regular file";
    }
    const std::shared_ptr<lib_mend::Source> source = lib_mend::Source::Open(record.path, error);
    if (source == nullptr) {
        return is_said ? "" : error;
    }
    return lib_mend::Write_Safely(
        names.copy, [&](const lib_mend::File_Taker& taker) { return Give(*source, taker); }, true);
}

void Quarantine::Leave(const File_Record& record) const
{
    const Copy_Names names(folder_, record);
    for (const std::string& path : {names.copy, names.findings}) {
        if (Is_There(path) && Is_Inside(path)) {
            unlink(path.c_str());
        }
    }
}

}  // namespace dicom_mend
