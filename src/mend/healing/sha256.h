// The hash function SHA-256 (FIPS 180-4).
#ifndef LIB_MEND_SHA256_H
#define LIB_MEND_SHA256_H

#include <array>
#include <string_view>

namespace lib_mend {

using SHA256_Digest = std::array<unsigned char, 32>;

SHA256_Digest SHA256(std::string_view bytes);

}  // namespace lib_mend

#endif
