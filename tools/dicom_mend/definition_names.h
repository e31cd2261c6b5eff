// What the definition files are called, as users name them on the command line.
#ifndef TOOLS_DICOM_MEND_DEFINITION_NAMES_H
#define TOOLS_DICOM_MEND_DEFINITION_NAMES_H

#include <string>
#include <vector>

namespace dicom_mend {

struct Definition_Name {
    std::string name;
    std::string title;
};

/** Where the definition files are; says so when they are nowhere. */
std::string Definition_Directory();

/** IODs by their codes, in the order of the alphabet: "CT", "CT Image IOD". */
std::vector<Definition_Name> Modules();

/** Context groups by their numbers, in their order: "29", "Acquisition Modality". */
std::vector<Definition_Name> Tables();

/** "; did you mean 29?": names that are near a text; else those whose titles hold it, or words near it. */
std::string Suggestion_For(const std::string& text,
                           const std::vector<Definition_Name>& definitions);

/** The code of an IOD, or "auto"; else the reason why not, with what may have been meant. */
std::string Module_Fault(const std::string& code);

/** The number of a context group, or the name of a table's file; else the reason why not. */
std::string Table_Fault(const std::string& table);

/** File name of a table, relative to the definition directory. */
std::string Table_File(const std::string& table);

}  // namespace dicom_mend

#endif
