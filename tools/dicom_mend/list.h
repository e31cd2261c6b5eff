// `dicom-mend list`: the elements of a file, for people or for programs.
#ifndef TOOLS_DICOM_MEND_LIST_H
#define TOOLS_DICOM_MEND_LIST_H

#include "client/data_set.h"
#include "terminal.h"

namespace dicom_mend {

/** Prints a data set with one line an element, nested by indentation, cut to the width. */
void Print_Text(const dicom_client::Data_Set& set, const Terminal& terminal);

/**
 * Prints path, VR, length as read and the first 64 bytes of the value, separated by tabulators.
 * Items and delimiters are no lines of their own.
 */
void Print_TSV(const dicom_client::Data_Set& set);

}  // namespace dicom_mend

#endif
