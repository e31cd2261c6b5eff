// CS, PS3.5 section 6.2: capitals, digits, blanks and underscores, 16 at the most.
//
//     male, original\primary  -> MALE, ORIGINAL\PRIMARY
//     -2, OT-x                stays, OT-X    what other characters stand for is not known
#include "mend/healing/forms.h"

#include <algorithm>

namespace lib_mend {

namespace {

bool Is_Small(char letter)
{
    return letter >= 'a' && letter <= 'z';
}

bool Is_Allowed(char letter)
{
    return (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9') || letter == ' ' ||
           letter == '_';
}

}  // namespace

void Heal_Code_String(Piece& piece)
{
    const std::string& text = piece.Text();
    // The second byte of a character may look like a letter.
    const bool plain = std::none_of(text.begin(), text.end(), [](char letter) {
        return static_cast<unsigned char>(letter) >= 0x80;
    });
    if (plain && std::any_of(text.begin(), text.end(), Is_Small)) {
        std::string capitals = text;
        std::transform(text.begin(), text.end(), capitals.begin(), [](char letter) {
            return Is_Small(letter) ? static_cast<char>(letter - 32) : letter;
        });
        piece.Becomes(std::move(capitals), Fault::Characters, "small letters in a code");
    }
    if (!std::all_of(piece.Text().begin(), piece.Text().end(), Is_Allowed)) {
        piece.Stays(Fault::Characters, "characters that a code does not hold");
    }
}

}  // namespace lib_mend
