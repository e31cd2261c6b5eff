#include "mend/json/base64.h"

#include <array>

namespace lib_mend {

namespace {

constexpr std::string_view Letters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr unsigned char None = 0xFF;

constexpr std::array<unsigned char, 256> Values_Of_Letters()
{
    std::array<unsigned char, 256> values{};
    values.fill(None);
    for (std::size_t i = 0; i < Letters.size(); ++i) {
        values[static_cast<unsigned char>(Letters[i])] = static_cast<unsigned char>(i);
    }
    return values;
}

constexpr std::array<unsigned char, 256> Values = Values_Of_Letters();

}  // namespace

void Base64_Encoder::Put_Group(std::string& out)
{
    for (const int shift : {18, 12, 6, 0}) {
        out += Letters[group_ >> shift & 0x3F];
    }
    group_ = 0;
    count_ = 0;
}

void Base64_Encoder::Put(std::span<const unsigned char> bytes, std::string& out)
{
    for (const unsigned char byte : bytes) {
        group_ = group_ << 8 | byte;
        if (++count_ == 3) {
            Put_Group(out);
        }
    }
}

void Base64_Encoder::Finish(std::string& out)
{
    const int missing = count_ == 0 ? 0 : 3 - count_;
    if (missing > 0) {
        group_ <<= 8 * missing;
        Put_Group(out);
        out.replace(out.size() - static_cast<std::size_t>(missing), std::string::npos,
                    static_cast<std::size_t>(missing), '=');
    }
}

std::optional<Bytes> Decode_Base64(std::string_view text)
{
    if (text.size() % 4 != 0) {
        return std::nullopt;
    }
    std::size_t padding = 0;
    while (padding < 2 && !text.empty() && text.back() == '=') {
        text.remove_suffix(1);
        ++padding;
    }
    Bytes bytes;
    bytes.reserve(text.size() / 4 * 3 + 2);
    unsigned int bits = 0;
    int count = 0;
    for (const char letter : text) {
        const unsigned char value = Values[static_cast<unsigned char>(letter)];
        if (value == None) {
            return std::nullopt;
        }
        bits = bits << 6 | value;
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes.push_back(static_cast<unsigned char>(bits >> count));
            bits &= (1U << count) - 1;
        }
    }
    // Bits behind the last byte would be lost.
    return bits == 0 ? std::optional(std::move(bytes)) : std::nullopt;
}

}  // namespace lib_mend
