#include "archive/interruption.h"

#include <csignal>

namespace dicom_mend {

namespace {

volatile std::sig_atomic_t asked_by = 0;
volatile std::sig_atomic_t asked_times = 0;

void Ask_For_End(int number)
{
    asked_by = number;
    asked_times = asked_times + 1;
}

}  // namespace

Interruptible::Interruptible()
{
    asked_by = 0;
    asked_times = 0;
    struct sigaction action = {};
    action.sa_handler = Ask_For_End;
    for (std::size_t i = 0; i < Signals.size(); ++i) {
        sigaction(Signals[i], nullptr, &saved_[i]);
        // One that is ignored was meant to be (nohup).
        if (saved_[i].sa_handler != SIG_IGN) {
            sigaction(Signals[i], &action, nullptr);
        }
    }
}

Interruptible::~Interruptible()
{
    for (std::size_t i = 0; i < Signals.size(); ++i) {
        sigaction(Signals[i], &saved_[i], nullptr);
    }
}

int Interruptible::Asked_By()
{
    return asked_by;
}

bool Interruptible::Is_Urgent()
{
    return asked_times > 1;
}

}  // namespace dicom_mend
