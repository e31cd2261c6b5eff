// Where a file goes that a module writes: whoever runs the module has put something in the target's place, which
// takes the bytes, and drops them when the call fails. There is no disk to be synced.
#include "mend/io/path_parts.h"
#include "mend/io/safe_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include <emscripten.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace lib_mend {

namespace {

// A part of a file that is read becomes a part of the one that is written, where it is known to whoever runs
// the module: nothing of it passes through memory.
// clang-format off
EM_JS(double, Copy_Of_Part, (int to, int from, double offset, double size), {
    const target = FS.getStream(to).node.content;
    const source = FS.getStream(from).node.content;
    return target && source && target.copy && target.copy(source, offset, size) ? size : 0;
});
// clang-format on

std::string Failure_Text()
{
    return std::string("cannot be written: ") + std::strerror(errno);
}

/** A new file, which is removed again unless it is kept. */
class New_File {
public:
    explicit New_File(std::string path) : path_(std::move(path))
    {
        descriptor_ = open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, S_IRUSR | S_IWUSR);
        is_there_ = descriptor_ >= 0;
    }
    New_File(const New_File&) = delete;
    New_File& operator=(const New_File&) = delete;
    ~New_File()
    {
        Close();
        if (is_there_) {
            unlink(path_.c_str());
        }
    }

    bool Opened() const
    {
        return is_there_;
    }
    bool Write(std::span<const unsigned char> bytes) const
    {
        while (!bytes.empty()) {
            const ssize_t count = write(descriptor_, bytes.data(), bytes.size());
            if (count <= 0) {
                errno = count == 0 ? EIO : errno;
                return false;
            }
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        }
        return true;
    }
    std::int64_t Copy(int from, std::int64_t offset, std::int64_t size) const
    {
        return static_cast<std::int64_t>(Copy_Of_Part(
            descriptor_, from, static_cast<double>(offset), static_cast<double>(size)));
    }
    bool Close()
    {
        const int descriptor = std::exchange(descriptor_, -1);
        return descriptor < 0 || close(descriptor) == 0;
    }
    void Keep()
    {
        is_there_ = false;
    }

private:
    std::string path_;
    int descriptor_ = -1;
    bool is_there_ = false;
};

}  // namespace

std::string Target_Fault(const std::string& path, bool replace)
{
    struct stat status = {};
    const bool exists = stat(path.c_str(), &status) == 0;
    if (Name_Of(path).empty() || (exists && S_ISDIR(status.st_mode))) {
        return "is a folder";
    }
    return exists && !replace ? "exists already" : "";
}

std::string Write_Staged(const std::string& path,
                         const std::function<bool(const File_Taker&)>& give)
{
    New_File file(path);
    bool writable = file.Opened();
    const File_Taker taker = {
        .take =
            [&](std::span<const unsigned char> piece) {
                writable = file.Write(piece);
                return writable;
            },
        .copy = [&](int from, std::int64_t offset,
                    std::int64_t size) { return file.Copy(from, offset, size); },
    };
    const bool given = writable && give(taker);
    if (writable && !given) {
        return "cannot be written, for a part of it cannot be read";
    }
    if (!writable || !file.Close()) {
        return Failure_Text();
    }
    file.Keep();
    return {};
}

std::string Write_Safely(const std::string& path,
                         const std::function<bool(const File_Taker&)>& give, bool replace)
{
    const std::string fault = Target_Fault(path, replace);
    return fault.empty() ? Write_Staged(path, give) : fault;
}

}  // namespace lib_mend
