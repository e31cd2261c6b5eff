// How one C value is taken from the arguments of a call, and which bytes a VR stores for it.
#ifndef LIB_DICOM_SRC_ATTRIBUTES_VALUE_FORMS_H
#define LIB_DICOM_SRC_ATTRIBUTES_VALUE_FORMS_H

#include "attributes/create/value_buffer.h"
#include "attributes/create/value_builders.h"
#include "util/older_libraries.h"

#include <Lib_DICOM/values.h>

#include <cstdint>

namespace lib_dicom {

template <class Number>
Number Take_Int_Slot(Arguments& args)
{
    return static_cast<Number>(va_arg(args.list, int));
}

/** Callers pass the bits of the float in a slot of their own, since a float would be widened. */
inline float Take_Float_Bits(Arguments& args)
{
    return lib_util::bit_cast<float>(va_arg(args.list, unsigned int));
}

inline double Take_Double(Arguments& args)
{
    return va_arg(args.list, double);
}

inline std::int64_t Take_Wide(Arguments& args)
{
    return va_arg(args.list, std::int64_t);
}

void Write_Byte(Value_Buffer& value, unsigned char byte);
void Write_Short(Value_Buffer& value, short number);
void Write_UShort(Value_Buffer& value, unsigned short number);
void Write_Int(Value_Buffer& value, int number);
void Write_Float(Value_Buffer& value, float number);
void Write_Double(Value_Buffer& value, double number);
void Write_Wide(Value_Buffer& value, std::int64_t number);
void Write_Integer_Text(Value_Buffer& value, int number);
void Write_Decimal_Text(Value_Buffer& value, const float& number);
void Write_Date(Value_Buffer& value, const OrisWare_Date& date);
void Write_Time(Value_Buffer& value, const OrisWare_Time& time);

}  // namespace lib_dicom

#endif
