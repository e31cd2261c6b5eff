#include "mend/healing/sound_values.h"

#include "mend/healing/dates.h"
#include "mend/healing/forms.h"

#include <algorithm>
#include <iterator>

namespace lib_mend {

namespace {

bool Is_Sound_Age(std::string_view text)
{
    constexpr std::size_t Size = 4;
    constexpr std::string_view Units = "DWMY";
    return text.size() == Size && Is_Number(text.substr(0, Size - 1)) &&
           Units.find(text.back()) != Units.npos;
}

bool Is_Sound_Integer(std::string_view text)
{
    constexpr std::size_t Surely_In_Range = 9;
    text.remove_prefix(text.starts_with('-') ? 1 : 0);
    return text.size() <= Surely_In_Range && Is_Number(text);
}

bool Is_Sound_Name(std::string_view text)
{
    constexpr std::size_t Longest_Group = 64;
    constexpr std::ptrdiff_t Most_Carets = 4;
    return text.size() <= Longest_Group && text.find_first_of("=,") == text.npos &&
           std::count(text.begin(), text.end(), '^') <= Most_Carets;
}

bool Is_Any(std::string_view)
{
    return true;
}

struct Sound_Form {
    unsigned short vr;
    /** With the padding of the last value. */
    std::size_t longest;
    /** What makes the length even; none where a value with padding is no sound one. */
    std::string_view padding;
    bool (*is_sound)(std::string_view text);
};

constexpr std::string_view NUL("\0", 1);

constexpr Sound_Form Sound_Forms[] = {
    {VR_AE, 16, " ", &Is_Any},           {VR_AS, 4, "", &Is_Sound_Age},
    {VR_CS, 16, " ", &Is_Code},          {VR_DA, 8, "", &Is_Date},
    {VR_DS, 16, " ", &Is_Short_Decimal}, {VR_IS, 12, " ", &Is_Sound_Integer},
    {VR_PN, 64, " ", &Is_Sound_Name},    {VR_TM, 14, " ", &Is_Clock},
    {VR_UI, 65, NUL, &Is_Fit_UID},
};

const Sound_Form* Sound_Form_Of(unsigned short vr)
{
    const auto* const found = std::find_if(std::begin(Sound_Forms), std::end(Sound_Forms),
                                           [vr](const Sound_Form& form) { return form.vr == vr; });
    return found != std::end(Sound_Forms) ? found : nullptr;
}

}  // namespace

std::size_t Count_Sound_Values(const Value& value)
{
    const Sound_Form* const form = Sound_Form_Of(value.vr);
    std::string_view rest = value.bytes;
    if (form == nullptr || rest.empty() || rest.size() % 2 != 0) {
        return 0;
    }
    const bool is_padded = !form->padding.empty() && rest.ends_with(form->padding);
    rest.remove_suffix(is_padded ? 1 : 0);
    if (!value.characters.Is_Plain(rest)) {
        return 0;
    }
    for (std::size_t count = 1;; ++count) {
        const std::size_t end = std::min(rest.find('\\'), rest.size());
        const bool is_last = end == rest.size();
        const std::string_view text = rest.substr(0, end);
        const std::size_t size = text.size() + (is_last && is_padded ? 1 : 0);
        if (text.empty() || text.front() == ' ' || size > form->longest || !form->is_sound(text)) {
            return 0;
        }
        if (is_last) {
            return count;
        }
        rest.remove_prefix(end + 1);
    }
}

}  // namespace lib_mend
