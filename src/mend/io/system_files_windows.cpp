#include "mend/io/system_files.h"

#include "mend/io/windows_names.h"
#include "util/windows_names.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <random>
#include <utility>

#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#include <windows.h>

namespace lib_mend {

std::wstring Wide_Name(const std::string& path)
{
    const int size = static_cast<int>(path.size());
    std::wstring wide(path.size(), L'\0');
    wide.resize(static_cast<std::size_t>(
        MultiByteToWideChar(CP_UTF8, 0, path.data(), size, wide.data(), size)));
    return lib_util::Long_Name(std::move(wide));
}

std::string Narrow_Name(const std::wstring& name)
{
    const int size = static_cast<int>(name.size());
    std::string narrow(3 * name.size(), '\0');
    narrow.resize(static_cast<std::size_t>(WideCharToMultiByte(
        CP_UTF8, 0, name.data(), size, narrow.data(), 3 * size, nullptr, nullptr)));
    return narrow;
}

std::filesystem::path Native_Path(const std::string& path)
{
    return Wide_Name(path);
}

namespace {

/** The name of an open file or folder without links on the way to it; empty when it cannot be told. */
std::wstring Final_Name(HANDLE file)
{
    constexpr DWORD Longest = 0x8000;
    std::wstring name(Longest, L'\0');
    const DWORD size = GetFinalPathNameByHandleW(file, name.data(), Longest, VOLUME_NAME_DOS);
    name.resize(size < Longest ? size : 0);
    return lib_util::With_Limit(name);
}

/** What a file is known by, whatever its name; false when there is none. */
bool Identify(const std::string& path, BY_HANDLE_FILE_INFORMATION& file)
{
    const HANDLE handle = CreateFileW(Wide_Name(path).c_str(), 0,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        return false;
    }
    const bool is_known = GetFileInformationByHandle(handle, &file) != 0;
    CloseHandle(handle);
    return is_known;
}

}  // namespace

std::filesystem::path Whole_Path(const std::filesystem::path& path)
{
    const std::wstring given = lib_util::With_Limit(path.wstring());
    std::wstring whole(GetFullPathNameW(given.c_str(), 0, nullptr, nullptr), L'\0');
    whole.resize(
        GetFullPathNameW(given.c_str(), static_cast<DWORD>(whole.size()), whole.data(), nullptr));
    while (whole.size() > 3 && whole.back() == L'\\') {
        whole.pop_back();
    }
    // What is there leads on by its own name; the rest is taken as it is.
    for (std::size_t end = whole.size(); end != whole.npos && end > 1;
         end = whole.rfind(L'\\', end - 1)) {
        // "C:" alone is the current folder of the drive.
        const std::wstring there = whole.substr(0, end) + (whole[end - 1] == L':' ? L"\\" : L"");
        const HANDLE file =
            CreateFileW(lib_util::Long_Name(there).c_str(), 0,
                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                        OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
        if (file == INVALID_HANDLE_VALUE) {
            continue;
        }
        std::wstring name = Final_Name(file);
        CloseHandle(file);
        if (name.ends_with(L'\\') && end < whole.size()) {
            name.pop_back();
        }
        return name.empty() ? whole : name + whole.substr(end);
    }
    return whole;
}

bool Is_Folder(const std::string& path)
{
    return lib_util::Is_There(Wide_Name(path), true);
}

bool Is_Same_File(const std::string& path, const std::string& other)
{
    BY_HANDLE_FILE_INFORMATION one = {};
    BY_HANDLE_FILE_INFORMATION two = {};
    return Identify(path, one) && Identify(other, two) &&
           one.dwVolumeSerialNumber == two.dwVolumeSerialNumber &&
           one.nFileIndexHigh == two.nFileIndexHigh && one.nFileIndexLow == two.nFileIndexLow;
}

std::int64_t File_Size(const std::string& path)
{
    WIN32_FILE_ATTRIBUTE_DATA about = {};
    if (GetFileAttributesExW(Wide_Name(path).c_str(), GetFileExInfoStandard, &about) == 0 ||
        (about.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return -1;
    }
    return static_cast<std::int64_t>(about.nFileSizeHigh) << 32 | about.nFileSizeLow;
}

std::vector<std::string> Names_In(const std::string& folder)
{
    std::vector<std::string> names;
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW(Wide_Name(folder + "/*").c_str(), &found);
    BOOL has_more = search != INVALID_HANDLE_VALUE ? TRUE : FALSE;
    for (; has_more != FALSE; has_more = FindNextFileW(search, &found)) {
        const std::string name = Narrow_Name(found.cFileName);
        if (name != "." && name != "..") {
            names.push_back(name);
        }
    }
    if (search != INVALID_HANDLE_VALUE) {
        FindClose(search);
    }
    return names;
}

void Remove_File(const std::string& path)
{
    DeleteFileW(Wide_Name(path).c_str());
}

std::FILE* Open_To_Write(const std::string& path)
{
    return _wfopen(Wide_Name(path).c_str(), L"wbN");
}

bool Sync_File(std::FILE* file)
{
    return std::fflush(file) == 0 && _commit(_fileno(file)) == 0;
}

int Open_To_Read(const std::string& path)
{
    const std::wstring name = Wide_Name(path);
    const DWORD attributes = GetFileAttributesW(name.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        errno = EISDIR;
        return -1;
    }
    return _wsopen(name.c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT, _SH_DENYNO);
}

int Open_Standard_Input()
{
    return _dup(_fileno(stdin));
}

std::int64_t Read_At(int descriptor, void* out, std::size_t size, std::int64_t offset)
{
    // The system has a read at a place, but moves the position by it.
    const std::int64_t position = _telli64(descriptor);
    if (position < 0 || _lseeki64(descriptor, offset, SEEK_SET) != offset) {
        return -1;
    }
    constexpr std::size_t Largest = std::numeric_limits<int>::max();
    const int count = _read(descriptor, out, static_cast<unsigned int>(std::min(size, Largest)));
    return _lseeki64(descriptor, position, SEEK_SET) == position ? count : -1;
}

bool Is_Open_File(int descriptor)
{
    return _get_osfhandle(descriptor) != -1;
}

std::vector<std::string> Folders_For_Spools()
{
    std::wstring folder(MAX_PATH + 1, L'\0');
    folder.resize(GetTempPathW(static_cast<DWORD>(folder.size()), folder.data()));
    return {Narrow_Name(folder)};
}

int Open_Without_Name(const std::string& folder)
{
    constexpr int Tries = 100;
    std::random_device random;
    for (int i = 0; i < Tries; ++i) {
        const std::string path = folder + "/dicom-mend-" + std::to_string(random());
        const int descriptor = _wsopen(Wide_Name(path).c_str(),
                                       _O_RDWR | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT |
                                           _O_TEMPORARY | _O_SHORT_LIVED,
                                       _SH_DENYRW, _S_IREAD | _S_IWRITE);
        if (descriptor >= 0 || errno != EEXIST) {
            return descriptor;
        }
    }
    return -1;
}

std::string Local_Date_Time()
{
    SYSTEMTIME now = {};
    GetLocalTime(&now);
    TIME_ZONE_INFORMATION zone = {};
    const DWORD season = GetTimeZoneInformation(&zone);
    const long bias =
        zone.Bias + (season == TIME_ZONE_ID_DAYLIGHT ? zone.DaylightBias : zone.StandardBias);
    const long minutes = bias < 0 ? -bias : bias;
    char text[40] = "";
    std::snprintf(text, sizeof text, "%04d%02d%02d%02d%02d%02d%c%02ld%02ld", now.wYear, now.wMonth,
                  now.wDay, now.wHour, now.wMinute, now.wSecond, bias > 0 ? '-' : '+', minutes / 60,
                  minutes % 60);
    return text;
}

}  // namespace lib_mend
