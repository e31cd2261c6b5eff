// The rules of every value representation (PS3.5 section 6.2 and 7.1), as data. Reading, repair,
// checking and writing all ask this one table.
#ifndef LIB_DICOM_SRC_FRAME_VR_RULES_H
#define LIB_DICOM_SRC_FRAME_VR_RULES_H

#include <Lib_DICOM/frame.h>

namespace lib_dicom {

/** How the value of a VR is built, and so which repairs apply to it. */
enum class VR_Kind : unsigned char {
    Text_Multiple,  ///< text values separated by backslashes
    Text_Single,    ///< one text, backslashes included
    Age,            ///< AS
    Date,           ///< DA
    Binary,         ///< values of a fixed width
    Opaque          ///< any bytes: OB, UN, SQ
};

/** What makes the rule of a VR different from that of its kind. */
enum class VR_Repair : unsigned char {
    None,
    Printable,  ///< AE: bytes that do not print become "_"
    Integer,    ///< IS: decimals become integers, values stay within 32 bits
    Time        ///< TM: separators of the old syntax are taken out
};

/** Stands for "no padding" in `lead` and `trail`. */
inline constexpr unsigned char VR_No_Padding = 255;

struct VR_Rule {
    unsigned short vr;
    VR_Kind kind;
    VR_Repair repair;
    /** Padding characters that are taken off in front and behind, or VR_No_Padding. */
    unsigned char lead;
    unsigned char trail;
    /** Byte that makes an odd length even. */
    char even_pad;
    /** Bytes that a value may hold; null for all. */
    const char* set;
    /** Largest length of one value in bytes, 0 for unbounded. */
    int max_length;
    /** Width of one binary value in bytes, 0 for text. */
    unsigned char width;
    /** Number of values of a Binary VR: size / width when true, else always 1. */
    bool counts_by_width;
    /** What a binary size message says was expected; its misspellings are the system's own. */
    const char* expected;
    /** Units that are reversed when a big-endian value is brought into little-endian order. */
    unsigned char swab_width;
    /** Units that are reversed when a value is written in big-endian order. */
    unsigned char write_width;
    /** Units of both by the current PS3.5. */
    unsigned char current_width;
    /** Explicit header with a reserved field and a 4-byte length, when read and when written. */
    bool long_read;
    bool long_write;
    /** The same by the current PS3.5. */
    bool long_current;
    /** Known by the current PS3.5 only. */
    bool current_only;
};

/**
 * Finds the rule of a VR.
 *
 * @return null for a VR that the library does not know. The VRs of the current PS3.5 are known
 *         while `DICOM_Flag_Current_Standard` is set.
 */
const VR_Rule* Find_VR_Rule(unsigned short vr);
/** The same with the VRs of the current PS3.5, whatever the setting is. */
const VR_Rule* Find_Any_VR_Rule(unsigned short vr);

/** Tells whether a VR has the long explicit header in a stream that is read. */
bool Reads_Long_Header(unsigned short vr);
/** Tells whether a VR has the long explicit header in what the library writes. */
bool Writes_Long_Header(unsigned short vr);
/** Bytes per unit that a big-endian value of this VR reverses when it is read; 1 for none. */
int Swab_Width(unsigned short vr);
/** Bytes per unit that a value of this VR reverses when it is written big endian; 1 for none. */
int Write_Width(unsigned short vr);

/** The VR of a record that applies: the explicit one, else the default. */
inline unsigned short Effective_VR(const DICOM_List& record)
{
    return record.vr != 0 ? record.vr : record.vr_default;
}

}  // namespace lib_dicom

#endif
