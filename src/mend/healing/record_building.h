// New records, and new values for records, from the C heap.
#ifndef LIB_MEND_RECORD_BUILDING_H
#define LIB_MEND_RECORD_BUILDING_H

#include "mend/reading/data_set.h"

#include <span>
#include <vector>

namespace lib_mend {

/** A record without a value that belongs to no list yet. Throws std::bad_alloc. */
DICOM_List* New_Record(Tag tag, unsigned short vr);

/** Gives a record a value in little endian; what it held before is freed. Throws std::bad_alloc. */
void Set_Bytes(DICOM_List& record, std::span<const unsigned char> bytes);

/**
 * Gives a record that has no items a list for each, and makes its length undefined; the records
 * are the record's from then on. Throws std::bad_alloc, and then they are not.
 */
void Set_Items(DICOM_List& record, const std::vector<DICOM_List*>& items);

}  // namespace lib_mend

#endif
