// What a run reads, which nothing that it writes may stand in the way of.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_INPUTS_H
#define TOOLS_DICOM_MEND_ARCHIVE_INPUTS_H

#include "archive/run.h"

#include <string>
#include <unordered_set>
#include <vector>

namespace dicom_mend {

/** Tells whether a path is a folder, or leads to something below it, whatever links are on the way. */
bool Stands_In(const std::string& path, const std::string& folder);

/** The files and folders that are named; asking costs the depth of a path, however many there are. */
class Inputs {
public:
    explicit Inputs(const std::vector<std::string>& paths);

    /** Tells whether a path is one of them, or leads to something below one. */
    bool Hold(const std::string& path) const;

private:
    std::unordered_set<std::string> places_;
};

/** Why the folders of a run cannot be what they are to be; empty when they can. */
std::string Refusal_Of(const Run_Options& options);

}  // namespace dicom_mend

#endif
