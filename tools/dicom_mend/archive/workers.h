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

    /**
     * Processes are started when there is work for them.
     *
     * @param prints  the work prints
     */
    Workers(std::size_t count, File_Work work, bool prints);
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;
    ~Workers();

    /**
     * Tells whether a file can be given: a worker has nothing to do, or nothing but a few small files, and this
     * one is small as well. What waits with a worker spares it the time until it is given more.
     */
    bool Has_Room_For(const Work_Item& item)
    {
        return With_Room_For(item) != nullptr;
    }
    bool Are_Busy() const;
    /** To be called when there is room. Throws std::runtime_error when the system refuses a process. */
    void Give(const Work_Item& item);
    /** Sends what was given. */
    void Hand_Over();
    /** So much waits with each of them that nobody has to look after them for a moment. */
    bool Have_Plenty() const;
    /** What becomes ready when a file is done, or more can be sent. */
    void Add_To(std::vector<pollfd>& polled) const;
    /** The files that are done since the last call. */
    std::vector<Done_File> Take();
    /** The file that has been in work for the longest time, and since when. */
    const Work_Item* Slowest(Clock::time_point& since) const;
    /** Ends the work without waiting for it; what was given to them is not begun again. */
    void Kill();

private:
    /** What prints takes turns with so many outputs, each of which is emptied between. */
    static constexpr std::size_t Outputs = 2;

    struct Worker {
        pid_t process = -1;
        int socket = -1;
        std::array<int, Outputs> outputs = {-1, -1};
        /** Files that the process is done with. */
        std::size_t served = 0;
        std::string received;
        /** What the socket has not taken yet. */
        std::string unsent;
        /** How many of the last items are in there, be it in part. */
        std::size_t unsent_items = 0;
        /** Given and not done, the one in work first. */
        std::deque<Work_Item> items;
        /** When the first one was begun. */
        Clock::time_point since;

        int Output() const
        {
            return outputs[served % Outputs];
        }
    };

    Worker* With_Room_For(const Work_Item& item);
    static void Put_Unsent(Worker& worker, const Work_Item& item);
    /** False when the process has ended. */
    static bool Send(Worker& worker);
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
    bool prints_;
    /** A worker has the file that it is at and the next ones. */
    std::size_t most_items_;
    std::vector<Worker> workers_;
    std::shared_ptr<Waiting_Room> waiting_room_;
    bool is_killed_ = false;
};

}  // namespace dicom_mend

#endif
