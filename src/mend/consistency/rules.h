// The rules on whole data sets. Each names the elements that it looks at, and looks at what was
// gathered of them.
#ifndef LIB_MEND_RULES_H
#define LIB_MEND_RULES_H

#include "mend/consistency/watched.h"

#include <span>

namespace lib_mend {

struct Rule {
    /** The elements that it wants to see, in any order; sequences whose items it goes through too. */
    std::span<const Tag> tags;
    void (*check)(Subject_Set& subject);
};

/** References inside a data set: of a beam to its tolerance table, of a frame to its segment. */
extern const Rule Reference_Rule;
/** Instances that are referred to, and listed elsewhere in the data set. */
extern const Rule Instance_Rule;
/** Numbers of frames, and values that stand for one frame each. */
extern const Rule Frame_Rule;
/** Items and values that count each other: segments, dimensions, multiplex groups, content items. */
extern const Rule Item_Rule;
/** Tables of values against their descriptors. */
extern const Rule LUT_Rule;
/** SOP classes, the modality that belongs to one, and UIDs that identify two things. */
extern const Rule Identity_Rule;
/** Tracking UIDs and their labels. */
extern const Rule Tracking_Rule;
/** Numbers that count the values or the items beside them. */
extern const Rule Count_Rule;
/** Directions, distances and windows of images. */
extern const Rule Geometry_Rule;
/** Dates that come one after the other. */
extern const Rule Date_Rule;

}  // namespace lib_mend

#endif
