#include "archive/walk.h"

#include "archive/inputs.h"
#include "archive/layout.h"
#include "mend/findings/fnv.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <unordered_set>

#include <dirent.h>
#include <sys/stat.h>

namespace dicom_mend {

namespace {

constexpr std::int64_t Nanoseconds = 1'000'000'000;

File_Identity Identity_In(const struct stat& status)
{
    return {status.st_dev, status.st_ino};
}

void Describe(const struct stat& status, Work_Item& item)
{
    item.size = status.st_size;
    item.modified = status.st_mtim.tv_sec * Nanoseconds + status.st_mtim.tv_nsec;
}

std::string Last_Part(const std::string& path)
{
    return std::filesystem::path(path).filename().string();
}

/** The name is that of what stands there, and not of a link, of a step back, or of nothing. */
bool Is_Own_Name(const std::filesystem::path& path)
{
    const std::string name = path.filename().string();
    struct stat status = {};
    return !name.empty() && name != "." && name != ".." && lstat(path.c_str(), &status) == 0 &&
           !S_ISLNK(status.st_mode);
}

std::string Last_Name(const std::string& path)
{
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::canonical(path, error);
    return whole.filename().string();
}

}  // namespace

bool Identity_Of(const std::string& path, File_Identity& identity)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        return false;
    }
    identity = Identity_In(status);
    return true;
}

std::string Below(const std::string& path)
{
    std::string below;
    for (const std::filesystem::path& part : std::filesystem::path(path).lexically_normal()) {
        const std::string name = part.string();
        if (!name.empty() && name != "/" && name != "." && name != "..") {
            below += (below.empty() ? "" : "/") + name;
        }
    }
    return below;
}

bool Is_In_Shard(const Walk_Options& options, const Walk_Entry& entry)
{
    // A folder that cannot be read is told of once; each shard has its part of the rest.
    std::uint64_t hash = lib_mend::FNV_1a(entry.item.relative);
    // The low bits of this hash follow the last letter closely.
    hash ^= hash >> 32;
    return hash % options.shards == options.shard - 1;
}

namespace {

namespace fs = std::filesystem;

/** Tells whether a walk through one of some folders takes a file: it is one, and not hidden. */
bool Is_Met(const fs::path& place, const std::unordered_set<std::string>& folders)
{
    std::error_code error;
    const fs::file_status status = fs::status(place, error);
    if (!fs::is_regular_file(status) && !fs::is_directory(status)) {
        return false;
    }
    for (fs::path inner = place; !inner.filename().string().starts_with('.');
         inner = inner.parent_path()) {
        const fs::path around = inner.parent_path();
        if (around == inner || folders.contains(around.string())) {
            return around != inner;
        }
    }
    return false;
}

/** Places of paths as Place_Of gives them. To ask for each folder on the way costs more than to check a small file. */
class Places {
public:
    fs::path Of(const std::string& path)
    {
        const fs::path whole = path;
        if (!Is_Own_Name(whole)) {
            return Place_Of(path);
        }
        const fs::path folder = whole.has_parent_path() ? whole.parent_path() : fs::path(".");
        if (folder != folder_) {
            folder_ = folder;
            place_ = Place_Of(folder.string());
        }
        return place_ / whole.filename();
    }

private:
    /** Files of one folder are mostly named one after the other. */
    fs::path folder_;
    fs::path place_;
};

/** What is named, without what is named twice and what stands in a folder that is named too. */
struct Named {
    std::vector<std::string> paths;
    /** Of what was left out for the folder around it. */
    std::set<File_Identity> inner;
};

Named Named_Once(const std::vector<std::string>& paths)
{
    std::vector<fs::path> places;
    std::unordered_set<std::string> all;
    Places known;
    for (const std::string& path : paths) {
        places.push_back(known.Of(path));
        all.insert(places.back().string());
    }
    Named named;
    std::unordered_set<std::string> before;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        File_Identity identity;
        if (!before.insert(places[i].string()).second) {
            continue;
        }
        if (Is_Met(places[i], all) && Identity_Of(paths[i], identity)) {
            named.inner.insert(identity);
        } else {
            named.paths.push_back(paths[i]);
        }
    }
    return named;
}

}  // namespace

Walk::Walk(Walk_Options options) : options_(std::move(options))
{
    Named named = Named_Once(options_.paths);
    options_.paths = std::move(named.paths);
    inner_ = std::move(named.inner);
}

/** Gives what was named a place that nothing in front of it has, the same whenever a run goes on. */
void Walk::Set_Apart(Work_Item& item)
{
    const std::hash<std::string> hash;
    const auto [entry, is_free] = taken_.try_emplace(hash(item.relative), 2);
    item.is_numbered = item.is_numbered || !is_free;
    if (!is_free) {
        const std::string name = item.relative;
        int& next = entry->second;
        do {
            item.relative = Numbered(name, next++);
        } while (!taken_.try_emplace(hash(item.relative), 2).second);
    }
}

Walk::~Walk()
{
    if (list_ != nullptr && list_ != stdin) {
        std::fclose(list_);
    }
}

bool Walk::Next(Walk_Entry& entry)
{
    entry = {};
    return Next_Found(entry) || Next_Named(entry);
}

bool Walk::Next_Listed(std::string& name)
{
    if (options_.list.empty()) {
        return false;
    }
    if (list_ == nullptr) {
        list_ = options_.list == "-" ? stdin : std::fopen(options_.list.c_str(), "re");
        if (list_ == nullptr) {
            return false;
        }
    }
    const int end = options_.nul_separated ? '\0' : '\n';
    do {
        name.clear();
        int c = std::getc(list_);
        if (c == EOF) {
            return false;
        }
        for (; c != EOF && c != end; c = std::getc(list_)) {
            name += static_cast<char>(c);
        }
        if (!options_.nul_separated && name.ends_with('\r')) {
            name.pop_back();
        }
    } while (name.empty());
    return true;
}

bool Walk::Next_Named(Walk_Entry& entry)
{
    for (;;) {
        std::string path;
        const bool is_path = next_path_ < options_.paths.size();
        if (is_path) {
            path = options_.paths[next_path_++];
        } else if (!Next_Listed(path)) {
            const bool failed =
                !options_.list.empty() && (list_ == nullptr || std::ferror(list_) != 0);
            entry.item.path = options_.list;
            entry.item.relative = Last_Part(options_.list);
            entry.trouble = failed ? std::strerror(errno) : "";
            options_.list.clear();
            return failed;
        }
        struct stat status = {};
        entry.item.path = path;
        entry.item.relative = is_path ? Last_Part(path) : Below(path);
        if (path.find('\0') != path.npos) {
            entry.item.path = options_.list;
            entry.item.relative = Last_Part(options_.list);
            entry.trouble = "the names in it end with NUL, which --null is for";
            return true;
        }
        if (!is_path && !options_.outputs.empty() && Stands_In(path, options_.outputs)) {
            entry.trouble = "stands in the folder of the outputs";
            return true;
        }
        if (stat(path.c_str(), &status) != 0) {
            entry.trouble = std::strerror(errno);
            Set_Apart(entry.item);
            return true;
        }
        const bool is_alone = options_.paths.size() == 1 && options_.list.empty();
        if (S_ISDIR(status.st_mode)) {
            if (is_path) {
                entry.item.relative = is_alone ? std::string() : Last_Name(path);
            }
            // The tree of one folder stands in OUT_DIR itself.
            if (!entry.item.relative.empty()) {
                Set_Apart(entry.item);
            }
            if (!Open_Folder(path, entry.item, entry.trouble)) {
                return true;
            }
            if (Next_Found(entry)) {
                return true;
            }
            entry = {};
            continue;
        }
        Describe(status, entry.item);
        Set_Apart(entry.item);
        return true;
    }
}

bool Walk::Open_Folder(const std::string& path, const Work_Item& item, std::string& trouble)
{
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(path.c_str()), closedir);
    struct stat status = {};
    if (folder == nullptr || fstat(dirfd(folder.get()), &status) != 0) {
        trouble = std::strerror(errno);
        return false;
    }
    Level level;
    level.path = path.ends_with('/') ? path : path + "/";
    level.relative = item.relative.empty() ? "" : item.relative + "/";
    level.is_numbered = item.is_numbered;
    level.identity = Identity_In(status);
    errno = 0;
    while (const dirent* const entry = readdir(folder.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            level.names.emplace_back(name);
        }
        errno = 0;
    }
    if (errno != 0) {
        trouble = std::strerror(errno);
    }
    std::sort(level.names.begin(), level.names.end());
    levels_.push_back(std::move(level));
    return trouble.empty();
}

bool Walk::Next_Found(Walk_Entry& entry)
{
    while (!levels_.empty()) {
        Level& level = levels_.back();
        if (level.next == level.names.size()) {
            levels_.pop_back();
            continue;
        }
        const std::string name = level.names[level.next++];
        if (name.starts_with('.')) {
            ++counts_.hidden;
            continue;
        }
        entry.item.path = level.path + name;
        entry.item.relative = level.relative + name;
        entry.item.is_numbered = level.is_numbered;
        struct stat status = {};
        const bool is_there = (options_.follow ? stat(entry.item.path.c_str(), &status)
                                               : lstat(entry.item.path.c_str(), &status)) == 0;
        if (!is_there) {
            entry.trouble = std::strerror(errno);
            return true;
        }
        const File_Identity identity = Identity_In(status);
        entry.item.is_found = !inner_.contains(identity);
        if (S_ISDIR(status.st_mode)) {
            const auto is_same = [&](const Level& around) {
                return around.identity == identity;
            };
            const bool is_own = std::find(options_.own_folders.begin(), options_.own_folders.end(),
                                          identity) != options_.own_folders.end();
            if (std::any_of(levels_.begin(), levels_.end(), is_same)) {
                ++counts_.links;
            } else if (!is_own && !Open_Folder(entry.item.path, entry.item, entry.trouble)) {
                return true;
            }
            continue;
        }
        if (!S_ISREG(status.st_mode)) {
            ++(S_ISLNK(status.st_mode) ? counts_.links : counts_.special);
            continue;
        }
        Describe(status, entry.item);
        // Names of a list may lead to a file that a folder in it holds.
        if (!options_.list.empty()) {
            Set_Apart(entry.item);
        }
        return true;
    }
    return false;
}

}  // namespace dicom_mend
