// Offsets in a DICOMDIR (PS3.3 section F.3): they name directory records by their places in the
// file, which change when the file is written anew.
#ifndef LIB_MEND_DIRECTORY_OFFSETS_H
#define LIB_MEND_DIRECTORY_OFFSETS_H

#include "mend/writing/encoder.h"

namespace lib_mend {

/**
 * Replaces the places that the directory records had in the source by those that they get,
 * wherever the directory names them. An offset that names no record stays as it is, and is said.
 *
 * @param options  how the data set will be encoded
 * @param start    where it will start in the file
 */
void Move_Directory_Offsets(Data_Set& set, const Encoder_Options& options, std::int64_t start,
                            Findings& findings);

}  // namespace lib_mend

#endif
