// `--set`: values that users give to attributes, by tags, keywords and paths.
#ifndef TOOLS_DICOM_MEND_SETTINGS_H
#define TOOLS_DICOM_MEND_SETTINGS_H

#include "mend/interface/element_path.h"
#include "mend/interface/heal.h"

#include <string>
#include <vector>

namespace dicom_mend {

/** The value that an element gets. */
struct Setting {
    lib_mend::Element_Path path;
    std::string value;
};

/**
 * Takes "TAG=VALUE", "KEYWORD=VALUE" or "PATH=VALUE".
 *
 * @return the reason of a failure
 */
std::string Take_Setting(const std::string& text, std::vector<Setting>& settings);

/**
 * Gives elements their values; an item behind the last one comes into being.
 *
 * @return false after an error finding
 */
bool Set_All(lib_mend::Data_Set& set, const std::vector<Setting>& settings,
             lib_mend::Findings& findings);

/** Brings the values that were set into form, and says what is wrong with them. */
void Heal_Settings(lib_mend::Data_Set& set, const std::vector<Setting>& settings,
                   lib_mend::Heal_Options options, lib_mend::Findings& findings);

}  // namespace dicom_mend

#endif
