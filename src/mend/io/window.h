// Bytes of a source through a few large windows, so that looking at headers costs no system calls.
#ifndef LIB_MEND_WINDOW_H
#define LIB_MEND_WINDOW_H

#include "mend/io/source.h"

#include <array>
#include <span>

namespace lib_mend {

class Window {
public:
    explicit Window(const Source& source) : source_(source)
    {
        if (source.Image() != nullptr) {
            near_.bytes = {source.Image(), static_cast<std::size_t>(source.Size())};
        }
    }
    // It looks at bytes of its own.
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

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
        // Nearly always it is where the last bytes were.
        const auto from = static_cast<std::size_t>(offset - near_.offset);
        if (offset >= near_.offset && from < near_.bytes.size() &&
            size <= near_.bytes.size() - from) {
            return near_.bytes.subspan(from, size);
        }
        return Elsewhere(offset, size);
    }

private:
    std::span<const unsigned char> Elsewhere(std::int64_t offset, std::size_t size);

    struct Piece {
        std::int64_t offset = 0;
        Bytes bytes;
    };
    /** The piece that was looked at last, or the whole source where that is in memory. */
    struct Near {
        std::int64_t offset = 0;
        std::span<const unsigned char> bytes = {};
    };

    const Source& source_;
    /** One place is read on, the others are looked at before it is decided how to go on. */
    std::array<Piece, 4> pieces_;
    std::size_t next_ = 0;
    Near near_;
    bool is_short_ = false;
};

}  // namespace lib_mend

#endif
