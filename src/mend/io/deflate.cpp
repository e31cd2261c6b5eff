#include "mend/io/deflate.h"

#include <algorithm>
#include <array>
#include <new>

#include <zlib.h>

namespace lib_mend {

namespace {

/** Negative window bits: a raw stream without the header and the check sum of zlib. */
constexpr int Raw_Window = -15;
/** A frame of gzip or zlib, whichever is there. */
constexpr int Framed_Window = 15 + 32;
/** Pieces are small until it shows that there is something to inflate. */
constexpr std::size_t First_Size = std::size_t{1} << 13;
constexpr std::size_t Block_Size = std::size_t{1} << 16;
/** So much shows what a stream holds: the start of a file is looked for in as much. */
constexpr std::size_t Head_Size = std::size_t{1} << 20;

/** Costs in bytes, measured with files that are made to cost much; see tests/bounds_test.cpp. */
constexpr std::int64_t Value_Cost = 9;
constexpr std::int64_t Element_Cost = 800;

class Inflater {
public:
    Inflater(const Source& source, std::int64_t offset, Deflate_Frame frame)
        : source_(source), start_(offset), position_(offset), input_(First_Size), frame_(frame),
          state_(inflateInit2(&stream_, frame == Deflate_Frame::Raw ? Raw_Window : Framed_Window))
    {
        ready_ = state_ == Z_OK;
    }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;
    ~Inflater()
    {
        if (ready_) {
            inflateEnd(&stream_);
        }
    }

    /** Inflates until `out` is full or nothing more comes; returns the number of bytes. */
    std::size_t Take(std::span<unsigned char> out)
    {
        stream_.next_out = out.data();
        stream_.avail_out = static_cast<uInt>(out.size());
        while (More() && stream_.avail_out > 0) {
            if (stream_.avail_in == 0) {
                input_.resize(position_ == start_ ? First_Size : Block_Size);
                const std::size_t count = source_.Read(position_, input_);
                position_ += static_cast<std::int64_t>(count);
                stream_.next_in = input_.data();
                stream_.avail_in = static_cast<uInt>(count);
            }
            state_ = inflate(&stream_, Z_NO_FLUSH);
            if (Complete() && Member_Follows()) {
                position_ -= stream_.avail_in;
                stream_.avail_in = 0;
                state_ = inflateReset(&stream_);
            }
        }
        return out.size() - stream_.avail_out;
    }
    bool More() const
    {
        return state_ == Z_OK;
    }
    bool Complete() const
    {
        return state_ == Z_STREAM_END;
    }
    std::int64_t Used() const
    {
        return position_ - start_ - stream_.avail_in;
    }
    std::string Error() const
    {
        if (state_ == Z_MEM_ERROR) {
            return "no memory to inflate it";
        }
        return stream_.msg != nullptr ? stream_.msg : "it is cut off";
    }

private:
    /** gzip takes files that follow each other for one. */
    bool Member_Follows() const
    {
        constexpr std::array<unsigned char, 3> Magic = {0x1F, 0x8B, 8};
        std::array<unsigned char, 3> bytes = {};
        const std::int64_t at = position_ - stream_.avail_in;
        return frame_ == Deflate_Frame::Gzip_Or_Zlib && source_.Read(at, bytes) == bytes.size() &&
               bytes == Magic;
    }

    const Source& source_;
    std::int64_t start_;
    std::int64_t position_;
    Bytes input_;
    Deflate_Frame frame_;
    z_stream stream_ = {};
    int state_;
    bool ready_ = false;
};

/** What shows whether the rest is wanted. */
Bytes Head_Of(Inflater& inflater)
{
    Bytes head;
    for (std::size_t used = 0; inflater.More() && used < Head_Size; used = head.size()) {
        head.resize(std::min(std::max(First_Size, 2 * used), Head_Size));
        head.resize(used + inflater.Take(std::span(head).subspan(used)));
    }
    return head;
}

}  // namespace

Memory_Budget Memory_Budget::Of_Deflated(std::int64_t deflated_size, const Spool_Limits& limits)
{
    constexpr std::int64_t Always_Allowed = std::int64_t{64} << 20;
    constexpr std::int64_t Allowed_Growth = 200;
    Memory_Budget budget;
    budget.left_ = Always_Allowed + deflated_size * Allowed_Growth;
    budget.inflated_left_ = limits.always_inflated + deflated_size * Allowed_Growth;
    return budget;
}

void Memory_Budget::Take_Inflated(std::int64_t size)
{
    // What is in memory may have been moved once while it grew.
    constexpr std::int64_t Cost = 2;
    left_ -= Cost * std::min(size, Source::Small_File);
    inflated_left_ -= size;
}

void Memory_Budget::Take_Element()
{
    left_ -= Element_Cost;
}

void Memory_Budget::Take_Value(std::int64_t size)
{
    left_ -= Value_Cost * size;
}

Inflated Inflate(const Source& source, std::int64_t offset, const Inflation& how)
{
    Inflated result;
    Inflater inflater(source, offset, how.frame);
    Spool spool(how.most_in_memory);
    const Bytes head = Head_Of(inflater);
    if (how.is_wanted != nullptr && !how.is_wanted(Source::From_Image(head, source.Name()))) {
        return result;
    }
    bool too_large = false;
    const auto put = [&](std::span<const unsigned char> piece) {
        const std::int64_t room = how.largest - spool.Size();
        too_large = std::ssize(piece) > room;
        spool.Put(
            piece.first(static_cast<std::size_t>(std::min<std::int64_t>(std::ssize(piece), room))));
    };
    put(head);
    // The end of the stream may stand behind its last byte.
    for (Bytes block(inflater.More() ? Block_Size : 0); inflater.More() && !too_large;) {
        put(std::span(block).first(inflater.Take(block)));
    }
    result.source = spool.Finish(source.Name());
    result.complete = inflater.Complete() && !too_large;
    result.used = inflater.Used();
    if (too_large) {
        result.error = "it grows out of proportion";
    } else if (!result.complete) {
        result.error = inflater.Error();
    }
    return result;
}

bool Deflate(const Piece_Giver& give, const Piece_Taker& take)
{
    z_stream stream = {};
    // The best compression costs ten times as much where zeros and noise mix, for a twentieth of the size.
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, Raw_Window, 8,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::bad_alloc();
    }
    struct End {
        z_stream& stream;
        ~End()
        {
            deflateEnd(&stream);
        }
    };
    const End end = {stream};
    Bytes block(Block_Size);
    std::int64_t size = 0;
    const auto deflate_piece = [&](std::span<const unsigned char> piece, int flush) {
        // zlib reads its input only, though its interface does not say so.
        stream.next_in = const_cast<unsigned char*>(piece.data());
        stream.avail_in = static_cast<uInt>(piece.size());
        int state = Z_OK;
        do {
            stream.next_out = block.data();
            stream.avail_out = static_cast<uInt>(block.size());
            state = deflate(&stream, flush);
            const std::size_t count = block.size() - stream.avail_out;
            size += static_cast<std::int64_t>(count);
            if (count > 0 && !take(std::span(block).first(count))) {
                return false;
            }
        } while (state == Z_OK && (stream.avail_out == 0 || flush == Z_FINISH));
        // Without input or room for output nothing is left to do.
        return state == Z_OK || state == Z_BUF_ERROR || state == Z_STREAM_END;
    };
    const Piece_Taker take_plain = [&](std::span<const unsigned char> piece) {
        return deflate_piece(piece, Z_NO_FLUSH);
    };
    if (!give(take_plain) || !deflate_piece({}, Z_FINISH)) {
        return false;
    }
    const unsigned char padding = 0;
    return size % 2 == 0 || take({&padding, 1});
}

Bytes Deflated(std::span<const unsigned char> bytes)
{
    Bytes out;
    Deflate([bytes](const Piece_Taker& take) { return take(bytes); },
            [&out](std::span<const unsigned char> piece) {
                out.insert(out.end(), piece.begin(), piece.end());
                return true;
            });
    return out;
}

}  // namespace lib_mend
