// Values of different files as they are compared, and what whole data sets hold.
#ifndef LIB_MEND_STUDY_VALUES_H
#define LIB_MEND_STUDY_VALUES_H

#include "mend/healing/character_set.h"
#include "mend/reading/data_set.h"

#include <string>

namespace lib_mend {

/** What of a value counts when it is compared. */
enum class Compared_Form {
    Text,
    /** The first group of a name; others are left out by those who cannot write them. */
    Name,
    /** Without what is zero at the end. */
    Time,
    Number
};

/** What is compared of a value, in UTF-8; long ones are shortened to what tells them apart. */
std::string Compared_Value(const Data_Set& set, const DICOM_List& record, Compared_Form form,
                           const Character_Set& characters);

/**
 * A sum of what a data set holds, wherever its values lie: the same in each uncompressed transfer syntax.
 * Empty when it cannot be read.
 */
std::string Sum_Of_Contents(const Data_Set& set);

}  // namespace lib_mend

#endif
