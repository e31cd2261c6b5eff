#include "mend/healing/conformity.h"

#include "mend/healing/record_building.h"
#include "mend/healing/repair.h"

#include <algorithm>

namespace lib_mend {

namespace {

struct Text_Rule {
    unsigned short vr;
    /** Most characters of a value; of a component group of a name. */
    std::size_t most;
    bool has_lines;
};

constexpr std::size_t Any_Number = SIZE_MAX;

constexpr Text_Rule Text_Rules[] = {
    {VR_SH, 16, false},        {VR_LO, 64, false},   {VR_PN, 64, false},
    {VR_ST, 1024, true},       {VR_LT, 10240, true}, {VR_UC, Any_Number, false},
    {VR_UT, Any_Number, true},
};

bool Has_Control_Characters(std::string_view text, bool has_lines)
{
    constexpr std::string_view Of_Lines = "\t\n\f\r";
    return std::any_of(text.begin(), text.end(), [&](char byte) {
        const bool is_control = static_cast<unsigned char>(byte) < 0x20 && byte != Escape_Byte;
        return is_control && !(has_lines && Of_Lines.find(byte) != Of_Lines.npos);
    });
}

bool Is_Sound_Name(std::string_view name, const Character_Set& characters)
{
    constexpr std::size_t Most_Groups = 3;
    constexpr std::size_t Most_Components = 5;
    const std::vector<std::string_view> groups = characters.Split(name, '=', VR_PN);
    return groups.size() <= Most_Groups &&
           std::all_of(groups.begin(), groups.end(), [&](std::string_view group) {
               return characters.Split(group, '^', VR_PN).size() <= Most_Components &&
                      characters.Count(group, VR_PN) <= 64;
           });
}

bool Is_Sound_Text(std::string_view text, const Text_Rule& rule, const Character_Set& characters)
{
    if (Has_Control_Characters(text, rule.has_lines) ||
        characters.First_Invalid(text, rule.vr) != std::string_view::npos) {
        return false;
    }
    const std::vector<std::string_view> values = characters.Split(text, '\\', rule.vr);
    return std::all_of(values.begin(), values.end(), [&](std::string_view value) {
        return rule.vr == VR_PN ? Is_Sound_Name(value, characters)
                                : characters.Count(value, rule.vr) <= rule.most;
    });
}

/** Asks the library, which has nothing to say of a sound value and nothing to repair. */
bool Passes_Library(Tag tag, unsigned short vr, const Bytes& value)
{
    Findings findings;
    const Library_Session session(findings);
    Record_List alone(New_Record(tag, vr));
    Set_Bytes(*alone.Head(), value);
    DICOM_Attribute_Cleanup_Tag(nullptr, alone.Head());
    return findings.Count() == 0 && Value_Bytes(*alone.Head()) == value;
}

}  // namespace

bool Conforms(Tag tag, unsigned short vr, const Bytes& value, const Character_Set& characters)
{
    const std::string_view text(reinterpret_cast<const char*>(value.data()), value.size());
    const auto* const rule = std::find_if(std::begin(Text_Rules), std::end(Text_Rules),
                                          [vr](const Text_Rule& each) { return each.vr == vr; });
    return (rule == std::end(Text_Rules) || Is_Sound_Text(text, *rule, characters)) &&
           Passes_Library(tag, vr, value);
}

}  // namespace lib_mend
