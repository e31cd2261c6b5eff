#include "archive/disk_sync.h"

#include "archive/processes.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace dicom_mend {

Disk_Sync::Disk_Sync(const std::string& folder, int log) : log_(log)
{
    folder_ = folder.empty() ? -1 : open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

Disk_Sync::~Disk_Sync()
{
    End_Started();
    if (folder_ >= 0) {
        close(folder_);
    }
}

void Disk_Sync::End_Started()
{
    if (process_ > 0) {
        waitpid(process_, nullptr, 0);
        process_ = -1;
    }
}

bool Disk_Sync::Sync() const
{
    return (folder_ < 0 || syncfs(folder_) == 0) && (log_ < 0 || fdatasync(log_) == 0);
}

void Disk_Sync::From_Time_To_Time()
{
    constexpr auto Often = std::chrono::seconds(5);
    const auto now = std::chrono::steady_clock::now();
    if (process_ > 0 && waitpid(process_, nullptr, WNOHANG) != process_) {
        return;
    }
    process_ = -1;
    if (now - last_ >= Often && (folder_ >= 0 || log_ >= 0)) {
        last_ = now;
        process_ = Start_Process([this] { _exit(Sync() ? 0 : 1); });
    }
}

std::string Disk_Sync::Now()
{
    End_Started();
    return Sync() ? "" : std::strerror(errno);
}

}  // namespace dicom_mend
