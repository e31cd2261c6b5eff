// UI, PS3.5 section 9.1: numbers without leading zeros between dots, 64 characters at the most.
//
//     1.2.abc, 1..2, 1.02, 89 characters   stays: half of a UID is another one
//
// On request each of these becomes a UID made from a hash of its bytes, the same in every file, so
// that what belonged together still does.
#include "mend/healing/forms.h"
#include "mend/healing/sha256.h"

#include <algorithm>
#include <array>

namespace lib_mend {

namespace {

bool Is_Component(std::string_view text)
{
    return Is_Number(text) && (text.size() == 1 || text[0] != '0');
}

/** A number of 16 bytes, the highest first, in decimal digits. */
std::string Decimal_Text(std::array<unsigned char, 16> number)
{
    constexpr unsigned int Byte_Values = 256;
    std::string digits;
    while (
        std::any_of(number.begin(), number.end(), [](unsigned char byte) { return byte != 0; })) {
        unsigned int rest = 0;
        for (unsigned char& byte : number) {
            const unsigned int dividend = rest * Byte_Values + byte;
            byte = static_cast<unsigned char>(dividend / 10);
            rest = dividend % 10;
        }
        digits.insert(digits.begin(), static_cast<char>('0' + rest));
    }
    return digits;
}

}  // namespace

bool Is_Fit_UID(std::string_view text)
{
    constexpr std::size_t Longest = 64;
    if (text.size() > Longest) {
        return false;
    }
    while (true) {
        const std::size_t dot = std::min(text.find('.'), text.size());
        if (!Is_Component(text.substr(0, dot))) {
            return false;
        }
        if (dot == text.size()) {
            return true;
        }
        text.remove_prefix(dot + 1);
    }
}

std::string Replacement_UID(std::string_view unfit)
{
    const SHA256_Digest digest = SHA256(unfit);
    std::array<unsigned char, 16> number;
    std::copy_n(digest.begin(), number.size(), number.begin());
    // Version 8 and the variant of a UUID, whose contents are the application's own.
    number[6] = static_cast<unsigned char>((number[6] & 0x0F) | 0x80);
    number[8] = static_cast<unsigned char>((number[8] & 0x3F) | 0x80);
    return "2.25." + Decimal_Text(number);
}

void Heal_UID(Piece& piece)
{
    if (Is_Fit_UID(piece.Text())) {
        return;
    }
    if (piece.Replaces_UIDs()) {
        piece.Becomes(Replacement_UID(piece.Text()), Fault::UID_Replaced,
                      "no valid UID; one made from it takes its place");
    } else {
        piece.Stays(Fault::UID, "no valid UID");
    }
}

}  // namespace lib_mend
