// The commands of dicom-mend, apart from the reading of the command line.
#ifndef TOOLS_DICOM_MEND_COMMANDS_H
#define TOOLS_DICOM_MEND_COMMANDS_H

#include "archive/run.h"
#include "diff.h"
#include "mend/interface/mend.h"
#include "report.h"
#include "selection.h"
#include "terminal.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace dicom_mend {

enum class List_Format { Text, TSV, JSON };

struct List_Request {
    /** The files, and how they are gone through. */
    Run_Options run;
    List_Format format = List_Format::Text;
    Selection_Request selection;
    Looks looks;
};

/** What is to be done to a data set beside mending it. */
struct Completion {
    /** Code of the IOD, or "auto". */
    std::string module = "auto";
    /** "TAG=VALUE", "KEYWORD=VALUE" or "PATH=VALUE" each. */
    std::vector<std::string> values;
    /** Name of a file of definition lines; empty for none. */
    std::string rules;
};

struct Mend_Request {
    /** With a folder for the outputs, a run over files and folders; else one file and its output. */
    Run_Options run;
    /** Where outputs stand in the folder; empty for the places of the inputs. */
    std::string layout;
    lib_mend::Mend_Options options;
    /** File for the bytes of the input that belong to no element; empty for none. */
    std::string garbage;
    /** Nothing is written: the differences between the file and what it would be are printed. */
    bool is_trial = false;
    Diff_Format trial_format = Diff_Format::Text;
    Looks trial_looks;
};

/** A name that stands for standard input or standard output. */
inline constexpr char Standard_Stream[] = "-";

/** What people are told that a file is called. */
std::string Name_Of(const std::string& path);

/** Opens a file for reading; null with the reason of a failure. */
std::shared_ptr<lib_mend::Source> Open(const std::string& path, std::string& reason);

/**
 * Reads a file of a request. The record says why there is nothing more to do with it: that it cannot be
 * opened, or that it is no DICOM file and was not named.
 */
std::optional<lib_mend::Data_Set> Read_Item(const Work_Item& item, lib_mend::Findings& findings,
                                            File_Record& record);

/** Takes over what was found in a file. */
void Take_Findings(lib_mend::Findings& findings, File_Record& record);

/** The same, and what the file says of itself. */
void Describe(const lib_mend::Data_Set& set, lib_mend::Findings& findings, File_Record& record);

/**
 * Works on files: one after the other in this process, or as a run of workers where the request asks
 * for one.
 *
 * @param work        the flag says that it is the last file of the process
 * @param comparison  see Run_Files
 */
Exit_Status Go_Through(const Run_Options& run,
                       const std::function<void(const Work_Item&, File_Record&, bool)>& work,
                       const Run_Teller& tell, Comparison* comparison = nullptr);

/**
 * Keeps the data set of the last file for the rest of the process, whose memory the system takes back
 * at once: releasing it record by record would cost a tenth of all the work.
 */
void Keep_To_The_End(lib_mend::Data_Set&& set);

Exit_Status Run_List(const List_Request& request);
Exit_Status Run_Mend(const Mend_Request& request);
/** Writes a file of what a text of JSON says. */
Exit_Status Run_From_JSON(const Mend_Request& request);
/** Puts back what a mending recorded in the file. */
Exit_Status Run_Undo(const Mend_Request& request);
Exit_Status Run_Complete(const Mend_Request& request, const Completion& completion);

}  // namespace dicom_mend

#endif
