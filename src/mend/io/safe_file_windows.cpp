#include "mend/io/safe_file.h"

#include "mend/io/path_parts.h"
#include "mend/io/windows_names.h"

#include <algorithm>
#include <random>
#include <system_error>
#include <utility>

#include <windows.h>

namespace lib_mend {

namespace {

std::string System_Text()
{
    return std::system_category().message(static_cast<int>(GetLastError()));
}

/** What stands at the target's place. */
struct Target {
    bool exists = false;
    std::string fault;
};

Target Look_At(const std::string& path, bool replace)
{
    Target target;
    const DWORD folder = GetFileAttributesW(Wide_Name(Folder_Of(path)).c_str());
    if (folder == INVALID_FILE_ATTRIBUTES || (folder & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        target.fault = "cannot be written, for its folder cannot be opened: " + System_Text();
        return target;
    }
    const DWORD attributes = GetFileAttributesW(Wide_Name(path).c_str());
    target.exists = attributes != INVALID_FILE_ATTRIBUTES;
    if (Name_Of(path).empty() || (target.exists && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)) {
        target.fault = "is a folder";
    } else if (target.exists && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
        target.fault = "is a symbolic link, which is neither followed nor replaced";
    } else if (target.exists && !replace) {
        target.fault = "exists already";
    }
    return target;
}

/** A new file, which the system removes unless it was kept, whatever becomes of the process. */
class Temporary_File {
public:
    /** @param disposition  CREATE_NEW, or CREATE_ALWAYS over what stands there */
    Temporary_File(std::string path, DWORD disposition) : path_(std::move(path))
    {
        file_ = CreateFileW(Wide_Name(path_).c_str(), GENERIC_WRITE | DELETE, FILE_SHARE_READ,
                            nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
        Set_Removal(true);
    }
    Temporary_File(const Temporary_File&) = delete;
    Temporary_File& operator=(const Temporary_File&) = delete;
    ~Temporary_File()
    {
        Close();
    }

    bool Opened() const
    {
        return file_ != INVALID_HANDLE_VALUE;
    }
    bool Write(std::span<const unsigned char> bytes) const
    {
        constexpr std::size_t Block = std::size_t{1} << 20;
        while (!bytes.empty()) {
            DWORD count = 0;
            if (WriteFile(file_, bytes.data(), static_cast<DWORD>(std::min(bytes.size(), Block)),
                          &count, nullptr) == 0 ||
                count == 0) {
                return false;
            }
            bytes = bytes.subspan(count);
        }
        return true;
    }
    bool Sync() const
    {
        return FlushFileBuffers(file_) != 0;
    }
    /** Closes it so that it stays. */
    bool Keep()
    {
        return Set_Removal(false) && Close();
    }
    /** Moves what was kept to its place. */
    bool Move(const std::string& target, bool exists, bool replace) const
    {
        const std::wstring from = Wide_Name(path_);
        const std::wstring to = Wide_Name(target);
        // Of a replaced file the rights and attributes stay.
        if (exists && ReplaceFileW(to.c_str(), from.c_str(), nullptr,
                                   REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr, nullptr) != 0) {
            return true;
        }
        const DWORD flags =
            replace ? MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH : MOVEFILE_WRITE_THROUGH;
        if (MoveFileExW(from.c_str(), to.c_str(), flags) != 0) {
            return true;
        }
        const DWORD error = GetLastError();
        DeleteFileW(from.c_str());
        SetLastError(error);
        return false;
    }

private:
    bool Set_Removal(bool is_removed) const
    {
        FILE_DISPOSITION_INFO removal = {};
        removal.DeleteFile = is_removed ? TRUE : FALSE;
        return Opened() && SetFileInformationByHandle(file_, FileDispositionInfo, &removal,
                                                      sizeof removal) != 0;
    }
    bool Close()
    {
        const HANDLE file = std::exchange(file_, INVALID_HANDLE_VALUE);
        return file == INVALID_HANDLE_VALUE || CloseHandle(file) != 0;
    }

    std::string path_;
    HANDLE file_ = INVALID_HANDLE_VALUE;
};

/** Writes what `give` hands over; the reason of a failure. */
std::string Fill(const Temporary_File& file, const std::function<bool(const File_Taker&)>& give)
{
    bool writable = file.Opened();
    const File_Taker taker = {
        .take =
            [&](std::span<const unsigned char> piece) {
                writable = file.Write(piece);
                return writable;
            },
        // All bytes pass through the process.
        .copy = [](int, std::int64_t, std::int64_t) { return std::int64_t{0}; },
    };
    const bool given = writable && give(taker);
    if (writable && !given) {
        return "cannot be written, for a part of it cannot be read";
    }
    return writable ? "" : "cannot be written: " + System_Text();
}

std::string Temporary_Name(const std::string& path)
{
    std::random_device random;
    return Folder_Of(path) + ".dicom-mend-" + std::to_string(random()) + std::to_string(random());
}

}  // namespace

std::string Target_Fault(const std::string& path, bool replace)
{
    return Look_At(path, replace).fault;
}

std::string Write_Safely(const std::string& path,
                         const std::function<bool(const File_Taker&)>& give, bool replace)
{
    const Target target = Look_At(path, replace);
    if (!target.fault.empty()) {
        return target.fault;
    }
    Temporary_File file(Temporary_Name(path), CREATE_NEW);
    std::string fault = Fill(file, give);
    if (fault.empty() &&
        (!file.Sync() || !file.Keep() || !file.Move(path, target.exists, replace))) {
        fault = "cannot be written: " + System_Text();
    }
    return fault;
}

std::string Write_Staged(const std::string& path,
                         const std::function<bool(const File_Taker&)>& give)
{
    Temporary_File file(path, CREATE_ALWAYS);
    std::string fault = Fill(file, give);
    if (fault.empty() && !file.Keep()) {
        fault = "cannot be written: " + System_Text();
    }
    return fault;
}

}  // namespace lib_mend
