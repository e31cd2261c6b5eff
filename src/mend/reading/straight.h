// Reads headers as they stand, as far as nothing contradicts them.
#ifndef LIB_MEND_STRAIGHT_H
#define LIB_MEND_STRAIGHT_H

#include "mend/io/window.h"
#include "mend/reading/outlook.h"

#include <limits>
#include <vector>

namespace lib_mend {

/** Where a straight reading came to. */
struct Straight_Reading {
    /** It came to the end of the outermost level without any contradiction. */
    bool holds = false;
    /** Position of the header that contradicts it, or the end. */
    std::int64_t to = 0;
    /** Headers that were gone over and make sense by themselves. */
    int sound = 0;
    /** All headers that were gone over. */
    int headers = 0;
    /** The last place from which several headers follow that make sense by themselves; or none. */
    std::int64_t sound_from = -1;
};

/**
 * Goes over the headers from a position, whatever their tags are: in ascending order, of even
 * lengths, of VRs that exist, and all that is open closed in the end.
 *
 * @param levels  the open ones from one whose end is known to the innermost
 * @param most    number of headers after which it stops
 */
Straight_Reading Read_Straight(Window& window, std::vector<Level_View> levels, std::int64_t at,
                               int most = std::numeric_limits<int>::max());

/** Tells whether items, and nothing else, stand from a place to an end, and elements in them. */
bool Are_Items(Window& window, std::int64_t at, std::int64_t end, unsigned char mode);

}  // namespace lib_mend

#endif
