// A listing goes straight to the console, which scrolls by itself.
#include "pager.h"

namespace dicom_mend {

Pager::Pager(const Terminal&, const Looks&)
{
}

Pager::~Pager() = default;

int Pager::End()
{
    return 0;
}

Exit_Status Pager::Finish(Exit_Status status)
{
    return Finish_Output(status);
}

}  // namespace dicom_mend
