// Where the records of a DICOMDIR stood in the file that its JSON was made of.
#ifndef LIB_MEND_DIRECTORY_PLACES_H
#define LIB_MEND_DIRECTORY_PLACES_H

#include "mend/reading/data_set.h"

namespace lib_mend {

/**
 * Gives the items of a directory the places that the offsets in it name, so that the writing can
 * adjust them. An offset leads to each record once, and the records stand in the order of their
 * places: where there are as many places as records, each has its own. Otherwise nothing is done.
 */
void Place_Directory_Records(Data_Set& set);

}  // namespace lib_mend

#endif
