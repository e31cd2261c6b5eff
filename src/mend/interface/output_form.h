// The encoding of the output, and what it asks of a healed data set.
#ifndef LIB_MEND_OUTPUT_FORM_H
#define LIB_MEND_OUTPUT_FORM_H

#include "mend/interface/options.h"
#include "mend/reading/data_set.h"

namespace lib_mend {

/** Fits a healed data set to the encoding in which it is to be written, which is returned. */
Encoding Fit_To_Output(Data_Set& set, Output_Syntax syntax, const Heal_Options& options,
                       Findings& findings);

}  // namespace lib_mend

#endif
