// Numbers with decimals in any VR.
#ifndef LIB_MEND_REAL_NUMBERS_H
#define LIB_MEND_REAL_NUMBERS_H

#include <optional>
#include <string>
#include <string_view>

namespace lib_mend {

/**
 * The numbers of a value of FL, FD or DS, or of any that holds whole ones, as a value of FL, FD or DS
 * that says exactly the same; nothing where there is none. Decimals of 15 digits come back from the
 * 64 bits of FD as they were. Texts are not padded.
 */
struct Real_Numbers {
    std::string bytes;
    std::size_t count = 0;
};
std::optional<Real_Numbers> Real_Bytes(std::string_view bytes, unsigned short from,
                                       unsigned short to, unsigned char byte_order);

}  // namespace lib_mend

#endif
