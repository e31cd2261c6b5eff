// Bringing the outputs of a run to the disk, all together: a sync for each of many small files would take longer
// than the work.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_DISK_SYNC_H
#define TOOLS_DICOM_MEND_ARCHIVE_DISK_SYNC_H

#include <chrono>
#include <string>

#include <sys/types.h>

namespace dicom_mend {

/**
 * Syncs the file system of a folder, and behind it a log, so that after a loss of power the log says nothing that
 * is not there. Processes of their own do it while the run goes on.
 */
class Disk_Sync {
public:
    /**
     * @param folder  empty where there are no outputs
     * @param log     the descriptor of the log, -1 for none
     */
    Disk_Sync(const std::string& folder, int log);
    Disk_Sync(const Disk_Sync&) = delete;
    Disk_Sync& operator=(const Disk_Sync&) = delete;
    ~Disk_Sync();

    /** Starts it when the last time is some seconds ago. */
    void From_Time_To_Time();
    /** Does it, and waits for it; the reason of a failure. */
    std::string Now();

private:
    bool Sync() const;
    void End_Started();

    int folder_ = -1;
    int log_;
    pid_t process_ = -1;
    std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

}  // namespace dicom_mend

#endif
