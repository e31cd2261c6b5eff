/**
 * @file attributes.h
 * Attribute lists: finding, inserting, copying, deleting and sorting records, sequences and items,
 * formatting a flat list, completion from the dictionary, and the repair of values.
 *
 * Operations that take a context work on the list of the item that it has open: given the list of
 * the top level they descend through the open sequences. Operations that may change the first
 * record of a list take the address of the pointer to it.
 */
#ifndef LIB_DICOM_ATTRIBUTES_H
#define LIB_DICOM_ATTRIBUTES_H

#include <Lib_DICOM/frame.h>

/* ---- finding and building ---- */

/**
 * Finds a record, or creates an empty one at its place in ascending order of the tags.
 *
 * @return the record, owned by the list; null without memory
 */
LIB_DICOM_API DICOM_List* DICOM_Attribute_Find(HWND handle, DICOM_Root* root, DICOM_List** list,
                                               unsigned short group, unsigned short element);

/**
 * Finds the first record with a tag.
 *
 * @param group    the group, 0xFFFF for any
 * @param element  the element, 0xFFFF for any
 * @param unused   without effect
 * @return the record, owned by the list; null when there is none
 */
LIB_DICOM_API DICOM_List* DICOM_Attribute_Get(HWND handle, DICOM_Root* root, DICOM_List* list,
                                              unsigned short group, unsigned short element,
                                              char unused);
/** The same by patterns on the four capital hexadecimal digits of each number; see Str_Match. */
LIB_DICOM_API DICOM_List* DICOM_Attribute_Get(HWND handle, DICOM_Root* root, DICOM_List* list,
                                              const char* group, const char* element, char unused);

/** Nonzero when both patterns match the tag; see Str_Match. */
LIB_DICOM_API int DICOM_Attribute_Match(const char* group_pattern, const char* element_pattern,
                                        unsigned short group, unsigned short element);

/**
 * Appends a copy of a record behind the one that the head names as `last`, whatever the tag; what
 * follows there is cut off. Inside an open sequence that costs a walk to the sequence, unless
 * `DICOM_Flag_Current_Standard` is set and it stands at the end of its list.
 *
 * @param record  the record to copy; it stays the caller's
 * @param level   depth of the list that `list` names, 0 for a client
 * @return the copy, owned by the list; null after a warning
 */
LIB_DICOM_API DICOM_List* DICOM_Attribute_Insert(HWND handle, DICOM_Root* root, DICOM_List** list,
                                                 DICOM_List* record, int level);

/**
 * Merges copies of all records of a list into another. Stops at the first record of group 5200.
 *
 * @return 1; 0 after a warning
 */
LIB_DICOM_API int DICOM_Attribute_Copy(HWND handle, DICOM_Root* root, DICOM_List** target,
                                       DICOM_List* source);

/**
 * Creates an attribute from C values, at its place in ascending order. One that exists with a value
 * is left as it is.
 *
 * With a positive `nb_arg` the values follow as arguments of their own; with a negative one a
 * pointer to an array of as many values follows. 0 makes an attribute without a value.
 *
 *   VR               each argument                         array of
 *   AE CS LO SH UC   const char*                           const char*
 *   PN UI            const char* (several UIDs: one text   -
 *                    with backslashes)
 *   AS LT ST UT UR   const char*, one only                 -
 *   IS SL UL OL      int                                   int
 *   SS               short                                 short
 *   US OW            unsigned short                        unsigned short
 *   AT               unsigned short, group and element     -
 *   OB               unsigned char                         unsigned char
 *   DS               const float*                          float
 *   FL OF            the bits of a float, unsigned int     float
 *   FD OD            double                                double
 *   OV SV UV         64-bit integer                        64-bit integer
 *   DA               const OrisWare_Date*                  OrisWare_Date
 *   TM               const OrisWare_Time*                  OrisWare_Time
 *   DT               const OrisWare_Date* and              two arrays
 *                    const OrisWare_Time*
 *   SQ               unsigned short, marks for `flags`     -
 *
 * OD, OF, OL, OV, SV, UC, UR and UV are known while `DICOM_Flag_Current_Standard` is set. <add.h>
 * has a typed form.
 *
 * @return the head of the list
 */
LIB_DICOM_API DICOM_List* DICOM_Attribute_Add(HWND handle, DICOM_Root* root, DICOM_List** list,
                                              unsigned short group, unsigned short element,
                                              unsigned short vr, int nb_arg, ...);

/* ---- removing ---- */

/**
 * Deletes all records with a tag, in items of any depth too. The slot of an item that becomes empty
 * stays, and ends the items for whoever walks them: a client closes such gaps.
 *
 * @param group    the group, 0xFFFF for any, 0xFFF1 for odd ones: behind the first record that stays
 *                 its group decides for all whether they are odd
 * @param element  the element, 0xFFFF for any
 * @return 1; 0 for an empty list
 */
LIB_DICOM_API int DICOM_Attribute_Delete(HWND handle, DICOM_Root* root, DICOM_List** list,
                                         unsigned short group, unsigned short element);
/** The same by patterns; see Str_Match. */
LIB_DICOM_API int DICOM_Attribute_Delete(HWND handle, DICOM_Root* root, DICOM_List** list,
                                         const char* group, const char* element);

/** Releases one record and the lists of its items; it does not follow `next`. */
LIB_DICOM_API void DICOM_Attribute_Free(HWND handle, DICOM_List* record);

/** Bits of the `mode` of DICOM_Attribute_Remove. */
inline constexpr unsigned char DICOM_Remove_Group_Lengths = 0x01;
inline constexpr unsigned char DICOM_Remove_Deleted = 0x02;
inline constexpr unsigned char DICOM_Remove_Retired = 0x04;
inline constexpr unsigned char DICOM_Remove_Delimiters = 0x08;
inline constexpr unsigned char DICOM_Remove_Private = 0x10;

/**
 * Removes records by their status, in items of any depth too: always those marked invalid, and
 * those that the bits of `mode` name. Private ones stay while `Flag_DICOM_Propriatery` is set. The
 * slot of an item that becomes empty stays, as with DICOM_Attribute_Delete.
 *
 * @return always 0
 */
LIB_DICOM_API int DICOM_Attribute_Remove(HWND handle, DICOM_List** list, unsigned char mode);

/* ---- whole lists ---- */

/**
 * Sorts a list and its items by tag and merges the status of records with the same tag.
 *
 * @return 1; 0 for an empty list
 */
LIB_DICOM_API int DICOM_Attribute_Sort(HWND handle, DICOM_Root* root, DICOM_List** list);

/** Repairs the value of every record, in items of any depth too. Returns 1. */
LIB_DICOM_API int DICOM_Attribute_Cleanup(HWND handle, DICOM_Root* root, DICOM_List* list);

/** Gives the records of a list the type and the default VR of a reference list's records. */
LIB_DICOM_API void DICOM_Attribute_Assign_Info(HWND handle, DICOM_Root* root, DICOM_List* reference,
                                               DICOM_List* target);

/* ---- sequences and items ---- */

/**
 * Keeps track of the open sequences of a context. `trace` is the severity word of the banner line,
 * 0 for none. The deepest level is 9: a tenth sequence is reported and taken as part of the ninth.
 */
LIB_DICOM_API void DICOM_Attribute_Sequence_Reset(HWND handle, DICOM_Root* root);
/** Returns the number of open sequences. */
LIB_DICOM_API int DICOM_Attribute_Sequence_Query(HWND handle, DICOM_Root* root);
/** Stores the tag and the flags of the sequence at a depth. */
LIB_DICOM_API void DICOM_Attribute_Sequence_Set(HWND handle, DICOM_Root* root, int depth,
                                                unsigned short group, unsigned short element,
                                                unsigned short flags);
/** Reads them back; each pointer may be null. */
LIB_DICOM_API void DICOM_Attribute_Sequence_Get(HWND handle, DICOM_Root* root, int depth,
                                                unsigned short* group, unsigned short* element,
                                                unsigned short* flags);
/** Opens a sequence and returns the new depth. */
LIB_DICOM_API int DICOM_Attribute_Sequence_Start(HWND handle, DICOM_Root* root,
                                                 unsigned short group, unsigned short element,
                                                 unsigned short flags, unsigned int trace);
/** The same for the tag that DICOM_Attribute_Sequence_Set or _Find stored. */
LIB_DICOM_API int DICOM_Attribute_Sequence_Start(HWND handle, DICOM_Root* root, unsigned int trace);
/** Closes the innermost sequence and returns the new depth; 0 after a warning when none is open. */
LIB_DICOM_API int DICOM_Attribute_Sequence_Stop(HWND handle, DICOM_Root* root, unsigned int trace);
/** Closes all sequences and returns 0; warns when some were open. */
LIB_DICOM_API int DICOM_Attribute_Sequence_End(HWND handle, DICOM_Root* root);
/** Starts the next item of the innermost sequence. Returns 1. */
LIB_DICOM_API int DICOM_Attribute_Item_Start(HWND handle, DICOM_Root* root, unsigned int trace);
/** Ends the current item. Returns 1. */
LIB_DICOM_API int DICOM_Attribute_Item_Stop(HWND handle, DICOM_Root* root, unsigned int trace);
/** Index of the current item at a depth, from 0; -1 before the first. */
LIB_DICOM_API int DICOM_Attribute_Item_Query(HWND handle, DICOM_Root* root, int depth);

/**
 * Turns the flat list of a stream's elements, items and delimiters into a nested list.
 *
 * @param list  the flat list; it stays the caller's, and is marked where elements are retired or
 *              private
 * @return a new list that the caller owns; null when it is empty, and without memory for all of it
 */
LIB_DICOM_API DICOM_List* DICOM_Attribute_Format(HWND handle, DICOM_List* list);

/* ---- completion and repair ---- */

/** Fills in dictionary entries, default VRs and descriptions, in items too. Returns 0. */
LIB_DICOM_API int DICOM_Attribute_Complement(HWND handle, DICOM_Root* root, DICOM_List* list);

/** Names one private record from its creator. Returns 1. */
LIB_DICOM_API int DICOM_Attribute_Complement_Private(HWND handle, DICOM_Root* root,
                                                     DICOM_List* list, DICOM_List* record);

/**
 * Sets a record's default VR, unless `vr` is 0, and its description.
 *
 * @param format  printf format of the description; an empty text leaves none
 * @return 1; 0 without memory
 */
LIB_DICOM_API int DICOM_Attribute_Complement_Tag(HWND handle, DICOM_List* record, unsigned short vr,
                                                 const char* format, ...);

/** Names the elements of the compression groups 1000 and 7F00 to 7FDF of one maker. Returns 1. */
LIB_DICOM_API int SPI_Complement_1000(HWND handle, DICOM_List* record);
LIB_DICOM_API int SPI_Complement_7Fxx(HWND handle, DICOM_List* record);

/**
 * Repairs the value of one record by the rules of its VR (PS3.5 section 6.2) and checks the number
 * of values; reports every change. A value that cannot be mended is deleted or marked invalid.
 *
 * @return 1 when the value is valid or absent, 0 when it was found invalid
 */
LIB_DICOM_API int DICOM_Attribute_Cleanup_Tag(HWND handle, DICOM_List* record);

/**
 * Brings a big-endian value into little-endian order.
 *
 * @return 1; 0 when the size is not a multiple of the VR's width
 */
LIB_DICOM_API int DICOM_Attribute_Cleanup_Swab(HWND handle, DICOM_List* record);

/**
 * Reports what DICOM_Attribute_Cleanup would find in the values of a list, in items of any depth too,
 * in the same words. The values stay as they are, save that big-endian ones become little-endian.
 *
 * @return 1
 */
LIB_DICOM_API int DICOM_Attribute_Syntax(HWND handle, DICOM_Root* root, DICOM_List* list);

/** Turns a free text into a code string (CS) in place, of 16 characters at most. Returns 1. */
LIB_DICOM_API int DICOM_Str_To_CS(char* text);

/* ---- handlers of the client ---- */

/**
 * Takes one record of a list that is parsed. It may change the list, but not remove the record, nor
 * the first one of the list.
 *
 * @param root    the context that was given to DICOM_Attribute_Parse
 * @param record  the record, owned by the list
 * @param user    the user value
 * @return the user value for the next handler; null stops the parse
 */
typedef void* (*DICOM_Parse_Handler)(HWND handle, DICOM_Root* root, DICOM_List* record, void* user);

/**
 * Registers a handler, in this order of precedence: for the private records of a group (SPI), for a
 * standard (even) group, and for the elements of private creators whose text begins with `creator`.
 * Of several that fit, the one registered first is called. The registry is shared by all lists and
 * lives until DICOM_Attribute_List_Cleanup or DICOM_Lib_Cleanup.
 *
 * @return 1; 0 without memory: what was registered stays
 */
LIB_DICOM_API int DICOM_Attribute_List_SPI_Grow(unsigned short group, DICOM_Parse_Handler handler);
/** The same for a standard group: see DICOM_Attribute_List_SPI_Grow. */
LIB_DICOM_API int DICOM_Attribute_List_Group_Grow(unsigned short group,
                                                  DICOM_Parse_Handler handler);
/**
 * The same for the elements of private creators: see DICOM_Attribute_List_SPI_Grow.
 *
 * @param creator  beginning of the creator's text, at most 71 bytes, copied
 * @return 1; 0 without memory, and for a text that is too long: what was registered stays
 */
LIB_DICOM_API int DICOM_Attribute_List_Private_Grow(const char* creator,
                                                    DICOM_Parse_Handler handler);

/** Forgets all registered handlers. */
LIB_DICOM_API void DICOM_Attribute_List_Cleanup(void);

/**
 * Hands the records of a list, without those of items, to the registered handlers.
 *
 * @param user  handed to the first handler; each hands on what the next one gets
 * @return what the last handler returned; `user` when none was called
 */
LIB_DICOM_API void* DICOM_Attribute_Parse(HWND handle, DICOM_Root* root, DICOM_List* list,
                                          void* user);

/* ---- listing ---- */

/**
 * Reports a list and the lists of its items, one line a record and one an item; delimitation tags
 * of a nested list are left out:
 *
 *     (DICOM)   (0008,0005) CS      10 Specific Character Set   ISO_IR 100
 *     (Private) (0009,0010) LO       4 Private Creator          ACME
 *     (DICOM)   (0040,0275) SQ       - Request Attributes Se... 1 item
 *                 item 1
 *     (DICOM)     (0008,0050) SH     4 Accession Number       4711
 *
 * that is: origin or most important status, a mark ("+" appended, "!" forced, "=" default value),
 * tag, VR, length, name, value. The value stands between the bytes 0x06 and 0x02, a text in the
 * bytes of its own character set; control characters are shown in hexadecimal, but for ISO 2022
 * designations. Of a text, 256 bytes are looked at, of other values 64; "..." behind the 0x02 tells
 * that the value goes on. Values that were left in the source are named by their position.
 *
 * @param root  context in whose open sequence the list stands, which indents it; null for none
 * @param flag  the severity word of the lines, see Error_Fct
 * @return 1; 0 without memory
 */
LIB_DICOM_API int DICOM_Attribute_Stool(HWND handle, DICOM_Root* root, DICOM_List* list, int flag);
/** Reports the line of one record, without its items. Returns 1; 0 for a null record. */
LIB_DICOM_API int DICOM_Attribute_Stool_Tag(HWND handle, DICOM_Root* root, DICOM_List* record,
                                            int flag);
/** Reports the value of one record alone. Returns 1; 0 for a null record. */
LIB_DICOM_API int DICOM_Attribute_Stool_Data(HWND handle, DICOM_List* record, int flag);

/**
 * The text of a value as the listing shows it, but whole. A value that was left in the source is
 * fetched into the record first when it is longer than 1024 bytes; see the typed extractors.
 *
 * @return a text of the C heap, to be released with DICOM_Lib_Free; null when the value cannot be
 *         fetched, and without memory
 */
LIB_DICOM_API char* DICOM_Attribute_Get_Data(HWND handle, DICOM_List* record);

#endif
