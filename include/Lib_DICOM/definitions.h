/**
 * @file definitions.h
 * Definition files: what a site's text files say of modules (IODs) and of private attributes. The
 * format of the files is described in docs/definitions.md.
 *
 * Lists, texts and names that these functions return belong to the library. Faults of a file are
 * reported with its name, line and column; the faulty line is left out, the others count.
 */
#ifndef LIB_DICOM_DEFINITIONS_H
#define LIB_DICOM_DEFINITIONS_H

#include <Lib_DICOM/frame.h>

/**
 * Names the directory of the definition files.
 *
 * @param directory  the directory; null keeps the one in use. When none is in use, it is the one
 *                   that the environment variable LIB_DICOM_DEFINITIONS names, else the one that
 *                   was installed with the library
 * @return the directory with a separator at its end, valid until the next call that names another
 *         one and until DICOM_Module_Cleanup; null after an error message when it does not exist
 *         (one that was in use stays in use)
 */
LIB_DICOM_API const wchar_t* DICOM_Module_Setup(HWND handle, const wchar_t* directory);

/**
 * Reads the module list of an IOD: the file iods/NAME.txt and what it includes, then the lines of
 * `DICOM_Override`. That is a text when it holds a line end or begins with "(", ">" or "#", else
 * the name of a file.
 *
 * @param name  code of the IOD; null for the one of `DICOM_Modality`, and for the lines of
 *              `DICOM_Override` alone when that is 0
 * @return the list, in ascending order of the tags, with one item as the template of each sequence
 *         that has nested lines. It is kept, and valid until DICOM_Module_Free; the `dict` of its
 *         records until NEMA_db_Cleanup. Null when a file cannot be read or holds no attribute
 */
LIB_DICOM_API DICOM_List* DICOM_Module_Read(HWND handle, const char* name);

/**
 * Reads one line of a definition file into a list of the caller's. It walks the list; many lines
 * are better read as one text of `DICOM_Override`.
 *
 * @param root  the context; it remembers the last line of each level, which a line that begins with
 *              ">" belongs to. With a sequence open in it, the line goes into the open item
 * @return 1; 0 after an error message
 */
LIB_DICOM_API int DICOM_Module_Read_Line(HWND handle, DICOM_Root* root, DICOM_List** list,
                                         const char* line);

/**
 * Sets the value of a record from text by its VR: numbers in decimal, AT as "gggg,eeee", OB, OW, UN
 * and the other O VRs as pairs of hexadecimal digits, anything else as it is. Backslashes separate
 * several values. The value is made even in length as the VR asks, in little-endian order.
 *
 * @return 1; 0 after an error message, with the record as it was
 */
LIB_DICOM_API int DICOM_Module_Read_Value(HWND handle, DICOM_List* record, const char* text);

/**
 * Code of the IOD that a modality uses by default.
 *
 * @param modality  two letters in the coding of a VR
 * @return the code, valid until DICOM_Module_Setup sets a directory and until
 *         DICOM_Module_Cleanup; null when there is none
 */
LIB_DICOM_API const char* DICOM_Module_Name(HWND handle, unsigned short modality);
/** The same for a SOP class. */
LIB_DICOM_API const char* DICOM_Module_Name(HWND handle, const char* sop_class_uid);

/**
 * Text of a definition file.
 *
 * @param name  the file's name below the definition directory without ".txt"
 * @return the text, valid until DICOM_Module_Free; null after an error message
 */
LIB_DICOM_API const char* DICOM_Module_Include_Get(HWND handle, const char* name);

/**
 * Completes a private record from the definitions of its creator: the description, and the default
 * VR unless the record has a VR of its own other than UN. The block that the creator has reserved
 * does not matter. An element named "Unknown" there gets the creator as description.
 *
 * @param creator  the text of the creator element without blanks around it
 * @return 1; 0 when the creator or the element is unknown
 */
LIB_DICOM_API int DICOM_Module_Read_Private(HWND handle, const char* creator, DICOM_List* record);

/** Releases the lists and the texts. */
LIB_DICOM_API void DICOM_Module_Free(void);
/** Releases the private definitions. */
LIB_DICOM_API void DICOM_Module_Free_Private(void);
/** Releases the index tables and forgets the directory. */
LIB_DICOM_API void DICOM_Module_Cleanup(void);

#endif
