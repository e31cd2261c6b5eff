/**
 * @file frame.h
 * Frame of the library: attribute records, the data-set context, exported settings, memory
 * helpers, version and global clean-up.
 *
 * Conventions of the whole interface: the first argument is the caller's window handle, handed on
 * to every message. Functions return 1 or a pointer for success, 0 or null for failure; no
 * exception leaves the library. Records, values and returned buffers come from the C heap. The
 * library is used from one thread at a time.
 */
#ifndef LIB_DICOM_FRAME_H
#define LIB_DICOM_FRAME_H

#include <Lib_Util/Lib_Util.h>

#include <wchar.h>

#if defined(_WIN32)
#if defined(LIB_DICOM_BUILD)
#define LIB_DICOM_API __declspec(dllexport)
#else
#define LIB_DICOM_API __declspec(dllimport)
#endif
#else
#define LIB_DICOM_API __attribute__((visibility("default")))
#endif

/* ---- value representations (PS3.5 section 6.2) ---- */

/** VR code of two letters: the first letter stands in the high byte. 0 means that no VR is known. */
constexpr unsigned short DICOM_VR(char first, char second)
{
    return static_cast<unsigned short>(static_cast<unsigned char>(first) << 8 |
                                       static_cast<unsigned char>(second));
}

inline constexpr unsigned short VR_AE = DICOM_VR('A', 'E');
inline constexpr unsigned short VR_AS = DICOM_VR('A', 'S');
inline constexpr unsigned short VR_AT = DICOM_VR('A', 'T');
inline constexpr unsigned short VR_CS = DICOM_VR('C', 'S');
inline constexpr unsigned short VR_DA = DICOM_VR('D', 'A');
inline constexpr unsigned short VR_DS = DICOM_VR('D', 'S');
inline constexpr unsigned short VR_DT = DICOM_VR('D', 'T');
inline constexpr unsigned short VR_FD = DICOM_VR('F', 'D');
inline constexpr unsigned short VR_FL = DICOM_VR('F', 'L');
inline constexpr unsigned short VR_IS = DICOM_VR('I', 'S');
inline constexpr unsigned short VR_LO = DICOM_VR('L', 'O');
inline constexpr unsigned short VR_LT = DICOM_VR('L', 'T');
inline constexpr unsigned short VR_OB = DICOM_VR('O', 'B');
inline constexpr unsigned short VR_OF = DICOM_VR('O', 'F');
inline constexpr unsigned short VR_OW = DICOM_VR('O', 'W');
inline constexpr unsigned short VR_PN = DICOM_VR('P', 'N');
inline constexpr unsigned short VR_SH = DICOM_VR('S', 'H');
inline constexpr unsigned short VR_SL = DICOM_VR('S', 'L');
inline constexpr unsigned short VR_SQ = DICOM_VR('S', 'Q');
inline constexpr unsigned short VR_SS = DICOM_VR('S', 'S');
inline constexpr unsigned short VR_ST = DICOM_VR('S', 'T');
inline constexpr unsigned short VR_TM = DICOM_VR('T', 'M');
inline constexpr unsigned short VR_UI = DICOM_VR('U', 'I');
inline constexpr unsigned short VR_UL = DICOM_VR('U', 'L');
inline constexpr unsigned short VR_UN = DICOM_VR('U', 'N');
inline constexpr unsigned short VR_US = DICOM_VR('U', 'S');
inline constexpr unsigned short VR_UT = DICOM_VR('U', 'T');
/** Known when `DICOM_Flag_Current_Standard` is set. */
inline constexpr unsigned short VR_OD = DICOM_VR('O', 'D');
inline constexpr unsigned short VR_OL = DICOM_VR('O', 'L');
inline constexpr unsigned short VR_OV = DICOM_VR('O', 'V');
inline constexpr unsigned short VR_SV = DICOM_VR('S', 'V');
inline constexpr unsigned short VR_UC = DICOM_VR('U', 'C');
inline constexpr unsigned short VR_UR = DICOM_VR('U', 'R');
inline constexpr unsigned short VR_UV = DICOM_VR('U', 'V');
/** The library's own codes: OX is OB or OW, UH stands beside US, RT is a VR that follows from the
    size of the value, I- and Ia are the pseudo VRs of the item and the delimitation tags. */
inline constexpr unsigned short VR_OX = DICOM_VR('O', 'X');
inline constexpr unsigned short VR_UH = DICOM_VR('U', 'H');
inline constexpr unsigned short VR_RT = DICOM_VR('R', 'T');
inline constexpr unsigned short VR_Item = DICOM_VR('I', '-');
inline constexpr unsigned short VR_Delimiter = DICOM_VR('I', 'a');

/* ---- byte-order code ---- */

inline constexpr unsigned char DICOM_Order_Big_Endian = 0x01;
inline constexpr unsigned char DICOM_Order_Swap_Pairs = 0x02;
inline constexpr unsigned char DICOM_Order_Explicit_VR = 0x08;

/* ---- `flags` of a record ---- */

/** Origin, in the low four bits. */
inline constexpr unsigned short DICOM_Origin_Stream = 0x0001;
inline constexpr unsigned short DICOM_Origin_Library = 0x0002;
inline constexpr unsigned short DICOM_Origin_Module = 0x0004;
/** The value was changed by a repair. */
inline constexpr unsigned short DICOM_Mark_Changed = 0x0010;
inline constexpr unsigned short DICOM_Mark_Retired = 0x0020;
inline constexpr unsigned short DICOM_Mark_Private = 0x0040;
inline constexpr unsigned short DICOM_Mark_Deleted = 0x0100;
/** A module definition asks for the deletion of the attribute. */
inline constexpr unsigned short DICOM_Mark_Delete_Request = 0x0200;
inline constexpr unsigned short DICOM_Mark_Unknown_VR = 0x0400;
inline constexpr unsigned short DICOM_Mark_Invalid = 0x0800;
inline constexpr unsigned short DICOM_Mark_Forced = 0x1000;
inline constexpr unsigned short DICOM_Mark_Default = 0x2000;
inline constexpr unsigned short DICOM_Mark_Append = 0x8000;

/* ---- records ---- */

struct TAG_db_Elems;

/** `size` of a sequence, an item or encapsulated data that is closed by a delimitation item. */
inline constexpr int DICOM_Undefined_Length = -1;

/**
 * One data element of a data set. A data set is a list of records linked by `next`; a sequence
 * owns one such list per item. The record owns `data`, `description`, `item` and every record of
 * every item list.
 */
struct DICOM_List {
    /** Byte-order code of the bytes in `data`. */
    unsigned char byte_order;
    /** Number of sequences around the record, 0 at the top level. */
    unsigned char depth;
    /** Origin and status marks, DICOM_Origin_... and DICOM_Mark_... */
    unsigned short flags;
    unsigned short group;
    unsigned short element;
    /** VR given by the stream or the caller, 0 when none was. */
    unsigned short vr;
    /** VR that applies when `vr` is 0. */
    unsigned short vr_default;
    /** Type from a module definition: "1 ", "1C", "2 ", "2C" or "3 " in the coding of a VR, or 0.
     */
    unsigned short type;
    /** Number of values that the last typed extraction delivered. */
    unsigned int vm;
    unsigned int spare;
    /** Position of the tag in the stream, in bytes. */
    unsigned int pos;
    /** Position of the first value byte in the stream. */
    unsigned int data_pos;
    /** Length of the value in bytes, or DICOM_Undefined_Length. */
    int size;
    /** The value bytes in `byte_order`; null when the value is empty or was left in the source.
       Text is not NUL-terminated. */
    unsigned char* data;
    /** Name of the attribute where it is not the dictionary's; null otherwise. */
    char* description;
    /** Dictionary entry, not owned; null when the tag is not in the dictionary. */
    TAG_db_Elems* dict;
    /** Number of slots in `item`. */
    int nb_item;
    /** Heads of the item lists; a null slot ends the used part. */
    DICOM_List** item;
    DICOM_List* next;
    /** In the head of a list: the record after which the next one is appended. */
    DICOM_List* last;
};

/** Number of levels that a context keeps: depths 0 to 9. */
inline constexpr int DICOM_Max_Depth = 10;

/**
 * Data-set context: which sequences are open and which item of each is current. Owned by the
 * caller; all zeros is the valid empty state.
 */
struct DICOM_Root {
    int Sequence_Depth;
    /** Number of the current item at each depth, from 1; 0 before the first. */
    int Item_Number[DICOM_Max_Depth];
    unsigned short Sequence_Group[DICOM_Max_Depth];
    unsigned short Sequence_Element[DICOM_Max_Depth];
    unsigned short Sequence_Flags[DICOM_Max_Depth];
};

/* ---- exported settings ---- */

/** Severity words of warnings and reports; see Error_Fct. */
extern LIB_DICOM_API int Flag_Error_Warning;
extern LIB_DICOM_API int Flag_Error_Report;
/** For the application's own use. */
extern LIB_DICOM_API int Flag_Error_Error;
extern LIB_DICOM_API int Flag_Error_Suppress;
/** Nonzero: private (odd) groups are kept by removal and written. */
extern LIB_DICOM_API char Flag_DICOM_Propriatery;
/** Nonzero: the writer puts a group length element in front of each group. */
extern LIB_DICOM_API char DICOM_Flag_Elem_0000;
/** Nonzero: sequences and items are written with defined lengths. */
extern LIB_DICOM_API char DICOM_Flag_Seq_Size;
/** Further module definition text or file whose lines override; not owned. */
extern LIB_DICOM_API char* DICOM_Override;
/** Modality whose module definitions apply, two letters in the coding of a VR. */
extern LIB_DICOM_API unsigned short DICOM_Modality;
/** Name of the file being read (file source) or first byte of the image (memory source). */
extern LIB_DICOM_API wchar_t* DICOM_Lib_File_Name;
/** Kind of the source being read: 1 a file, anything else a memory image. */
extern LIB_DICOM_API int DICOM_Lib_File_Source;
/**
 * Number of bytes of the memory image that `DICOM_Lib_File_Name` points to. 0 (default) when it is
 * not told: positions and lengths of records are trusted then, so a client that reads files of
 * others should set it.
 */
extern LIB_DICOM_API unsigned int DICOM_Lib_Image_Size;
/** Rotating positions for reading values that were left in a memory image. */
extern LIB_DICOM_API int File_Work_File_Count;
extern LIB_DICOM_API int File_Work_File_Pos[10];
/** Templates for formatting dates and times for people; null selects the built-in form. */
extern LIB_DICOM_API char* Oris_Date_Template;
extern LIB_DICOM_API char* Oris_Time_Template;
/** For the application's own use. */
extern LIB_DICOM_API char DICOM_Tranfer_Syntax;
extern LIB_DICOM_API char DICOM_Flag_Contibuting_Equip;
extern LIB_DICOM_API char DICOM_Keep_UID;
extern LIB_DICOM_API char DICOM_Keep_Overlay;
extern LIB_DICOM_API char Flag_Split_Multiframe;
extern LIB_DICOM_API char Flag_UNIX_Filename;
extern LIB_DICOM_API char* OrisWare_UID;
/** (group, element) pairs, ended by (FFFF,0000). */
extern LIB_DICOM_API unsigned short DICOM_Delete_Tags[5][2];
/**
 * Nonzero: reader, cleanup and writer follow the tables of the current PS3.5 where it has outgrown
 * the fixed ones. OD, OF, OL, OV, SV, UC, UR, UT and UV have 4-byte lengths; a value too long for
 * a 2-byte length is written as UN; all even groups below 7FE0 except 0000 and 0002 are written;
 * AT follows the byte order; tags that the dictionary lacks are looked up among the newer rows of
 * PS3.6.
 * Default 0.
 */
extern LIB_DICOM_API char DICOM_Flag_Current_Standard;

/* ---- memory, version, clean-up ---- */

/**
 * Changes the size of a buffer of the C heap.
 *
 * @param buffer  address of the pointer to the buffer, which may be null
 * @param size    new size in bytes; 0 releases the buffer and sets the pointer to null
 * @return 1; 0 without memory: the pointer is then null and the old buffer is not released
 */
LIB_DICOM_API int DICOM_Lib_Realloc(char** buffer, unsigned int size);

/** Releases a buffer that the library returned and sets the pointer to null. */
LIB_DICOM_API void DICOM_Lib_Free(char** buffer);

/** Releases every cache that the library keeps; all of them come back on use. */
LIB_DICOM_API void DICOM_Lib_Cleanup(void);

/**
 * Version of the library.
 *
 * @param expected  "21.9", or null for no check
 * @return "Lib_DICOM.dll 21.9 (rev-b)" in a static buffer; null when another version is expected
 */
LIB_DICOM_API char* Get_Version_DICOM(char* expected);

#endif
