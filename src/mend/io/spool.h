// Bytes that come but once, of which nobody knows how many there are, and that have to be looked at in
// any order: those of a pipe, and what a stream inflates to.
#ifndef LIB_MEND_SPOOL_H
#define LIB_MEND_SPOOL_H

#include "mend/io/source.h"

#include <stdexcept>

namespace lib_mend {

/** What may be kept of such bytes, and where. */
struct Spool_Limits {
    /** Up to so many are held in memory, more of them in a file. */
    std::int64_t in_memory = Source::Small_File;
    /** A stream may always inflate to so many, however few bytes it has. */
    std::int64_t always_inflated = std::int64_t{1} << 30;
};

/** Says what became of the bytes, with the folder of the file that could not take them. */
class Spool_Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/**
 * Opens a file without a name for reading and writing, where a Spool has its own.
 * Throws Spool_Failure when no folder takes one.
 *
 * @param[out] folder  the one that it stands in
 */
int Open_Nameless_File(std::string& folder);

/**
 * Takes bytes one after the other. The file that holds them has no name, so that it is gone with the
 * process whatever becomes of that, and nobody else may read it. It stands in TMPDIR, or where that is
 * not set in /var/tmp, which unlike /tmp is no part of the memory, and last in /tmp.
 */
class Spool {
public:
    explicit Spool(std::int64_t most_in_memory) : most_in_memory_(most_in_memory)
    {
    }
    Spool(const Spool&) = delete;
    Spool& operator=(const Spool&) = delete;
    ~Spool();

    /** Throws Spool_Failure when there is no room for the bytes. */
    void Put(std::span<const unsigned char> bytes);
    std::int64_t Size() const
    {
        return size_;
    }
    /** Copies bytes out that have come; less than asked for when they cannot be read. */
    std::size_t Read(std::int64_t offset, std::span<unsigned char> out) const;
    /** Gives away what has come; the spool is empty then. */
    std::shared_ptr<Source> Finish(const std::string& name);

private:
    void Write(std::span<const unsigned char> bytes);

    std::int64_t most_in_memory_;
    Bytes bytes_;
    std::string folder_;
    int descriptor_ = -1;
    std::int64_t size_ = 0;
};

}  // namespace lib_mend

#endif
