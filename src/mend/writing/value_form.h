// Single values as they stand in the output.
#ifndef LIB_MEND_VALUE_FORM_H
#define LIB_MEND_VALUE_FORM_H

#include "mend/reading/encoding.h"

#include <Lib_DICOM/Lib_DICOM.h>

#include <cstdint>

namespace lib_mend {

constexpr std::int64_t Even(std::int64_t size)
{
    return size + size % 2;
}

/** An element that is no container, as it will stand in the output. */
struct Value_Form {
    unsigned short vr = VR_UN;
    bool is_long = true;
    std::int64_t size = 0;
    int width = 1;
    char padding = '\0';
};

Value_Form Value_Form_Of(const DICOM_List& record, const Encoding& encoding);

/** Number of bytes in front of a value, or of the first item. */
std::int64_t Header_Size(bool is_long, const Encoding& encoding);

}  // namespace lib_mend

#endif
