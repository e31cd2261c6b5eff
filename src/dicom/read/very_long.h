// Integers of 64 bits, for which the utility library has no accessor.
#ifndef LIB_DICOM_SRC_READ_VERY_LONG_H
#define LIB_DICOM_SRC_READ_VERY_LONG_H

#include <Lib_DICOM/read.h>

#include <cstdint>

namespace lib_dicom {

/** The unsigned value of 8 bytes in a byte order; UV, and SV after a cast. */
inline std::uint64_t Convert_Unsigned_Long(unsigned char order, const void* bytes)
{
    const char* const first = static_cast<const char*>(bytes);
    const bool is_big = (order & DICOM_Order_Big_Endian) != 0;
    const auto half = [&](bool is_second) {
        return static_cast<unsigned int>(NEMA_Convert_Int(order, first + (is_second ? 4 : 0)));
    };
    return static_cast<std::uint64_t>(half(!is_big)) << 32 | half(is_big);
}

}  // namespace lib_dicom

#endif
