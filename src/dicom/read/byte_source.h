// Where bytes come from: an open file or a memory image, behind one small class. A source reports
// nothing and decides nothing; it hands out bytes and positions and leaves errno as the system set
// it.
#ifndef LIB_DICOM_SRC_READ_BYTE_SOURCE_H
#define LIB_DICOM_SRC_READ_BYTE_SOURCE_H

#include <Lib_DICOM/read.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace lib_dicom {

/** Longest header of an element (12 bytes) with the first value bytes that a repair looks at. */
inline constexpr std::size_t Header_Window = 16;

class Byte_Source {
public:
    Byte_Source() = default;
    Byte_Source(const Byte_Source&) = delete;
    Byte_Source& operator=(const Byte_Source&) = delete;
    virtual ~Byte_Source() = default;

    /** Fetches the next Header_Window bytes at once, where each access to the source is dear. */
    virtual void Prefetch() = 0;
    /**
     * Copies the next bytes and moves past them.
     *
     * @return the number of bytes, less than asked for at the end only; -1 after a system error
     */
    virtual std::ptrdiff_t Take(std::span<unsigned char> out) = 0;
    /** The next bytes, up to Header_Window, without moving; fewer at the end or after an error. */
    virtual std::span<const unsigned char> Peek(std::size_t size) = 0;
    /** The next bytes in large even portions, and moves past them; empty at the end. */
    virtual std::span<const unsigned char> Take_Block() = 0;

    /** Number of bytes that were fetched but not taken: the source stands that far ahead. */
    virtual std::size_t Ahead() const = 0;
    /** Gives back what was fetched ahead. Returns the absolute position, -1 after a failure. */
    virtual long long Settle() = 0;
    /** Moves to an absolute position. False after a failure. */
    virtual bool Seek(long long position) = 0;
    /** Gives up the source after a failed seek. */
    virtual void Close() = 0;

    /** Tells whether the source ends by itself rather than by the caller's word. */
    virtual bool Knows_End() const = 0;
    /** The source's name for messages. */
    virtual const wchar_t* Name() const = 0;
};

/** An open file. It closes the descriptor only in Close: the file is the client's. */
class File_Source final : public Byte_Source {
public:
    File_Source(int descriptor, const wchar_t* name) : descriptor_(descriptor), name_(name)
    {
    }

    void Prefetch() override;
    std::ptrdiff_t Take(std::span<unsigned char> out) override;
    std::span<const unsigned char> Peek(std::size_t size) override;
    std::span<const unsigned char> Take_Block() override;
    std::size_t Ahead() const override
    {
        return end_ - begin_;
    }
    long long Settle() override;
    bool Seek(long long position) override;
    void Close() override;
    bool Knows_End() const override
    {
        return true;
    }
    const wchar_t* Name() const override
    {
        return name_;
    }

private:
    std::ptrdiff_t Fetch(std::span<unsigned char> out) const;

    int descriptor_;
    const wchar_t* name_;
    /** Bytes fetched ahead: those from begin_ up to end_ were not taken yet. */
    std::array<unsigned char, Header_Window> window_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    std::vector<unsigned char> block_;
};

/** A file that the library itself opens for binary reading, for as long as the object lives. */
class Opened_File {
public:
    /** @param name  the path; where the system's paths are bytes it is converted to UTF-8 */
    explicit Opened_File(const wchar_t* name);
    Opened_File(const Opened_File&) = delete;
    Opened_File& operator=(const Opened_File&) = delete;
    ~Opened_File();

    /** -1 when the file could not be opened. */
    int Descriptor() const
    {
        return descriptor_;
    }
    /** The size in bytes, -1 after a system error. Moves to the end. */
    long long Size() const;

private:
    int descriptor_;
};

/** A memory image with the caller's position counter, a signed 32-bit offset. */
class Memory_Source final : public Byte_Source {
public:
    /** @param size  size of the image, 0 when unknown: then only the counter's range is the end */
    Memory_Source(int* counter, const void* image, int size)
        : counter_(counter), image_(static_cast<const unsigned char*>(image)),
          knows_end_(size != 0), end_(knows_end_ ? size : std::numeric_limits<int>::max())
    {
    }

    void Prefetch() override
    {
    }
    std::ptrdiff_t Take(std::span<unsigned char> out) override;
    std::span<const unsigned char> Peek(std::size_t size) override;
    std::span<const unsigned char> Take_Block() override;
    std::size_t Ahead() const override
    {
        return 0;
    }
    long long Settle() override;
    bool Seek(long long position) override;
    void Close() override
    {
    }
    bool Knows_End() const override
    {
        return knows_end_;
    }
    const wchar_t* Name() const override
    {
        return L"memory image";
    }

private:
    bool Is_Valid() const
    {
        return counter_ != nullptr && *counter_ >= 0;
    }
    std::span<const unsigned char> Rest() const;

    int* counter_;
    const unsigned char* image_;
    bool knows_end_;
    int end_;
};

/** The address that a counter's `where` stands for: widened with its sign, as it was narrowed. */
inline int* Widen_Where(int where)
{
    return reinterpret_cast<int*>(static_cast<std::intptr_t>(where));
}

/** Runs `body` with the source that the arguments of the interface name. */
template <class Body>
auto With_Source(int source, int where, void* ptr, int size, Body&& body)
{
    if (source == NEMA_Source_File) {
        File_Source file(where, static_cast<const wchar_t*>(ptr));
        return body(file);
    }
    Memory_Source memory(Widen_Where(where), ptr, size);
    return body(memory);
}

}  // namespace lib_dicom

#endif
