#include "dictionary/tables.h"

// The generated arrays are declared `static char *` and hold string literals; they are only read.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wwrite-strings"

namespace lib_dicom {

// Both dictionaries have arrays of the same names.
namespace standard {
#include "standard/DICOM_Groups.hpp"
}
namespace current {
#include "current/DICOM_Groups.hpp"
}

std::span<const Table> Standard_Tables()
{
    return standard::tables;
}

std::span<const Table> Current_Tables()
{
    return current::tables;
}

}  // namespace lib_dicom

#pragma GCC diagnostic pop
