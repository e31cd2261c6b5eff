// `dicom-mend list`: the elements of a file, for people or for programs.
#ifndef TOOLS_DICOM_MEND_LIST_H
#define TOOLS_DICOM_MEND_LIST_H

#include "mend/reading/data_set.h"
#include "selection.h"
#include "terminal.h"

#include <string>

namespace dicom_mend {

/** Prints a data set for people, in lines that fit a terminal. */
void Print_Text(const lib_mend::Data_Set& set, const Selection& selection,
                const Terminal& terminal);

/**
 * Prints path, VR, length as read and the first 64 bytes of the value, separated by tabulators.
 * Items and delimiters are no lines of their own.
 *
 * @param front  what stands in front of each line
 */
void Print_TSV(const lib_mend::Data_Set& set, const Selection& selection, const std::string& front);

/** Prints a data set in the DICOM JSON model; null for a file that holds none. */
void Print_JSON(const lib_mend::Data_Set& set, const Selection& selection,
                lib_mend::Findings& findings);

}  // namespace dicom_mend

#endif
