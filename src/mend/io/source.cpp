#include "mend/io/source.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace lib_mend {

namespace {

std::wstring Wide(const std::string& text)
{
    struct Release {
        void operator()(wchar_t* wide) const
        {
            std::free(wide);
        }
    };
    const std::unique_ptr<wchar_t, Release> wide(Char_2_Wchar(text.c_str()));
    return wide != nullptr ? wide.get() : L"";
}

/** What a pipe may hold: its end is not known before it comes. */
constexpr std::int64_t Max_Pipe_Size = std::int64_t{512} << 20;

/**
 * Reads a descriptor to its end, or to just beyond a number of bytes.
 *
 * @param expected  number of bytes that it should hold, 0 where that is not known
 */
bool Read_All(int descriptor, std::int64_t expected, std::int64_t most, Bytes& bytes,
              std::string& error)
{
    constexpr std::size_t Block = std::size_t{1} << 16;
    bytes.resize(expected > 0 ? static_cast<std::size_t>(expected) + 1 : 0);
    for (std::size_t used = 0;;) {
        if (bytes.size() == used) {
            bytes.resize(used + Block);
        }
        const ssize_t count = read(descriptor, bytes.data() + used, bytes.size() - used);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            error = std::strerror(errno);
            return false;
        }
        used += static_cast<std::size_t>(count);
        if (count == 0 || used > static_cast<std::size_t>(most)) {
            bytes.resize(used);
            return true;
        }
    }
}

}  // namespace

Source::Source(std::string name) : name_(std::move(name)), wide_name_(Wide(name_))
{
}

Source::~Source()
{
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

bool Source::Take_Descriptor(int descriptor, std::int64_t most_in_memory, std::string& error)
{
    descriptor_ = descriptor;
    struct stat status = {};
    if (descriptor < 0 || fstat(descriptor, &status) != 0) {
        error = std::strerror(errno);
        return false;
    }
    if (S_ISDIR(status.st_mode)) {
        error = std::strerror(EISDIR);
        return false;
    }
    if (S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode)) {
        error = "is a device, not a file";
        return false;
    }
    size_ = status.st_size;
    const bool is_pipe = !S_ISREG(status.st_mode);
    if (is_pipe || size_ <= most_in_memory) {
        if (!Read_All(descriptor, is_pipe ? 0 : size_, is_pipe ? Max_Pipe_Size : Max_File_Size,
                      owned_, error)) {
            return false;
        }
        if (is_pipe && std::ssize(owned_) > Max_Pipe_Size) {
            error = "pipes above 512 MiB are not supported; store the data in a file first";
            return false;
        }
        size_ = static_cast<std::int64_t>(owned_.size());
        image_ = owned_.data();
    }
    if (size_ > Max_File_Size) {
        error = "files above 2 GiB are not supported";
        return false;
    }
    return true;
}

std::shared_ptr<Source> Source::Open(const std::string& path, std::string& error,
                                     std::int64_t most_in_memory)
{
    std::shared_ptr<Source> source(new Source(path));
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    return source->Take_Descriptor(descriptor, most_in_memory, error) ? source : nullptr;
}

std::shared_ptr<Source> Source::From_Bytes(Bytes bytes, std::string name)
{
    std::shared_ptr<Source> source(new Source(std::move(name)));
    source->owned_ = std::move(bytes);
    source->image_ = source->owned_.data();
    source->size_ = static_cast<std::int64_t>(source->owned_.size());
    return source;
}

std::shared_ptr<Source> Source::From_Image(std::span<const unsigned char> image, std::string name)
{
    std::shared_ptr<Source> source(new Source(std::move(name)));
    source->image_ = image.data();
    source->size_ = static_cast<std::int64_t>(image.size());
    return source;
}

std::size_t Source::Read(std::int64_t offset, std::span<unsigned char> out) const
{
    if (offset < 0 || offset >= size_ || out.empty()) {
        return 0;
    }
    const std::size_t wanted = std::min(out.size(), static_cast<std::size_t>(size_ - offset));
    if (image_ != nullptr) {
        std::memcpy(out.data(), image_ + offset, wanted);
        return wanted;
    }
    std::size_t done = 0;
    while (done < wanted) {
        const ssize_t count = pread(descriptor_, out.data() + done, wanted - done,
                                    offset + static_cast<std::int64_t>(done));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            failure_ = count < 0 ? errno : failure_;
            break;
        }
        done += static_cast<std::size_t>(count);
    }
    return done;
}

Cursor::Cursor(std::shared_ptr<Source> source, std::int64_t start) : source_(std::move(source))
{
    if (source_->descriptor_ >= 0 && source_->Image() == nullptr) {
        where_ = source_->descriptor_;
    } else {
        position_ = NEMA_Position_New(nullptr);
        if (position_ == nullptr) {
            throw std::bad_alloc();
        }
        where_ = NEMA_Position_Where(position_);
    }
    ready_ = Seek(start);
}

Cursor::~Cursor()
{
    NEMA_Position_Free(position_);
}

int Cursor::Kind() const
{
    return position_ == nullptr ? NEMA_Source_File : NEMA_Source_Memory;
}

void* Cursor::Pointer() const
{
    // The interface takes an untyped pointer to writable memory, and only reads through it.
    return position_ == nullptr
               ? static_cast<void*>(const_cast<wchar_t*>(source_->wide_name_.c_str()))
               : static_cast<void*>(const_cast<unsigned char*>(source_->Image()));
}

std::int64_t Cursor::Tell() const
{
    if (position_ != nullptr) {
        return *position_;
    }
    const off_t position = lseek(where_, 0, SEEK_CUR);
    source_->failure_ = position < 0 ? errno : source_->failure_;
    return position;
}

bool Cursor::Seek(std::int64_t offset)
{
    if (offset < 0 || offset > Max_File_Size) {
        return false;
    }
    if (position_ == nullptr) {
        const bool done = lseek(where_, offset, SEEK_SET) == offset;
        source_->failure_ = done ? source_->failure_ : errno;
        return done;
    }
    *position_ = static_cast<int>(offset);
    return true;
}

bool Cursor::Read_Header(unsigned char mode, Header& header, std::int64_t size)
{
    const std::int64_t whole = size != 0 ? size : source_->Size();
    const int result =
        NEMA_Get_Data_Element(nullptr, Kind(), where_, Pointer(), mode, &header.group,
                              &header.element, &header.vr, &header.length, static_cast<int>(whole));
    // After a failed seek the library closes the descriptor. Its number may soon be another file's.
    if (result == 0 && position_ == nullptr && fcntl(where_, F_GETFD) < 0) {
        source_->descriptor_ = -1;
        source_->failure_ = EIO;
        where_ = -1;
    }
    return result != 0;
}

bool Cursor::Read_Value(int size, Bytes& value)
{
    value.resize(static_cast<std::size_t>(size));
    return NEMA_Read_Byte(nullptr, Kind(), where_, Pointer(), 0, size,
                          reinterpret_cast<char*>(value.data())) != 0;
}

}  // namespace lib_mend
