// A data set becomes what its IOD asks for: values are supplied, forced and deleted by a module list.
#ifndef LIB_MEND_COMPLETE_H
#define LIB_MEND_COMPLETE_H

#include "mend/reading/data_set.h"

namespace lib_mend {

/**
 * Brings a healed data set into line with a module list: sets and supplies the values that the list gives,
 * makes the UIDs that are required and missing, adds empty attributes of type 2, takes out empty ones
 * that need not be there, deletes what the list asks to delete, and loads values that were left in
 * the source. Every change is reported; what is still missing is not, see Verify.
 *
 * @return false after an error finding
 */
bool Complete(Data_Set& set, DICOM_List* module, Findings& findings);

}  // namespace lib_mend

#endif
