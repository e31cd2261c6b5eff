// The hash of Fowler, Noll and Vo in its form 1a, for numbers that other processes and later versions have
// to find again.
#ifndef LIB_MEND_FNV_H
#define LIB_MEND_FNV_H

#include <cstdint>
#include <string_view>

namespace lib_mend {

constexpr std::uint64_t FNV_1a(std::string_view text)
{
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const char c : text) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
    }
    return hash;
}

}  // namespace lib_mend

#endif
