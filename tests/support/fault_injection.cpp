#include "support/fault_injection.h"

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <malloc.h>
#include <new>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>

namespace {

using fault::Kind;
using fault::Point;

struct State {
    bool armed = false;
    Point point = Point::Count;
    Kind kind = Kind::Error;
    int error = 0;
    /** Passages until the one that fails; negative behind it. */
    long left = 0;
};

State state;
std::size_t live_blocks = 0;
std::size_t live_bytes = 0;
std::size_t peak_bytes = 0;

/** Counts a passage; true when it has to fail. */
bool Strikes(Point point)
{
    if (!state.armed || state.point != point) {
        return false;
    }
    if (state.left >= 0) {
        --state.left;
    }
    const bool now = state.left == 0;
    const bool behind = state.left < 0 && state.kind == Kind::From_Now_On;
    return now || behind;
}

/** Fails a call as the injection asks for: -1 with the error number. */
int Fail()
{
    errno = state.kind == Kind::Interrupted ? EINTR : state.error;
    return -1;
}

void* Taken(void* block)
{
    if (block != nullptr) {
        ++live_blocks;
        live_bytes += malloc_usable_size(block);
        peak_bytes = live_bytes > peak_bytes ? live_bytes : peak_bytes;
    }
    return block;
}

void Given_Back(void* block)
{
    if (block != nullptr) {
        --live_blocks;
        live_bytes -= malloc_usable_size(block);
    }
}

}  // namespace

namespace fault {

Injection::Injection(Point point, long n, Kind kind, int error)
{
    state = {true, point, kind, error, n};
}

Injection::~Injection()
{
    state.armed = false;
}

bool Injection::Struck() const
{
    return state.left <= 0;
}

Pause::Pause() : was_armed_(state.armed)
{
    state.armed = false;
}

Pause::~Pause()
{
    state.armed = was_armed_;
}

std::size_t Live_Blocks()
{
    return live_blocks;
}

std::size_t Live_Bytes()
{
    return live_bytes;
}

std::size_t Peak_Bytes()
{
    return peak_bytes;
}

void Reset_Peak()
{
    peak_bytes = live_bytes;
}

}  // namespace fault

// ---- what the linker puts in the place of the system's functions

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);
int __real_open(const char* path, int flags, ...);
int __real_openat(int folder, const char* path, int flags, ...);
ssize_t __real_read(int file, void* out, std::size_t size);
ssize_t __real_pread(int file, void* out, std::size_t size, off_t offset);
int __real_fstat(int file, struct stat* status);
off_t __real_lseek(int file, off_t offset, int origin);
ssize_t __real_write(int file, const void* bytes, std::size_t size);
int __real_fsync(int file);
int __real_fchmod(int file, mode_t mode);
int __real_close(int file);
int __real_renameat(int from_folder, const char* from, int to_folder, const char* to);
int __real_linkat(int from_folder, const char* from, int to_folder, const char* to, int flags);
int __real_renameat2(int from_folder, const char* from, int to_folder, const char* to,
                     unsigned int flags);

void* __wrap_malloc(std::size_t size)
{
    return Strikes(Point::Memory) ? nullptr : Taken(__real_malloc(size));
}

void* __wrap_calloc(std::size_t count, std::size_t size)
{
    return Strikes(Point::Memory) ? nullptr : Taken(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, std::size_t size)
{
    if (Strikes(Point::Memory)) {
        return nullptr;
    }
    Given_Back(block);
    return Taken(__real_realloc(block, size));
}

void __wrap_free(void* block)
{
    Given_Back(block);
    __real_free(block);
}

int __wrap_open(const char* path, int flags, ...)
{
    // No caller in this executable creates files with it, so that there is no mode to hand on.
    return Strikes(Point::Open) ? Fail() : __real_open(path, flags);
}

int __wrap_openat(int folder, const char* path, int flags, ...)
{
    // The mode counts for a file that is created only.
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return Strikes(Point::Open) ? Fail() : __real_openat(folder, path, flags, mode);
}

ssize_t __wrap_read(int file, void* out, std::size_t size)
{
    if (Strikes(Point::Read)) {
        if (state.kind != Kind::Short) {
            return Fail();
        }
        size = (size + 1) / 2;
    }
    return __real_read(file, out, size);
}

ssize_t __wrap_pread(int file, void* out, std::size_t size, off_t offset)
{
    if (Strikes(Point::Read)) {
        if (state.kind != Kind::Short) {
            return Fail();
        }
        size = (size + 1) / 2;
    }
    return __real_pread(file, out, size, offset);
}

int __wrap_fstat(int file, struct stat* status)
{
    return Strikes(Point::Open) ? Fail() : __real_fstat(file, status);
}

off_t __wrap_lseek(int file, off_t offset, int origin)
{
    return Strikes(Point::Seek) ? Fail() : __real_lseek(file, offset, origin);
}

ssize_t __wrap_write(int file, const void* bytes, std::size_t size)
{
    if (Strikes(Point::Write)) {
        if (state.kind != Kind::Short) {
            return Fail();
        }
        size = (size + 1) / 2;
    }
    return __real_write(file, bytes, size);
}

int __wrap_fsync(int file)
{
    return Strikes(Point::Write) && state.kind != Kind::Short ? Fail() : __real_fsync(file);
}

int __wrap_fchmod(int file, mode_t mode)
{
    return Strikes(Point::Write) && state.kind != Kind::Short ? Fail() : __real_fchmod(file, mode);
}

int __wrap_close(int file)
{
    const bool fails = Strikes(Point::Write) && state.kind == Kind::Error;
    const int result = __real_close(file);
    return fails ? Fail() : result;
}

int __wrap_renameat(int from_folder, const char* from, int to_folder, const char* to)
{
    return Strikes(Point::Rename) ? Fail() : __real_renameat(from_folder, from, to_folder, to);
}

int __wrap_linkat(int from_folder, const char* from, int to_folder, const char* to, int flags)
{
    return Strikes(Point::Rename) ? Fail() : __real_linkat(from_folder, from, to_folder, to, flags);
}

int __wrap_renameat2(int from_folder, const char* from, int to_folder, const char* to,
                     unsigned int flags)
{
    return Strikes(Point::Rename) ? Fail()
                                  : __real_renameat2(from_folder, from, to_folder, to, flags);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

void* operator new(std::size_t size)
{
    void* const block = __wrap_malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return __wrap_malloc(size == 0 ? 1 : size);
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept
{
    return operator new(size, tag);
}

void operator delete(void* block) noexcept
{
    __wrap_free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    __wrap_free(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept
{
    __wrap_free(block);
}

void operator delete[](void* block) noexcept
{
    __wrap_free(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
    __wrap_free(block);
}

void operator delete[](void* block, const std::nothrow_t&) noexcept
{
    __wrap_free(block);
}
