// What the rules of an IOD say of one attribute, and what they come to in a data set.
#ifndef LIB_MEND_EXPLAIN_H
#define LIB_MEND_EXPLAIN_H

#include "mend/reading/data_set.h"

#include <string>

namespace lib_mend {

/**
 * Lines for people: each place where the IOD names the attribute, with its type, condition and values by
 * module, whether they hold here and why, and what is reported of it there; then what is reported of it
 * elsewhere, and what names it. Quotes no value of the data set.
 *
 * @param module  null for none
 * @param found   all that is reported of the data set, with the sums of its paths
 * @param way     leads to the only item that is asked about; empty for every place of the attribute
 */
std::string Explain(const Data_Set& set, DICOM_List* module, Tag tag, const Findings& found,
                    const Path& way = {});

}  // namespace lib_mend

#endif
