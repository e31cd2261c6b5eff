/**
 * @file dictionary.h
 * The data dictionary: the registry of data elements of PS3.6, built in, parsed on first use; and
 * the registry of unique identifiers (UIDs) of the same part.
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

/**
 * Finds the entries whose name contains a text, one a call, in ascending order of the tags. Only
 * ASCII letters, whose case makes no difference, and digits count, so that "PatientName" is found in
 * "Patient's Name". Rows that PS3.6 has gained follow while `DICOM_Flag_Current_Standard` is set.
 *
 * @param name_part  the text; one without a letter or digit finds nothing
 * @param previous   the entry that the last call gave, null to begin
 * @return the next entry; null when there is none
 */
LIB_DICOM_API TAG_db_Elems* NEMA_db_Find(const char* name_part, const TAG_db_Elems* previous);

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

/* ---- unique identifiers ---- */

/** One entry of the registry of UIDs, PS3.6 Annex A. Static. */
struct DICOM_UID_Entry {
    const char* uid;
    /** In UTF-8; empty where the registry has none. */
    const char* name;
    /** "SOP Class", "Transfer Syntax", "Context Group", ... */
    const char* kind;
    /** 1 when the UID is retired, else 0. */
    int retired;
};

/**
 * Finds the entry of a UID.
 *
 * @param uid  the UID; blanks behind it are ignored
 * @return null for UIDs that the registry does not have
 */
LIB_DICOM_API const DICOM_UID_Entry* DICOM_UID_Get(const char* uid);

/** Name of a UID, a constant; null when it is not known. See DICOM_UID_Get. */
LIB_DICOM_API const char* DICOM_UID_Name(const char* uid);

/**
 * Finds the UIDs whose name contains a text, one a call. Names are compared as NEMA_db_Find does.
 *
 * @param previous  the entry that the last call gave, null to begin
 * @return the next entry; null when there is none
 */
LIB_DICOM_API const DICOM_UID_Entry* DICOM_UID_Find(const char* name_part,
                                                    const DICOM_UID_Entry* previous);

#endif
