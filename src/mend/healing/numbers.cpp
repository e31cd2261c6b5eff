#include "mend/healing/numbers.h"

#include "mend/healing/forms.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace lib_mend {

namespace {

struct Integer_VR {
    unsigned short vr;
    std::size_t width;
    std::int64_t least;
    std::int64_t most;
};

constexpr std::int64_t Unbounded = std::numeric_limits<std::int64_t>::max();

constexpr Integer_VR Integer_VRs[] = {
    {VR_SL, 4, -2147483648LL, 2147483647LL},
    {VR_SS, 2, -32768, 32767},
    {VR_SV, 8, -Unbounded - 1, Unbounded},
    {VR_UL, 4, 0, 4294967295LL},
    {VR_US, 2, 0, 65535},
    {VR_UV, 8, 0, Unbounded},
};

const Integer_VR* Find(unsigned short vr)
{
    const auto* const found = std::find_if(std::begin(Integer_VRs), std::end(Integer_VRs),
                                           [vr](const Integer_VR& row) { return row.vr == vr; });
    return found != std::end(Integer_VRs) ? found : nullptr;
}

/** Place in the value of the byte of a number that counts `rank` bytes from its lowest. */
std::size_t Place_Of(std::size_t rank, std::size_t width, unsigned char byte_order)
{
    return (byte_order & DICOM_Order_Big_Endian) != 0 ? width - 1 - rank : rank;
}

std::int64_t Binary_Number(std::string_view bytes, const Integer_VR& row, unsigned char byte_order)
{
    std::uint64_t bits = 0;
    for (std::size_t rank = row.width; rank-- > 0;) {
        bits = bits << 8 | static_cast<unsigned char>(bytes[Place_Of(rank, row.width, byte_order)]);
    }
    const std::size_t spare = 64 - 8 * row.width;
    // A shift of signed numbers fills up with the sign.
    return row.least < 0 ? static_cast<std::int64_t>(bits << spare) >> spare
                         : static_cast<std::int64_t>(bits);
}

std::optional<Numbers> Binary_Numbers(std::string_view bytes, const Integer_VR& row,
                                      unsigned char byte_order)
{
    if (bytes.size() % row.width != 0) {
        return std::nullopt;
    }
    Numbers numbers;
    for (; !bytes.empty(); bytes.remove_prefix(row.width)) {
        numbers.push_back(Binary_Number(bytes, row, byte_order));
        if (numbers.back() < row.least) {
            return std::nullopt;
        }
    }
    return numbers;
}

/** A whole number in characters; zeros behind a point say nothing. */
std::optional<std::int64_t> Text_Number(std::string_view text)
{
    constexpr std::string_view Padding(" \0", 2);
    const std::size_t start = std::min(text.find_first_not_of(Padding), text.size());
    text = text.substr(start, text.find_last_not_of(Padding) + 1 - start);
    const std::size_t point = std::min(text.find('.'), text.size());
    if (text.find_first_not_of('0', point + 1) != text.npos) {
        return std::nullopt;
    }
    text = text.substr(0, point);
    text.remove_prefix(text.starts_with('+') && !text.starts_with("+-") ? 1 : 0);
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number)
                                                                    : std::nullopt;
}

std::optional<Numbers> Text_Numbers(std::string_view bytes)
{
    Numbers numbers;
    while (true) {
        const std::size_t end = std::min(bytes.find('\\'), bytes.size());
        const std::optional<std::int64_t> number = Text_Number(bytes.substr(0, end));
        if (!number) {
            return std::nullopt;
        }
        numbers.push_back(*number);
        if (end == bytes.size()) {
            return numbers;
        }
        bytes.remove_prefix(end + 1);
    }
}

}  // namespace

std::optional<Numbers> Numbers_In(std::string_view bytes, unsigned short vr,
                                  unsigned char byte_order)
{
    if (vr == VR_IS || vr == VR_DS) {
        return Text_Numbers(bytes);
    }
    const Integer_VR* const row = Find(vr);
    return row != nullptr ? Binary_Numbers(bytes, *row, byte_order) : std::nullopt;
}

std::optional<std::string> Bytes_For(const Numbers& numbers, unsigned short vr,
                                     unsigned char byte_order)
{
    constexpr std::int64_t Most_In_DS = 999999999999999;
    const Integer_VR whole = {VR_IS, 0, -2147483648LL, 2147483647LL};
    const Integer_VR decimal = {VR_DS, 0, -Most_In_DS, Most_In_DS};
    const Integer_VR* const row = vr == VR_IS ? &whole : vr == VR_DS ? &decimal : Find(vr);
    const auto fits = [row](std::int64_t number) {
        return row != nullptr && number >= row->least && number <= row->most;
    };
    if (!std::all_of(numbers.begin(), numbers.end(), fits)) {
        return std::nullopt;
    }
    if (row->width == 0) {
        std::string text = Text_Of(numbers);
        text += text.size() % 2 != 0 ? " " : "";
        return text;
    }
    std::string bytes(numbers.size() * row->width, '\0');
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        for (std::size_t rank = 0; rank < row->width; ++rank) {
            bytes[i * row->width + Place_Of(rank, row->width, byte_order)] =
                static_cast<char>(static_cast<std::uint64_t>(numbers[i]) >> (8 * rank));
        }
    }
    return bytes;
}

std::string Text_Of(const Numbers& numbers)
{
    std::string text;
    for (const std::int64_t number : numbers) {
        text += (text.empty() ? "" : "\\") + std::to_string(number);
    }
    return text;
}

}  // namespace lib_mend
