// A listing goes straight to the console, which scrolls by itself.
#include "pager.h"

namespace dicom_mend {

Pager::Pager(const Terminal&, const Looks&)
{
}

Pager::~Pager() = default;

}  // namespace dicom_mend
