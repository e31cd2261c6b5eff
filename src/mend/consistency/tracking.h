// What is followed over time by a Tracking UID.
#ifndef LIB_MEND_TRACKING_H
#define LIB_MEND_TRACKING_H

#include "mend/consistency/watched.h"

#include <vector>

namespace lib_mend {

/** A Tracking ID and its Tracking UID; null for one that is not there. */
struct Tracking {
    const DICOM_List* label = nullptr;
    const DICOM_List* uid = nullptr;
    /** The one that they stand in; Concept Name Code Sequence for content items. */
    Tag sequence = {};
};

/** All of a data set, in the order of the tree, those of content items last. */
std::vector<Tracking> Trackings_Of(const Subject_Set& subject);

}  // namespace lib_mend

#endif
