#include "process.h"

#include <csignal>

#include <sys/ioctl.h>

namespace dicom_mend {

std::vector<std::string> Start_Tool(int argc, char** argv)
{
    // A limit on the size of files is to be met as an error of the writing, not as a sudden end.
    std::signal(SIGXFSZ, SIG_IGN);
    return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

std::size_t Terminal_Width(int descriptor)
{
    winsize size = {};
    return ioctl(descriptor, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

}  // namespace dicom_mend
