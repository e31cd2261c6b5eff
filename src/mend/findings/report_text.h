// A finding as a line for people.
#ifndef LIB_MEND_REPORT_TEXT_H
#define LIB_MEND_REPORT_TEXT_H

#include "mend/findings/faults.h"

#include <string>

namespace lib_mend {

/**
 * "file: severity: (0008,0100) Code Value in 0040,0275[0] at 0x1F2: what is wrong (what the standard
 * asks for, and where)", as far as it is known.
 */
std::string Finding_Line(const std::string& file, const Finding& finding, bool show_values);

}  // namespace lib_mend

#endif
