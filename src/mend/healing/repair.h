// The steps between reading and writing: VRs, values, and what does not belong in a clean data set.
#ifndef LIB_MEND_REPAIR_H
#define LIB_MEND_REPAIR_H

#include "mend/interface/options.h"
#include "mend/reading/data_set.h"

namespace lib_mend {

/** Pixel data of the data set itself: it goes from the source to the output as it is. */
bool Is_Streamed(const DICOM_List& record);

/**
 * Changes what a reader of the output would not take for what it is: in implicit VR the VR comes from
 * the registry, so values are healed by that one.
 */
void Fit_To_Encoding(Data_Set& set, const Encoding& output, const Heal_Options& options,
                     Findings& findings);

/**
 * Heals character sets again after elements came or went that tell of them: what was binary may be a
 * text now. What is kept was said before.
 */
void Heal_New_Texts(Data_Set& set, const Heal_Options& options, Findings& findings);

/** Takes the records that are marked as deleted out of all lists. */
void Remove_Marked(Record_List& list);
/** Takes them out of one list. */
void Remove_Marked(DICOM_List** head);

}  // namespace lib_mend

#endif
