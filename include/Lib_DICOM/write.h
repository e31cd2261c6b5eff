/**
 * @file write.h
 * What precedes the output of a data set, the encoding of attribute lists (PS3.5 section 7) and of
 * the head of a Part 10 file (PS3.10).
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

/* ---- steps before the output ---- */

/**
 * The steps bring a data set into line with a module list, the records of a module definition with
 * their types and values. The order is: Overwrite or Step 1 (merge), Step 2 (mark what is empty),
 * Step 4 (delete), Step 5 (load), Verification. All work in items of any depth too; an item of the
 * module list stands for the item of the same index in the data set.
 *
 * `mask` holds marks of `flags`: module records that have one of them are taken.
 */

/**
 * Gives the attributes of the data set the value and the marks of the module's records in place of
 * their own, forced values included. Absent attributes are created. Returns 1.
 */
LIB_DICOM_API int DICOM_Postproc_Overwrite(HWND handle, DICOM_Root* root, DICOM_List** list,
                                           DICOM_List* module, unsigned short mask);

/**
 * Appends copies of the module's records to the data set. What is there already is then there
 * twice: DICOM_Attribute_Sort puts the two together, the one that counts in front. Returns 1.
 */
LIB_DICOM_API int DICOM_Postproc_Step_1(HWND handle, DICOM_Root* root, DICOM_List** list,
                                        DICOM_List* module, unsigned short mask);

/**
 * Marks empty attributes as deleted: those of type 3 or of none, and all inside a sequence of type
 * 2C. A sequence is empty when its items hold no value bytes.
 *
 * @param parent_type  type of the sequence around the list, 0 for a client
 * @return number of value bytes in the list, INT_MAX at most
 */
LIB_DICOM_API int DICOM_Postproc_Step_2(HWND handle, DICOM_Root* root, DICOM_List* list,
                                        unsigned short parent_type);

/**
 * Deletes from the data set the attributes that records of a list ask to delete
 * (DICOM_Mark_Delete_Request), which module files do. Items that become empty go too.
 *
 * @param marks  the module list; may be the data set itself
 * @return 1; 0 without memory
 */
LIB_DICOM_API int DICOM_Postproc_Step_4(HWND handle, DICOM_Root* root, DICOM_List** list,
                                        DICOM_List* marks);

/**
 * Loads the values that were left in the source, which `DICOM_Lib_File_Name` and
 * `DICOM_Lib_File_Source` name: those of records with a positive `size` and no `data`. Sequences,
 * items and values that are present are left alone, and so is a value that the source does not hold
 * in full.
 *
 * @return 1 when no value is missing now; 0 after a message
 */
LIB_DICOM_API int DICOM_Postproc_Step_5(HWND handle, DICOM_Root* root, DICOM_List* list);

/**
 * Warns of every attribute of type 1 or 2 that the data set lacks, and of every empty one of type
 * 1. Changes neither list.
 *
 * @param type  type of the sequence around the module list, 0 for a client; without effect
 * @return 1 when nothing is missing; 0 after a warning
 */
LIB_DICOM_API int DICOM_Postproc_Verification(HWND handle, DICOM_Root* root, DICOM_List* list,
                                              DICOM_List* module, int type);

/**
 * Creates the attribute of a module record.
 *
 * @param param  the pointer that was given to DICOM_Module_Add
 * @return not null when the attribute was created
 */
typedef DICOM_List* (*DICOM_Module_Handler)(HWND handle, DICOM_Root* root, DICOM_List** list,
                                            DICOM_List* node, void* param);

/**
 * Creates the attribute of a module record that the data set lacks: by the handlers of its group,
 * else empty where the type is 2 or 2C. Type 1 and 3 attributes need a value and are not created.
 *
 * @return 0 when a handler created it, and for a record without type; else 1
 */
LIB_DICOM_API int DICOM_Module_Add(HWND handle, DICOM_Root* root, DICOM_List** list,
                                   DICOM_List* node, void* param);

/**
 * Registers a handler for a group. Of several for one group the first is called. A private handler
 * is called behind the group's, and its result counts.
 *
 * @return 1; 0 for a null handler, and without memory: the registry is then as it was
 */
LIB_DICOM_API int DICOM_Module_List_Group_Grow(unsigned short group, DICOM_Module_Handler handler);
LIB_DICOM_API int DICOM_Module_List_Private_Grow(unsigned short group,
                                                 DICOM_Module_Handler handler);
/** Forgets all handlers. */
LIB_DICOM_API void DICOM_Module_List_Cleanup(void);

#endif
