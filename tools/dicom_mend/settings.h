// `--set`: values that users give to attributes, by tags, keywords and paths.
#ifndef TOOLS_DICOM_MEND_SETTINGS_H
#define TOOLS_DICOM_MEND_SETTINGS_H

#include "mend/interface/element_path.h"

#include <string>
#include <vector>

namespace dicom_mend {

/** The value of an element inside a sequence. */
struct Inner_Setting {
    lib_mend::Element_Path path;
    std::string value;
};

/**
 * Takes "TAG=VALUE", "KEYWORD=VALUE" or "PATH=VALUE".
 *
 * @param rules  gets a line of a definition file for an attribute of the data set itself
 * @param inner  gets what stands in a sequence
 * @return the reason of a failure
 */
std::string Take_Setting(const std::string& setting, std::string& rules,
                         std::vector<Inner_Setting>& inner);

/**
 * Gives elements in sequences their values; an item behind the last one comes into being.
 *
 * @return false after an error finding
 */
bool Set_Inner(lib_mend::Data_Set& set, const std::vector<Inner_Setting>& inner,
               lib_mend::Findings& findings);

}  // namespace dicom_mend

#endif
