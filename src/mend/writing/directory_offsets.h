// Offsets in a DICOMDIR (PS3.3 section F.3): they name directory records by their places in the
// file, which change when the file is written anew.
#ifndef LIB_MEND_DIRECTORY_OFFSETS_H
#define LIB_MEND_DIRECTORY_OFFSETS_H

#include "mend/reading/data_set.h"

#include <span>
#include <vector>

namespace lib_mend {

/** Places of the directory records; empty when the data set is no DICOMDIR. */
std::vector<unsigned int> Directory_Places(const Data_Set& set);

/** Places of the directory records in an encoded file. */
std::vector<unsigned int> Directory_Places_In(std::span<const unsigned char> file);

/**
 * Replaces the old places by the new ones wherever the directory names them. An offset that names
 * no record is set to 0, which means none.
 */
void Move_Directory_Offsets(Data_Set& set, const std::vector<unsigned int>& old_places,
                            const std::vector<unsigned int>& new_places, Findings& findings);

}  // namespace lib_mend

#endif
