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

/** Like Write_All; a worker that has died is no reason to end. */
bool Send_All(int socket, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        pollfd writable = {socket, POLLOUT, 0};
        if (count >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno != EINTR && (errno != EAGAIN || poll(&writable, 1, -1) < 0)) {
            return false;
        }
    }
    return true;
}

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

Workers::Workers(std::size_t count, File_Work work) : work_(std::move(work)), workers_(count)
{
}

Workers::~Workers()
{
    for (Worker& worker : workers_) {
        End(worker);
    }
}

bool Workers::Has_Idle() const
{
    return std::any_of(workers_.begin(), workers_.end(),
                       [](const Worker& worker) { return !worker.item; });
}

std::size_t Workers::Busy() const
{
    return static_cast<std::size_t>(std::count_if(
        workers_.begin(), workers_.end(), [](const Worker& worker) { return worker.item; }));
}

void Workers::Give(const Work_Item& item)
{
    Worker& worker = *std::find_if(workers_.begin(), workers_.end(),
                                   [](const Worker& each) { return !each.item; });
    Packer packer;
    Pack(item, packer);
    // One that died while it had nothing to do is replaced once.
    for (int tries = 0; tries < 2; ++tries) {
        if (worker.process < 0) {
            Start(worker);
        }
        if (Send_All(worker.socket, Framed(packer.Bytes()))) {
            break;
        }
        End(worker);
    }
    worker.item = item;
    worker.since = Clock::now();
}

void Workers::Start(Worker& worker)
{
    std::array<int, 2> ends = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        throw std::runtime_error("no socket can be made");
    }
    worker.socket = ends[0];
    worker.received.clear();
    std::string folder;
    worker.output = lib_mend::Open_Nameless_File(folder);
    worker.process = Start_Process([&] {
        for (const Worker& other : workers_) {
            if (other.socket >= 0) {
                close(other.socket);
            }
        }
        Worker served;
        served.socket = ends[1];
        served.output = worker.output;
        Serve(served);
    });
    close(ends[1]);
    fcntl(worker.socket, F_SETFL, O_NONBLOCK);
}

void Workers::Serve(const Worker& worker) const
{
    // A worker that was given up while it writes shall end, and quietly.
    std::signal(SIGPIPE, SIG_IGN);
    dup2(worker.output, STDOUT_FILENO);
    std::array<char, Frame_Head> head;
    while (Read_All(worker.socket, head.data(), head.size())) {
        std::string message(Frame_Size(head.data()), '\0');
        if (!Read_All(worker.socket, message.data(), message.size())) {
            break;
        }
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
    for (int* const descriptor : {&worker.socket, &worker.output}) {
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
        if (worker.item) {
            polled.push_back({worker.socket, POLLIN, 0});
        }
    }
}

Printed Workers::Printed_By(const Worker& worker)
{
    const off_t size = lseek(worker.output, 0, SEEK_CUR);
    Printed printed(worker.output, size, waiting_room_);
    // The position is shared with the worker, which has nothing to do before it is given more.
    if (size > 0 && (lseek(worker.output, 0, SEEK_SET) != 0 || ftruncate(worker.output, 0) != 0)) {
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
    const std::string& bytes = worker.received;
    if (bytes.size() >= Frame_Head && bytes.size() == Frame_Head + Frame_Size(bytes.data())) {
        Unpacker unpacker(std::string_view(bytes).substr(Frame_Head));
        Done_File file = {worker.item->index, Unpack_Record(unpacker)};
        file.record.printed = Printed_By(worker);
        done.push_back(std::move(file));
        worker.received.clear();
        worker.item.reset();
    }
    return !has_ended;
}

std::vector<Done_File> Workers::Take()
{
    std::vector<Done_File> done;
    for (Worker& worker : workers_) {
        if (!worker.item || Take_From(worker, done)) {
            continue;
        }
        const std::string how = End(worker);
        if (worker.item) {
            Done_File file;
            file.index = worker.item->index;
            file.record.path = worker.item->path;
            file.record.relative = worker.item->relative;
            file.record.size = worker.item->size;
            file.record.modified = worker.item->modified;
            file.record.try_again = true;
            Add_Finding(file.record, lib_mend::Fault::Worker_Died, lib_mend::Level::Error,
                        "cannot be worked on: its process " + how);
            done.push_back(std::move(file));
            worker.item.reset();
        }
    }
    return done;
}

const Work_Item* Workers::Slowest(Clock::time_point& since) const
{
    const Worker* slowest = nullptr;
    for (const Worker& worker : workers_) {
        if (worker.item && (slowest == nullptr || worker.since < slowest->since)) {
            slowest = &worker;
        }
    }
    since = slowest != nullptr ? slowest->since : Clock::now();
    return slowest != nullptr ? &*slowest->item : nullptr;
}

void Workers::Kill()
{
    for (const Worker& worker : workers_) {
        if (worker.process > 0) {
            kill(worker.process, SIGKILL);
        }
    }
}

}  // namespace dicom_mend
