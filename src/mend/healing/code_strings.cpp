// CS, PS3.5 section 6.2: capitals, digits, blanks and underscores, 16 at the most.
//
//     male, original\primary        -> MALE, ORIGINAL\PRIMARY
//     -2, OT-x, Whole body and head  stays    capitals alone would make no code of it
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

bool Is_Code(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), Is_Allowed);
}

void Heal_Code_String(Piece& piece)
{
    constexpr std::size_t Longest = 16;
    const std::string_view text = piece.Text();
    if (Is_Code(text)) {
        return;
    }
    std::string capitals(text);
    std::transform(text.begin(), text.end(), capitals.begin(), [](char letter) {
        return Is_Small(letter) ? static_cast<char>(letter - 32) : letter;
    });
    if (!Is_Code(capitals)) {
        piece.Stays(Fault::Characters, "characters that a code does not hold");
    } else if (capitals != text && text.size() <= Longest) {
        piece.Becomes(std::move(capitals), Fault::Characters, "small letters in a code");
    } else if (capitals != text) {
        piece.Stays(Fault::Characters, "small letters in what is too long for a code");
    }
}

}  // namespace lib_mend
