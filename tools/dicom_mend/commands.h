// The commands of dicom-mend, apart from the reading of the command line.
#ifndef TOOLS_DICOM_MEND_COMMANDS_H
#define TOOLS_DICOM_MEND_COMMANDS_H

#include "mend/interface/mend.h"
#include "report.h"

#include <memory>
#include <string>
#include <vector>

namespace dicom_mend {

enum class List_Format { Text, TSV, JSON };

struct List_Request {
    std::vector<std::string> files;
    List_Format format = List_Format::Text;
    Verbosity verbosity = Verbosity::Normal;
    /** Reports quote values that may identify a person. */
    bool show_values = false;
};

/** What is to be done to a data set beside mending it. */
struct Completion {
    /** Code of the IOD, or "auto". */
    std::string module = "auto";
    /** "TAG=VALUE" each. */
    std::vector<std::string> values;
    /** Name of a file of definition lines; empty for none. */
    std::string rules;
};

struct Mend_Request {
    std::string input;
    std::string output;
    lib_mend::Mend_Options options;
    /** File for the bytes of the input that belong to no element; empty for none. */
    std::string garbage;
    /** Existing output files may be replaced. */
    bool force = false;
    Verbosity verbosity = Verbosity::Normal;
    /** Reports quote values that may identify a person. */
    bool show_values = false;
};

/** Opens a file for reading; null after a report. */
std::shared_ptr<lib_mend::Source> Open(const std::string& path);

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
