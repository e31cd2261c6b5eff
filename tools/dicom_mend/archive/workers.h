// Worker processes: the library belongs to one thread, so that several files at a time take as many
// processes, and a file that kills its process costs nothing but itself.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_WORKERS_H
#define TOOLS_DICOM_MEND_ARCHIVE_WORKERS_H

#include "archive/file_record.h"

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

#include <poll.h>
#include <sys/types.h>

namespace dicom_mend {

/** A file that a worker is done with. */
struct Done_File {
    std::uint64_t index = 0;
    File_Record record;
};

class Workers {
public:
    using Clock = std::chrono::steady_clock;

    /** Processes are started when there is work for them. */
    Workers(std::size_t count, File_Work work);
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;
    ~Workers();

    bool Has_Idle() const;
    std::size_t Busy() const;
    /** To be called when one is idle. Throws std::runtime_error when the system refuses a process. */
    void Give(const Work_Item& item);
    /** What becomes readable when a file is done. */
    void Add_To(std::vector<pollfd>& polled) const;
    /** The files that are done since the last call. */
    std::vector<Done_File> Take();
    /** The file that has been in work for the longest time, and since when. */
    const Work_Item* Slowest(Clock::time_point& since) const;
    /** Ends the work without waiting for it. */
    void Kill();

private:
    struct Worker {
        pid_t process = -1;
        int socket = -1;
        /** The standard output of the process, emptied for each file. */
        int output = -1;
        std::string received;
        std::optional<Work_Item> item;
        Clock::time_point since;
    };

    void Start(Worker& worker);
    /** Gives away its end; the text says how it ended. */
    std::string End(Worker& worker);
    [[noreturn]] void Serve(const Worker& worker) const;
    bool Take_From(Worker& worker, std::vector<Done_File>& done);
    Printed Printed_By(const Worker& worker);

    File_Work work_;
    std::vector<Worker> workers_;
    std::shared_ptr<Waiting_Room> waiting_room_;
};

}  // namespace dicom_mend

#endif
