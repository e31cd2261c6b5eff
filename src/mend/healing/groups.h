// Groups as a whole: which belong in a data set, their lengths, private ones, and tags that nobody knows.
#ifndef LIB_MEND_GROUPS_H
#define LIB_MEND_GROUPS_H

#include "mend/reading/data_set.h"

namespace lib_mend {

/**
 * Finds elements of groups 0000 to 0007 that do not belong in a data set (PS3.5 section 7.1). They
 * stay, but for those of group 0002 in front: readers would take them for file meta information, so
 * that is where they go, unless it has them.
 *
 * @param is_directory  the data set is that of a DICOMDIR, where group 0004 belongs
 */
void Heal_Low_Groups(Data_Set& set, bool is_directory, Findings& findings);

/**
 * Compares group lengths with the bytes of their groups; all wrong ones make one finding. Their right
 * values are those of the output, so that writing puts them in. Wants the order of the source.
 */
void Check_Group_Lengths(const Data_Set& set, DICOM_List** list, Findings& findings);

/** Tells whether an element of an even group is none of the registry, which may be older than the file. */
bool Is_Unknown_Tag(const DICOM_List& record);

/** Says so of each of them, in a directory of those of group 0004 too. They stay. */
void Check_Unknown_Tags(DICOM_List* list, bool is_directory, Findings& findings);

/** Finds tags of the file meta information that nobody knows, and bytes in its texts that are not ASCII. */
void Check_Meta_Group(const Data_Set& set, Findings& findings);

/** Takes private elements out of a list and of all items below, and says so. */
void Leave_Out_Private(Record_List& list, Findings& findings);

}  // namespace lib_mend

#endif
