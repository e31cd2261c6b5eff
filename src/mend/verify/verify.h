// What an IOD requires of a data set, and whether it is there.
#ifndef LIB_MEND_VERIFY_H
#define LIB_MEND_VERIFY_H

#include "mend/reading/data_set.h"

namespace lib_mend {

/**
 * Code of the IOD of a data set by its SOP class.
 *
 * @return the code; empty after a finding when the SOP class is missing or unknown
 */
std::string Module_Name_Of(const Data_Set& set, Findings& findings);

/**
 * Reads the module list of an IOD.
 *
 * @param name     code of the IOD; empty for the lines of `DICOM_Override` alone
 * @param partial  what a faulty definition file says all the same is good enough
 * @return the list, owned by the library; null after an error finding
 */
DICOM_List* Read_Module(const std::string& name, bool partial, Findings& findings);

/**
 * Reports what the rules of an IOD say of a data set (PS3.5 section 7.4): attributes that are
 * missing, empty or not allowed, values outside of a set, items too many, modules and functional
 * groups that are missing; in every item of every sequence too. What the data set does not decide is
 * not reported.
 */
void Verify(const Data_Set& set, DICOM_List* module, Findings& findings);

inline constexpr unsigned short Type_1 = DICOM_VR('1', ' ');
inline constexpr unsigned short Type_1C = DICOM_VR('1', 'C');
inline constexpr unsigned short Type_2 = DICOM_VR('2', ' ');
inline constexpr unsigned short Type_2C = DICOM_VR('2', 'C');
inline constexpr unsigned short Type_3 = DICOM_VR('3', ' ');

/** A type as people write it: "1" for "1 ", "1C". */
std::string Type_Text(unsigned short type);

/** Tells whether a record holds neither a value nor an item. A text of blanks is no value. */
bool Is_Empty(const Data_Set& set, const DICOM_List& record);

}  // namespace lib_mend

#endif
