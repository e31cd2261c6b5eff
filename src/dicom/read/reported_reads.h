// Reads and moves on a source that report their failures, for the primitive reads and for the
// reader of element headers alike.
#ifndef LIB_DICOM_SRC_READ_REPORTED_READS_H
#define LIB_DICOM_SRC_READ_REPORTED_READS_H

#include "read/byte_source.h"

namespace lib_dicom {

/** Takes exactly `size` bytes. False after a message; a negative size is a failed read. */
bool Read_Bytes(HWND handle, Byte_Source& source, void* out, int size);

/** The same for bytes that were taken: `count` is the result of Take, of `size` bytes in all. */
bool Check_Count(HWND handle, const Byte_Source& source, std::ptrdiff_t count, int size);

/**
 * Gives back what was fetched ahead and tells the absolute position.
 *
 * @return false after a message when bytes could not be given back: the source is then closed. A
 *         position that cannot be told otherwise is reported and given as 0.
 */
bool Settle(HWND handle, Byte_Source& source, long long& position);

/** Moves to an absolute position. False after a message: the source is then closed. */
bool Seek(HWND handle, Byte_Source& source, long long position);

}  // namespace lib_dicom

#endif
