// Deflated data sets (PS3.5 section A.5, RFC 1951), and the wrappers of gzip and zlib (RFC 1952, 1950).
#ifndef LIB_MEND_DEFLATE_H
#define LIB_MEND_DEFLATE_H

#include "mend/io/source.h"

#include <functional>
#include <limits>

namespace lib_mend {

/**
 * The memory that a data set may take, in bytes. A plain file pays for what it costs with its size;
 * a deflated one may hold a thousandfold of its size in elements, each of which costs many times its
 * bytes. A deflated data set may cost 64 MiB and two hundredfold of its size, all in all.
 */
class Memory_Budget {
public:
    /** No limit. */
    Memory_Budget() = default;
    static Memory_Budget Of_Deflated(std::int64_t deflated_size);

    /** The most that the data set may inflate to: it is in memory twice when it is written. */
    std::int64_t Largest_Inflated() const;
    void Take_Inflated(std::int64_t size);
    /** An element that is kept as a record, with what may be found wrong with it. */
    void Take_Element();
    /** A value that is loaded and repaired, and may be quoted by messages. */
    void Take_Value(std::int64_t size);

    bool Is_Limited() const
    {
        return left_ != std::numeric_limits<std::int64_t>::max();
    }
    bool Is_Spent() const
    {
        return left_ < 0;
    }

private:
    std::int64_t left_ = std::numeric_limits<std::int64_t>::max();
};

struct Inflated {
    Bytes bytes;
    /** The stream came to its end; otherwise `bytes` holds what precedes the fault. */
    bool complete = false;
    /** Bytes of the input that the stream took. */
    std::int64_t used = 0;
    std::string error;
};

/** A stream without a frame, as a data set is deflated, or one in the frame of gzip or zlib. */
enum class Deflate_Frame { Raw, Gzip_Or_Zlib };

/**
 * Inflates the stream that starts at an offset, to a number of bytes at the most. Members of gzip that
 * follow each other are one stream.
 */
Inflated Inflate(const Source& source, std::int64_t offset, std::int64_t largest,
                 Deflate_Frame frame = Deflate_Frame::Raw);

/** Hands pieces that follow each other to its argument, and stops with false when that does. */
using Piece_Giver =
    std::function<bool(const std::function<bool(std::span<const unsigned char>)>& take)>;

/** Deflates pieces to a raw stream, padded to an even length; false without memory. */
bool Deflate(const Piece_Giver& give, Bytes& out);
bool Deflate(std::span<const unsigned char> bytes, Bytes& out);

}  // namespace lib_mend

#endif
