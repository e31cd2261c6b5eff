/**
 * @file dictionary.h
 * The data dictionary: the registry of data elements of PS3.6, built in, parsed on first use.
 */
#ifndef LIB_DICOM_DICTIONARY_H
#define LIB_DICOM_DICTIONARY_H

#include <Lib_DICOM/frame.h>

/** Value multiplicity of one alternative; `vm_max` 0xFFFF means unbounded. */
struct TAG_db_VM {
    unsigned short vm_min;
    unsigned short vm_max;
};

/** One entry. Owned by the dictionary, valid until NEMA_db_Cleanup. */
struct TAG_db_Elems {
    /** The tag, each "x" digit of a repeating group or element read as 0. */
    unsigned short group;
    unsigned short element;
    /** 0xF in each hexadecimal position that holds a real digit, 0 where it holds "x". */
    unsigned short elem_mask;
    /** Number of VR alternatives, negative when the element is retired. */
    signed char nb_vr;
    char name[81];
    /** The VR of each alternative; the first is VR_RT when there is none. */
    unsigned short vr[3];
    TAG_db_VM vm[3];
    /** Next entry of the same group. */
    TAG_db_Elems* next;
};

/**
 * Finds the entry of a tag, in the repeating groups 50xx and 60xx under every even group.
 *
 * @return the entry; null for private groups and unknown tags
 */
LIB_DICOM_API TAG_db_Elems* NEMA_db_Locate(unsigned short group, unsigned short element);

/** Releases the dictionary; the next lookup builds it again. */
LIB_DICOM_API void NEMA_db_Cleanup(void);

/**
 * Reports the loaded dictionary, one line an entry.
 *
 * @param flag  the severity word of the lines, see Error_Fct
 */
LIB_DICOM_API void NEMA_db_Stool(HWND handle, int flag);

/**
 * Checks a number of values against the first alternative of the attribute's dictionary entry.
 *
 * @param attribute  the record; its `dict` names the entry
 * @param count      the number of values found
 * @return 1 when the number fits or nothing is known; 0 after a warning
 */
LIB_DICOM_API int NEMA_db_Check_VN(HWND handle, DICOM_List* attribute, int count);

#endif
