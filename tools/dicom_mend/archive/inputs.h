// What a run reads, which nothing that it writes may stand in the way of.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_INPUTS_H
#define TOOLS_DICOM_MEND_ARCHIVE_INPUTS_H

#include "archive/run.h"

#include <filesystem>
#include <string>
#include <unordered_set>
#include <vector>

namespace dicom_mend {

/** A path without links, as far as it is there, and without a slash behind it. */
std::filesystem::path Place_Of(const std::string& path);

/** Tells whether a path is a folder, or leads to something below it, whatever links are on the way. */
bool Stands_In(const std::string& path, const std::string& folder);

/** The files and folders that are named; asking costs the depth of a path, however many there are. */
class Inputs {
public:
    explicit Inputs(const std::vector<std::string>& paths);

    /** Tells whether a path is one of them, or leads to something below one. */
    bool Hold(const std::string& path) const;
    /** The same for what has this name in its folder, a link itself and not what it leads to. */
    bool Hold_Entry(const std::string& path) const;

private:
    bool Hold_Place(std::filesystem::path place) const;

    std::unordered_set<std::string> places_;
};

/** Why the folders of a run cannot be what they are to be; empty when they can. */
std::string Refusal_Of(const Run_Options& options);

}  // namespace dicom_mend

#endif
