// Deflated data sets (PS3.5 section A.5, RFC 1951), and the wrappers of gzip and zlib (RFC 1952, 1950).
#ifndef LIB_MEND_DEFLATE_H
#define LIB_MEND_DEFLATE_H

#include "mend/io/safe_file.h"
#include "mend/io/spool.h"

#include <algorithm>
#include <functional>
#include <limits>

namespace lib_mend {

/**
 * What a data set may cost, in bytes. A plain file pays for what it costs with its size; a deflated one
 * may hold a thousandfold of its size in elements, each of which costs many times its bytes. A deflated
 * data set may cost 64 MiB of memory, or twohundredfold of its size more. What it inflates to is kept on
 * the disk, as far as it is much: 1 GiB and twohundredfold of its size.
 */
class Memory_Budget {
public:
    /** No limit. */
    Memory_Budget() = default;
    static Memory_Budget Of_Deflated(std::int64_t deflated_size, const Spool_Limits& limits);

    /** The most that the data set may inflate to. */
    std::int64_t Largest_Inflated() const
    {
        return inflated_left_;
    }
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
    std::int64_t inflated_left_ = std::numeric_limits<std::int64_t>::max();
};

struct Inflated {
    /** Null when it is not what was wanted. */
    std::shared_ptr<Source> source;
    /** The stream came to its end; otherwise `source` holds what precedes the fault. */
    bool complete = false;
    /** Bytes of the input that the stream took. */
    std::int64_t used = 0;
    std::string error;
};

/** A stream without a frame, as a data set is deflated, or one in the frame of gzip or zlib. */
enum class Deflate_Frame { Raw, Gzip_Or_Zlib };

/** How a stream is inflated. */
struct Inflation {
    /** Number of bytes at the most. */
    std::int64_t largest = 0;
    /** More of them go to a file. */
    std::int64_t most_in_memory = Source::Small_File;
    Deflate_Frame frame = Deflate_Frame::Raw;
    /** Asked with the first mebibyte whether the rest is wanted; null when it is in any case. */
    std::function<bool(const std::shared_ptr<Source>& head)> is_wanted = nullptr;
};

/**
 * Inflates the stream that starts at an offset. Members of gzip that follow each other are one stream.
 * Throws Spool_Failure when there is no room for the bytes.
 */
Inflated Inflate(const Source& source, std::int64_t offset, const Inflation& how);

/** Hands pieces that follow each other to its argument, and stops with false when that does. */
using Piece_Giver = std::function<bool(const Piece_Taker& take)>;

/**
 * Deflates pieces to the pieces of a raw stream, padded to an even length; false when one of the two
 * functions stopped. Throws std::bad_alloc.
 */
bool Deflate(const Piece_Giver& give, const Piece_Taker& take);
/** Deflates bytes in memory. */
Bytes Deflated(std::span<const unsigned char> bytes);

}  // namespace lib_mend

#endif
