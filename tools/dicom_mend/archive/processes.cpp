#include "archive/processes.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <thread>

#include <sys/file.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace dicom_mend {

pid_t Start_Process(const std::function<void()>& body)
{
    // What is waiting to be written is written once, not by every process.
    std::fflush(nullptr);
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error("no process can be started");
    }
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() == parent) {
            for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
                std::signal(number, SIG_IGN);
            }
            try {
                body();
            } catch (const std::exception& error) {
                std::fprintf(stderr, "dicom-mend: error: %s\n", error.what());
            }
        }
        _exit(1);
    }
    return child;
}

bool Write_All(int descriptor, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = write(descriptor, bytes.data(), bytes.size());
        if (count >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

bool Read_All(int descriptor, char* to, std::size_t size)
{
    while (size > 0) {
        const ssize_t count = read(descriptor, to, size);
        if (count > 0) {
            to += count;
            size -= static_cast<std::size_t>(count);
        } else if (count == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

bool Lock_Alone(int descriptor)
{
    constexpr int Tries = 100;
    for (int i = 0; i < Tries; ++i) {
        if (flock(descriptor, LOCK_EX | LOCK_NB) == 0) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

}  // namespace dicom_mend
