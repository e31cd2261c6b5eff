// Offsets in a DICOMDIR (PS3.3 section F.3).
#ifndef LIB_MEND_HEALING_DIRECTORY_H
#define LIB_MEND_HEALING_DIRECTORY_H

#include "mend/reading/data_set.h"

namespace lib_mend {

/** Tells whether a tag is that of an offset in a directory. */
bool Is_Directory_Offset(Tag tag);

/**
 * Brings offsets that are no UL into that form, and says which of them lead to no directory record.
 * Those stay: what they were meant for is not known.
 *
 * @param directory  the sequence of the directory records
 */
void Heal_Directory(Data_Set& set, const DICOM_List& directory, Findings& findings);

}  // namespace lib_mend

#endif
