// The check of a number of values against the value multiplicity of the data dictionary.
#ifndef LIB_DICOM_SRC_DICTIONARY_VALUE_COUNT_H
#define LIB_DICOM_SRC_DICTIONARY_VALUE_COUNT_H

#include <Lib_DICOM/dictionary.h>

namespace lib_dicom {

/** Tells whether a value multiplicity has an upper limit: 1-3 has one, 1-n has none. */
inline bool Is_Bounded(const TAG_db_VM& vm)
{
    return static_cast<short>(vm.vm_max) >= 1;
}

/**
 * Checks a number of values against the first alternative of the record's dictionary entry.
 * Attributes that are retired or have no entry or no VR pass.
 *
 * @param label  begins the warning: what is checked
 * @return 1 when the number fits, 0 after a warning
 */
int Check_Value_Count(HWND handle, const DICOM_List& attribute, int count, const char* label);

}  // namespace lib_dicom

#endif
