#include "pager.h"

#include "mend/findings/letters.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace dicom_mend {

namespace {

bool Is_In_Path(const std::string& program)
{
    const char* const path = std::getenv("PATH");
    std::istringstream folders(path != nullptr ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (access((folder + "/" + program).c_str(), X_OK) == 0) {
            return true;
        }
    }
    return false;
}

/** A command that a shell can run, as far as that shows without one. */
bool Can_Run(const std::string& command)
{
    const std::string program = command.substr(0, command.find(' '));
    if (command.find_first_of("=$`'\"\\|&;<>(){}~*?\t\n") != command.npos || program.empty()) {
        return true;
    }
    return program.find('/') != program.npos ? access(program.c_str(), X_OK) == 0
                                             : Is_In_Path(program);
}

/** The command that PAGER holds; empty for none. */
std::string Command_Of_Pager()
{
    const char* const chosen = std::getenv("PAGER");
    if (chosen == nullptr) {
        return Is_In_Path("less") ? "less" : "";
    }
    if (!Can_Run(chosen)) {
        std::fprintf(stderr, "PAGER: %s: there is no such program\n",
                     lib_mend::Printable(chosen).c_str());
        return {};
    }
    return std::string(chosen) == "cat" ? "" : chosen;
}

/** The pager sees the end of its input when nothing writes there any more. */
void Put_Back(int saved, int descriptor)
{
    if (saved >= 0) {
        dup2(saved, descriptor);
        close(saved);
    }
}

}  // namespace

Pager::Pager(const Terminal& terminal, const Looks& looks)
{
    const std::string command =
        terminal.is_terminal && looks.pager ? Command_Of_Pager() : std::string();
    std::array<int, 2> ends = {-1, -1};
    if (command.empty() || pipe2(ends.data(), O_CLOEXEC) != 0) {
        return;
    }
    std::fflush(stdout);
    process_ = fork();
    if (process_ == 0) {
        dup2(ends[0], STDIN_FILENO);
        // What fits the screen is left there, colours are colours, and the text stays when it ends.
        setenv("LESS", "FRX", 0);
        execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    if (process_ > 0) {
        output_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
        dup2(ends[1], STDOUT_FILENO);
        if (isatty(STDERR_FILENO) != 0) {
            errors_ = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
            dup2(ends[1], STDERR_FILENO);
        }
        // The keys belong to the pager now.
        std::signal(SIGINT, SIG_IGN);
        std::signal(SIGQUIT, SIG_IGN);
    }
    close(ends[0]);
    close(ends[1]);
}

Pager::~Pager()
{
    if (process_ <= 0) {
        return;
    }
    std::fflush(stdout);
    Put_Back(output_, STDOUT_FILENO);
    Put_Back(errors_, STDERR_FILENO);
    waitpid(process_, nullptr, 0);
}

}  // namespace dicom_mend
