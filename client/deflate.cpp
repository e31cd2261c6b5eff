#include "client/deflate.h"

#include <algorithm>
#include <array>

#include <zlib.h>

namespace dicom_client {

namespace {

/** Negative window bits: a raw stream without the header and the check sum of zlib. */
constexpr int Raw_Window = -15;
constexpr std::size_t Block_Size = std::size_t{1} << 16;

/**
 * The most that a stream may inflate to. The format allows a thousandfold growth; images with wide
 * empty borders need a good part of it, a bomb of a few megabytes does not get it.
 */
std::size_t Inflated_Limit(std::int64_t deflated_size)
{
    constexpr std::int64_t Always_Allowed = std::int64_t{64} << 20;
    constexpr std::int64_t Allowed_Growth = 100;
    return static_cast<std::size_t>(
        std::min(Always_Allowed + deflated_size * Allowed_Growth, Max_File_Size));
}

class Inflate_Stream {
public:
    Inflate_Stream() : ready_(inflateInit2(&stream, Raw_Window) == Z_OK)
    {
    }
    Inflate_Stream(const Inflate_Stream&) = delete;
    Inflate_Stream& operator=(const Inflate_Stream&) = delete;
    ~Inflate_Stream()
    {
        if (ready_) {
            inflateEnd(&stream);
        }
    }
    bool Ready() const
    {
        return ready_;
    }

    z_stream stream = {};

private:
    bool ready_;
};

}  // namespace

Inflated Inflate(const Source& source, std::int64_t offset)
{
    Inflated result;
    Inflate_Stream inflater;
    if (!inflater.Ready()) {
        result.error = "no memory to inflate";
        return result;
    }
    const std::size_t limit = Inflated_Limit(source.Size() - offset);
    Bytes input(Block_Size);
    std::array<unsigned char, Block_Size> output;
    std::int64_t position = offset;
    int state = Z_OK;
    z_stream& stream = inflater.stream;
    while (state == Z_OK && result.bytes.size() < limit) {
        if (stream.avail_in == 0) {
            const std::size_t count = source.Read(position, input);
            position += static_cast<std::int64_t>(count);
            stream.next_in = input.data();
            stream.avail_in = static_cast<uInt>(count);
        }
        stream.next_out = output.data();
        stream.avail_out = static_cast<uInt>(output.size());
        state = inflate(&stream, Z_NO_FLUSH);
        result.bytes.insert(result.bytes.end(), output.data(), stream.next_out);
    }
    result.complete = state == Z_STREAM_END;
    result.used = position - offset - stream.avail_in;
    if (state == Z_OK) {
        result.error = "the deflated data set grows out of proportion";
    } else if (!result.complete) {
        result.error = stream.msg != nullptr ? stream.msg : "the deflated data set is cut off";
    }
    return result;
}

bool Deflate(std::span<const unsigned char> bytes, Bytes& out)
{
    z_stream stream = {};
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, Raw_Window, 8, Z_DEFAULT_STRATEGY) !=
        Z_OK) {
        return false;
    }
    out.resize(deflateBound(&stream, bytes.size()));
    // The library reads its input only, though its interface does not say so.
    stream.next_in = const_cast<unsigned char*>(bytes.data());
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    const bool done = deflate(&stream, Z_FINISH) == Z_STREAM_END;
    out.resize(stream.total_out);
    deflateEnd(&stream);
    if (out.size() % 2 != 0) {
        out.push_back(0);
    }
    return done;
}

}  // namespace dicom_client
