// What is added, gone and changed from one data set to another.
#ifndef TOOLS_DICOM_MEND_DIFFERENCES_H
#define TOOLS_DICOM_MEND_DIFFERENCES_H

#include "mend/reading/data_set.h"

#include <cstdint>
#include <functional>

namespace dicom_mend {

struct Difference {
    /** The sequences and items around; the last one is the item itself where no element is named. */
    const lib_mend::Path& way;
    /** The element, or the header of the item; null where it is not. One of both is there. */
    const DICOM_List* before = nullptr;
    const DICOM_List* after = nullptr;
    /** Where two values first differ, in bytes from the front; fragments count together. */
    std::int64_t offset = 0;
};

/**
 * Compares element by element, by tags and numbers of items; elements that occur several times in their
 * order. Group lengths, padding, byte order, and whether a length is defined make no difference.
 */
void Find_Differences(const lib_mend::Data_Set& before, const lib_mend::Data_Set& after,
                      const std::function<void(const Difference&)>& tell);

}  // namespace dicom_mend

#endif
