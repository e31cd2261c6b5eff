#include "pager.h"

#include "mend/findings/letters.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace dicom_mend {

namespace {

bool Is_Program(const std::string& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           access(path.c_str(), X_OK) == 0;
}

bool Is_In_Path(const std::string& program)
{
    const char* const path = std::getenv("PATH");
    std::istringstream folders(path != nullptr ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (Is_Program(folder + "/" + program)) {
            return true;
        }
    }
    return false;
}

[[noreturn]] void Run_Shell(const char* options, const std::string& command)
{
    execl("/bin/sh", "sh", options, command.c_str(), static_cast<char*>(nullptr));
    _exit(127);
}

/** The shell can take a command apart. */
bool Is_Sound(const std::string& command)
{
    const pid_t shell = fork();
    if (shell == 0) {
        close(STDERR_FILENO);
        Run_Shell("-nc", command);
    }
    int status = 0;
    return shell < 0 || waitpid(shell, &status, 0) != shell || status == 0;
}

/** A command that a shell can run, as far as that shows before. */
bool Can_Run(const std::string& command)
{
    if (command.find_first_of("=$`'\"\\|&;<>(){}~*?\t\n") != command.npos) {
        return Is_Sound(command);
    }
    const std::size_t begin = command.find_first_not_of(' ');
    const std::string program = command.substr(begin, command.find(' ', begin) - begin);
    return program.find('/') != program.npos ? Is_Program(program) : Is_In_Path(program);
}

/** The command that PAGER holds; empty for none. */
std::string Command_Of_Pager()
{
    const char* const chosen = std::getenv("PAGER");
    if (chosen == nullptr) {
        const char* const terminal = std::getenv("TERM");
        const bool is_dumb = terminal == nullptr || std::string_view(terminal) == "dumb";
        return !is_dumb && Is_In_Path("less") ? "less" : "";
    }
    const std::string command = chosen;
    if (command == "cat" || command.find_first_not_of(' ') == command.npos) {
        return {};
    }
    if (!Can_Run(command)) {
        std::fprintf(stderr, "PAGER: %s: there is no such program\n",
                     lib_mend::Printable(command).c_str());
        return {};
    }
    return command;
}

/** What fits the screen is left there, the text stays when it ends; whatever users want of it, colours are colours. */
void Ask_Less_For_Colours()
{
    const char* const wanted = std::getenv("LESS");
    setenv("LESS", wanted == nullptr ? "-FRX" : (std::string(wanted) + " -R").c_str(), 1);
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
        Ask_Less_For_Colours();
        Run_Shell("-c", command);
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
        // Who has read enough closes it.
        std::signal(SIGPIPE, SIG_IGN);
    }
    close(ends[0]);
    close(ends[1]);
}

Pager::~Pager()
{
    End();
}

int Pager::End()
{
    if (process_ <= 0) {
        return 0;
    }
    std::fflush(stdout);
    // Nobody misses what it did not read.
    std::clearerr(stdout);
    Put_Back(output_, STDOUT_FILENO);
    Put_Back(errors_, STDERR_FILENO);
    int status = 0;
    waitpid(std::exchange(process_, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 0;
}

Exit_Status Pager::Finish(Exit_Status status)
{
    // So a shell says that it could not run a command.
    constexpr int Not_Run = 126;
    if (End() >= Not_Run) {
        Report_Failure("PAGER", "cannot be run; --no-pager does without it");
        return Exit_Failure;
    }
    return Finish_Output(status);
}

}  // namespace dicom_mend
