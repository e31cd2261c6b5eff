// IS, PS3.5 section 6.2: a whole number of 32 bits with its sign, 12 characters at the most.
//
//     12.0                      -> 12
//     0000000000012             -> 12     13 characters
//     12.7, 1E3, 1,5, 2147483648  stays
#include "mend/healing/forms.h"

#include <algorithm>

namespace lib_mend {

namespace {

/** Tells whether digits without leading zeros are beyond 32 bits. */
bool Is_Out_Of_Range(std::string_view digits, bool negative)
{
    const std::string_view last = negative ? "2147483648" : "2147483647";
    return digits.size() > last.size() || (digits.size() == last.size() && digits > last);
}

}  // namespace

void Heal_Integer_String(Piece& piece)
{
    constexpr std::size_t Longest = 12;
    std::string_view digits = piece.Text();
    const bool has_sign = digits[0] == '-' || digits[0] == '+';
    const bool negative = digits[0] == '-';
    digits.remove_prefix(has_sign ? 1 : 0);
    const std::size_t point = std::min(digits.find('.'), digits.size());
    const std::string_view fraction = digits.substr(std::min(point + 1, digits.size()));
    const bool has_point = point < digits.size();
    digits = digits.substr(0, point);
    if (!Is_Number(digits) || (!fraction.empty() && !Is_Number(fraction))) {
        piece.Stays(Fault::Number, "no whole number");
        return;
    }
    if (fraction.find_first_not_of('0') != fraction.npos) {
        piece.Stays(Fault::Integer, "decimals in a whole number");
        return;
    }
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size() - 1));
    if (Is_Out_Of_Range(digits, negative)) {
        piece.Stays(Fault::Range, "beyond 32 bits");
        return;
    }
    std::string plain = (negative ? "-" : "") + std::string(digits);
    if (has_point) {
        piece.Becomes(std::move(plain), Fault::Integer, "decimals of a whole number, all zero");
    } else if (piece.Text().size() > Longest) {
        piece.Becomes(std::move(plain), Fault::Length, "zeros in front beyond 12 characters");
    }
}

}  // namespace lib_mend
