// PN, PS3.5 section 6.2.1: up to three groups between "=", each of up to five components between "^"
// and of 64 characters at the most. Where a name has more, nobody can tell what is what: it stays.
//
//     Doe, Jane          stays: a comma is a character of the family name
//     A^B^C^D^E^F        stays
#include "mend/healing/forms.h"

namespace lib_mend {

void Heal_Name(Piece& piece)
{
    constexpr std::size_t Groups = 3;
    constexpr std::size_t Components = 5;
    constexpr std::size_t Longest = 64;
    const Character_Set& characters = piece.Characters();
    const std::string_view name = piece.Text();
    const std::vector<std::string_view> groups = characters.Split(name, '=', VR_PN);
    if (groups.size() > Groups) {
        piece.Stays(Fault::Name, "name of more than three groups");
    }
    bool has_components = false;
    for (const std::string_view group : groups) {
        const std::size_t components = characters.Split(group, '^', VR_PN).size();
        has_components = has_components || components > 1;
        if (components > Components) {
            piece.Stays(Fault::Name, "name of more than five components");
        }
        if (group.size() > Longest && characters.Count(group, VR_PN) > Longest) {
            piece.Stays(Fault::Length, "longer than 64 characters");
        }
    }
    // A byte that looks like a comma may be half of a character.
    if (!has_components && name.find(',') != name.npos &&
        characters.To_UTF_8(name, VR_PN).find(',') != name.npos) {
        piece.Stays(Fault::Name, "comma in a name without components");
    }
}

}  // namespace lib_mend
