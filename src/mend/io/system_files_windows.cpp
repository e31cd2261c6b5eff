#include "mend/io/system_files.h"

#include "mend/io/windows_names.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <random>

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
    // Longer names are taken whole and in their own form only.
    constexpr DWORD Longest = 240;
    const DWORD needed = GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr);
    if (needed < Longest || wide.starts_with(L"\\\\")) {
        return wide;
    }
    std::wstring whole(needed, L'\0');
    whole.resize(GetFullPathNameW(wide.c_str(), needed, whole.data(), nullptr));
    return L"\\\\?\\" + whole;
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
