// Which of the findings of a data set have to do with one attribute.
#ifndef LIB_MEND_ABOUT_H
#define LIB_MEND_ABOUT_H

#include "mend/findings/findings.h"

namespace lib_mend {

/** Whether a finding is of an attribute, stands inside of it, or names it: its words, its values, its rule. */
bool Is_About(const Finding& finding, Tag tag);

}  // namespace lib_mend

#endif
