// What the first bytes of a compressed frame tell about it.
#ifndef LIB_MEND_FRAME_STREAM_H
#define LIB_MEND_FRAME_STREAM_H

#include <cstdint>
#include <optional>
#include <span>

namespace lib_mend {

/** Tells whether bytes begin a JPEG or JPEG-LS (SOI) or a JPEG 2000 stream (SOC). */
bool Begins_Frame(std::span<const unsigned char> bytes);

struct Frame_Size {
    std::int64_t rows = 0;
    std::int64_t columns = 0;
};

/** The size that a JPEG, JPEG-LS or JPEG 2000 stream gives in its head. */
std::optional<Frame_Size> Size_In_Stream(std::span<const unsigned char> bytes);

}  // namespace lib_mend

#endif
