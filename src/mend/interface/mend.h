// The main job: a data set that was read becomes a clean Part 10 file.
#ifndef LIB_MEND_MEND_H
#define LIB_MEND_MEND_H

#include "mend/interface/options.h"
#include "mend/reading/data_set.h"

#include <span>
#include <vector>

namespace lib_mend {

/** An encoded file in pieces that follow each other. */
class Encoded_File {
public:
    Encoded_File() = default;
    Encoded_File(const Encoded_File&) = delete;
    Encoded_File& operator=(const Encoded_File&) = delete;
    ~Encoded_File();

    std::vector<std::span<const unsigned char>> Pieces() const;
    Bytes Joined() const;

    /** Preamble and group 0002, and the data set; from the C heap. */
    char* head = nullptr;
    unsigned int head_size = 0;
    char* body = nullptr;
    unsigned int body_size = 0;
    /** Takes the place of `body` when the data set is deflated. */
    Bytes deflated;
};

/**
 * Completes, repairs, sorts and encodes a data set. Everything that changes is reported. Throws
 * std::bad_alloc.
 *
 * @return false after an error finding: there is no output
 */
bool Mend(Data_Set& set, const Mend_Options& options, Findings& findings, Encoded_File& out);

}  // namespace lib_mend

#endif
