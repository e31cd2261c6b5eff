// Where a file begins: the preamble of 128 bytes and "DICM" (PS3.10 section 7.1), or what stands in
// their place.
#ifndef LIB_MEND_PREAMBLE_H
#define LIB_MEND_PREAMBLE_H

#include "mend/reading/data_set.h"

namespace lib_mend {

struct File_Start {
    /** False when nothing tells that the file is a DICOM file. */
    bool found = false;
    /** Place of group 0002, or of the data set when there is none. */
    std::int64_t at = 0;
    /** Bytes in front of the preamble that belong to nothing. */
    std::int64_t in_front = 0;
    /** The preamble, whatever its length. */
    std::int64_t preamble_size = 0;
    /** Neither preamble nor "DICM" is there. */
    bool bare = false;
    /** What is wrong, empty for nothing; of a bare file, nothing is said here. */
    std::string fault = {};
};

/** Looks for the beginning of a file, in its first mebibyte at the most. */
File_Start Find_Start(const Source& file);

/** Why a file in which Find_Start found nothing is none: "is no DICOM file, but a PNG image". */
std::string Foreign_Text(const Source& file);

}  // namespace lib_mend

#endif
