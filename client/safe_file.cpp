#include "client/safe_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dicom_client {

namespace {

std::string System_Text()
{
    return std::strerror(errno);
}

/** Folder of a path, with its separator. */
std::string Folder_Of(const std::string& path)
{
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

/** A new file under a name of its own, which is removed again unless it was renamed. */
class Temporary_File {
public:
    explicit Temporary_File(const std::string& folder) : name_(folder + ".dicom-mend-XXXXXX")
    {
        descriptor_ = mkostemp(name_.data(), O_CLOEXEC);
    }
    Temporary_File(const Temporary_File&) = delete;
    Temporary_File& operator=(const Temporary_File&) = delete;
    ~Temporary_File()
    {
        Close();
        if (created_ && !renamed_) {
            unlink(name_.c_str());
        }
    }

    bool Opened()
    {
        created_ = descriptor_ >= 0;
        return created_;
    }
    bool Write(std::span<const unsigned char> bytes) const
    {
        while (!bytes.empty()) {
            const ssize_t count = write(descriptor_, bytes.data(), bytes.size());
            if (count < 0 && errno == EINTR) {
                continue;
            }
            if (count < 0) {
                return false;
            }
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        }
        return true;
    }
    /** Gives the file the rights that a new file gets, and brings it to the disk. */
    bool Finish() const
    {
        const mode_t mask = umask(0);
        umask(mask);
        return fchmod(descriptor_, 0666 & ~mask) == 0 && fsync(descriptor_) == 0;
    }
    /** Closing may be the first to tell of a full disk. */
    bool Close()
    {
        const int descriptor = descriptor_;
        descriptor_ = -1;
        return descriptor < 0 || close(descriptor) == 0;
    }
    bool Rename(const std::string& path, bool replace)
    {
        renamed_ = replace ? rename(name_.c_str(), path.c_str()) == 0 : Rename_To_New(path);
        return renamed_;
    }

private:
    /** Fails when the target has come into being since it was looked for. */
    bool Rename_To_New(const std::string& path) const
    {
        if (renameat2(AT_FDCWD, name_.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0) {
            return true;
        }
        // Some file systems do not know the flag.
        return errno == EINVAL && access(path.c_str(), F_OK) != 0 &&
               rename(name_.c_str(), path.c_str()) == 0;
    }

    std::string name_;
    int descriptor_;
    bool created_ = false;
    bool renamed_ = false;
};

/** A renamed file is safe only when its folder is on the disk too. */
void Sync_Folder(const std::string& folder)
{
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor >= 0) {
        fsync(descriptor);
        close(descriptor);
    }
}

}  // namespace

bool Is_Same_File(const std::string& path, const std::string& other)
{
    struct stat first = {};
    struct stat second = {};
    return stat(path.c_str(), &first) == 0 && stat(other.c_str(), &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

std::string Write_Safely(const std::string& path,
                         const std::vector<std::span<const unsigned char>>& pieces, bool replace)
{
    struct stat status = {};
    if (lstat(path.c_str(), &status) == 0) {
        if (!replace) {
            return "exists already";
        }
        if (!S_ISREG(status.st_mode)) {
            return "is no regular file";
        }
    }
    Temporary_File file(Folder_Of(path));
    if (!file.Opened()) {
        return System_Text();
    }
    for (const std::span<const unsigned char> piece : pieces) {
        if (!file.Write(piece)) {
            return System_Text();
        }
    }
    if (!file.Finish() || !file.Close() || !file.Rename(path, replace)) {
        return System_Text();
    }
    Sync_Folder(Folder_Of(path));
    return {};
}

}  // namespace dicom_client
