#include "read/byte_source.h"

#include "frame/c_memory.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#if defined(_WIN32)
#include "util/windows_names.h"

#include <io.h>
#include <share.h>
#else
#include <unistd.h>
#endif

namespace lib_dicom {

namespace {

/** Even, so that 16-bit words do not straddle two portions. */
constexpr std::size_t Block_Size = 0x10000;

#if defined(_WIN32)

int System_Open(const wchar_t* name)
{
    return _wsopen(lib_util::Long_Name(name).c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT,
                   _SH_DENYNO);
}

std::ptrdiff_t System_Read(int descriptor, void* out, std::size_t size)
{
    constexpr std::size_t Largest = std::numeric_limits<int>::max();
    return _read(descriptor, out, static_cast<unsigned int>(std::min(size, Largest)));
}

long long System_Seek(int descriptor, long long offset, int origin)
{
    return _lseeki64(descriptor, offset, origin);
}

void System_Close(int descriptor)
{
    _close(descriptor);
}

#else

int System_Open(const wchar_t* name)
{
    errno = 0;
    const C_Array<char> path(Wchar_2_Char(name));
    if (path == nullptr) {
        // The name holds what no path of this system can.
        errno = errno == ENOMEM ? throw std::bad_alloc() : EILSEQ;
        return -1;
    }
    return open(path.get(), O_RDONLY | O_CLOEXEC);
}

std::ptrdiff_t System_Read(int descriptor, void* out, std::size_t size)
{
    return read(descriptor, out, size);
}

long long System_Seek(int descriptor, long long offset, int origin)
{
    return lseek(descriptor, static_cast<off_t>(offset), origin);
}

void System_Close(int descriptor)
{
    close(descriptor);
}

#endif

/** One read, tried again when a signal came in between. */
std::ptrdiff_t Read_Once(int descriptor, std::span<unsigned char> out)
{
    std::ptrdiff_t count = 0;
    do {
        count = System_Read(descriptor, out.data(), out.size());
    } while (count < 0 && errno == EINTR);
    return count;
}

int Open(const wchar_t* name)
{
    if (name == nullptr) {
        errno = ENOENT;
        return -1;
    }
    return System_Open(name);
}

}  // namespace

/** Reads until all bytes are there or the file ends. */
std::ptrdiff_t File_Source::Fetch(std::span<unsigned char> out) const
{
    std::size_t done = 0;
    while (done < out.size()) {
        const std::ptrdiff_t count = Read_Once(descriptor_, out.subspan(done));
        if (count < 0) {
            return -1;
        }
        if (count == 0) {
            break;
        }
        done += static_cast<std::size_t>(count);
    }
    return static_cast<std::ptrdiff_t>(done);
}

void File_Source::Prefetch()
{
    // An error shows again, and is reported, when the bytes are taken.
    begin_ = 0;
    end_ = static_cast<std::size_t>(std::max<std::ptrdiff_t>(Read_Once(descriptor_, window_), 0));
}

std::ptrdiff_t File_Source::Take(std::span<unsigned char> out)
{
    const std::size_t ready = std::min(out.size(), Ahead());
    std::copy_n(window_.data() + begin_, ready, out.data());
    begin_ += ready;
    const std::ptrdiff_t fetched = Fetch(out.subspan(ready));
    return fetched < 0 ? -1 : static_cast<std::ptrdiff_t>(ready) + fetched;
}

std::span<const unsigned char> File_Source::Peek(std::size_t size)
{
    size = std::min(size, window_.size());
    if (Ahead() < size) {
        std::copy(window_.data() + begin_, window_.data() + end_, window_.data());
        end_ -= begin_;
        begin_ = 0;
        const std::ptrdiff_t fetched = Fetch(std::span(window_).subspan(end_, size - end_));
        end_ += static_cast<std::size_t>(std::max<std::ptrdiff_t>(fetched, 0));
    }
    return {window_.data() + begin_, std::min(size, Ahead())};
}

std::span<const unsigned char> File_Source::Take_Block()
{
    block_.resize(Block_Size);
    const std::ptrdiff_t count = Take(block_);
    return {block_.data(), static_cast<std::size_t>(std::max<std::ptrdiff_t>(count, 0))};
}

long long File_Source::Settle()
{
    const long long position = System_Seek(descriptor_, -static_cast<long long>(Ahead()), SEEK_CUR);
    begin_ = end_ = 0;
    return position;
}

bool File_Source::Seek(long long position)
{
    begin_ = end_ = 0;
    return System_Seek(descriptor_, position, SEEK_SET) >= 0;
}

void File_Source::Close()
{
    System_Close(descriptor_);
}

Opened_File::Opened_File(const wchar_t* name) : descriptor_(Open(name))
{
}

Opened_File::~Opened_File()
{
    if (descriptor_ >= 0) {
        System_Close(descriptor_);
    }
}

long long Opened_File::Size() const
{
    // errno stays that of the failed opening.
    return descriptor_ >= 0 ? System_Seek(descriptor_, 0, SEEK_END) : -1;
}

std::span<const unsigned char> Memory_Source::Rest() const
{
    if (image_ == nullptr || !Is_Valid() || *counter_ >= end_) {
        return {};
    }
    return {image_ + *counter_, static_cast<std::size_t>(end_ - *counter_)};
}

std::ptrdiff_t Memory_Source::Take(std::span<unsigned char> out)
{
    const std::span<const unsigned char> bytes = Peek(out.size());
    std::copy(bytes.begin(), bytes.end(), out.begin());
    if (!bytes.empty()) {
        *counter_ += static_cast<int>(bytes.size());
    }
    return static_cast<std::ptrdiff_t>(bytes.size());
}

std::span<const unsigned char> Memory_Source::Peek(std::size_t size)
{
    const std::span<const unsigned char> rest = Rest();
    return rest.first(std::min(size, rest.size()));
}

std::span<const unsigned char> Memory_Source::Take_Block()
{
    const std::span<const unsigned char> rest = Rest();
    if (!rest.empty()) {
        *counter_ = end_;
    }
    return rest;
}

long long Memory_Source::Settle()
{
    if (!Is_Valid()) {
        errno = EINVAL;
        return -1;
    }
    return *counter_;
}

bool Memory_Source::Seek(long long position)
{
    if (!Is_Valid() || position < 0 || position > std::numeric_limits<int>::max()) {
        errno = EINVAL;
        return false;
    }
    *counter_ = static_cast<int>(position);
    return true;
}

}  // namespace lib_dicom
