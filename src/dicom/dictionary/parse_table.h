// The line grammar of the data dictionary:
//
//     (gggg,eeee) Name VR VM              one VR
//     (gggg,eeee) Name (VR VM) or (VR VM)   alternatives, at most three
//
// with " RET" behind it when the element is retired, and "x" for any digit of a tag. Lines are read
// from their end, because the name may hold anything.
#ifndef LIB_DICOM_SRC_DICTIONARY_PARSE_TABLE_H
#define LIB_DICOM_SRC_DICTIONARY_PARSE_TABLE_H

#include "dictionary/dictionary.h"

namespace lib_dicom {

/** The group that the lines of one table are for, with the lines unread. */
TAG_db_Group Group_Of(Dictionary_Lines lines);

/** Parses the lines of one table into a dictionary. A faulty line is reported and ends the table. */
void NEMA_db_Parse_Table(HWND handle, Dictionary& dictionary, Dictionary_Lines lines);

}  // namespace lib_dicom

#endif
