// The hash function SHA-256 (FIPS 180-4).
#ifndef LIB_MEND_SHA256_H
#define LIB_MEND_SHA256_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace lib_mend {

using SHA256_Digest = std::array<unsigned char, 32>;

/** The processor has instructions for it, with which it takes a fifth of the time. */
bool Has_SHA_Instructions();

/** A sum that is made piece by piece. */
class SHA256_Sum {
public:
    /** @param by_instructions  only where the processor has them */
    explicit SHA256_Sum(bool by_instructions = Has_SHA_Instructions())
        : by_instructions_(by_instructions)
    {
    }
    void Add(std::string_view bytes);
    /** Of all that was added; to be called once. */
    SHA256_Digest Digest();

private:
    void Add_Blocks(std::string_view blocks);

    bool by_instructions_;
    // The first 32 bits of the fractional parts of the square roots of the first 8 primes.
    std::array<std::uint32_t, 8> state_ = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                           0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    std::uint64_t size_ = 0;
    /** What does not fill a block. */
    std::string rest_;
};

SHA256_Digest SHA256(std::string_view bytes);

}  // namespace lib_mend

#endif
