#include "mend/io/source.h"

#include "mend/io/spool.h"
#include "mend/io/system_files.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <new>
#include <utility>

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

/** Like read, whatever signals come. */
std::int64_t Read_Some(int descriptor, std::span<unsigned char> out)
{
    constexpr std::size_t Largest = std::size_t{1} << 30;
    std::int64_t count = -1;
    do {
        count =
            read(descriptor, out.data(), static_cast<unsigned int>(std::min(out.size(), Largest)));
    } while (count < 0 && errno == EINTR);
    return count;
}

/** Reads a file that should hold a number of bytes to its end, or to just beyond the most. */
bool Read_All(int descriptor, std::int64_t expected, std::int64_t most, Bytes& bytes,
              std::string& error)
{
    bytes.resize(static_cast<std::size_t>(expected) + 1);
    for (std::size_t used = 0;;) {
        if (bytes.size() == used) {
            bytes.resize(2 * used);
        }
        const std::int64_t count = Read_Some(descriptor, std::span(bytes).subspan(used));
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

/** Reads a pipe to its end, which is not known before it comes; null after a failure. */
std::shared_ptr<Source> Read_Pipe(int descriptor, const std::string& name,
                                  std::int64_t most_in_memory, std::string& error)
{
    constexpr std::size_t Block = std::size_t{1} << 16;
    Bytes block(Block);
    Spool spool(most_in_memory);
    try {
        while (true) {
            const std::int64_t count = Read_Some(descriptor, block);
            if (count < 0) {
                error = std::strerror(errno);
                return nullptr;
            }
            if (count == 0) {
                return spool.Finish(name);
            }
            spool.Put(std::span(block).first(static_cast<std::size_t>(count)));
        }
    } catch (const Spool_Failure& failure) {
        error = failure.what();
    }
    return nullptr;
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

bool Source::Take_File(std::int64_t most_in_memory, std::string& error)
{
    if (size_ <= most_in_memory) {
        if (!Read_All(descriptor_, size_, most_in_memory, owned_, error)) {
            return false;
        }
        size_ = static_cast<std::int64_t>(owned_.size());
        image_ = owned_.data();
    }
    return true;
}

std::shared_ptr<Source> Source::Open(const std::string& path, std::string& error,
                                     std::int64_t most_in_memory)
{
    return Open_Descriptor(Open_To_Read(path), path, error, most_in_memory);
}

std::shared_ptr<Source> Source::Open_Input(std::string& error)
{
    return Open_Descriptor(Open_Standard_Input(), "standard input", error, Small_File);
}

std::shared_ptr<Source> Source::Open_Descriptor(int descriptor, const std::string& path,
                                                std::string& error, std::int64_t most_in_memory)
{
    struct stat status = {};
    const bool is_there = descriptor >= 0 && fstat(descriptor, &status) == 0;
    error = is_there ? "" : std::strerror(errno);
    const std::shared_ptr<Source> source = From_File(descriptor, status.st_size, path);
    if (S_ISDIR(status.st_mode)) {
        error = std::strerror(EISDIR);
    } else if (S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode)) {
        error = "is a device, not a file";
    }
    if (!error.empty()) {
        return nullptr;
    }
    if (!S_ISREG(status.st_mode)) {
        return Read_Pipe(descriptor, path, most_in_memory, error);
    }
    return source->Take_File(most_in_memory, error) ? source : nullptr;
}

std::shared_ptr<Source> Source::From_File(int descriptor, std::int64_t size, std::string name)
{
    std::shared_ptr<Source> source(new Source(std::move(name)));
    source->descriptor_ = descriptor;
    source->size_ = size;
    return source;
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

std::shared_ptr<Source> Source::From_Reader(Reader reader, std::int64_t size, std::string name)
{
    std::shared_ptr<Source> source(new Source(std::move(name)));
    source->reader_ = std::move(reader);
    source->size_ = size;
    return source;
}

std::size_t Source::Read(std::int64_t offset, std::span<unsigned char> out) const
{
    if (offset < 0 || offset >= size_ || out.empty()) {
        return 0;
    }
    const auto wanted =
        static_cast<std::size_t>(std::min(static_cast<std::int64_t>(out.size()), size_ - offset));
    if (image_ != nullptr) {
        std::memcpy(out.data(), image_ + offset, wanted);
        return wanted;
    }
    if (reader_ != nullptr) {
        return reader_(offset, out.first(wanted), failure_);
    }
    std::size_t done = 0;
    while (done < wanted) {
        const std::int64_t count = Read_At(descriptor_, out.data() + done, wanted - done,
                                           offset + static_cast<std::int64_t>(done));
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
    if (offset < 0 || offset > std::numeric_limits<int>::max()) {
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
    if (result == 0 && position_ == nullptr && !Is_Open_File(where_)) {
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
