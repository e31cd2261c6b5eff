#include "mend/io/system_files.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#if defined(__EMSCRIPTEN__)
#include <emscripten.h>
#endif

namespace lib_mend {

std::filesystem::path Native_Path(const std::string& path)
{
    return path;
}

std::filesystem::path Whole_Path(const std::filesystem::path& path)
{
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::absolute(path, error);
    std::filesystem::path place = std::filesystem::weakly_canonical(whole, error);
    if (error) {
        // Without rights, links on the way cannot be seen.
        place = whole.lexically_normal();
    }
    return place.has_filename() ? place : place.parent_path();
}

bool Is_Folder(const std::string& path)
{
    std::error_code error;
    return std::filesystem::is_directory(path, error);
}

bool Is_Same_File(const std::string& path, const std::string& other)
{
    struct stat first = {};
    struct stat second = {};
    return stat(path.c_str(), &first) == 0 && stat(other.c_str(), &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

std::int64_t File_Size(const std::string& path)
{
    struct stat about = {};
    return stat(path.c_str(), &about) == 0 && S_ISREG(about.st_mode) ? about.st_size : -1;
}

std::vector<std::string> Names_In(const std::string& folder)
{
    std::vector<std::string> names;
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        names.push_back(entry->path().filename().string());
    }
    return names;
}

void Remove_File(const std::string& path)
{
    std::remove(path.c_str());
}

std::FILE* Open_To_Write(const std::string& path)
{
    return std::fopen(path.c_str(), "we");
}

bool Sync_File(std::FILE* file)
{
    return std::fflush(file) == 0 && fsync(fileno(file)) == 0;
}

int Open_To_Read(const std::string& path)
{
    return open(path.c_str(), O_RDONLY | O_CLOEXEC);
}

int Open_Standard_Input()
{
    // A file is read from its beginning.
    return Open_To_Read("/dev/stdin");
}

#if defined(__EMSCRIPTEN__)
// Of the place, the module's own pread takes 32 bits only.
// clang-format off
EM_JS(int, Read_At_Place, (int descriptor, void* out, size_t size, double offset), {
    try {
        return FS.read(FS.getStream(descriptor), HEAP8, out, size, offset);
    } catch (failure) {
        return failure instanceof FS.ErrnoError ? -failure.errno : -29;
    }
});
// clang-format on

std::int64_t Read_At(int descriptor, void* out, std::size_t size, std::int64_t offset)
{
    const int count = Read_At_Place(descriptor, out, size, static_cast<double>(offset));
    errno = count < 0 ? -count : errno;
    return count < 0 ? -1 : count;
}
#else
std::int64_t Read_At(int descriptor, void* out, std::size_t size, std::int64_t offset)
{
    ssize_t count = -1;
    do {
        count = pread(descriptor, out, size, offset);
    } while (count < 0 && errno == EINTR);
    return count;
}
#endif

bool Is_Open_File(int descriptor)
{
    return fcntl(descriptor, F_GETFD) >= 0;
}

#if defined(__EMSCRIPTEN__)
// A module has no rights that another user could abuse by the environment.
const char* secure_getenv(const char* name)
{
    return std::getenv(name);
}
#endif

std::vector<std::string> Folders_For_Spools()
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

std::string Local_Date_Time()
{
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    char text[32] = "";
    localtime_r(&now, &local);
    std::strftime(text, sizeof text, "%Y%m%d%H%M%S%z", &local);
    return text;
}

}  // namespace lib_mend
