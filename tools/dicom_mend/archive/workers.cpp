#include "archive/workers.h"

#include "archive/processes.h"
#include "mend/io/spool.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace dicom_mend {

namespace {

/** A file that is no larger may stand behind another one: it does not wait long, nor let others wait. */
constexpr std::int64_t Small_File = std::int64_t{1} << 20;
/** So many may wait with a worker that does not print: they take as long as a process to be woken up. */
constexpr std::size_t Most_Items = 32;

void Do(const File_Work& work, const Work_Item& item, File_Record& record)
{
    const auto start = Workers::Clock::now();
    record.path = item.path;
    record.relative = item.relative;
    record.size = item.size;
    record.modified = item.modified;
    try {
        work(item, record);
    } catch (const std::bad_alloc&) {
        record.failure = "there is not enough memory";
        record.status = Exit_Failure;
    }
    record.microseconds =
        std::chrono::duration_cast<std::chrono::microseconds>(Workers::Clock::now() - start)
            .count();
}

}  // namespace

Workers::Workers(std::size_t count, File_Work work, bool prints)
    : work_(std::move(work)), prints_(prints), most_items_(prints ? Outputs : Most_Items),
      workers_(count)
{
}

Workers::~Workers()
{
    for (Worker& worker : workers_) {
        End(worker);
    }
}

Workers::Worker* Workers::With_Room_For(const Work_Item& item)
{
    const auto has_room = [&](const Worker& worker) {
        return worker.items.empty() ||
               (item.size <= Small_File && worker.items.front().size <= Small_File &&
                worker.items.size() < most_items_);
    };
    Worker* found = nullptr;
    for (Worker& worker : workers_) {
        const bool is_less = found == nullptr || worker.items.size() < found->items.size();
        found = is_less && has_room(worker) ? &worker : found;
    }
    return found;
}

bool Workers::Are_Busy() const
{
    return std::any_of(workers_.begin(), workers_.end(),
                       [](const Worker& worker) { return !worker.items.empty(); });
}

void Workers::Give(const Work_Item& item)
{
    Worker& worker = *With_Room_For(item);
    if (worker.items.empty()) {
        worker.since = Clock::now();
    }
    worker.items.push_back(item);
    if (worker.process < 0) {
        Start_Over(worker);
        return;
    }
    Put_Unsent(worker, item);
}

void Workers::Put_Unsent(Worker& worker, const Work_Item& item)
{
    Packer packer;
    Pack(item, packer);
    worker.unsent += Framed(packer.Bytes());
    ++worker.unsent_items;
}

bool Workers::Send(Worker& worker)
{
    while (!worker.unsent.empty()) {
        const ssize_t count =
            send(worker.socket, worker.unsent.data(), worker.unsent.size(), MSG_NOSIGNAL);
        if (count >= 0) {
            worker.unsent.erase(0, static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            // What does not fit is sent when there is room: the worker may wait for somebody to take what it has.
            return errno == EAGAIN;
        }
    }
    worker.unsent_items = 0;
    return true;
}

void Workers::Hand_Over()
{
    for (Worker& worker : workers_) {
        if (!Send(worker) && worker.unsent_items == worker.items.size()) {
            // It died while it had nothing to do. One that was at a file is found dead when that is taken.
            End(worker);
            Start_Over(worker);
        }
    }
}

bool Workers::Have_Plenty() const
{
    return std::all_of(workers_.begin(), workers_.end(),
                       [](const Worker& worker) { return worker.items.size() >= Most_Items / 2; });
}

void Workers::Start_Over(Worker& worker)
{
    Start(worker);
    worker.since = Clock::now();
    for (const Work_Item& item : worker.items) {
        Put_Unsent(worker, item);
    }
    // Whether it died meanwhile shows when it is waited for.
    Send(worker);
}

void Workers::Start(Worker& worker)
{
    std::array<int, 2> ends = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        throw std::runtime_error("no socket can be made");
    }
    worker.socket = ends[0];
    worker.received.clear();
    worker.unsent.clear();
    worker.unsent_items = 0;
    worker.served = 0;
    std::string folder;
    for (int& output : worker.outputs) {
        output = prints_ ? lib_mend::Open_Nameless_File(folder) : -1;
    }
    worker.process = Start_Process([&] {
        for (const Worker& other : workers_) {
            if (other.socket >= 0) {
                close(other.socket);
            }
        }
        Worker served;
        served.socket = ends[1];
        served.outputs = worker.outputs;
        Serve(served);
    });
    close(ends[1]);
    fcntl(worker.socket, F_SETFL, O_NONBLOCK);
}

void Workers::Serve(Worker& worker) const
{
    // A worker that was given up while it writes shall end, and quietly.
    std::signal(SIGPIPE, SIG_IGN);
    std::array<char, Frame_Head> head;
    while (Read_All(worker.socket, head.data(), head.size())) {
        std::string message(Frame_Size(head.data()), '\0');
        if (!Read_All(worker.socket, message.data(), message.size())) {
            break;
        }
        if (prints_) {
            dup2(worker.Output(), STDOUT_FILENO);
        }
        ++worker.served;
        Unpacker bytes(message);
        File_Record record;
        Do(work_, Unpack_Item(bytes), record);
        std::fflush(stdout);
        Packer packer;
        Pack(record, packer);
        if (!Write_All(worker.socket, Framed(packer.Bytes()))) {
            break;
        }
    }
    _exit(0);
}

std::string Workers::End(Worker& worker)
{
    std::string how;
    for (int* const descriptor : {&worker.socket, &worker.outputs[0], &worker.outputs[1]}) {
        if (*descriptor >= 0) {
            close(std::exchange(*descriptor, -1));
        }
    }
    if (worker.process > 0) {
        int status = 0;
        waitpid(std::exchange(worker.process, -1), &status, 0);
        how = WIFSIGNALED(status) ? "was ended by signal " + std::to_string(WTERMSIG(status)) +
                                        " (" + strsignal(WTERMSIG(status)) + ")"
                                  : "ended with status " + std::to_string(WEXITSTATUS(status));
    }
    return how;
}

void Workers::Add_To(std::vector<pollfd>& polled) const
{
    for (const Worker& worker : workers_) {
        if (!worker.items.empty()) {
            const int events = POLLIN | (worker.unsent.empty() ? 0 : POLLOUT);
            polled.push_back({worker.socket, static_cast<short>(events), 0});
        }
    }
}

Printed Workers::Printed_By(const Worker& worker)
{
    const int output = worker.Output();
    const off_t size = lseek(output, 0, SEEK_CUR);
    Printed printed(output, size, waiting_room_);
    // The position is shared with the worker, which is at another output before it is given more.
    if (size > 0 && (lseek(output, 0, SEEK_SET) != 0 || ftruncate(output, 0) != 0)) {
        throw std::runtime_error("what a worker printed cannot be emptied");
    }
    return printed;
}

bool Workers::Take_From(Worker& worker, std::vector<Done_File>& done)
{
    std::array<char, std::size_t{1} << 16> block;
    ssize_t count = 0;
    while ((count = recv(worker.socket, block.data(), block.size(), MSG_DONTWAIT)) > 0) {
        worker.received.append(block.data(), static_cast<std::size_t>(count));
    }
    const bool has_ended = count == 0 || (errno != EAGAIN && errno != EINTR);
    std::size_t at = 0;
    std::string_view bytes = worker.received;
    while (bytes.size() >= Frame_Head && bytes.size() - Frame_Head >= Frame_Size(bytes.data())) {
        const std::size_t size = Frame_Size(bytes.data());
        Unpacker unpacker(bytes.substr(Frame_Head, size));
        Done_File file = {worker.items.front().index, Unpack_Record(unpacker)};
        if (prints_) {
            file.record.printed = Printed_By(worker);
        }
        done.push_back(std::move(file));
        worker.items.pop_front();
        worker.since = Clock::now();
        ++worker.served;
        at += Frame_Head + size;
        bytes.remove_prefix(Frame_Head + size);
    }
    worker.received.erase(0, at);
    return !has_ended;
}

/** The file that a worker died at. */
Done_File Workers::Take_Died(Worker& worker, const std::string& how)
{
    const Work_Item& item = worker.items.front();
    Done_File file;
    file.index = item.index;
    file.record.path = item.path;
    file.record.relative = item.relative;
    file.record.size = item.size;
    file.record.modified = item.modified;
    file.record.try_again = true;
    Add_Finding(file.record, lib_mend::Fault::Worker_Died, lib_mend::Level::Error,
                "cannot be worked on: its process " + how);
    worker.items.pop_front();
    return file;
}

std::vector<Done_File> Workers::Take()
{
    std::vector<Done_File> done;
    for (Worker& worker : workers_) {
        if (worker.items.empty() || Take_From(worker, done)) {
            continue;
        }
        done.push_back(Take_Died(worker, End(worker)));
        if (is_killed_) {
            worker.items.clear();
        } else if (!worker.items.empty()) {
            // What it had not begun is done by the next one.
            Start_Over(worker);
        }
    }
    return done;
}

const Work_Item* Workers::Slowest(Clock::time_point& since) const
{
    const Worker* slowest = nullptr;
    for (const Worker& worker : workers_) {
        if (!worker.items.empty() && (slowest == nullptr || worker.since < slowest->since)) {
            slowest = &worker;
        }
    }
    since = slowest != nullptr ? slowest->since : Clock::now();
    return slowest != nullptr ? &slowest->items.front() : nullptr;
}

void Workers::Kill()
{
    is_killed_ = true;
    for (const Worker& worker : workers_) {
        if (worker.process > 0) {
            kill(worker.process, SIGKILL);
        }
    }
}

}  // namespace dicom_mend
