#include "mend/io/spool.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace lib_mend {

namespace {

/** Folders for files that are large and last for the time of the work only. */
std::vector<std::string> Folders()
{
    const char* const chosen = secure_getenv("TMPDIR");
    if (chosen != nullptr && *chosen != '\0') {
        // Who names a folder does not want the bytes of patients in another one.
        return {chosen};
    }
    return {"/var/tmp", "/tmp"};
}

int Open_Without_Name(const std::string& folder)
{
    // With O_EXCL it cannot be given a name later.
    const int descriptor =
        open(folder.c_str(), O_TMPFILE | O_EXCL | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (descriptor >= 0 || (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL)) {
        return descriptor;
    }
    // Some file systems have no files without a name; here it has one for a moment.
    std::string name = folder + "/dicom-mend-XXXXXX";
    const int named = mkostemp(name.data(), O_CLOEXEC);
    if (named >= 0) {
        unlink(name.c_str());
    }
    return named;
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
    for (const std::string& each : Folders()) {
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
        const ssize_t count = write(descriptor_, bytes.data(), bytes.size());
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
    ssize_t count = -1;
    do {
        count = pread(descriptor_, out.data(), out.size(), offset);
    } while (count < 0 && errno == EINTR);
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
