#include "archive/run_log.h"

#include "archive/packing.h"
#include "archive/processes.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <tuple>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

namespace dicom_mend {

namespace {

constexpr std::size_t Sum_Size = 4;
/** Length, sum and kind. */
constexpr std::size_t Head_Size = Frame_Head + Sum_Size + 1;
/** It holds names of patients, which a comparison needs, and paths, which may hold them too. */
constexpr mode_t Rights = S_IRUSR | S_IWUSR;

std::string Sum_Of(char kind, std::string_view bytes)
{
    uLong sum = crc32(0, reinterpret_cast<const Bytef*>(&kind), 1);
    sum = crc32(sum, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(bytes.size()));
    std::string text;
    for (std::size_t i = 0; i < Sum_Size; ++i) {
        text += static_cast<char>(sum >> (8 * i));
    }
    return text;
}

std::string System_Text()
{
    return std::strerror(errno);
}

bool Pread_All(int descriptor, char* to, std::size_t size, std::int64_t offset)
{
    while (size > 0) {
        const ssize_t count = pread(descriptor, to, size, offset);
        if (count <= 0) {
            return false;
        }
        to += count;
        size -= static_cast<std::size_t>(count);
        offset += count;
    }
    return true;
}

bool Pwrite_All(int descriptor, std::string_view bytes, std::int64_t offset)
{
    while (!bytes.empty()) {
        const ssize_t count = pwrite(descriptor, bytes.data(), bytes.size(), offset);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        offset += std::max<ssize_t>(count, 0);
    }
    return true;
}

}  // namespace

Run_Log::~Run_Log()
{
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

std::string Run_Log::Open(const std::string& path)
{
    descriptor_ = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, Rights);
    if (descriptor_ < 0) {
        return "cannot be opened: " + System_Text();
    }
    is_locked_ = Lock_Alone(descriptor_);
    return is_locked_ ? "" : "belongs to a run that is at work";
}

bool Run_Log::Open_To_Read(const std::string& path)
{
    descriptor_ = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    return descriptor_ >= 0;
}

bool Run_Log::Is_Empty() const
{
    struct stat status = {};
    return fstat(descriptor_, &status) == 0 && status.st_size == 0;
}

bool Run_Log::Begins_With(std::string_view text) const
{
    std::string begin(text.size(), '\0');
    return Pread_All(descriptor_, begin.data(), begin.size(), 0) && begin == text;
}

std::string Run_Log::Begin(std::string_view magic)
{
    // One of another owner, or on a file system without rights, keeps what it has.
    const bool is_empty = ftruncate(descriptor_, 0) == 0;
    std::ignore = fchmod(descriptor_, Rights);
    if (!is_empty || !Pwrite_All(descriptor_, magic, 0)) {
        return "cannot be written: " + System_Text();
    }
    end_ = static_cast<std::int64_t>(magic.size());
    return {};
}

void Run_Log::Put(char kind, std::string_view bytes, bool at_once)
{
    const std::size_t begin = unwritten_.size();
    unwritten_ += Framed(bytes);
    unwritten_.insert(begin + Frame_Head, Sum_Of(kind, bytes) + kind);
    if (at_once) {
        Write();
    }
}

void Run_Log::Write()
{
    // What does not fit may stand in front of what would; the log ends where it is known to be whole.
    const std::string records = std::exchange(unwritten_, {});
    if (!failure_.empty() || records.empty()) {
        return;
    }
    if (!Pwrite_All(descriptor_, records, end_)) {
        // A file that is not in the log is done again, and nothing else is lost.
        failure_ = "cannot be written: " + System_Text();
        static_cast<void>(ftruncate(descriptor_, end_) == 0);
        return;
    }
    end_ += static_cast<std::int64_t>(records.size());
}

std::optional<std::string> Run_Log::Record_At(std::int64_t offset, char& kind,
                                              std::int64_t& next) const
{
    std::array<char, Head_Size> head;
    struct stat status = {};
    if (fstat(descriptor_, &status) != 0 ||
        !Pread_All(descriptor_, head.data(), head.size(), offset)) {
        return {};
    }
    const std::size_t size = Frame_Size(head.data());
    const std::int64_t begin = offset + static_cast<std::int64_t>(Head_Size);
    if (static_cast<std::int64_t>(size) > status.st_size - begin) {
        return {};
    }
    std::string bytes(size, '\0');
    kind = head[Head_Size - 1];
    next = begin + static_cast<std::int64_t>(size);
    if (!Pread_All(descriptor_, bytes.data(), size, begin) ||
        Sum_Of(kind, bytes) != std::string_view(head.data() + Frame_Head, Sum_Size)) {
        return {};
    }
    return bytes;
}

}  // namespace dicom_mend
