#include "archive/run_state.h"

#include "mend/findings/fnv.h"

#include <filesystem>
#include <map>
#include <utility>

namespace dicom_mend {

namespace {

constexpr std::string_view Magic = "dicom-mend run 3\n";
/** That of other versions too, which may be replaced. */
constexpr std::string_view Magic_Name = Magic.substr(0, Magic.find("3"));

enum Kind : char {
    Terms_Kind = 'T',
    Folder_Kind = 'F',
    Done_Kind = 'D',
    Placed_Kind = 'P',
    Again_Kind = 'A',
    Missing_Kind = 'M',
    There_Kind = 'R',
    Said_Kind = 'S',
    End_Kind = 'E'
};

}  // namespace

std::string Run_State::Below(const std::string& path) const
{
    return path.starts_with(folder_) ? path.substr(folder_.size()) : path;
}

std::string Run_State::Whole(const std::string& below) const
{
    return below.empty() ? below : folder_ + below;
}

std::string Run_State::Open(const std::string& path, const std::string& folder,
                            const std::string& terms, bool resume, bool force)
{
    const std::string error = log_.Open(path);
    if (!error.empty()) {
        return error;
    }
    const bool is_empty = log_.Is_Empty();
    if (!is_empty && !log_.Begins_With(resume ? Magic : Magic_Name)) {
        return "is no state of a run";
    }
    if (!is_empty && !resume && !force) {
        return "tells of a run; --resume goes on with it, --force begins anew";
    }
    if (resume && !is_empty) {
        Learn();
        // A run that was killed before it had said what it does has done nothing.
        if (!terms_.empty()) {
            if (terms_ != terms) {
                return "tells of a run with other options, and cannot go on with these";
            }
            folder_ = folder.empty() ? "" : folder + "/";
            log_.Put(Folder_Kind, folder_);
            return log_.Failure();
        }
    }
    const std::string unwritten = log_.Begin(Magic);
    if (!unwritten.empty()) {
        return unwritten;
    }
    folder_ = folder.empty() ? "" : folder + "/";
    log_.Put(Folder_Kind, folder_);
    log_.Put(Terms_Kind, terms);
    return log_.Failure();
}

void Run_State::Learn()
{
    if (!log_.Begins_With(Magic)) {
        return;
    }
    auto at = static_cast<std::int64_t>(Magic.size());
    char kind = 0;
    std::int64_t next = 0;
    try {
        while (const std::optional<std::string> bytes = log_.Record_At(at, kind, next)) {
            Unpacker unpacker(*bytes);
            is_ended_ = kind == End_Kind;
            if (is_ended_) {
                // It names no file.
            } else if (kind == Said_Kind) {
                places_[lib_mend::FNV_1a(unpacker.Text())].is_said = true;
            } else if (kind == Terms_Kind) {
                terms_ = *bytes;
            } else if (kind == Folder_Kind) {
                folder_ = *bytes;
            } else if (kind == Again_Kind) {
                Places& places = places_[lib_mend::FNV_1a(unpacker.Text())];
                places = Places();
                places.done = places.placed = at;
                places.is_again = true;
                Unpack_Own(unpacker);
                outputs_.erase(std::hash<std::string>()(unpacker.Text()));
            } else if (kind == Missing_Kind || kind == There_Kind) {
                const auto entry = places_.find(unpacker.Number());
                if (entry != places_.end()) {
                    entry->second.is_missing = kind == Missing_Kind;
                }
            } else {
                Places& places = places_[lib_mend::FNV_1a(unpacker.Text())];
                places.placed = kind == Placed_Kind ? at : places.placed;
                places.done = kind == Done_Kind ? at : places.done;
                places.is_said = places.is_said && kind != Done_Kind;
                places.is_again = places.is_again && kind != Done_Kind;
                places.is_missing = false;
                outputs_.insert(kind == Placed_Kind ? std::hash<std::string>()(unpacker.Text())
                                                    : 0);
            }
            at = next;
        }
    } catch (const Torn_Pack&) {
        // What cannot be understood ends the log too.
    }
    log_.Set_End(at);
}

Logged_File Run_State::File_At(const Places& places) const
{
    Logged_File file;
    char kind = 0;
    std::int64_t next = 0;
    file.is_said = places.is_said;
    file.is_again = places.is_again;
    const std::optional<std::string> placed =
        places.placed < 0 ? std::string() : log_.Record_At(places.placed, kind, next);
    Unpacker rest(placed ? *placed : std::string_view());
    if (places.placed >= 0) {
        rest.Text();
        file.own = Unpack_Own(rest);
    }
    if (file.is_again) {
        rest.Text();
        file.record = Unpack_Record(rest);
        file.record.output = file.record.has_output ? file.own.path : std::string();
        return file;
    }
    const std::optional<std::string> done = log_.Record_At(places.done, kind, next);
    Unpacker unpacker(done ? *done : std::string_view());
    unpacker.Text();
    file.staged = Whole(unpacker.Text());
    file.record = Unpack_Record(unpacker);
    file.is_placed = places.placed > places.done;
    if (!file.is_placed) {
        return file;
    }
    file.replaced = Unpack_Own(rest);
    file.record.output = file.own.path;
    file.record.has_output = !file.own.path.empty();
    file.record.status = static_cast<Exit_Status>(rest.Number());
    // What the placing had to say stands behind what the worker found.
    const std::string findings = rest.Text();
    Unpacker said(findings);
    for (lib_mend::Finding& finding : Unpack_Record(said).findings) {
        file.record.findings.push_back(std::move(finding));
    }
    return file;
}

Own_Output Run_State::Unpack_Own(Unpacker& bytes) const
{
    Own_Output own;
    own.path = Whole(bytes.Text());
    own.size = bytes.Signed();
    own.modified = bytes.Signed();
    return own;
}

void Run_State::Pack_Own(const Own_Output& own, Packer& packer) const
{
    packer.Put(Below(own.path));
    packer.Put(own.size);
    packer.Put(own.modified);
}

std::optional<Logged_File> Run_State::Find(const std::string& relative)
{
    const auto entry = places_.find(lib_mend::FNV_1a(relative));
    if (entry == places_.end()) {
        return {};
    }
    entry->second.is_asked_for = true;
    if (entry->second.is_missing) {
        entry->second.is_missing = false;
        Packer packer;
        packer.Put(entry->first);
        log_.Put(There_Kind, packer.Bytes());
    }
    try {
        Logged_File file = File_At(entry->second);
        if (file.record.relative == relative) {
            return file;
        }
    } catch (const Torn_Pack&) {
        // It has to be done again.
    }
    return {};
}

void Run_State::Put_Done(const File_Record& record, const std::string& staged)
{
    if (!Is_Open()) {
        return;
    }
    Packer packer;
    packer.Put(record.relative);
    packer.Put(Below(staged));
    Pack(record, packer);
    log_.Put(Done_Kind, packer.Bytes(), false);
}

void Run_State::Put_Again(const File_Record& record, const Own_Output& own, const std::string& gone)
{
    if (Is_Open()) {
        Packer packer;
        packer.Put(record.relative);
        Pack_Own(own, packer);
        packer.Put(Below(gone));
        Pack(record, packer);
        log_.Put(Again_Kind, packer.Bytes());
    }
}

std::size_t Run_State::Put_Missing()
{
    std::size_t count = 0;
    for (auto& [name, places] : places_) {
        if (!places.is_asked_for && !places.is_missing) {
            // What could not be read may have been a folder, and was never done.
            count += places.is_again ? 0 : 1;
            places.is_missing = true;
            Packer packer;
            packer.Put(name);
            log_.Put(Missing_Kind, packer.Bytes());
        }
    }
    return count;
}

void Run_State::Put_Said(const File_Record& record)
{
    if (Is_Open()) {
        Packer packer;
        packer.Put(record.relative);
        log_.Put(Said_Kind, packer.Bytes());
    }
}

void Run_State::Put_End()
{
    if (Is_Open()) {
        Packer packer;
        packer.Put(std::string_view());
        log_.Put(End_Kind, packer.Bytes());
    }
}

std::string Run_State::Session() const
{
    return std::to_string(log_.End());
}

void Run_State::Put_Placed(const File_Record& record, std::int64_t modified,
                           const Own_Output& replaced)
{
    if (!Is_Open()) {
        return;
    }
    File_Record said;
    said.findings.assign(record.findings.begin() + static_cast<std::ptrdiff_t>(record.found),
                         record.findings.end());
    Packer findings;
    Pack(said, findings);
    Packer packer;
    packer.Put(record.relative);
    Pack_Own({record.output, record.output_size, modified}, packer);
    Pack_Own(replaced, packer);
    packer.Put(std::uint64_t{static_cast<unsigned int>(record.status)});
    packer.Put(findings.Bytes());
    log_.Put(Placed_Kind, packer.Bytes());
}

bool Run_State::Read(const std::string& path, const std::function<void(File_Record&&)>& take,
                     bool& is_whole)
{
    Run_State state;
    if (!state.log_.Open_To_Read(path)) {
        return false;
    }
    state.Learn();
    is_whole = state.is_ended_;
    // The log has files as they were done; a report has them in the order of the folders.
    std::map<std::filesystem::path, const Places*> files;
    char kind = 0;
    std::int64_t next = 0;
    for (auto at = static_cast<std::int64_t>(Magic.size()); at < state.log_.End(); at = next) {
        const std::optional<std::string> bytes = state.log_.Record_At(at, kind, next);
        if (!bytes) {
            break;
        }
        Unpacker unpacker(*bytes);
        const bool is_of_file = kind == Done_Kind || kind == Again_Kind;
        const std::string name = is_of_file ? unpacker.Text() : std::string();
        const auto entry = state.places_.find(lib_mend::FNV_1a(name));
        // Of a file that was done again, the last record counts.
        if (is_of_file && entry != state.places_.end() && entry->second.done == at &&
            !entry->second.is_missing) {
            files.emplace(name, &entry->second);
        }
    }
    for (const auto& [name, places] : files) {
        take(std::move(state.File_At(*places).record));
    }
    return state.log_.End() > 0;
}

}  // namespace dicom_mend
