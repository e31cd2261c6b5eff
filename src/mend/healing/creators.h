// Private elements and the creators that reserve their blocks.
#ifndef LIB_MEND_CREATORS_H
#define LIB_MEND_CREATORS_H

#include "mend/reading/data_set.h"

#include <bitset>

namespace lib_mend {

/** Follows the records of one list in their order, and tells which of the private ones are owned. */
class Creator_Watch {
public:
    /** Tells whether a private record is a creator or a group length, or its creator stood in front of it. */
    bool Owns(const DICOM_List& record);

private:
    /** The creators of one group: in a list that is in order, those of others are not asked for again. */
    std::bitset<0x100> blocks_;
    unsigned short group_ = 0;
};

/** Finds private elements that nobody reserved a block for (PS3.5 section 7.8.1). They stay. */
void Check_Creators(DICOM_List** list, Findings& findings);

}  // namespace lib_mend

#endif
