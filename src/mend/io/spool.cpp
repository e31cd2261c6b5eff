#include "mend/io/spool.h"

#include "mend/io/system_files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <unistd.h>

namespace lib_mend {

namespace {

/** As many bytes as one call may write on every system. */
unsigned int Portion(std::size_t size)
{
    constexpr std::size_t Largest = std::size_t{1} << 30;
    return static_cast<unsigned int>(std::min(size, Largest));
}

[[noreturn]] void Fail(const std::string& folder)
{
    const int error = errno;
    throw Spool_Failure("its bytes cannot be kept in a temporary file in " + folder + ": " +
                        std::strerror(error) + "; set TMPDIR to a folder with room for them");
}

}  // namespace

Spool::~Spool()
{
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

int Open_Nameless_File(std::string& folder)
{
    for (const std::string& each : Folders_For_Spools()) {
        folder = each;
        const int descriptor = Open_Without_Name(each);
        if (descriptor >= 0) {
            return descriptor;
        }
    }
    Fail(folder);
}

void Spool::Write(std::span<const unsigned char> bytes)
{
    while (!bytes.empty()) {
        const std::int64_t count = write(descriptor_, bytes.data(), Portion(bytes.size()));
        if (count > 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            errno = count == 0 ? EIO : errno;
            Fail(folder_);
        }
    }
}

void Spool::Put(std::span<const unsigned char> bytes)
{
    if (descriptor_ < 0 && size_ + std::ssize(bytes) > most_in_memory_) {
        descriptor_ = Open_Nameless_File(folder_);
        Write(bytes_);
        bytes_ = Bytes();
    }
    if (descriptor_ >= 0) {
        Write(bytes);
    } else {
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    }
    size_ += std::ssize(bytes);
}

std::size_t Spool::Read(std::int64_t offset, std::span<unsigned char> out) const
{
    if (offset < 0 || offset >= size_) {
        return 0;
    }
    out = out.first(std::min(out.size(), static_cast<std::size_t>(size_ - offset)));
    if (descriptor_ < 0) {
        std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(offset), out.size(), out.begin());
        return out.size();
    }
    const std::int64_t count = Read_At(descriptor_, out.data(), out.size(), offset);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

std::shared_ptr<Source> Spool::Finish(const std::string& name)
{
    const std::int64_t size = std::exchange(size_, 0);
    const int descriptor = std::exchange(descriptor_, -1);
    std::shared_ptr<Source> source = descriptor >= 0
                                         ? Source::From_File(descriptor, size, name)
                                         : Source::From_Bytes(std::exchange(bytes_, {}), name);
    source->Set_Passing();
    return source;
}

}  // namespace lib_mend
