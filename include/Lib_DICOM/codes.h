/**
 * @file codes.h
 * Coded concepts: finds the entry of a code table for a name in free text (PS3.3 section 8).
 *
 * A code table is a text file below the definition directory, one entry a line: the coding scheme
 * designator, a blank, the code value, a blank, and the code meaning up to the end of the line.
 * Lines that begin with "#", "*" or ";" are comments. Of a line the first 179 characters count, a
 * warning tells when an entry is cut. A table with a word of 80 characters or more in a meaning is
 * faulty and used for nothing. Table names may name folders below the directory, "codes/cid-25.txt";
 * one that leads out of it is refused.
 *
 * Names and meanings are compared word by word without regard to the case of ASCII letters. For
 * each word of a meaning the longest beginning, of two characters at least, that stands anywhere in
 * the name scores five times its length, and ten more where it begins the name or follows a blank.
 * The sum must reach 10 to 40, by the length of the name. One pass over the name is made for each
 * word, so that the cost is that of the table's words times the length of the name.
 *
 * Messages go through `hwnd`.
 */
#ifndef LIB_DICOM_CODES_H
#define LIB_DICOM_CODES_H

#include <Lib_DICOM/frame.h>

/** A coded concept. The first three texts come from the C heap and belong to the record. */
struct Code_Seq {
    char* code_value;
    char* coding_scheme;
    char* code_meaning;
    /** The name to be coded, set by the client. */
    char* original_name;
};

/**
 * Codes a record from its `original_name`. Of several best entries the first is taken, after a
 * warning. The name "Tc-99m" has a code of its own, and needs no table.
 *
 * @param code   its three codes are released and replaced, by null where the entry has none; they
 *               stay as they are when there is no match
 * @param table  the table's file name, relative to the definition directory
 * @return 1 when the record was coded, else 0
 */
LIB_DICOM_API int DICOM_Macro_CodeSequence_Set(Code_Seq* code, const char* table);

/** The client's record of the last call of DICOM_Macro_CodeSequence_Set, null when it coded none. */
LIB_DICOM_API Code_Seq* DICOM_Macro_Code_Sequence_Get(void);
/** Forgets that record. */
LIB_DICOM_API void DICOM_Macro_Code_Sequence_Reset(void);

/** An entry that fits a name. */
struct Code_Match {
    /** Its `original_name` is null. */
    Code_Seq code;
    int score;
};

/**
 * Finds all entries of a table that fit a name, the best first, equal ones in the order of the
 * file. "Tc-99m" is a name like any other here.
 *
 * @param matches  receives an array that the caller releases with DICOM_Macro_CodeSequence_Free;
 *                 null when there is none
 * @return number of entries; -1 for a null name, for a table that cannot be read or is faulty,
 *         and without memory
 */
LIB_DICOM_API int DICOM_Macro_CodeSequence_Rank(const char* name, const char* table,
                                                Code_Match** matches);
/** Releases the matches and sets the pointer to null. */
LIB_DICOM_API void DICOM_Macro_CodeSequence_Free(Code_Match** matches, int count);

#endif
