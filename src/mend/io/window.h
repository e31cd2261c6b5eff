// Bytes of a source through a few large windows, so that looking at headers costs no system calls.
#ifndef LIB_MEND_WINDOW_H
#define LIB_MEND_WINDOW_H

#include "mend/io/source.h"

#include <algorithm>
#include <array>

namespace lib_mend {

class Window {
public:
    explicit Window(const Source& source) : source_(source)
    {
    }

    /** The source held less than it should: it was cut off meanwhile, or cannot be read. */
    bool Is_Short() const
    {
        return is_short_;
    }
    /**
     * Up to `size` bytes from an offset, fewer at the end of the source or when it cannot be read.
     * They stay valid until several other places were looked at.
     */
    std::span<const unsigned char> At(std::int64_t offset, std::size_t size)
    {
        if (source_.Image() == nullptr || offset < 0 || offset >= source_.Size()) {
            return In_File(offset, size);
        }
        const auto there = static_cast<std::size_t>(source_.Size() - offset);
        return {source_.Image() + offset, std::min(size, there)};
    }

private:
    std::span<const unsigned char> In_File(std::int64_t offset, std::size_t size);

    struct Piece {
        std::int64_t offset = 0;
        Bytes bytes;
    };

    const Source& source_;
    /** One place is read on, the others are looked at before it is decided how to go on. */
    std::array<Piece, 4> pieces_;
    std::size_t next_ = 0;
    bool is_short_ = false;
};

}  // namespace lib_mend

#endif
