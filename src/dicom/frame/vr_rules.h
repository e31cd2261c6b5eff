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

/** Where padding characters are taken off a value as a whole. */
enum class VR_Padding : unsigned char {
    Kept,
    Behind,  ///< the VR's padding character
    Around   ///< and blanks in front
};

/** Which explicit headers have a reserved field and a length of 4 bytes; others have 2. */
enum class VR_Header : unsigned char {
    Short,
    Long,
    Long_When_Read,  ///< but short when written
    Long_By_Current  ///< short in either direction before the current PS3.5
};

/** Units that are reversed between the byte orders, in bytes; 1 for none. */
struct VR_Units {
    /** When a big-endian value is brought into little-endian order. */
    unsigned char read = 1;
    /** When a value is written in big-endian order. */
    unsigned char written = 1;
    /** Both by the current PS3.5. */
    unsigned char current = 1;
};

struct VR_Rule {
    unsigned short vr;
    /** Known by the current PS3.5 only. */
    bool current_only = false;
    VR_Kind kind;
    /** Byte that makes an odd length even, and that padding consists of. */
    char pad = kind == VR_Kind::Binary || kind == VR_Kind::Opaque ? '\0' : ' ';
    VR_Padding padding = VR_Padding::Kept;
    /** Bytes that a value may hold; null for all. */
    const char* set = nullptr;
    /** Largest length of one value in bytes, 0 for unbounded. */
    int max_length = 0;
    VR_Repair repair = VR_Repair::None;
    /** Width of one binary value in bytes, 0 for text. */
    unsigned char width = 0;
    /** What a binary size message says was expected. */
    const char* expected = "";
    VR_Units units = {};
    /** Number of values of a Binary VR: size / width, or 1 whatever the size is. */
    bool counts = true;
    VR_Header header = VR_Header::Short;
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
/** Units of VR_Rule that apply by the setting. */
int Swab_Width(unsigned short vr);
int Write_Width(unsigned short vr);

/** The VR of a record that applies: the explicit one, else the default. */
inline unsigned short Effective_VR(const DICOM_List& record)
{
    return record.vr != 0 ? record.vr : record.vr_default;
}

}  // namespace lib_dicom

#endif
