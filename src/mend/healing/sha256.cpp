#include "mend/healing/sha256.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <string>

#if defined(__x86_64__)
#include <cpuid.h>
#include <cstring>
#include <immintrin.h>
#endif

namespace lib_mend {

namespace {

using State = std::array<std::uint32_t, 8>;

constexpr std::size_t Block_Size = 64;
constexpr std::size_t Rounds = 64;

/** The first 32 bits of the fractional parts of the cube roots of the first 64 primes. */
constexpr std::array<std::uint32_t, Rounds> Constants = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2,
};

std::array<std::uint32_t, Rounds> Schedule(std::string_view block)
{
    std::array<std::uint32_t, Rounds> words = {};
    for (std::size_t i = 0; i < Block_Size; ++i) {
        words[i / 4] = words[i / 4] << 8 | static_cast<unsigned char>(block[i]);
    }
    for (std::size_t i = Block_Size / 4; i < Rounds; ++i) {
        const std::uint32_t a = words[i - 15];
        const std::uint32_t b = words[i - 2];
        words[i] = words[i - 16] + (std::rotr(a, 7) ^ std::rotr(a, 18) ^ (a >> 3)) + words[i - 7] +
                   (std::rotr(b, 17) ^ std::rotr(b, 19) ^ (b >> 10));
    }
    return words;
}

void Add_Block(State& state, std::string_view block)
{
    const std::array<std::uint32_t, Rounds> words = Schedule(block);
    auto [a, b, c, d, e, f, g, h] = state;
    for (std::size_t i = 0; i < Rounds; ++i) {
        const std::uint32_t sum = std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25);
        const std::uint32_t first = h + sum + ((e & f) ^ (~e & g)) + Constants[i] + words[i];
        const std::uint32_t other = std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22);
        const std::uint32_t second = other + ((a & b) ^ (a & c) ^ (b & c));
        h = g;
        g = f;
        f = e;
        e = d + first;
        d = c;
        c = b;
        b = a;
        a = first + second;
    }
    const State added = {a, b, c, d, e, f, g, h};
    for (std::size_t i = 0; i < state.size(); ++i) {
        state[i] += added[i];
    }
}

#if defined(__x86_64__)

__m128i Load(const void* bytes)
{
    __m128i words;
    std::memcpy(&words, bytes, sizeof words);
    return words;
}

/** Four rounds at a time; the instructions want the state as ABEF and CDGH, the highest word first. */
__attribute__((target("sha,sse4.1"))) void Add_By_Instructions(State& state,
                                                               std::string_view blocks)
{
    const __m128i order = _mm_set_epi64x(0x0C0D0E0F08090A0B, 0x0405060700010203);
    __m128i front = _mm_shuffle_epi32(Load(state.data()), 0xB1);
    __m128i back = _mm_shuffle_epi32(Load(state.data() + 4), 0x1B);
    __m128i abef = _mm_alignr_epi8(front, back, 8);
    __m128i cdgh = _mm_blend_epi16(back, front, 0xF0);
    for (; blocks.size() >= Block_Size; blocks.remove_prefix(Block_Size)) {
        const __m128i abef_before = abef;
        const __m128i cdgh_before = cdgh;
        __m128i words[4] = {};
        for (std::size_t i = 0; i < Rounds / 4; ++i) {
            __m128i& word = words[i % 4];
            const __m128i& last = words[(i + 3) % 4];
            if (i < 4) {
                word = _mm_shuffle_epi8(Load(blocks.data() + 16 * i), order);
            } else {
                const __m128i middle = _mm_alignr_epi8(last, words[(i + 2) % 4], 4);
                word = _mm_sha256msg1_epu32(word, words[(i + 1) % 4]);
                word = _mm_sha256msg2_epu32(_mm_add_epi32(word, middle), last);
            }
            const __m128i sum = _mm_add_epi32(word, Load(Constants.data() + 4 * i));
            cdgh = _mm_sha256rnds2_epu32(cdgh, abef, sum);
            abef = _mm_sha256rnds2_epu32(abef, cdgh, _mm_shuffle_epi32(sum, 0x0E));
        }
        abef = _mm_add_epi32(abef, abef_before);
        cdgh = _mm_add_epi32(cdgh, cdgh_before);
    }
    front = _mm_shuffle_epi32(abef, 0x1B);
    back = _mm_shuffle_epi32(cdgh, 0xB1);
    const __m128i first = _mm_blend_epi16(front, back, 0xF0);
    const __m128i second = _mm_alignr_epi8(back, front, 8);
    std::memcpy(state.data(), &first, sizeof first);
    std::memcpy(state.data() + 4, &second, sizeof second);
}

#endif

}  // namespace

bool Has_SHA_Instructions()
{
#if defined(__x86_64__)
    constexpr unsigned int SHA = 1U << 29;
    constexpr unsigned int SSE_4_1 = 1U << 19;
    unsigned int a = 0;
    unsigned int b = 0;
    unsigned int c = 0;
    unsigned int d = 0;
    return __get_cpuid(1, &a, &b, &c, &d) != 0 && (c & SSE_4_1) != 0 &&
           __get_cpuid_count(7, 0, &a, &b, &c, &d) != 0 && (b & SHA) != 0;
#else
    return false;
#endif
}

void SHA256_Sum::Add_Blocks(std::string_view blocks)
{
#if defined(__x86_64__)
    if (by_instructions_) {
        Add_By_Instructions(state_, blocks);
        return;
    }
#endif
    for (; blocks.size() >= Block_Size; blocks.remove_prefix(Block_Size)) {
        Add_Block(state_, blocks);
    }
}

void SHA256_Sum::Add(std::string_view bytes)
{
    size_ += bytes.size();
    if (!rest_.empty()) {
        const std::size_t count = std::min(bytes.size(), Block_Size - rest_.size());
        rest_ += bytes.substr(0, count);
        bytes.remove_prefix(count);
        if (rest_.size() < Block_Size) {
            return;
        }
        Add_Blocks(rest_);
        rest_.clear();
    }
    const std::size_t whole = bytes.size() - bytes.size() % Block_Size;
    Add_Blocks(bytes.substr(0, whole));
    rest_ = bytes.substr(whole);
}

SHA256_Digest SHA256_Sum::Digest()
{
    constexpr std::size_t Length_Size = 8;
    const std::uint64_t bits = size_ * 8;
    std::string tail = "\x80";
    tail.resize(1 + (2 * Block_Size - Length_Size - 1 - rest_.size()) % Block_Size);
    for (std::size_t i = 0; i < Length_Size; ++i) {
        tail += static_cast<char>(bits >> (8 * (Length_Size - 1 - i)));
    }
    Add(tail);
    SHA256_Digest digest;
    for (std::size_t i = 0; i < digest.size(); ++i) {
        digest[i] = static_cast<unsigned char>(state_[i / 4] >> (8 * (3 - i % 4)));
    }
    return digest;
}

SHA256_Digest SHA256(std::string_view bytes)
{
    SHA256_Sum sum;
    sum.Add(bytes);
    return sum.Digest();
}

}  // namespace lib_mend
