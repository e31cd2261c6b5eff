// What stands in for younger standard libraries gives what these give, character by character.
#include "util/older_libraries.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>

namespace {

using namespace lib_util;

/** Numbers of any size, powers of two, whole ones and decimals. */
template <class Real, class Bits>
Real Some_Number(std::mt19937_64& random, int kind)
{
    constexpr Bits Fraction = (Bits{1} << (std::numeric_limits<Real>::digits - 1)) - 1;
    const auto bits = static_cast<Bits>(random());
    const auto whole = static_cast<double>(random() % 10000000);
    switch (kind % 4) {
    case 0:
        return bit_cast<Real>(bits);
    case 1:
        return bit_cast<Real>(static_cast<Bits>(bits & ~Fraction));
    case 2:
        return static_cast<Real>(whole * 1000);
    default:
        return static_cast<Real>(whole / 1000);
    }
}

template <class Real>
void Expect_Same_Texts(Real number, int precision)
{
    char by_library[512];
    char by_us[512];
    const auto compare = [&](auto... form) {
        const auto library = std::to_chars(by_library, std::end(by_library), number, form...);
        const auto us = by_hand::To_Chars(by_us, std::end(by_us), number, form...);
        const auto size = static_cast<std::size_t>(library.ptr - by_library);
        ASSERT_EQ(std::string_view(by_us, static_cast<std::size_t>(us.ptr - by_us)),
                  std::string_view(by_library, size));
        EXPECT_EQ(by_hand::To_Chars(by_us, by_us + size - 1, number, form...).ec,
                  std::errc::value_too_large);
    };
    compare(std::chars_format::fixed, precision);
    compare(std::chars_format::general, precision);
    compare(std::chars_format::scientific, precision);
    compare();
}

template <class Real>
void Expect_Same_Number(std::string_view text)
{
    Real one = 7;
    Real other = 7;
    const char* const end = text.data() + text.size();
    const auto expected = std::from_chars(text.data(), end, one);
    const auto result = by_hand::From_Chars(text.data(), end, other);
    EXPECT_EQ(result.ec, expected.ec) << text;
    EXPECT_EQ(result.ptr - text.data(), expected.ptr - text.data()) << text;
    EXPECT_EQ(std::memcmp(&other, &one, sizeof one), 0) << text << ": " << other;
}

TEST(Older_Libraries, NumbersAndTextsAreThoseOfTheLibrary)
{
    std::mt19937_64 random(1);
    for (int i = 0; i < 4000; ++i) {
        const auto number = Some_Number<double, std::uint64_t>(random, i);
        const auto single = Some_Number<float, std::uint32_t>(random, i);
        const int precision = static_cast<int>(random() % 18);
        Expect_Same_Texts(number, precision);
        Expect_Same_Texts(single, precision);
        char text[64];
        const char* end = std::to_chars(text, std::end(text), number).ptr;
        Expect_Same_Number<double>({text, static_cast<std::size_t>(end - text)});
        end = std::to_chars(text, std::end(text), single).ptr;
        Expect_Same_Number<float>({text, static_cast<std::size_t>(end - text)});
    }
    for (const char* text : {"1e-400",
                             "-1e400",
                             "0e999",
                             "1e-324",
                             "4.9e-324",
                             "2.5e-324",
                             "1e-310",
                             "3.5e38",
                             "1e-46",
                             ".5",
                             "5.",
                             "-.",
                             "+1",
                             " 1",
                             "1e",
                             "1e+",
                             "1e+5x",
                             "inf",
                             "INFINITYx",
                             "-nan",
                             "nan(1_a)x",
                             "nan(",
                             "nan(-)",
                             "infin",
                             "0x10",
                             "1.5.5",
                             "-",
                             "",
                             "e5",
                             "00012",
                             "-0",
                             "1e99999999999",
                             "1e-99999999999999999999",
                             "179769313486231580793728971405301e276",
                             "9007199254740993"}) {
        Expect_Same_Number<double>(text);
        Expect_Same_Number<float>(text);
    }
}

}  // namespace
