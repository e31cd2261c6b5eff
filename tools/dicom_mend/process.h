// What differs between systems when the process starts.
#ifndef TOOLS_DICOM_MEND_PROCESS_H
#define TOOLS_DICOM_MEND_PROCESS_H

#include <string>
#include <vector>

namespace dicom_mend {

/** Prepares the process, and gives the words of its command line behind the name of the tool, in UTF-8. */
std::vector<std::string> Start_Tool(int argc, char** argv);

/** Columns of the terminal that a descriptor stands for; 0 when nobody knows. */
std::size_t Terminal_Width(int descriptor);

}  // namespace dicom_mend

#endif
