/**
 * @file dicom_mend.h
 * Reading, checking, mending and writing of whole DICOM files, for C and for whatever calls C.
 *
 * Rules of the whole interface:
 *
 * - A session holds options and findings. A data set belongs to nobody but its owner, and outlives the
 *   session that read it. Both are opaque, made by functions of this header and freed by them; freeing
 *   null does nothing.
 * - Functions that may fail return a status, DICOM_MEND_OK for success; what they were to hand out is
 *   null or 0 otherwise. dicom_mend_last_error tells why, in words. A null handle, and a null pointer where
 *   something is to be handed out, is DICOM_MEND_BAD_ARGUMENT. Functions that return something else
 *   return null, 0 or "" for a null handle. Nothing is thrown, nothing ends the process.
 * - A failed call changes nothing in a data set. Without memory (DICOM_MEND_NO_MEMORY) a mending, completion
 *   or undoing may have been done in part.
 * - What is wrong with a file is no failure of a function: it becomes a finding of the session.
 * - Each pointer to bytes has a size beside it, in bytes. Texts are UTF-8; those that come in end with
 *   NUL unless a size stands beside them. A function that writes a text takes a buffer and its capacity,
 *   writes as much as fits, always with a NUL at the end when the capacity is not 0, and returns the
 *   length of the whole text without the NUL, like snprintf.
 * - Memory that is handed out as `unsigned char**` or `char**` is freed with dicom_mend_free.
 * - Enumerators go in as `int`, so that a wrong one is told and not undefined.
 * - Numbers inside values are little endian wherever bytes go in or out, whatever the file had.
 * - Tags are group * 65536 + element: (0010,0020) is 0x00100020.
 * - Calls that do any work take one lock, so that any thread may call; they do not run side by side. A
 *   session, a data set, and the pointers into them are used by one thread at a time all the same:
 *   functions that only look (dicom_mend_first, dicom_mend_next, dicom_mend_find, dicom_mend_tag, those of
 *   findings ...) take no lock.
 * - Pointers to elements and items hold until the data set is changed or freed, those to findings until the
 *   next call with the session that may find something. A pointer that no longer holds, or an element that
 *   is given with another data set than its own, is not noticed, as everywhere in C.
 *
 * An example is in examples/mend_buffer.c.
 */
#ifndef LIB_DICOM_MEND_DICOM_MEND_H
#define LIB_DICOM_MEND_DICOM_MEND_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#if defined(LIB_DICOM_MEND_BUILD)
#define DICOM_MEND_API __declspec(dllexport)
#else
#define DICOM_MEND_API __declspec(dllimport)
#endif
#else
#define DICOM_MEND_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- version, status, memory ---- */

/** Version of this header, as dicom_mend_version gives that of the library. */
#define DICOM_MEND_VERSION "21.9"

/** "21.9"; never freed. */
DICOM_MEND_API const char* dicom_mend_version(void);

typedef enum dicom_mend_status {
    DICOM_MEND_OK = 0,
    DICOM_MEND_BAD_ARGUMENT = 1,
    DICOM_MEND_NO_MEMORY = 2,
    DICOM_MEND_CANNOT_READ = 3,  /**< a file cannot be opened or read */
    DICOM_MEND_CANNOT_WRITE = 4, /**< a file cannot be written, or exists and may not be replaced */
    DICOM_MEND_NOT_DICOM = 5,    /**< what was read is no DICOM data set at all */
    DICOM_MEND_NO_OUTPUT = 6,    /**< a finding tells why the data set cannot be written */
    DICOM_MEND_NOT_FOUND = 7,    /**< no such element, item, value, keyword, or nothing to undo */
    DICOM_MEND_BAD_VALUE = 8,    /**< a value that is none of its VR, or does not fit */
    DICOM_MEND_BAD_JSON = 9,     /**< findings tell line and column of what is wrong */
    DICOM_MEND_INTERNAL = 10     /**< a fault of the library */
} dicom_mend_status;

/** The status in words; never freed. */
DICOM_MEND_API const char* dicom_mend_status_text(int status);

/** Frees what was handed out as `unsigned char**` or `char**`. */
DICOM_MEND_API void dicom_mend_free(void* memory);

/* ---- sessions and their options ---- */

typedef struct dicom_mend_session dicom_mend_session;
typedef struct dicom_mend_dataset dicom_mend_dataset;

/** Null when there is no memory. */
DICOM_MEND_API dicom_mend_session* dicom_mend_session_new(void);
DICOM_MEND_API void dicom_mend_session_free(dicom_mend_session* session);

/** What is either asked for or not; nothing is at first. */
typedef enum dicom_mend_flag {
    /** Apply the fixed repairs of the VRs (PS3.5 6.2) in full; what they cost is said by findings. */
    DICOM_MEND_STRICT = 1,
    /** Replace UIDs that are none (PS3.5 9.1) by ones made from a hash of the old value. */
    DICOM_MEND_REPLACE_UIDS = 2,
    /** Fill pixel data that is too short with zeros. */
    DICOM_MEND_PAD_PIXELS = 3,
    /** Convert all texts to UTF-8 and declare it. */
    DICOM_MEND_TO_UTF8 = 4,
    /** Keep what is changed in the Original Attributes Sequence (PS3.3 C.12.1.1.9). */
    DICOM_MEND_RECORD = 5,
    /** Leave private elements out (PS3.5 7.8). */
    DICOM_MEND_DROP_PRIVATE = 6,
    /** Write a group length in front of each group (PS3.5 7.2). */
    DICOM_MEND_GROUP_LENGTHS = 7,
    /** Write sequences and items with defined lengths (PS3.5 7.5). */
    DICOM_MEND_DEFINED_LENGTHS = 8
} dicom_mend_flag;

DICOM_MEND_API dicom_mend_status dicom_mend_set_flag(dicom_mend_session* session, int flag, int on);

/** The transfer syntax that is written. */
typedef enum dicom_mend_syntax {
    DICOM_MEND_SYNTAX_KEEP = 0,
    DICOM_MEND_SYNTAX_IMPLICIT_LITTLE = 1,
    DICOM_MEND_SYNTAX_EXPLICIT_LITTLE = 2,
    DICOM_MEND_SYNTAX_EXPLICIT_BIG = 3
} dicom_mend_syntax;

DICOM_MEND_API dicom_mend_status dicom_mend_set_syntax(dicom_mend_session* session, int syntax);

/**
 * The character set that the texts have whatever a file declares: a defined term of PS3.3 C.12.1.1.2,
 * or several with backslashes between them; "" for what the file declares.
 */
DICOM_MEND_API dicom_mend_status dicom_mend_set_charset(dicom_mend_session* session,
                                                        const char* terms);

/** Why the last call with this session failed; "" when it did not. Valid until the next call. */
DICOM_MEND_API const char* dicom_mend_last_error(const dicom_mend_session* session);

/* ---- findings ---- */

typedef struct dicom_mend_finding dicom_mend_finding;

/** What becomes of a fault. */
typedef enum dicom_mend_level {
    DICOM_MEND_INFO = 0,   /**< worth knowing, no fault */
    DICOM_MEND_CHANGE = 1, /**< mended, or will be */
    DICOM_MEND_KEPT = 2,   /**< stays as it was read */
    DICOM_MEND_LOSS = 3    /**< something is lost, or could not be read or written */
} dicom_mend_level;

typedef enum dicom_mend_severity {
    DICOM_MEND_SEVERITY_INFO = 0,
    DICOM_MEND_SEVERITY_WARNING = 1,
    DICOM_MEND_SEVERITY_ERROR = 2
} dicom_mend_severity;

/** The form of a report. */
typedef enum dicom_mend_format {
    DICOM_MEND_TEXT = 0, /**< one line a finding */
    DICOM_MEND_JSON = 1, /**< one object a line */
    DICOM_MEND_SARIF = 2 /**< one document of SARIF 2.1.0 */
} dicom_mend_format;

/**
 * All findings since the session was made or cleared, in their order. Of one kind and level the first
 * hundred are kept; one more tells how many there were besides.
 */
DICOM_MEND_API size_t dicom_mend_finding_count(const dicom_mend_session* session);
/** Null when there is none. */
DICOM_MEND_API const dicom_mend_finding*
dicom_mend_first_finding(const dicom_mend_session* session);
DICOM_MEND_API const dicom_mend_finding* dicom_mend_next_finding(const dicom_mend_session* session,
                                                                 const dicom_mend_finding* finding);
DICOM_MEND_API void dicom_mend_clear_findings(dicom_mend_session* session);

/**
 * What the findings come to, the exit status of the command line: 0 nothing against the standard,
 * 1 something, 2 something was lost or could not be read or written.
 */
DICOM_MEND_API int dicom_mend_outcome(const dicom_mend_session* session);

/** The stable number of a kind of finding, and its stable name: "odd-length". Never freed. */
DICOM_MEND_API int dicom_mend_finding_code(const dicom_mend_finding* finding);
DICOM_MEND_API const char* dicom_mend_finding_kind(const dicom_mend_finding* finding);
DICOM_MEND_API dicom_mend_severity dicom_mend_finding_severity(const dicom_mend_finding* finding);
DICOM_MEND_API dicom_mend_level dicom_mend_finding_level(const dicom_mend_finding* finding);
/** 1 and the tag when the finding is about an element, 0 when it is about the file as a whole. */
DICOM_MEND_API int dicom_mend_finding_tag(const dicom_mend_finding* finding, uint32_t* tag);
/** "0040,0275[0]/0008,0100", "" without a tag. Valid as long as the finding. */
DICOM_MEND_API const char* dicom_mend_finding_path(const dicom_mend_finding* finding);
/** Place of the element's tag in the file, in bytes from its start; -1 when there is none. */
DICOM_MEND_API int64_t dicom_mend_finding_offset(const dicom_mend_finding* finding);
/** Length of the value in the file, in bytes; -1 when it is not known. */
DICOM_MEND_API int64_t dicom_mend_finding_length(const dicom_mend_finding* finding);
/**
 * What is wrong and what becomes of it, without values; a report with values has those too that messages
 * quote. Valid as long as the finding.
 */
DICOM_MEND_API const char* dicom_mend_finding_message(const dicom_mend_finding* finding);
/**
 * The value before and after, at most 256 bytes of the file each, null and 0 where there is none. They
 * may identify a person: see dicom_mend_finding_is_harmless. Valid as long as the finding.
 */
DICOM_MEND_API const unsigned char* dicom_mend_finding_before(const dicom_mend_finding* finding,
                                                              size_t* size);
DICOM_MEND_API const unsigned char* dicom_mend_finding_after(const dicom_mend_finding* finding,
                                                             size_t* size);
/** 1 when the values before and after identify nobody (PS3.15 annex E): a number, a term of the standard. */
DICOM_MEND_API int dicom_mend_finding_is_harmless(const dicom_mend_finding* finding);
/** What the standard asks for instead, and the clause: "PS3.5 7.1.1"; "" where it says nothing. */
DICOM_MEND_API const char* dicom_mend_finding_rule(const dicom_mend_finding* finding);
DICOM_MEND_API const char* dicom_mend_finding_clause(const dicom_mend_finding* finding);

/** All of this at once. Members of later versions stand behind these. */
typedef struct dicom_mend_finding_data {
    int code;
    int severity;    /**< a dicom_mend_severity */
    int level;       /**< a dicom_mend_level */
    int has_tag;     /**< 1, or 0 for the file as a whole */
    uint32_t tag;    /**< 0 without one */
    int is_harmless; /**< 1 when the values before and after identify nobody */
    int64_t offset;  /**< -1 when there is none */
    int64_t length;  /**< -1 when it is not known */
    const char* kind;
    const char* path;
    const char* message;
    const char* rule;
    const char* clause;
    const unsigned char* before;
    size_t before_size;
    const unsigned char* after;
    size_t after_size;
} dicom_mend_finding_data;

/**
 * Fills an array with findings, for callers that a call for each member costs too much. What it points
 * to is valid as long as the findings.
 *
 * @param first        number of the first one, from 0
 * @param size_of_one  sizeof(dicom_mend_finding_data), as the caller was compiled with it
 * @param count        how many there is room for
 * @return how many were filled in; 0 also for null and for a size of 0
 */
DICOM_MEND_API size_t dicom_mend_get_findings(const dicom_mend_session* session, size_t first,
                                              dicom_mend_finding_data* data, size_t size_of_one,
                                              size_t count);

/**
 * All findings in one text, as the command line prints them.
 *
 * @param file         the name that the report gives the file
 * @param show_values  also values that may identify a person
 */
DICOM_MEND_API dicom_mend_status dicom_mend_report(dicom_mend_session* session, const char* file,
                                                   int format, int show_values, char** text,
                                                   size_t* size);

/* ---- data sets ---- */

/**
 * Reads a file. Values above 1024 bytes stay in it until they are asked for, so that the file stays
 * open and has to stay as it is.
 *
 * @param data_set  receives what could be read, also when findings tell of losses; the caller frees it
 */
DICOM_MEND_API dicom_mend_status dicom_mend_read_file(dicom_mend_session* session, const char* path,
                                                      dicom_mend_dataset** data_set);
/** The same from memory, which is copied. */
DICOM_MEND_API dicom_mend_status dicom_mend_read_buffer(dicom_mend_session* session,
                                                        const unsigned char* bytes, size_t size,
                                                        dicom_mend_dataset** data_set);
/** A data set without elements, to be written in explicit VR little endian. */
DICOM_MEND_API dicom_mend_status dicom_mend_dataset_new(dicom_mend_session* session,
                                                        dicom_mend_dataset** data_set);
/** A copy. Values that were left in a file are shared, not copied. */
DICOM_MEND_API dicom_mend_status dicom_mend_dataset_copy(dicom_mend_session* session,
                                                         const dicom_mend_dataset* data_set,
                                                         dicom_mend_dataset** copy);
DICOM_MEND_API void dicom_mend_dataset_free(dicom_mend_dataset* data_set);

/** UID of the transfer syntax that the data set was read in; "" when it is not known. */
DICOM_MEND_API size_t dicom_mend_transfer_syntax(const dicom_mend_dataset* data_set, char* buffer,
                                                 size_t capacity);

/**
 * Finds what mending would find, and changes nothing.
 *
 * @param module  also verify against an IOD: its code ("CT"), "auto" for that of the SOP class, null
 *                for none
 */
DICOM_MEND_API dicom_mend_status dicom_mend_check(dicom_mend_session* session,
                                                  const dicom_mend_dataset* data_set,
                                                  const char* module);
/** Heals a data set in place, by the options of the session. */
DICOM_MEND_API dicom_mend_status dicom_mend_mend(dicom_mend_session* session,
                                                 dicom_mend_dataset* data_set);
/**
 * Heals a data set and supplies what its IOD requires.
 *
 * @param module  code of the IOD, or "auto"
 * @param rules   lines of definitions that override those of the IOD, or null
 */
DICOM_MEND_API dicom_mend_status dicom_mend_complete(dicom_mend_session* session,
                                                     dicom_mend_dataset* data_set,
                                                     const char* module, const char* rules);
/** Puts back what the last mending with DICOM_MEND_RECORD changed; DICOM_MEND_NOT_FOUND when none did. */
DICOM_MEND_API dicom_mend_status dicom_mend_undo(dicom_mend_session* session,
                                                 dicom_mend_dataset* data_set);

/** Encodes a Part 10 file (PS3.10) by the options of the session; what is not healed yet is healed in it. */
DICOM_MEND_API dicom_mend_status dicom_mend_encode(dicom_mend_session* session,
                                                   const dicom_mend_dataset* data_set,
                                                   unsigned char** bytes, size_t* size);
/**
 * The same into a file, which is there whole or not at all.
 *
 * @param replace  an existing file may be replaced
 */
DICOM_MEND_API dicom_mend_status dicom_mend_write_file(dicom_mend_session* session,
                                                       const dicom_mend_dataset* data_set,
                                                       const char* path, int replace);

/** Reads and checks a file. */
DICOM_MEND_API dicom_mend_status dicom_mend_check_file(dicom_mend_session* session,
                                                       const char* path, const char* module);
/** Reads, mends and writes a file; bulk values are never held. The input is never overwritten. */
DICOM_MEND_API dicom_mend_status dicom_mend_mend_file(dicom_mend_session* session, const char* in,
                                                      const char* out, int replace);
/** The same from and to memory. */
DICOM_MEND_API dicom_mend_status dicom_mend_mend_buffer(dicom_mend_session* session,
                                                        const unsigned char* bytes, size_t size,
                                                        unsigned char** mended,
                                                        size_t* mended_size);

/**
 * The DICOM JSON model (PS3.18 annex F) of a data set.
 *
 * @param longest_inline  values with more bytes become references; 0 for all inline
 */
DICOM_MEND_API dicom_mend_status dicom_mend_to_json(dicom_mend_session* session,
                                                    const dicom_mend_dataset* data_set,
                                                    size_t longest_inline, char** text,
                                                    size_t* size);
/** A data set from its DICOM JSON model. */
DICOM_MEND_API dicom_mend_status dicom_mend_from_json(dicom_mend_session* session, const char* text,
                                                      size_t size, dicom_mend_dataset** data_set);

/* ---- elements ---- */

/** An element of a data set, or a fragment of encapsulated pixel data (PS3.5 A.4). */
typedef struct dicom_mend_element dicom_mend_element;
/** An item of a sequence. Null stands for the data set itself wherever an item is asked for. */
typedef struct dicom_mend_item dicom_mend_item;

/** The first element of an item or data set, null when there is none. Elements stand in file order. */
DICOM_MEND_API const dicom_mend_element* dicom_mend_first(const dicom_mend_dataset* data_set,
                                                          const dicom_mend_item* item);
/** The first element of the file meta information, group 0002. */
DICOM_MEND_API const dicom_mend_element* dicom_mend_first_meta(const dicom_mend_dataset* data_set);
/** The element behind another in the same list, null at its end. */
DICOM_MEND_API const dicom_mend_element* dicom_mend_next(const dicom_mend_element* element);
/** The first element with a tag in an item or data set; those of group 0002 are looked for there. */
DICOM_MEND_API const dicom_mend_element* dicom_mend_find(const dicom_mend_dataset* data_set,
                                                         const dicom_mend_item* item, uint32_t tag);
/**
 * Finds an element by a path of tags and keywords: "0010,0010", "PatientName",
 * "0040,0275[0]/0008,0100", "RequestAttributesSequence[0]/CodeValue".
 *
 * @param item  receives the item that the element is in, null for the data set; may be null
 * @return DICOM_MEND_NOT_FOUND when there is none, DICOM_MEND_BAD_ARGUMENT when it is no path
 */
DICOM_MEND_API dicom_mend_status dicom_mend_find_path(const dicom_mend_dataset* data_set,
                                                      const char* path,
                                                      const dicom_mend_element** element,
                                                      const dicom_mend_item** item);

DICOM_MEND_API uint32_t dicom_mend_tag(const dicom_mend_element* element);
/** The two letters of the VR with a NUL; "" when there is none, as fragments have. */
DICOM_MEND_API void dicom_mend_vr(const dicom_mend_element* element, char vr[3]);
/** Length of the value in bytes; 0 for sequences. */
DICOM_MEND_API size_t dicom_mend_length(const dicom_mend_element* element);
/** Place of the tag in the file that the data set was read from; 0 for elements that were added. */
DICOM_MEND_API int64_t dicom_mend_offset(const dicom_mend_element* element);
/** 1 for an element that holds items. */
DICOM_MEND_API int dicom_mend_is_sequence(const dicom_mend_element* element);
DICOM_MEND_API size_t dicom_mend_item_count(const dicom_mend_element* sequence);
/** Null when there is no such item; they are counted from 0. */
DICOM_MEND_API const dicom_mend_item* dicom_mend_get_item(const dicom_mend_element* sequence,
                                                          size_t index);
/** Fragments of encapsulated pixel data, the offset table first; 0 for other elements. */
DICOM_MEND_API size_t dicom_mend_fragment_count(const dicom_mend_element* element);
DICOM_MEND_API const dicom_mend_element* dicom_mend_get_fragment(const dicom_mend_element* element,
                                                                 size_t index);

/* ---- values ---- */

/**
 * Copies bytes of a value as they stand, numbers in little endian.
 *
 * @param offset  from the start of the value
 * @param size    bytes that are wanted
 * @param copied  receives how many there were
 */
DICOM_MEND_API dicom_mend_status dicom_mend_get_bytes(const dicom_mend_dataset* data_set,
                                                      const dicom_mend_element* element,
                                                      size_t offset, unsigned char* buffer,
                                                      size_t size, size_t* copied);
/** Number of values: of texts between backslashes, of numbers by their width; 0 without a value. */
DICOM_MEND_API size_t dicom_mend_value_count(const dicom_mend_dataset* data_set,
                                             const dicom_mend_element* element);
/**
 * A value as text in UTF-8, without padding; numbers and tags in their usual notation. A byte that is
 * no character of the declared sets becomes "\xHH". Values with NUL inside are cut there by what takes
 * the text for one.
 *
 * @param index   from 0; DICOM_MEND_NOT_FOUND behind the last
 * @param length  receives the length of the whole text; may be null
 */
DICOM_MEND_API dicom_mend_status dicom_mend_get_text(const dicom_mend_dataset* data_set,
                                                     const dicom_mend_element* element,
                                                     size_t index, char* buffer, size_t capacity,
                                                     size_t* length);
/**
 * 1 when the value of an element identifies nobody (PS3.15 annex E): it is empty, a number, a term of the standard.
 * Items are elements of their own.
 */
DICOM_MEND_API int dicom_mend_is_harmless(const dicom_mend_dataset* data_set,
                                          const dicom_mend_element* element);
/** A value as a number; DICOM_MEND_BAD_VALUE when it is none. */
DICOM_MEND_API dicom_mend_status dicom_mend_get_double(const dicom_mend_dataset* data_set,
                                                       const dicom_mend_element* element,
                                                       size_t index, double* value);
/** A value as a whole number; DICOM_MEND_BAD_VALUE when it is none, or does not fit. */
DICOM_MEND_API dicom_mend_status dicom_mend_get_int(const dicom_mend_dataset* data_set,
                                                    const dicom_mend_element* element, size_t index,
                                                    int64_t* value);

/* ---- changes ---- */

/**
 * Sets the value of an element, which comes into being in its place when it is not there.
 *
 * @param item  item that it belongs to, null for the data set
 * @param vr    two letters, or null for the VR that the element has, or that the registry (PS3.6) gives
 * @param text  UTF-8, several values with backslashes between them; numbers for VRs of numbers. It has
 *              to fit the character set that the data set declares, else DICOM_MEND_BAD_VALUE
 */
DICOM_MEND_API dicom_mend_status dicom_mend_set_text(dicom_mend_dataset* data_set,
                                                     const dicom_mend_item* item, uint32_t tag,
                                                     const char* vr, const char* text, size_t size);
/** The same with bytes, numbers in little endian; an odd number is padded. */
DICOM_MEND_API dicom_mend_status dicom_mend_set_bytes(dicom_mend_dataset* data_set,
                                                      const dicom_mend_item* item, uint32_t tag,
                                                      const char* vr, const unsigned char* bytes,
                                                      size_t size);
/** The same with numbers, which DS and IS take as text. */
DICOM_MEND_API dicom_mend_status dicom_mend_set_doubles(dicom_mend_dataset* data_set,
                                                        const dicom_mend_item* item, uint32_t tag,
                                                        const char* vr, const double* values,
                                                        size_t count);
DICOM_MEND_API dicom_mend_status dicom_mend_set_ints(dicom_mend_dataset* data_set,
                                                     const dicom_mend_item* item, uint32_t tag,
                                                     const char* vr, const int64_t* values,
                                                     size_t count);
/**
 * Adds an item at the end of a sequence, which comes into being when it is not there. An element of another
 * VR, or one with a value, is DICOM_MEND_BAD_ARGUMENT.
 */
DICOM_MEND_API dicom_mend_status dicom_mend_add_item(dicom_mend_dataset* data_set,
                                                     const dicom_mend_item* item, uint32_t tag,
                                                     const dicom_mend_item** added);
/** Takes an element out, with all that it holds. */
DICOM_MEND_API dicom_mend_status dicom_mend_remove(dicom_mend_dataset* data_set,
                                                   const dicom_mend_item* item, uint32_t tag);

/* ---- registries (PS3.6) ---- */

/** Name of an attribute, "Unknown Element" and the like for those that nobody knows. */
DICOM_MEND_API size_t dicom_mend_tag_name(uint32_t tag, char* buffer, size_t capacity);
/** "PatientName"; "" for private and unknown tags. */
DICOM_MEND_API size_t dicom_mend_tag_keyword(uint32_t tag, char* buffer, size_t capacity);
/** The tag of a keyword or of "0010,0010", "(0010,0010)", "00100010". */
DICOM_MEND_API dicom_mend_status dicom_mend_parse_tag(const char* text, uint32_t* tag);

#ifdef __cplusplus
}
#endif

#endif
