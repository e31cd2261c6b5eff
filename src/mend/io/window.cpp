#include "mend/io/window.h"

#include <algorithm>

namespace lib_mend {

namespace {

constexpr std::size_t Piece_Size = std::size_t{32} << 10;

}  // namespace

std::span<const unsigned char> Window::Elsewhere(std::int64_t offset, std::size_t size)
{
    if (offset < 0 || offset >= source_.Size() || is_short_) {
        return {};
    }
    size = static_cast<std::size_t>(
        std::min(static_cast<std::int64_t>(size), source_.Size() - offset));
    if (source_.Image() != nullptr) {
        return near_.bytes.subspan(static_cast<std::size_t>(offset), size);
    }
    for (const Piece& piece : pieces_) {
        const std::int64_t from = offset - piece.offset;
        if (from >= 0 && from + static_cast<std::int64_t>(size) <= std::ssize(piece.bytes)) {
            near_ = {piece.offset, piece.bytes};
            return near_.bytes.subspan(static_cast<std::size_t>(from), size);
        }
    }
    Piece& piece = pieces_[next_];
    next_ = (next_ + 1) % pieces_.size();
    piece.offset = offset;
    piece.bytes.resize(std::max(size, Piece_Size));
    piece.bytes.resize(source_.Read(offset, piece.bytes));
    is_short_ = piece.bytes.size() < size;
    near_ = {piece.offset, piece.bytes};
    return near_.bytes.first(std::min(size, piece.bytes.size()));
}

}  // namespace lib_mend
