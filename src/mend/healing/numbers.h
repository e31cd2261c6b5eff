// Whole numbers in any VR.
#ifndef LIB_MEND_NUMBERS_H
#define LIB_MEND_NUMBERS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lib_mend {

using Numbers = std::vector<std::int64_t>;

/**
 * The whole numbers that a value of IS, DS, US, SS, UL, SL, SV or UV holds; nothing when it holds
 * anything else.
 */
std::optional<Numbers> Numbers_In(std::string_view bytes, unsigned short vr,
                                  unsigned char byte_order);

/** Numbers as a value of a VR; nothing when it cannot hold one of them. */
std::optional<std::string> Bytes_For(const Numbers& numbers, unsigned short vr,
                                     unsigned char byte_order);

/** "1\2" for findings. */
std::string Text_Of(const Numbers& numbers);

}  // namespace lib_mend

#endif
