// Encoding of records and groups into memory. Sizes come first: a caller adds up what it is going
// to write, makes room once, and encodes into place. What goes down into nested lists may throw
// std::bad_alloc.
#ifndef LIB_DICOM_SRC_WRITE_STREAM_WRITER_H
#define LIB_DICOM_SRC_WRITE_STREAM_WRITER_H

#include <Lib_DICOM/write.h>

namespace lib_dicom {

/** Encoded size of a group length element, in every byte-order code. */
inline constexpr int Element_0000_Size = 12;

/** Tells whether an output of this size can be counted in an int; reports an error when not. */
bool Is_Writable_Size(HWND handle, long long total);

/**
 * Gives the caller's buffer the exact size `total`; 0 releases it.
 *
 * @return false after a message: the buffer is then as it was
 */
bool Resize_Output(HWND handle, char*& buffer, long long total);

/**
 * Encoded size of a record with everything below it. In explicit VR a UN record that has items and
 * an undefined length becomes a sequence: its `vr` is set.
 */
long long DICOM_Attribute_Size(HWND handle, char code, DICOM_List& record);

/**
 * Encodes a record to `out`, which has room for its size. DICOM_Attribute_Size comes first.
 *
 * @return the place behind the last byte
 */
char* DICOM_Attribute_To_Str(HWND handle, char code, DICOM_List& record, char* out);

/** Encoded size of what DICOM_Write_Group writes; 0 when the list lacks the group. */
long long Group_Size(HWND handle, unsigned short group, char code, DICOM_List* list);

/**
 * Encodes the records of one group up to the first record of a higher group.
 *
 * @return number of bytes
 */
int DICOM_Write_Group(HWND handle, unsigned short group, char code, DICOM_List* list, char* out);

/** Encodes the group length element (gggg,0000). Returns its size. */
int DICOM_Write_Element_0000(HWND handle, unsigned short group, char code, int group_bytes,
                             char* out);

}  // namespace lib_dicom

#endif
