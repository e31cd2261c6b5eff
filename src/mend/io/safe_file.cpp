#include "mend/io/safe_file.h"

#include "mend/io/path_parts.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace lib_mend {

namespace {

std::string System_Text()
{
    return std::strerror(errno);
}

/** A folder that stays the same one, whatever becomes of its path meanwhile. */
class Folder {
public:
    explicit Folder(const std::string& path)
        : descriptor_(open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC))
    {
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder()
    {
        if (Opened()) {
            close(descriptor_);
        }
    }

    bool Opened() const
    {
        return descriptor_ >= 0;
    }
    int Descriptor() const
    {
        return descriptor_;
    }
    /** A renamed file is safe only when its folder is on the disk too. */
    bool Sync() const
    {
        const int descriptor = openat(descriptor_, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (descriptor < 0) {
            // A folder that may be written but not read cannot be synced.
            return errno == EACCES;
        }
        // Some file systems sync no folders and say so by EINVAL.
        const bool done = fsync(descriptor) == 0 || errno == EINVAL;
        const int error = errno;
        close(descriptor);
        errno = error;
        return done;
    }

private:
    int descriptor_;
};

/**
 * Keeps the signals that ask for an end waiting, so that a temporary file can be removed first.
 * No handler has to know of the file; who writes asks from time to time whether one has come.
 */
class Held_Signals {
public:
    Held_Signals()
    {
        sigemptyset(&held_);
        for (const int number : Signals) {
            struct sigaction action = {};
            // An ignored one would be kept waiting too, as if it had been meant (nohup).
            if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
                sigaddset(&held_, number);
            }
        }
        pthread_sigmask(SIG_BLOCK, &held_, &saved_);
    }
    Held_Signals(const Held_Signals&) = delete;
    Held_Signals& operator=(const Held_Signals&) = delete;
    ~Held_Signals()
    {
        pthread_sigmask(SIG_SETMASK, &saved_, nullptr);
    }

    bool One_Waits() const
    {
        sigset_t waiting;
        sigemptyset(&waiting);
        sigpending(&waiting);
        return std::any_of(Signals.begin(), Signals.end(), [&](int number) {
            return sigismember(&waiting, number) == 1 && sigismember(&held_, number) == 1 &&
                   sigismember(&saved_, number) == 0;
        });
    }

private:
    static constexpr std::array Signals = {SIGINT, SIGTERM, SIGHUP};

    sigset_t held_;
    sigset_t saved_;
};

constexpr mode_t Rights_Of_New_Files = 0666;

/** What stands at the target's place. */
struct Target {
    bool exists = false;
    struct stat status = {};
    std::string fault;
};

Target Look_At(const Folder& folder, const std::string& name, bool replace)
{
    Target target;
    if (!folder.Opened()) {
        target.fault = "cannot be written, for its folder cannot be opened: " + System_Text();
        return target;
    }
    const int result =
        fstatat(folder.Descriptor(), name.c_str(), &target.status, AT_SYMLINK_NOFOLLOW);
    target.exists = result == 0;
    if (name.empty() || (target.exists && S_ISDIR(target.status.st_mode))) {
        target.fault = "is a folder";
    } else if (!target.exists && errno != ENOENT) {
        target.fault = "cannot be written: " + System_Text();
    } else if (target.exists && S_ISLNK(target.status.st_mode)) {
        target.fault = "is a symbolic link, which is neither followed nor replaced";
    } else if (target.exists && !S_ISREG(target.status.st_mode)) {
        target.fault = "is no regular file";
    } else if (target.exists && !replace) {
        target.fault = "exists already";
    }
    return target;
}

/** A new file, which is removed again unless it was renamed or kept. */
class Temporary_File {
public:
    /** Under this name, over what stands there. */
    Temporary_File(const Folder& folder, std::string name) : folder_(folder), name_(std::move(name))
    {
        descriptor_ =
            openat(folder_.Descriptor(), name_.c_str(),
                   O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, Rights_Of_New_Files);
        is_there_ = descriptor_ >= 0;
    }
    /**
     * Under a name of its own.
     *
     * @param mode  rights of the file as long as it is being written; the umask applies
     */
    Temporary_File(const Folder& folder, mode_t mode) : folder_(folder)
    {
        constexpr int Tries = 100;
        for (int i = 0; i < Tries && descriptor_ < 0; ++i) {
            std::uint64_t number = 0;
            if (getrandom(&number, sizeof number, 0) != sizeof number) {
                return;
            }
            char name[40];
            std::snprintf(name, sizeof name, ".dicom-mend-%016llx",
                          static_cast<unsigned long long>(number));
            name_ = name;
            descriptor_ = openat(folder_.Descriptor(), name,
                                 O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
            if (descriptor_ < 0 && errno != EEXIST && errno != EINTR) {
                return;
            }
        }
        is_there_ = descriptor_ >= 0;
    }
    Temporary_File(const Temporary_File&) = delete;
    Temporary_File& operator=(const Temporary_File&) = delete;
    ~Temporary_File()
    {
        Close();
        Remove();
    }

    bool Opened() const
    {
        return is_there_;
    }
    void Keep()
    {
        is_there_ = false;
    }
    /** Stops with EINTR when a signal waits. */
    bool Write(std::span<const unsigned char> bytes, const Held_Signals& signals) const
    {
        constexpr std::size_t Block = std::size_t{1} << 20;
        while (!bytes.empty()) {
            if (signals.One_Waits()) {
                errno = EINTR;
                return false;
            }
            const ssize_t count = write(descriptor_, bytes.data(), std::min(bytes.size(), Block));
            if (count > 0) {
                bytes = bytes.subspan(static_cast<std::size_t>(count));
            } else if (count == 0 || errno != EINTR) {
                errno = count == 0 ? EIO : errno;
                return false;
            }
        }
        return true;
    }
    /** Copies bytes of another file as far as the system does it by itself. Holes stay holes. */
    std::int64_t Copy(int from, std::int64_t offset, std::int64_t size,
                      const Held_Signals& signals) const
    {
        constexpr std::int64_t Block = std::int64_t{1} << 26;
        const std::int64_t end = offset + size;
        std::int64_t at = offset;
        while (at < end && !signals.One_Waits()) {
            const std::int64_t data = Skip_Hole(from, at, end);
            if (data != at) {
                at = data;
                continue;
            }
            const off_t hole = lseek(from, at, SEEK_HOLE);
            const std::int64_t until = std::min({end, at + Block, hole > at ? hole : end});
            off_t place = at;
            const ssize_t count = copy_file_range(from, &place, descriptor_, nullptr,
                                                  static_cast<std::size_t>(until - at), 0);
            if (count <= 0) {
                break;
            }
            at += count;
            if (count == Block) {
                // The disk begins while the rest is copied; Sync tells whether it could.
                static_cast<void>(sync_file_range(descriptor_, 0, 0, SYNC_FILE_RANGE_WRITE));
            }
        }
        return at - offset;
    }
    /** Takes over the owner, the group and the rights of the file that will be replaced. */
    bool Take_Over(const struct stat& old) const
    {
        constexpr mode_t Rights = S_IRWXU | S_IRWXG | S_IRWXO;
        mode_t rights = old.st_mode & Rights;
        if (fchown(descriptor_, old.st_uid, old.st_gid) != 0 &&
            fchown(descriptor_, static_cast<uid_t>(-1), old.st_gid) != 0) {
            // The rights were not meant for the group that the file has now.
            rights &= ~static_cast<mode_t>(S_IRWXG) | ((rights & S_IRWXO) << 3);
        }
        return fchmod(descriptor_, rights) == 0;
    }
    bool Sync() const
    {
        while (fsync(descriptor_) != 0) {
            if (errno != EINTR) {
                return false;
            }
        }
        return true;
    }
    /** Closing may be the first to tell of a full disk. */
    bool Close()
    {
        const int descriptor = descriptor_;
        descriptor_ = -1;
        return descriptor < 0 || close(descriptor) == 0 || errno == EINTR;
    }
    bool Rename(const std::string& name, bool replace)
    {
        if (!replace) {
            return Rename_To_New(name);
        }
        is_there_ =
            renameat(folder_.Descriptor(), name_.c_str(), folder_.Descriptor(), name.c_str()) != 0;
        return !is_there_;
    }

private:
    /** Leaves out what is a hole of another file from a place on; where its data go on, up to `end`. */
    std::int64_t Skip_Hole(int from, std::int64_t at, std::int64_t end) const
    {
        constexpr std::int64_t Least = std::int64_t{1} << 16;
        const off_t data = lseek(from, at, SEEK_DATA);
        const bool is_last = data < 0 && errno == ENXIO;
        const std::int64_t until = is_last ? end : std::min<std::int64_t>(end, data);
        struct stat status = {};
        // Beyond the end of a file that was cut meanwhile there is no hole.
        if (until < at + Least || fstat(from, &status) != 0 || status.st_size < end) {
            return at;
        }
        const off_t position = lseek(descriptor_, until - at, SEEK_CUR);
        return position >= 0 && ftruncate(descriptor_, position) == 0 ? until : at;
    }
    /** Fails when the target has come into being since it was looked for. */
    bool Rename_To_New(const std::string& name)
    {
        const int folder = folder_.Descriptor();
        if (renameat2(folder, name_.c_str(), folder, name.c_str(), RENAME_NOREPLACE) == 0) {
            is_there_ = false;
            return true;
        }
        // Some file systems do not know the flag; a second name is never put over another file.
        return (errno == EINVAL || errno == ENOSYS) &&
               linkat(folder, name_.c_str(), folder, name.c_str(), 0) == 0;
    }
    void Remove()
    {
        if (is_there_) {
            unlinkat(folder_.Descriptor(), name_.c_str(), 0);
            is_there_ = false;
        }
    }

    const Folder& folder_;
    std::string name_;
    int descriptor_ = -1;
    bool is_there_ = false;
};

/** Writes what `give` hands over; the reason of a failure. */
std::string Fill(Temporary_File& file, const Held_Signals& signals,
                 const std::function<bool(const File_Taker&)>& give)
{
    bool writable = file.Opened();
    const File_Taker taker = {
        .take =
            [&](std::span<const unsigned char> piece) {
                writable = file.Write(piece, signals);
                return writable;
            },
        .copy = [&](int from, std::int64_t offset,
                    std::int64_t size) { return file.Copy(from, offset, size, signals); },
    };
    const bool given = writable && give(taker);
    if (writable && !given) {
        return "cannot be written, for a part of it cannot be read";
    }
    return writable ? "" : "cannot be written: " + System_Text();
}

}  // namespace

std::string Target_Fault(const std::string& path, bool replace)
{
    const Folder folder(Folder_Of(path));
    return Look_At(folder, Name_Of(path), replace).fault;
}

std::string Write_Safely(const std::string& path,
                         const std::function<bool(const File_Taker&)>& give, bool replace)
{
    const std::string name = Name_Of(path);
    const Folder folder(Folder_Of(path));
    const Target target = Look_At(folder, name, replace);
    if (!target.fault.empty()) {
        return target.fault;
    }
    // The signals are let go after the file has been removed.
    const Held_Signals signals;
    Temporary_File file(folder, target.exists ? mode_t{S_IRUSR | S_IWUSR} : Rights_Of_New_Files);
    std::string fault = Fill(file, signals, give);
    if (!fault.empty()) {
        return fault;
    }
    if ((target.exists && !file.Take_Over(target.status)) || !file.Sync() || !file.Close() ||
        !file.Rename(name, replace)) {
        return "cannot be written: " + System_Text();
    }
    return folder.Sync() ? "" : "is written, but its folder cannot be synced: " + System_Text();
}

std::string Write_Staged(const std::string& path,
                         const std::function<bool(const File_Taker&)>& give)
{
    const Folder folder(Folder_Of(path));
    const Held_Signals signals;
    Temporary_File file(folder, Name_Of(path));
    std::string fault = Fill(file, signals, give);
    if (fault.empty() && !file.Close()) {
        fault = "cannot be written: " + System_Text();
    }
    if (fault.empty()) {
        file.Keep();
    }
    return fault;
}

}  // namespace lib_mend
