// The order of elements (PS3.5 section 7.1): tags ascend, and each occurs once in a list.
#ifndef LIB_MEND_ORDER_H
#define LIB_MEND_ORDER_H

#include "mend/reading/data_set.h"

namespace lib_mend {

/** Follows the records of one list in their order, and tells whether any has to move. */
class Order_Watch {
public:
    /** Tells whether a record follows all those in front of it, and repeats none. */
    bool Follows(const DICOM_List& record);

private:
    bool is_first_ = true;
    Tag before_;
};

/**
 * Sorts a list and those of all items below by tag, where they are not; elements of the same tag
 * stay in their order, and item headers in front. Of elements that occur again one is kept: the
 * first, or the first that is not empty. Another one that holds something else is lost, and is said
 * to be.
 */
void Heal_Order(const Data_Set& set, Record_List& list, Findings& findings);

}  // namespace lib_mend

#endif
