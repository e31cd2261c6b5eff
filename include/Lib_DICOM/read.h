/**
 * @file read.h
 * Reading from an open file or a memory image: primitive reads, data element headers, and the values
 * of records in typed form.
 *
 * Every primitive read names its source by the same five arguments, in this order:
 *   - handle: the window handle for messages;
 *   - source: 1 for a file descriptor opened for binary reading, any other value for memory;
 *   - where:  the descriptor, or the address of a position counter (see NEMA_Position_New);
 *   - ptr:    the file's name as wide text, used in messages only, or the first byte of the image;
 *   - order:  the byte-order code: bit 0x01 big endian, bit 0x02 swapped 16-bit pairs.
 */
#ifndef LIB_DICOM_READ_H
#define LIB_DICOM_READ_H

#include <Lib_DICOM/frame.h>
#include <Lib_DICOM/values.h>

/** `source` of a read from a file descriptor. */
inline constexpr int NEMA_Source_File = 1;
/** `source` of a read from a memory image. */
inline constexpr int NEMA_Source_Memory = 0;

/* ---- position counters of memory images ---- */

/**
 * Hands out a position counter for a memory image, set to 0.
 *
 * The address of the counter travels in the 32-bit argument `where`, so it has to lie in the lowest
 * (or highest) 2 GiB of the address space, where neither the stack nor the heap of a 64-bit
 * program lies. Use:
 *
 *     int* position = NEMA_Position_New(handle);
 *     int where = NEMA_Position_Where(position);
 *     NEMA_Read_UShort(handle, NEMA_Source_Memory, where, image, 0, 2, &value);
 *     ... *position is now 2; it may be set at will ...
 *     NEMA_Position_Free(position);
 *
 * @return the counter, a byte offset into the image; null after an error message when the
 *         system has no such address left
 */
LIB_DICOM_API int* NEMA_Position_New(HWND handle);

/** The value of `where` for a counter that NEMA_Position_New gave. */
LIB_DICOM_API int NEMA_Position_Where(const int* position);

/** Releases a counter that NEMA_Position_New gave. Null is allowed. */
LIB_DICOM_API void NEMA_Position_Free(int* position);

/* ---- conversions ---- */

/** Numbers from bytes in a given byte order; the same as Get_Double and its like of Lib_Util. */
LIB_DICOM_API double NEMA_Convert_Double(unsigned char order, const void* bytes);
LIB_DICOM_API float NEMA_Convert_Float(unsigned char order, const void* bytes);
LIB_DICOM_API int NEMA_Convert_Int(unsigned char order, const void* bytes);
LIB_DICOM_API short NEMA_Convert_Short(unsigned char order, const void* bytes);
LIB_DICOM_API unsigned short NEMA_Convert_UShort(unsigned char order, const void* bytes);

/* ---- reads ---- */

/**
 * Reads `size` bytes and stores the number that their first bytes form in the given order.
 *
 * A memory image is not checked against its end: the caller checks lengths first. The position
 * advances by `size`, in a file by what could be read.
 *
 * @param size  number of bytes to take, at least the width of the type (NEMA_Read_Byte: any)
 * @param out   receives the value; NEMA_Read_Byte stores the `size` bytes themselves
 * @return 1; 0 after a message when the file could not be read or ended
 */
LIB_DICOM_API int NEMA_Read_Byte(HWND handle, int source, int where, void* ptr, unsigned char order,
                                 int size, char* out);
LIB_DICOM_API int NEMA_Read_Short(HWND handle, int source, int where, void* ptr,
                                  unsigned char order, int size, short* out);
LIB_DICOM_API int NEMA_Read_UShort(HWND handle, int source, int where, void* ptr,
                                   unsigned char order, int size, unsigned short* out);
LIB_DICOM_API int NEMA_Read_Int(HWND handle, int source, int where, void* ptr, unsigned char order,
                                int size, int* out);
LIB_DICOM_API int NEMA_Read_UInt(HWND handle, int source, int where, void* ptr, unsigned char order,
                                 int size, unsigned int* out);
LIB_DICOM_API int NEMA_Read_Float(HWND handle, int source, int where, void* ptr,
                                  unsigned char order, int size, float* out);
LIB_DICOM_API int NEMA_Read_Double(HWND handle, int source, int where, void* ptr,
                                   unsigned char order, int size, double* out);

/**
 * Reads `size` bytes into a new buffer; with bit 0x02 of `order` the bytes of each 16-bit pair are
 * swapped. NEMA_Read_Str puts a NUL behind them.
 *
 * @return the buffer, which the caller releases with DICOM_Lib_Free; null after a message
 */
LIB_DICOM_API char* NEMA_Read_Buffer(HWND handle, int source, int where, void* ptr,
                                     unsigned char order, int size);
LIB_DICOM_API char* NEMA_Read_Str(HWND handle, int source, int where, void* ptr,
                                  unsigned char order, int size);

/**
 * Moves the position forward by `size` bytes; -1 (an undefined length) moves nothing.
 *
 * @return 1; 0 when the file could not be positioned: its descriptor is then closed
 */
LIB_DICOM_API int NEMA_Skip(HWND handle, int source, int where, void* ptr, int size);

/* ---- data elements ---- */

/**
 * Reads the header of one data element (PS3.5 section 7.1), mends the known faults of other
 * makers' encoders with a warning each, and leaves the position at the first value byte.
 *
 * @param mode       bit 0x01 big endian, 0x02 swap 16-bit values, 0x08 explicit VR; the high
 *                   nibble 0x10 turns on the 13-to-10 length repair, 0x30 the item length repair too
 * @param group      receives the group
 * @param element    receives the element
 * @param vr         receives the VR code, 0 when the element has none
 * @param length     receives the length of the value in bytes, -1 when it is undefined
 * @param file_size  size of the file or image in bytes, 0 when unknown; when known, no length
 *                   beyond it is accepted and no image is read past it. The length of the
 *                   skipped element that comes back as (FFFF,FFFF) is not checked against it.
 * @return 1 when a header was read; 0 at the end of the source or after a message. After a failed
 *         seek the descriptor is closed.
 */
LIB_DICOM_API int NEMA_Get_Data_Element(HWND handle, int source, int where, void* ptr,
                                        unsigned char mode, unsigned short* group,
                                        unsigned short* element, unsigned short* vr, int* length,
                                        int file_size);

/** The same for streams written with explicit VR and a 4-byte length for every VR; no repairs. */
LIB_DICOM_API int NEMA_Get_Data_Element_Fuji(HWND handle, int source, int where, void* ptr,
                                             unsigned char mode, unsigned short* group,
                                             unsigned short* element, unsigned short* vr,
                                             int* length, int file_size);

/* ---- typed values ---- */

/**
 * The value of a record in typed form; `vm` of the record receives the number of values.
 *
 * A value of more than 1024 bytes that was left in the source (`data` null) is fetched first, and
 * stays in the record; names, dates and times are never fetched. The source is the one that the
 * settings tell: with `DICOM_Lib_File_Source` 1 the file named by `DICOM_Lib_File_Name`, else the
 * memory image that starts at `DICOM_Lib_File_Name`, which has to hold the value as a whole.
 *
 * Results belong to the library. One is valid until the 128th further call of the same function, or
 * NEMA_Value_Cleanup. NEMA_Value_Name uses the memory of the strings too, so that it may overwrite
 * a result of NEMA_Value_Str.
 *
 * The VRs in brackets are accepted while `DICOM_Flag_Current_Standard` is set.
 *
 * @param vr  the VR to read the value as; 0 for that of the record
 * @return null for an empty or missing value, after a message for a VR that does not fit and for a
 *         value that could not be fetched
 */

/**
 * Strings, nothing trimmed: one per value of AE, CS, LO, SH, UI [UC]; the whole value of AS, LT,
 * OB, ST, UN, UT [UR].
 */
LIB_DICOM_API char** NEMA_Value_Str(HWND handle, DICOM_List* tag, unsigned short vr);

/**
 * Integers from DS, IS, SL, UL, AT, SS, US, UH, OW [OL, SV, UV], and from RT by its size. Decimals
 * are truncated, numbers outside 32 bits become the nearest limit; UL [OL] and AT give the 32 bits as
 * they are, so that a large UL comes out negative.
 */
LIB_DICOM_API int* NEMA_Value_Int(HWND handle, DICOM_List* tag, unsigned short vr);

/** Floats from DS, IS, FL, FD [OF, OD]. */
LIB_DICOM_API float* NEMA_Value_Float(HWND handle, DICOM_List* tag, unsigned short vr);

/** The `size` bytes of OB, OW, OX, UN [OD, OF, OL, OV] in the record's byte order. */
LIB_DICOM_API unsigned char* NEMA_Value_Hex(HWND handle, DICOM_List* tag, unsigned short vr);

/** Names from PN. A name with fewer components than one before it takes over the missing ones. */
LIB_DICOM_API OrisWare_Name* NEMA_Value_Name(HWND handle, DICOM_List* tag, unsigned short vr);

/** The date of DA or DT. */
LIB_DICOM_API OrisWare_Date* NEMA_Value_Date(HWND handle, DICOM_List* tag, unsigned short vr);

/**
 * The time of TM or DT. The UTC offset of a DT is added. A DT with dots in its date gives the
 * record that the slot holds already.
 */
LIB_DICOM_API OrisWare_Time* NEMA_Value_Time(HWND handle, DICOM_List* tag, unsigned short vr);

/** Releases all results of typed extraction. */
LIB_DICOM_API void NEMA_Value_Cleanup(void);

#endif
