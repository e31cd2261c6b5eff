// Values that the client left in the source when it read the element's header.
#ifndef LIB_DICOM_SRC_READ_DEFERRED_VALUE_H
#define LIB_DICOM_SRC_READ_DEFERRED_VALUE_H

#include "frame/report.h"

namespace lib_dicom {

/** Tells whether the value was left in the source; short values are always loaded. */
bool Is_Deferred(const DICOM_List& tag);

/**
 * Fetches the value into the record, from the source that the exported settings name.
 *
 * @return false after a message. Where the source ended or failed inside the value, the record
 *         keeps what could be read, zeros behind it.
 */
bool Fetch_Deferred_Value(HWND handle, DICOM_List& tag, Place place = Place());

}  // namespace lib_dicom

#endif
