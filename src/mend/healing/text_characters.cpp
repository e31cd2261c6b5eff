// What texts of every kind hold: digits, and no control characters but those of their VR (PS3.5
// section 6.1.3). TAB, LF, FF and CR belong into LT, ST and UT, and ESC into texts that follow the
// character set; whether an ESC begins an escape sequence is the character set's to say.
#include "mend/healing/forms.h"

#include <algorithm>

namespace lib_mend {

bool Has_Control_Characters(std::string_view text, unsigned short vr)
{
    constexpr char Escape = 0x1B;
    constexpr char Delete = 0x7F;
    constexpr std::string_view Lines = "\t\n\f\r";
    const bool has_lines = vr == VR_LT || vr == VR_ST || vr == VR_UT;
    const bool has_escapes = has_lines || vr == VR_LO || vr == VR_SH || vr == VR_UC || vr == VR_PN;
    return std::any_of(text.begin(), text.end(), [&](char letter) {
        const bool is_control = static_cast<unsigned char>(letter) < ' ' || letter == Delete;
        return is_control && !(has_escapes && letter == Escape) &&
               !(has_lines && Lines.find(letter) != Lines.npos);
    });
}

bool Is_Number(std::string_view text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
}

int Number_In(std::string_view digits)
{
    int number = 0;
    for (const char digit : digits) {
        number = number * 10 + (digit - '0');
    }
    return number;
}

bool Round_Fraction(std::string& digits, std::size_t count)
{
    const bool up = digits.size() > count && digits[count] >= '5';
    digits.resize(std::min(digits.size(), count));
    std::size_t at = digits.size();
    while (up && at > 0 && digits[at - 1] == '9') {
        digits[--at] = '0';
    }
    if (up && at > 0) {
        ++digits[at - 1];
    }
    return !up || at > 0;
}

}  // namespace lib_mend
