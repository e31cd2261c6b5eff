// Numbers from text as the C library's functions parse them in the "C" locale: the process may run
// in a locale whose decimals have a comma.
#ifndef LIB_DICOM_SRC_READ_NUMBER_TEXT_H
#define LIB_DICOM_SRC_READ_NUMBER_TEXT_H

namespace lib_dicom {

/** The integer at the start of a text, held within 32 bits; 0 when there is none. */
int Parse_Integer(const char* text);

/** The number at the start of a text; 0 when there is none, infinite when it is too large. */
double Parse_Double(const char* text);

}  // namespace lib_dicom

#endif
