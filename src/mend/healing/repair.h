// The steps between reading and writing: VRs, values, and what does not belong in a clean data set.
#ifndef LIB_MEND_REPAIR_H
#define LIB_MEND_REPAIR_H

#include "mend/reading/data_set.h"

namespace lib_mend {

/** Settles VRs that depend on the data set, and replaces UN by the dictionary's VR. */
void Settle_VRs(Data_Set& set, Findings& findings);

/** Pixel data of the data set itself: it goes from the source to the output as it is. */
bool Is_Streamed(const DICOM_List& record);

/** The bytes of a value that is in memory. */
Bytes Value_Bytes(const DICOM_List& record);

/** Tells whether a value differs from what it was before in more than its padding. */
bool Form_Changes(const Bytes& before, const DICOM_List& record);
inline constexpr char Form_Text[] = "the value is put into the form of its VR";

/**
 * Changes what a reader of the output would not take for what it is. In implicit VR the VR comes
 * from the dictionary, so values are repaired by that one; in big endian the library's reader takes
 * group 0200 for group 0002, which is always little endian.
 */
void Fit_To_Encoding(Data_Set& set, const Encoding& output, Findings& findings);

/** Loads and repairs every value but the pixel data; reports each change. */
void Repair_Values(const Data_Set& set, DICOM_List* list, Findings& findings);

/** Removes invalid and deleted records; reports every element that goes. */
void Remove_Invalid(Record_List& list, Findings& findings);

}  // namespace lib_mend

#endif
