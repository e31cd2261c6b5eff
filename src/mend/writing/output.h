// Where encoded bytes go: small ones as they come, values that lie in the source as places in it, so
// that nothing of theirs is held in memory.
#ifndef LIB_MEND_OUTPUT_H
#define LIB_MEND_OUTPUT_H

#include "mend/io/safe_file.h"
#include "mend/io/source.h"

#include <memory>
#include <span>
#include <vector>

namespace lib_mend {

/** Bytes of a source, or zeros where there is none; units of `width` bytes are reversed on the way, 1 leaves them as they are. */
struct Extent {
    std::shared_ptr<Source> source;
    std::int64_t offset = 0;
    std::int64_t size = 0;
    int width = 1;
};

/** Takes the bytes of a file in their order. */
class Output {
public:
    virtual ~Output() = default;

    virtual void Put(std::span<const unsigned char> bytes) = 0;
    virtual void Copy(const Extent& extent) = 0;
};

/** An encoded file: bytes of its own and extents of sources, which it keeps open. */
class Encoded_File : public Output {
public:
    void Put(std::span<const unsigned char> bytes) override;
    void Copy(const Extent& extent) override;

    /** Puts what another file holds behind all the rest, and deflates it when it is handed out. */
    void Put_Deflated(std::shared_ptr<const Encoded_File> plain);

    /** Number of bytes without those that are deflated. */
    std::int64_t Size() const;
    void Clear();
    /**
     * Hands out all bytes, piece by piece. Throws std::bad_alloc.
     *
     * @return false when the taker stopped, or when an extent could not be read
     */
    bool Give(const Piece_Taker& take) const
    {
        return Give(File_Taker{take, nullptr});
    }
    /** The same, to a file: extents that stay as they are need not be read. */
    bool Give(const File_Taker& file) const;
    /** All bytes, as far as they can be read. */
    Bytes Joined() const;

    /** A piece of the file: bytes of its own, or an extent where there are none. */
    struct Part {
        std::int64_t start = 0;
        std::int64_t size = 0;
        const unsigned char* own = nullptr;
        Extent extent = {};
    };
    /** The pieces in their order, without what is deflated. They look into the file. */
    std::vector<Part> Parts() const;
    bool Is_Deflated() const
    {
        return deflated_ != nullptr;
    }

private:
    struct Placed_Extent {
        /** How many of the file's own bytes stand in front. */
        std::size_t behind;
        Extent extent;
    };

    Bytes bytes_;
    std::vector<Placed_Extent> extents_;
    std::shared_ptr<const Encoded_File> deflated_;
};

/** Puts a value that was left in a source, and the zeros behind it. */
void Put_Stored(const std::shared_ptr<Source>& source, const DICOM_List& record, int width,
                Output& out);

/** Reverses each whole unit of `width` bytes. */
void Reverse_Units(std::span<unsigned char> bytes, int width);

}  // namespace lib_mend

#endif
