// How the values of each VR stand in JSON (PS3.18 table F.2.3-1), and in a stream.
#ifndef LIB_MEND_VALUE_FORMS_H
#define LIB_MEND_VALUE_FORMS_H

#include <Lib_DICOM/Lib_DICOM.h>

#include <string_view>

namespace lib_mend {

enum class JSON_Kind {
    Binary,        ///< InlineBinary or BulkDataURI
    Items,         ///< objects with the elements of an item
    Text,          ///< one string
    Texts,         ///< strings
    Number_Texts,  ///< texts that are numbers where JSON holds them exactly
    Names,         ///< objects with the groups of a person name
    Tags,          ///< strings of eight hexadecimal digits
    Integers,      ///< numbers; beyond 2^53 strings
    Floats         ///< numbers, or "NaN", "Infinity", "-Infinity"
};

struct JSON_Form {
    unsigned short vr;
    JSON_Kind kind;
    /** Bytes of one number, 1 for anything else. */
    int width;
    bool is_signed;
};

/** Null when there is no such VR. */
const JSON_Form* Find_JSON_Form(unsigned short vr);

/** The names of the groups of a person name. */
inline constexpr std::string_view Name_Groups[] = {"Alphabetic", "Ideographic", "Phonetic"};

/** Every whole number up to this one is a number of JSON, which most programs take as a double. */
inline constexpr std::int64_t Largest_JSON_Integer = std::int64_t{1} << 53;

}  // namespace lib_mend

#endif
