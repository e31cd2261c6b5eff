#include "mend/healing/real_numbers.h"

#include "mend/healing/forms.h"
#include "mend/healing/numbers.h"
#include "util/older_libraries.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace lib_mend {

namespace {

using Reals = std::vector<double>;

template <class Real, class Bits>
void Append_Bits(std::string& bytes, Real number, bool is_big)
{
    const auto bits = lib_util::bit_cast<Bits>(number);
    for (std::size_t i = 0; i < sizeof(Bits); ++i) {
        const std::size_t rank = is_big ? sizeof(Bits) - 1 - i : i;
        bytes += static_cast<char>(bits >> (8 * rank) & 0xFF);
    }
}

template <class Real, class Bits>
std::optional<Reals> Binary_Reals(std::string_view bytes, bool is_big)
{
    if (bytes.size() % sizeof(Bits) != 0) {
        return std::nullopt;
    }
    Reals reals;
    for (; !bytes.empty(); bytes.remove_prefix(sizeof(Bits))) {
        Bits bits = 0;
        for (std::size_t i = 0; i < sizeof(Bits); ++i) {
            const std::size_t place = is_big ? i : sizeof(Bits) - 1 - i;
            bits = bits << 8 | static_cast<unsigned char>(bytes[place]);
        }
        reals.push_back(lib_util::bit_cast<Real>(bits));
    }
    return reals;
}

/** A decimal that 64 bits give back digit by digit. */
std::optional<double> Text_Real(std::string_view text)
{
    constexpr std::string_view Padding(" \0", 2);
    constexpr std::ptrdiff_t Most_Digits = 15;
    const std::size_t start = std::min(text.find_first_not_of(Padding), text.size());
    text = text.substr(start, text.find_last_not_of(Padding) + 1 - start);
    text.remove_prefix(text.starts_with('+') && !text.starts_with("+-") ? 1 : 0);
    const std::string_view digits = text.substr(0, text.find_first_of("eE"));
    const bool is_short = std::count_if(digits.begin(), digits.end(),
                                        [](char c) { return c >= '0' && c <= '9'; }) <= Most_Digits;
    double number = 0;
    const auto [end, error] = lib_util::from_chars(text.data(), text.data() + text.size(), number);
    const bool is_whole = error == std::errc() && end == text.data() + text.size();
    return is_short && is_whole && (std::isnormal(number) || number == 0) ? std::optional(number)
                                                                          : std::nullopt;
}

std::optional<Reals> Text_Reals(std::string_view bytes)
{
    Reals reals;
    while (true) {
        const std::size_t end = std::min(bytes.find('\\'), bytes.size());
        const std::optional<double> number = Text_Real(bytes.substr(0, end));
        if (!number) {
            return std::nullopt;
        }
        reals.push_back(*number);
        if (end == bytes.size()) {
            return reals;
        }
        bytes.remove_prefix(end + 1);
    }
}

std::optional<Reals> Whole_Reals(std::string_view bytes, unsigned short vr,
                                 unsigned char byte_order)
{
    constexpr std::int64_t Most = std::int64_t{1} << 53;
    const std::optional<Numbers> numbers = Numbers_In(bytes, vr, byte_order);
    if (!numbers || std::any_of(numbers->begin(), numbers->end(), [](std::int64_t number) {
            return number > Most || number < -Most;
        })) {
        return std::nullopt;
    }
    Reals reals;
    for (const std::int64_t number : *numbers) {
        reals.push_back(static_cast<double>(number));
    }
    return reals;
}

std::optional<Reals> Reals_In(std::string_view bytes, unsigned short vr, unsigned char byte_order)
{
    const bool is_big = (byte_order & DICOM_Order_Big_Endian) != 0;
    switch (vr) {
    case VR_FL:
        return Binary_Reals<float, std::uint32_t>(bytes, is_big);
    case VR_FD:
        return Binary_Reals<double, std::uint64_t>(bytes, is_big);
    case VR_DS:
        return Text_Reals(bytes);
    default:
        return Whole_Reals(bytes, vr, byte_order);
    }
}

/** Appends a number; false where the VR has none that is exactly the same. */
bool Append_Real(std::string& bytes, double number, unsigned short vr, bool is_big)
{
    if (!std::isfinite(number)) {
        return false;
    }
    if (vr == VR_FD) {
        Append_Bits<double, std::uint64_t>(bytes, number, is_big);
        return true;
    }
    if (vr == VR_FL && std::abs(number) > std::numeric_limits<float>::max()) {
        return false;
    }
    if (vr == VR_FL) {
        const auto single = static_cast<float>(number);
        Append_Bits<float, std::uint32_t>(bytes, single, is_big);
        return static_cast<double>(single) == number;
    }
    constexpr std::size_t Longest_DS = 16;
    std::array<char, 32> text = {};
    const char* const end = lib_util::to_chars(text.begin(), text.end(), number).ptr;
    const auto size = static_cast<std::size_t>(end - text.data());
    bytes += bytes.empty() ? "" : "\\";
    bytes.append(text.data(), size);
    return vr == VR_DS && size <= Longest_DS;
}

}  // namespace

std::optional<Real_Numbers> Real_Bytes(std::string_view bytes, unsigned short from,
                                       unsigned short to, unsigned char byte_order)
{
    const bool is_big = (byte_order & DICOM_Order_Big_Endian) != 0;
    const std::optional<Reals> reals = Reals_In(bytes, from, byte_order);
    if (!reals || (to != VR_FL && to != VR_FD && to != VR_DS)) {
        return std::nullopt;
    }
    Real_Numbers numbers;
    for (const double number : *reals) {
        if (!Append_Real(numbers.bytes, number, to, is_big)) {
            return std::nullopt;
        }
    }
    numbers.count = reals->size();
    return numbers;
}

}  // namespace lib_mend
