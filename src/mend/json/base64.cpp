#include "mend/json/base64.h"

#include <array>
#include <utility>

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

/** Appends the bytes of whole groups of four letters; the letters that are left, from the first fault on. */
std::string_view Base64_Decoder::Put_Groups(std::string_view letters, Bytes& out)
{
    const std::size_t start = out.size();
    out.resize(start + letters.size() / 4 * 3);
    unsigned char* to = out.data() + start;
    std::size_t at = 0;
    for (; at + 4 <= letters.size(); at += 4) {
        const auto value = [&](std::size_t i) -> unsigned int {
            return Values[static_cast<unsigned char>(letters[at + i])];
        };
        const unsigned int values[] = {value(0), value(1), value(2), value(3)};
        if ((values[0] | values[1] | values[2] | values[3]) > 0x3F) {
            break;
        }
        const unsigned int bits = values[0] << 18 | values[1] << 12 | values[2] << 6 | values[3];
        *to++ = static_cast<unsigned char>(bits >> 16);
        *to++ = static_cast<unsigned char>(bits >> 8);
        *to++ = static_cast<unsigned char>(bits);
    }
    letters_ += at;
    out.resize(start + at / 4 * 3);
    return letters.substr(at);
}

bool Base64_Decoder::Put(std::string_view letters, Bytes& out)
{
    if (bit_count_ == 0 && padding_ == 0) {
        letters = Put_Groups(letters, out);
    }
    for (const char letter : letters) {
        const unsigned char value = Values[static_cast<unsigned char>(letter)];
        ++letters_;
        if (letter == '=' && padding_ < 2) {
            ++padding_;
            continue;
        }
        if (value == None || padding_ > 0) {
            return false;
        }
        bits_ = bits_ << 6 | value;
        bit_count_ += 6;
        if (bit_count_ >= 8) {
            bit_count_ -= 8;
            out.push_back(static_cast<unsigned char>(bits_ >> bit_count_));
            bits_ &= (1U << bit_count_) - 1;
        }
    }
    return true;
}

bool Base64_Decoder::Is_Whole() const
{
    // Bits behind the last byte would be lost.
    return letters_ % 4 == 0 && bits_ == 0;
}

std::optional<Bytes> Decode_Base64(std::string_view text)
{
    Base64_Decoder decoder;
    Bytes bytes;
    bytes.reserve(text.size() / 4 * 3 + 2);
    const bool is_whole = decoder.Put(text, bytes) && decoder.Is_Whole();
    return is_whole ? std::optional(std::move(bytes)) : std::nullopt;
}

}  // namespace lib_mend
