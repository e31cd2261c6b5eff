// AS, PS3.5 section 6.2: nnnD, nnnW, nnnM or nnnY.
//
//     45, 9.0         -> 045Y, 009Y    an age without a unit is one in years
//     45Y, 045y, 6m   -> 045Y, 006M
//     45.5, 045X      stays            no whole number, no unit
#include "mend/healing/forms.h"

#include <algorithm>

namespace lib_mend {

void Heal_Age(Piece& piece)
{
    constexpr std::size_t Digits = 3;
    constexpr std::string_view Units = "DWMY";
    std::string text(piece.Text());
    char unit = 'Y';
    if (!Is_Number(text.substr(text.size() - 1)) && text.back() != '.') {
        unit = text.back() >= 'a' && text.back() <= 'z' ? static_cast<char>(text.back() - 32)
                                                        : text.back();
        text.pop_back();
    }
    const std::size_t point = text.find('.');
    if (point != text.npos && text.find_first_not_of('0', point + 1) == text.npos) {
        text.erase(point);
    }
    const bool whole = Is_Number(text) && Units.find(unit) != Units.npos;
    text.erase(0, std::min(text.find_first_not_of('0'), text.size()));
    if (!whole || text.size() > Digits) {
        piece.Stays(Fault::Form, "no age");
        return;
    }
    text.insert(0, Digits - text.size(), '0');
    text += unit;
    if (text != piece.Text()) {
        piece.Becomes(std::move(text), Fault::Form, "age without its four characters");
    }
}

}  // namespace lib_mend
