#include "mend/json/number_texts.h"

#include "util/older_libraries.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <type_traits>

namespace lib_mend {

namespace {

constexpr std::string_view Digits = "0123456789";

std::uint64_t Unsigned_In(std::span<const unsigned char> bytes)
{
    std::uint64_t number = 0;
    for (std::size_t i = bytes.size(); i-- > 0;) {
        number = number << 8 | bytes[i];
    }
    return number;
}

void Append_Unsigned(std::uint64_t number, int width, Bytes& out)
{
    for (int i = 0; i < width; ++i) {
        out.push_back(static_cast<unsigned char>(number >> (8 * i) & 0xFF));
    }
}

std::string Integer_Text(const JSON_Form& form, std::uint64_t bits)
{
    if (!form.is_signed) {
        const std::string text = std::to_string(bits);
        return bits > static_cast<std::uint64_t>(Largest_JSON_Integer) ? '"' + text + '"' : text;
    }
    const int unused = 64 - 8 * form.width;
    const auto number = static_cast<std::int64_t>(bits << unused) >> unused;
    const bool is_large = number > Largest_JSON_Integer || number < -Largest_JSON_Integer;
    const std::string text = std::to_string(number);
    return is_large ? '"' + text + '"' : text;
}

template <class Float>
std::string Float_Text(Float number)
{
    if (std::isnan(number)) {
        return "\"NaN\"";
    }
    if (std::isinf(number)) {
        return number > 0 ? "\"Infinity\"" : "\"-Infinity\"";
    }
    std::array<char, 64> text;
    const auto end = lib_util::to_chars(text.data(), text.data() + text.size(), number).ptr;
    const std::string shortest(text.data(), end);
    // As an integer, it would lose its sign.
    return shortest == "-0" ? "-0.0" : shortest;
}

std::string Tag_Digits(std::span<const unsigned char> bytes)
{
    constexpr std::string_view Hex = "0123456789ABCDEF";
    std::string digits = "\"";
    for (const std::size_t at : {1U, 0U, 3U, 2U}) {
        digits += Hex[bytes[at] >> 4];
        digits += Hex[bytes[at] & 0x0F];
    }
    return digits + '"';
}

template <class Number>
std::optional<Number> Whole_Number(std::string_view text)
{
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = lib_util::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

/** Some programs write every number as a double. */
template <class Number>
std::optional<Number> Integer_In(std::string_view text)
{
    if (const auto number = Whole_Number<Number>(text)) {
        return number;
    }
    const auto number = Whole_Number<double>(text);
    const auto largest = static_cast<double>(Largest_JSON_Integer);
    if (!number || *number != std::trunc(*number) || std::abs(*number) > largest ||
        (std::is_unsigned_v<Number> && *number < 0)) {
        return std::nullopt;
    }
    return static_cast<Number>(*number);
}

bool Append_Integer(const JSON_Form& form, std::string_view text, Bytes& out)
{
    const int unused = 64 - 8 * form.width;
    std::uint64_t bits = 0;
    if (form.is_signed) {
        const auto number = Integer_In<std::int64_t>(text);
        if (!number || *number > std::numeric_limits<std::int64_t>::max() >> unused ||
            *number < std::numeric_limits<std::int64_t>::min() >> unused) {
            return false;
        }
        bits = static_cast<std::uint64_t>(*number);
    } else {
        const auto number = Integer_In<std::uint64_t>(text);
        if (!number || *number > std::numeric_limits<std::uint64_t>::max() >> unused) {
            return false;
        }
        bits = *number;
    }
    Append_Unsigned(bits, form.width, out);
    return true;
}

template <class Float, class Bits>
bool Append_Float(std::string_view text, bool is_string, Bytes& out)
{
    std::optional<Float> number;
    if (is_string) {
        constexpr Float Infinite = std::numeric_limits<Float>::infinity();
        number = text == "NaN"         ? std::optional(std::numeric_limits<Float>::quiet_NaN())
                 : text == "Infinity"  ? std::optional(Infinite)
                 : text == "-Infinity" ? std::optional(-Infinite)
                                       : std::nullopt;
    } else {
        number = Whole_Number<Float>(text);
    }
    if (number) {
        Append_Unsigned(lib_util::bit_cast<Bits>(*number), sizeof(Bits), out);
    }
    return number.has_value();
}

bool Append_Tag(std::string_view text, Bytes& out)
{
    constexpr std::size_t Size = 8;
    std::uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = lib_util::from_chars(text.data(), end, number, 16);
    if (text.size() != Size || error != std::errc() || stop != end) {
        return false;
    }
    Append_Unsigned(number >> 16, 2, out);
    Append_Unsigned(number & 0xFFFF, 2, out);
    return true;
}

}  // namespace

std::string JSON_Number(const JSON_Form& form, std::span<const unsigned char> bytes)
{
    if (form.kind == JSON_Kind::Tags) {
        return Tag_Digits(bytes);
    }
    const std::uint64_t bits = Unsigned_In(bytes);
    if (form.kind == JSON_Kind::Integers) {
        return Integer_Text(form, bits);
    }
    return form.width == 4 ? Float_Text(lib_util::bit_cast<float>(static_cast<std::uint32_t>(bits)))
                           : Float_Text(lib_util::bit_cast<double>(bits));
}

bool Is_Special_NaN(std::span<const unsigned char> bytes)
{
    const std::uint64_t bits = Unsigned_In(bytes);
    if (bytes.size() == sizeof(float)) {
        const auto usual =
            lib_util::bit_cast<std::uint32_t>(std::numeric_limits<float>::quiet_NaN());
        return std::isnan(lib_util::bit_cast<float>(static_cast<std::uint32_t>(bits))) &&
               bits != usual;
    }
    const auto usual = lib_util::bit_cast<std::uint64_t>(std::numeric_limits<double>::quiet_NaN());
    return std::isnan(lib_util::bit_cast<double>(bits)) && bits != usual;
}

bool Is_Exact_JSON_Number(std::string_view text, unsigned short vr)
{
    if (text.starts_with('-')) {
        text.remove_prefix(1);
        if (text == "0") {
            return false;
        }
    }
    const std::string_view whole = text.substr(0, text.find_first_not_of(Digits));
    if (whole.empty() || (whole.size() > 1 && whole[0] == '0')) {
        return false;
    }
    if (whole.size() == text.size()) {
        const auto number = Whole_Number<std::int64_t>(whole);
        return number && *number <= Largest_JSON_Integer;
    }
    // A double holds 15 digits; a number below 0.0001 would get an exponent.
    constexpr std::size_t Most_Digits = 15;
    const std::string_view fraction = text.substr(whole.size() + 1);
    return vr == VR_DS && text[whole.size()] == '.' && !fraction.empty() &&
           fraction.find_first_not_of(Digits) == std::string_view::npos && fraction.back() != '0' &&
           whole.size() + fraction.size() <= Most_Digits &&
           (whole != "0" || !fraction.starts_with("0000"));
}

bool Append_Number(const JSON_Form& form, std::string_view text, bool is_string, Bytes& out)
{
    switch (form.kind) {
    case JSON_Kind::Tags:
        return is_string && Append_Tag(text, out);
    case JSON_Kind::Integers:
        // Strings are for what is too large for a double.
        return (!is_string || form.width == 8) && Append_Integer(form, text, out);
    default:
        return form.width == 4 ? Append_Float<float, std::uint32_t>(text, is_string, out)
                               : Append_Float<double, std::uint64_t>(text, is_string, out);
    }
}

}  // namespace lib_mend
