// The text of JSON, wherever it is: a large one is not held in memory.
#ifndef LIB_MEND_TEXT_SOURCE_H
#define LIB_MEND_TEXT_SOURCE_H

#include "mend/io/window.h"

#include <span>
#include <string>
#include <string_view>

namespace lib_mend {

class Text_Source {
public:
    explicit Text_Source(const Source& source)
        : window_(source), size_(static_cast<std::size_t>(source.Size()))
    {
    }

    std::size_t Size() const
    {
        return size_;
    }
    /** The byte at an offset; NUL behind the end, and for what cannot be read. */
    char At(std::size_t at)
    {
        if (at < from_ || at - from_ >= piece_.size()) {
            Take_Piece(at);
        }
        return at - from_ < piece_.size() ? piece_[at - from_] : '\0';
    }
    /** What is at hand from an offset on, up to `end`; empty at the end of the text. */
    std::string_view Piece(std::size_t at, std::size_t end)
    {
        At(at);
        return piece_.substr(std::min(at - from_, piece_.size()), end - std::min(at, end));
    }
    /** The first offset from `at` on where none of some letters stands. */
    std::size_t Behind(std::size_t at, std::string_view letters)
    {
        while (at < size_ && letters.find(At(at)) != letters.npos) {
            ++at;
        }
        return at;
    }
    std::string Between(std::size_t from, std::size_t end)
    {
        std::string text;
        for (std::string_view piece = Piece(from, end); !piece.empty(); piece = Piece(from, end)) {
            text += piece;
            from += piece.size();
        }
        return text;
    }

private:
    void Take_Piece(std::size_t at)
    {
        constexpr std::size_t Piece_Size = std::size_t{1} << 16;
        const std::span<const unsigned char> bytes =
            window_.At(static_cast<std::int64_t>(at), Piece_Size);
        from_ = at;
        piece_ = {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    }

    Window window_;
    std::size_t size_;
    std::size_t from_ = 0;
    std::string_view piece_;
};

}  // namespace lib_mend

#endif
