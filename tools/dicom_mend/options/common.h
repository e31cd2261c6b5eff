// Options that several commands have.
#ifndef TOOLS_DICOM_MEND_OPTIONS_COMMON_H
#define TOOLS_DICOM_MEND_OPTIONS_COMMON_H

#include "archive/run.h"
#include "mend/interface/options.h"
#include "terminal.h"

#include <CLI/CLI.hpp>

namespace dicom_mend {

void Add_Verbosity(CLI::App& command, Run_Options& run);

/** What mend, complete and check have in common: check tells what the others would do. */
void Add_Healing(CLI::App& command, lib_mend::Heal_Options& heal);

void Add_Module(CLI::App& command, std::string& module, const char* text);

/** How text looks on a terminal. */
void Add_Looks(CLI::App& command, Looks& looks);

}  // namespace dicom_mend

#endif
