/**
 * @file write.h
 * Encoding of attribute lists (PS3.5 section 7) and of the head of a Part 10 file (PS3.10).
 *
 * `code` is the byte-order code of the output: 0 implicit VR little endian, 8 explicit VR little
 * endian, 9 explicit VR big endian. Buffers come from the C heap and belong to the caller, who
 * releases them with DICOM_Lib_Free; one output has at most 2 GiB - 1 bytes. Lists are in ascending
 * order of their tags; values in `data` are in little-endian order, and those that were left in the
 * source are written as zeros. A sequence's items are written up to the first empty slot, delimiters
 * that still stand in their lists included: DICOM_Attribute_Remove takes those out.
 */
#ifndef LIB_DICOM_WRITE_H
#define LIB_DICOM_WRITE_H

#include <Lib_DICOM/frame.h>

/**
 * Appends the pixel data elements (group 7FE0) to a data set that is being written.
 *
 * @param offset  number of bytes already in `*buffer`
 * @param buffer  address of the buffer, which the callback grows itself with the C heap's realloc
 * @param param   the pointer that the client gave to DICOM_Write_Buffer
 * @return number of bytes appended, 0 for none
 */
typedef int (*DICOM_Image_Writer)(HWND handle, char code, unsigned int offset, char** buffer,
                                  void* param);

/** Fills `*buffer` with pixel data and returns its size; the integers are the client's own. */
typedef int (*DICOM_Image_B_Writer)(HWND handle, char code, char** buffer, int first, int second,
                                    void* param);

/** Registers the writer of the pixel data, null for none. Returns 1. */
LIB_DICOM_API int DICOM_Write_Image_Fct(DICOM_Image_Writer writer);
LIB_DICOM_API int DICOM_Write_Image_B_Fct(DICOM_Image_B_Writer writer);

/**
 * Encodes every record of a list in list order, whatever its group, without group lengths.
 *
 * @param buffer  receives the new buffer, null when there is nothing to write
 * @return number of bytes, 0 on failure
 */
LIB_DICOM_API int DICOM_List2Stream(HWND handle, char code, DICOM_List* list, char** buffer);

/**
 * Encodes a data set: the groups before the pixel data (A), the pixel data by the registered
 * writer, the groups after it (C). Group 0002, even groups that the writer does not know and,
 * unless `Flag_DICOM_Propriatery` is set, private groups are left out.
 *
 * @param buffer  address of null or of a block that is overwritten and reallocated
 * @param param   handed to the pixel data writer
 * @return number of bytes; 0 on failure, and when no pixel data writer is registered
 */
LIB_DICOM_API unsigned int DICOM_Write_Buffer(HWND handle, char code, DICOM_List* list,
                                              char** buffer, void* param);
/** The first piece alone: groups 0008 to 7F00. */
LIB_DICOM_API unsigned int DICOM_Write_Buffer_A(HWND handle, char code, DICOM_List* list,
                                                char** buffer, void* param);
/** Calls the registered writer B with all arguments and returns its result, 0 without one. */
LIB_DICOM_API unsigned int DICOM_Write_Buffer_B(HWND handle, char code, char** buffer, int first,
                                                int second, void* param);
/** The last piece alone: groups 7FF0 to 7FFF. */
LIB_DICOM_API unsigned int DICOM_Write_Buffer_C(HWND handle, char code, DICOM_List* list,
                                                char** buffer, void* param);

/**
 * Encodes the head of a Part 10 file (PS3.10 section 7.1): preamble, "DICM" and group 0002, the
 * latter in explicit VR little endian. A (0002,0000) in the list would be written twice: the
 * function makes its own.
 *
 * @param buffer  receives a new block; what it held is not released
 * @return number of bytes, 132 when the list has no group 0002; 0 on failure
 */
LIB_DICOM_API unsigned int DICOM_Write_Part10(HWND handle, char code, DICOM_List* list,
                                              char** buffer);

#endif
