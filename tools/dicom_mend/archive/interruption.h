// Signals that ask a run to end: they are answered when the files in work are done.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_INTERRUPTION_H
#define TOOLS_DICOM_MEND_ARCHIVE_INTERRUPTION_H

#include <array>

#include <signal.h>

namespace dicom_mend {

/** Keeps SIGINT, SIGTERM and SIGHUP from ending the process, as long as it lives. One at a time. */
class Interruptible {
public:
    Interruptible();
    Interruptible(const Interruptible&) = delete;
    Interruptible& operator=(const Interruptible&) = delete;
    ~Interruptible();

    /** The signal that came; 0 for none. */
    static int Asked_By();
    /** It came more than once: whoever asks does not want to wait. */
    static bool Is_Urgent();

private:
    static constexpr std::array Signals = {SIGINT, SIGTERM, SIGHUP};

    std::array<struct sigaction, Signals.size()> saved_ = {};
};

}  // namespace dicom_mend

#endif
