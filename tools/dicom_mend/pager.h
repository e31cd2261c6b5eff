// Long output on a terminal, page by page.
#ifndef TOOLS_DICOM_MEND_PAGER_H
#define TOOLS_DICOM_MEND_PAGER_H

#include "report.h"
#include "terminal.h"

#include <sys/types.h>

namespace dicom_mend {

/**
 * Sends standard output, and the findings on the same terminal, through the program that PAGER names, or
 * less. It ends with the scope, when the reader has seen enough.
 */
class Pager {
public:
    /** Does nothing unless the output goes to a terminal and the looks ask for it. */
    Pager(const Terminal& terminal, const Looks& looks);
    Pager(const Pager&) = delete;
    Pager& operator=(const Pager&) = delete;
    ~Pager();

    /** Waits for the end of the reader, and says whether all was printed: a status for Finish_Output, or a failure. */
    Exit_Status Finish(Exit_Status status);

private:
    /** The status that the program ended with, 0 where there is none. */
    int End();

    pid_t process_ = -1;
    /** What standard output and standard error were; -1 where they are that still. */
    int output_ = -1;
    int errors_ = -1;
};

}  // namespace dicom_mend

#endif
