// Findings on standard error, and the exit status that follows from them.
#ifndef TOOLS_DICOM_MEND_REPORT_H
#define TOOLS_DICOM_MEND_REPORT_H

#include "mend/findings/faults.h"

#include <string>

namespace dicom_mend {

enum class Verbosity {
    Quiet,   ///< errors only
    Normal,  ///< errors and changes
    Verbose  ///< everything
};

enum Exit_Status : int { Exit_Clean = 0, Exit_Findings = 1, Exit_Failure = 2 };

/** Tells whether findings of a severity are printed. */
bool Is_Shown(lib_mend::Severity severity, Verbosity verbosity);

/** The line of a finding; when everything is told, also its kind, which `dicom-mend explain` takes. */
std::string Shown_Line(const std::string& file, const lib_mend::Finding& finding,
                       Verbosity verbosity, bool show_values);

/**
 * Prints the findings of one file, one line each.
 *
 * @param show_values  also those that may identify a person
 */
void Report(const std::string& file, const lib_mend::Findings& findings, Verbosity verbosity,
            bool show_values);

/** Prints an error that concerns a file as a whole. */
void Report_Failure(const std::string& file, const std::string& reason);

/** Flushes standard output; gives `status`, or that of a failure when it cannot be written. */
Exit_Status Finish_Output(Exit_Status status);

/** 2 when something was lost or could not be read or written, 1 when something is against the standard. */
Exit_Status Status_Of(const lib_mend::Findings& findings);

}  // namespace dicom_mend

#endif
