// Worker processes: the library belongs to one thread, so that several files at a time take as many
// processes, and a file that kills its process costs nothing but itself.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_WORKERS_H
#define TOOLS_DICOM_MEND_ARCHIVE_WORKERS_H

#include "archive/file_record.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <string>
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

    /**
     * Tells whether a file can be given: a worker has nothing to do, or nothing but one small file, and this
     * one is small as well. What waits with a worker spares it the time until it is given more.
     */
    bool Has_Room_For(const Work_Item& item)
    {
        return With_Room_For(item) != nullptr;
    }
    bool Are_Busy() const;
    /** To be called when there is room. Throws std::runtime_error when the system refuses a process. */
    void Give(const Work_Item& item);
    /** What becomes readable when a file is done. */
    void Add_To(std::vector<pollfd>& polled) const;
    /** The files that are done since the last call. */
    std::vector<Done_File> Take();
    /** The file that has been in work for the longest time, and since when. */
    const Work_Item* Slowest(Clock::time_point& since) const;
    /** Ends the work without waiting for it; what was given to them is not begun again. */
    void Kill();

private:
    /** A worker has the file that it is at and the next one. */
    static constexpr std::size_t Most_Items = 2;

    struct Worker {
        pid_t process = -1;
        int socket = -1;
        /** What the process prints: the files that it is given take turns, and each output is emptied between. */
        std::array<int, Most_Items> outputs = {-1, -1};
        /** Files that the process is done with. */
        std::size_t served = 0;
        std::string received;
        /** Given and not done, the one in work first. */
        std::deque<Work_Item> items;
        /** When the first one was begun. */
        Clock::time_point since;

        int Output() const
        {
            return outputs[served % Most_Items];
        }
    };

    Worker* With_Room_For(const Work_Item& item);
    /** Starts a process, and hands it all that the one before it had not done. */
    void Start_Over(Worker& worker);
    void Start(Worker& worker);
    /** Gives away its end; the text says how it ended. */
    std::string End(Worker& worker);
    [[noreturn]] void Serve(Worker& worker) const;
    bool Take_From(Worker& worker, std::vector<Done_File>& done);
    static Done_File Take_Died(Worker& worker, const std::string& how);
    Printed Printed_By(const Worker& worker);

    File_Work work_;
    std::vector<Worker> workers_;
    std::shared_ptr<Waiting_Room> waiting_room_;
    bool is_killed_ = false;
};

}  // namespace dicom_mend

#endif
