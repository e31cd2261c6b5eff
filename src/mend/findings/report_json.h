// A finding as an object of JSON, for programs.
#ifndef LIB_MEND_REPORT_JSON_H
#define LIB_MEND_REPORT_JSON_H

#include "mend/findings/faults.h"

#include <string>

namespace lib_mend {

/** One object on one line; the values before and after stand apart where they may be shown. */
std::string Finding_JSON(const std::string& file, const Finding& finding, bool show_values);

}  // namespace lib_mend

#endif
