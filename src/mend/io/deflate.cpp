#include "mend/io/deflate.h"

#include <algorithm>
#include <array>

#include <zlib.h>

namespace lib_mend {

namespace {

/** Negative window bits: a raw stream without the header and the check sum of zlib. */
constexpr int Raw_Window = -15;
/** A frame of gzip or zlib, whichever is there. */
constexpr int Framed_Window = 15 + 32;
constexpr std::size_t Block_Size = std::size_t{1} << 14;
constexpr std::size_t Input_Size = std::size_t{1} << 13;

/** Costs in bytes, measured with files that are made to cost much; see tests/bounds_test.cpp. */
constexpr std::int64_t Inflated_Cost = 2;
constexpr std::int64_t Value_Cost = 9;
constexpr std::int64_t Element_Cost = 800;

class Inflater {
public:
    Inflater(const Source& source, std::int64_t offset, Deflate_Frame frame)
        : source_(source), start_(offset), position_(offset), input_(Input_Size), frame_(frame),
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

/** Number of bytes that a stream inflates to, up to a limit and a block. */
std::int64_t Count_Inflated(const Source& source, std::int64_t offset, std::int64_t largest,
                            Deflate_Frame frame)
{
    Inflater inflater(source, offset, frame);
    Bytes block(Block_Size);
    std::int64_t count = 0;
    while (inflater.More() && count <= largest) {
        count += static_cast<std::int64_t>(inflater.Take(block));
    }
    return count;
}

}  // namespace

Memory_Budget Memory_Budget::Of_Deflated(std::int64_t deflated_size)
{
    constexpr std::int64_t Always_Allowed = std::int64_t{64} << 20;
    constexpr std::int64_t Allowed_Growth = 200;
    Memory_Budget budget;
    budget.left_ = Always_Allowed + deflated_size * Allowed_Growth;
    return budget;
}

std::int64_t Memory_Budget::Largest_Inflated() const
{
    // An eighth is left for the elements.
    return std::min((left_ - left_ / 8) / Inflated_Cost, Max_File_Size);
}

void Memory_Budget::Take_Inflated(std::int64_t size)
{
    left_ -= Inflated_Cost * size;
}

void Memory_Budget::Take_Element()
{
    left_ -= Element_Cost;
}

void Memory_Budget::Take_Value(std::int64_t size)
{
    left_ -= Value_Cost * size;
}

Inflated Inflate(const Source& source, std::int64_t offset, std::int64_t largest,
                 Deflate_Frame frame)
{
    // Counted first: a buffer that grows with the stream would take twice the memory.
    const std::int64_t count = Count_Inflated(source, offset, largest, frame);
    const bool too_large = count > largest;
    Inflated result;
    result.bytes.resize(static_cast<std::size_t>(std::min(count, largest)));
    Inflater inflater(source, offset, frame);
    result.bytes.resize(inflater.Take(result.bytes));
    // The end of the stream may stand behind its last byte.
    std::array<unsigned char, 1> behind = {};
    if (!too_large && inflater.More()) {
        inflater.Take(behind);
    }
    result.complete = inflater.Complete();
    result.used = inflater.Used();
    if (too_large) {
        result.error = "it grows out of proportion";
    } else if (!result.complete) {
        result.error = inflater.Error();
    }
    return result;
}

bool Deflate(const Piece_Giver& give, Bytes& out)
{
    z_stream stream = {};
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, Raw_Window, 8, Z_DEFAULT_STRATEGY) !=
        Z_OK) {
        return false;
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
    out.clear();
    const auto take = [&](std::span<const unsigned char> piece, int flush) {
        // zlib reads its input only, though its interface does not say so.
        stream.next_in = const_cast<unsigned char*>(piece.data());
        stream.avail_in = static_cast<uInt>(piece.size());
        int state = Z_OK;
        do {
            stream.next_out = block.data();
            stream.avail_out = static_cast<uInt>(block.size());
            state = deflate(&stream, flush);
            out.insert(out.end(), block.data(), stream.next_out);
        } while (state == Z_OK && (stream.avail_out == 0 || flush == Z_FINISH));
        // Without input or room for output nothing is left to do.
        return state == Z_OK || state == Z_BUF_ERROR || state == Z_STREAM_END;
    };
    const bool done =
        give([&](std::span<const unsigned char> piece) { return take(piece, Z_NO_FLUSH); }) &&
        take({}, Z_FINISH);
    if (out.size() % 2 != 0) {
        out.push_back(0);
    }
    return done;
}

bool Deflate(std::span<const unsigned char> bytes, Bytes& out)
{
    const Piece_Giver give = [bytes](const auto& take) {
        return take(bytes);
    };
    return Deflate(give, out);
}

}  // namespace lib_mend
