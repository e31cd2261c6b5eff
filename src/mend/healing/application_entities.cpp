// AE, PS3.5 section 6.2: 16 characters of the default repertoire at the most, not blanks alone; and
// UR: the characters of a URI (RFC 3986).
#include "mend/healing/forms.h"

#include <algorithm>

namespace lib_mend {

namespace {

bool Is_ASCII(std::string_view text)
{
    return std::all_of(text.begin(), text.end(),
                       [](char letter) { return static_cast<unsigned char>(letter) < 0x80; });
}

}  // namespace

void Heal_Application_Entity(Piece& piece)
{
    if (!Is_ASCII(piece.Text())) {
        piece.Stays(Fault::Characters, "characters outside the default repertoire");
    }
}

void Heal_URI(Piece& piece)
{
    if (!Is_ASCII(piece.Text()) ||
        piece.Text().find_first_of(" \"<>\\^`{|}") != std::string::npos) {
        piece.Stays(Fault::Characters, "characters that a URI does not hold");
    }
}

}  // namespace lib_mend
