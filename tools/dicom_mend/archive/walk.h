// The files that a run is about, in an order that depends on their names alone.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_WALK_H
#define TOOLS_DICOM_MEND_ARCHIVE_WALK_H

#include "archive/file_record.h"

#include <compare>
#include <cstdint>
#include <cstdio>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace dicom_mend {

/** A file or a folder of the system, whatever its path is. */
struct File_Identity {
    std::uint64_t device = 0;
    std::uint64_t number = 0;

    auto operator<=>(const File_Identity&) const = default;
};

/** Nothing when there is no such file. */
bool Identity_Of(const std::string& path, File_Identity& identity);

struct Walk_Options {
    std::vector<std::string> paths;
    /** A file that names more of them; "-" for standard input, empty for none. */
    std::string list;
    /** Names in the list end with NUL instead of a line end. */
    bool nul_separated = false;
    /** Symbolic links are followed, but to a folder around them. */
    bool follow = false;
    /** Of so many shards of the files, this one, counted from 1. */
    std::uint64_t shard = 1;
    std::uint64_t shards = 1;
    /** Folders that the run itself writes to. */
    std::vector<File_Identity> own_folders;
    /** Where outputs go; what a list names in it is not taken. Empty for nowhere. */
    std::string outputs;
};

/** What was passed over. */
struct Walk_Counts {
    std::uint64_t hidden = 0;
    std::uint64_t links = 0;
    /** Devices, sockets and pipes. */
    std::uint64_t special = 0;
};

/** A file, or a folder or list that cannot be read. */
struct Walk_Entry {
    Work_Item item;
    /** Empty for a file. */
    std::string trouble;
};

/**
 * Goes through folders. Of each, the entries are taken in the order of the bytes of their names, and what a
 * folder holds comes in its place; only the folders around the current file are held in memory. Hidden
 * files and folders are passed over.
 */
class Walk {
public:
    explicit Walk(Walk_Options options);
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;
    ~Walk();

    /** False at the end. */
    bool Next(Walk_Entry& entry);
    const Walk_Counts& Counts() const
    {
        return counts_;
    }

private:
    struct Level {
        /** With a slash behind. */
        std::string path;
        std::string relative;
        bool is_numbered = false;
        File_Identity identity;
        std::vector<std::string> names;
        std::size_t next = 0;
    };

    bool Next_Named(Walk_Entry& entry);
    bool Next_Listed(std::string& name);
    bool Next_Found(Walk_Entry& entry);
    bool Open_Folder(const std::string& path, const Work_Item& item, std::string& trouble);
    void Set_Apart(Work_Item& item);

    Walk_Options options_;
    /** What is named and met in a folder that is named as well: nobody named it by chance. */
    std::set<File_Identity> inner_;
    Walk_Counts counts_;
    std::size_t next_path_ = 0;
    std::FILE* list_ = nullptr;
    std::vector<Level> levels_;
    /** Hash values of places that are taken, and the number that the next one of the name would get. */
    std::unordered_map<std::size_t, int> taken_;
};

/** Tells by the place of a file alone whether it belongs to a shard, the same on every machine. */
bool Is_In_Shard(const Walk_Options& options, const Walk_Entry& entry);

/** "a/b.dcm" of "/a/./x/../b.dcm": a path that stays below the folder it is put behind. */
std::string Below(const std::string& path);

}  // namespace dicom_mend

#endif
