// The options of commands that take files and folders.
#ifndef TOOLS_DICOM_MEND_RUN_OPTIONS_H
#define TOOLS_DICOM_MEND_RUN_OPTIONS_H

#include "archive/run.h"

#include <CLI/CLI.hpp>

namespace dicom_mend {

/** What commands have in common that take files and folders. */
void Add_Run(CLI::App& command, Run_Options& run);

/** What is kept of a run. @param place  where the state stands by default, behind a sign */
void Add_Record(CLI::App& command, Run_Options& run, const char* place);

/** Says what options of a run do not go together, and completes them; throws CLI::ValidationError. */
void Check_Run(const CLI::App& command, Run_Options& run);

}  // namespace dicom_mend

#endif
