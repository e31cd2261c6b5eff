#include "mend/writing/value_form.h"

#include "mend/findings/findings.h"
#include "mend/reading/vr_forms.h"

#include <algorithm>

namespace lib_mend {

Value_Form Value_Form_Of(const DICOM_List& record, const Encoding& encoding)
{
    /** Longest value that a header with a 2-byte length can have. */
    constexpr std::int64_t Longest_Short_Value = 65534;
    // The bytes under SQ were no items.
    const unsigned short vr = VR_Of(record);
    const VR_Form& form = Form_Of(vr != VR_SQ ? vr : VR_UN);
    Value_Form value = {form.vr, form.is_long, std::max<std::int64_t>(Size_Of(record), 0),
                        form.width, form.padding};
    if (encoding.explicit_vr && !form.is_long && Even(value.size) > Longest_Short_Value) {
        // PS3.5 section 6.2.2.
        value.vr = VR_UN;
        value.is_long = true;
    }
    // Values of UN are little endian in every syntax.
    const bool was_big = (record.byte_order & DICOM_Order_Big_Endian) != 0 && form.vr != VR_UN;
    const bool is_big = encoding.big_endian && value.vr != VR_UN;
    if (was_big == is_big) {
        value.width = 1;
    }
    return value;
}

std::int64_t Header_Size(bool is_long, const Encoding& encoding)
{
    return encoding.explicit_vr && is_long ? 12 : 8;
}

}  // namespace lib_mend
