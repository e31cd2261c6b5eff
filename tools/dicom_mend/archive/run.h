// A run over many files: they are walked, shared out to worker processes, and told of in their order.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_RUN_H
#define TOOLS_DICOM_MEND_ARCHIVE_RUN_H

#include "archive/comparison.h"
#include "archive/walk.h"

#include <string>

namespace dicom_mend {

struct Run_Options {
    Walk_Options walk;
    /** Number of workers; 0 for the number of cores. */
    std::size_t jobs = 0;
    /** Folder that outputs go to; empty where there are none. */
    std::string to;
    /** File for what became of each file; empty for none. */
    std::string report;
    /** Outputs have names of a layout. */
    bool has_layout = false;
    /** Folder for copies of what could not be mended whole; empty for none. */
    std::string quarantine;
    /** File for the state of the run; empty for that below `to`, or none. */
    std::string state;
    bool resume = false;
    /** What others wrote may be replaced. */
    bool force = false;
    Verbosity verbosity = Verbosity::Normal;
    bool show_values = false;
    /** What is done with a file prints. */
    bool prints = false;
    /** Name of the command. */
    std::string command;
    /** The options that a run has to go on with, in any form. */
    std::string terms;

    /** Anything asks for a run, and not for a few files one after the other. */
    bool Asks_For_Run() const;
    /** Where outputs wait to be placed. */
    std::string Work_Folder() const;
    /** The file of the state; empty where there is none. */
    std::string State_Path() const;

private:
    /** "-2-of-8", or nothing. */
    std::string Shard_Text() const;
};

/** A path of a folder without slashes behind it. */
std::string Without_Slash(std::string path);

/** Says what became of one file after the other, in their order. */
using Run_Teller = std::function<void(const File_Record&)>;

/**
 * Works on all files. Where the process is interrupted, the files in work are ended first.
 *
 * @param comparison  what all files together show, which are told of when they are compared; null for none
 * @return the gravest status of all files
 */
Exit_Status Run_Files(const Run_Options& options, const File_Work& work, const Run_Teller& tell,
                      Comparison* comparison = nullptr);

}  // namespace dicom_mend

#endif
