// The manual pages, of what the help shows.
#ifndef TOOLS_DICOM_MEND_MANUAL_H
#define TOOLS_DICOM_MEND_MANUAL_H

#include "report.h"

#include <CLI/CLI.hpp>

#include <string>

namespace dicom_mend {

/** The page of the tool or of one of its commands, for man. */
std::string Manual_Page(const CLI::App& app);

/** Writes the pages of the tool and of all its commands into a folder, which is there already. */
Exit_Status Write_Manual(const CLI::App& app, const std::string& folder);

}  // namespace dicom_mend

#endif
