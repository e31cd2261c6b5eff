// Group 0002, the file meta information (PS3.10 section 7.1).
#ifndef LIB_MEND_META_GROUP_H
#define LIB_MEND_META_GROUP_H

#include "mend/reading/data_set.h"

namespace lib_mend {

/** Tells whether an element of group 0002 begins at a place, in whatever form. */
bool Is_Start_Of_Meta_Group(const Source& source, std::int64_t at);

/** The same for a place where the group is expected: its first header may be damaged. */
bool Is_Meta_Group(const Source& source, std::int64_t at);

/**
 * Reads group 0002 into `set.meta`, with values in memory, and elements of other groups that stand in
 * it into `set.strays`. One damaged element costs no other: the group length and the headers that
 * follow say where each one ends, and where the data set begins.
 *
 * @return the place of the data set
 */
std::int64_t Read_Meta_Group(Data_Set& set, std::int64_t start, Findings& findings);

/** Puts the strays into the data set where it lacks them; what it has already is lost. */
void Return_Strays(Data_Set& set, Findings& findings);

}  // namespace lib_mend

#endif
