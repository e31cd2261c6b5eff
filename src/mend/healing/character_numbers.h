// The characters of all encodings as numbers: those of one, two and three bytes, and of four in GB18030. What makes
// the tables of a module counts them as the module does.
#ifndef LIB_MEND_CHARACTER_NUMBERS_H
#define LIB_MEND_CHARACTER_NUMBERS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace lib_mend {

/** Where the numbers of characters of so many bytes begin. */
inline constexpr std::uint32_t Two_Bytes = 0x10000;
inline constexpr std::uint32_t Three_Bytes = 0x20000;
inline constexpr std::uint32_t Four_Bytes = 0x40000;
inline constexpr std::uint32_t Behind_Four_Bytes = Four_Bytes + 126 * 10 * 126 * 10;
/** The byte in front of the third set of EUC-JP, the only characters of three bytes. */
inline constexpr unsigned char Third_Set_Shift = 0x8F;

inline std::string Bytes_Of(std::uint32_t number)
{
    const auto byte = [](std::uint32_t value) {
        return static_cast<char>(value & 0xFF);
    };
    if (number < Two_Bytes) {
        return {byte(number)};
    }
    if (number < Three_Bytes) {
        return {byte(number >> 8), byte(number)};
    }
    if (number < Four_Bytes) {
        return {static_cast<char>(Third_Set_Shift), byte(number >> 8), byte(number)};
    }
    const std::uint32_t index = number - Four_Bytes;
    return {byte(0x81 + index / 12600), byte('0' + index / 1260 % 10),
            byte(0x81 + index / 10 % 126), byte('0' + index % 10)};
}

/** @param bytes  one to four */
inline std::uint32_t Number_Of_Bytes(std::string_view bytes)
{
    const auto at = [&](std::size_t i) {
        return std::uint32_t{static_cast<unsigned char>(bytes[i])};
    };
    switch (bytes.size()) {
    case 1:
        return at(0);
    case 2:
        return Two_Bytes + at(0) * 256 + at(1);
    case 3:
        return Three_Bytes + at(1) * 256 + at(2);
    default:
        return Four_Bytes + (at(0) - 0x81) * 12600 + (at(1) - '0') * 1260 + (at(2) - 0x81) * 10 +
               at(3) - '0';
    }
}

}  // namespace lib_mend

#endif
