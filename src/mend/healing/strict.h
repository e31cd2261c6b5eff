// The library's fixed repairs, for those who need every rule of a VR met whatever it costs.
#ifndef LIB_MEND_STRICT_H
#define LIB_MEND_STRICT_H

#include "mend/healing/value.h"

namespace lib_mend {

/** What the repairs made of a value. */
struct Strict_Value {
    std::string bytes;
    /** The value could not be repaired, and is not there any more. */
    bool deleted = false;
};

/**
 * Applies the repairs of the library to a value, and heals what comes out: some of them leave an old
 * form. Throws std::bad_alloc.
 *
 * @param record  the element; its value is not looked at
 * @param bytes   the value, in the byte order of the record
 */
Strict_Value Repair_Strictly(const DICOM_List& record, std::string_view bytes,
                             const Character_Set& characters, bool replace_uids);

}  // namespace lib_mend

#endif
