// Values as person names.
#include "read/value_extractor.h"

#include <cstring>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Read_Value";

constexpr Extractor Name_Extractor = {
    .id = Extractor_Id::Name,
    .call = "NEMA_Value_Name()",
    .fetches = false,
    .bad_vr = "(%04x,%04x): bad VR value (%c%c) != PN)",
};

/** Given, middle, prefix and suffix component of a name. */
using Components = std::array<const char*, 4>;

/**
 * Cuts a name at its "^". The text itself is then the family component. Components that the name
 * lacks keep what they were; those behind the fifth are dropped.
 *
 * @return the number of components that the name has behind its family component
 */
std::size_t Cut_Name(char* text, Components& components)
{
    std::size_t own = 0;
    for (; own < components.size(); ++own) {
        text = std::strchr(text, '^');
        if (text == nullptr) {
            return own;
        }
        *text++ = '\0';
        components[own] = text;
    }
    text[std::strcspn(text, "^")] = '\0';
    return own;
}

/** How much text names take over from the names before them. */
class Carried_Text {
public:
    explicit Carried_Text(const Value& value) : value_(value)
    {
    }

    /** Counts what a name takes over; beyond the bound it takes over nothing, which is told once. */
    void Limit(std::span<const char*> components)
    {
        for (const char*& component : components) {
            if (!is_over_ && component != nullptr) {
                size_ += std::strlen(component);
                Check();
            }
            component = is_over_ ? nullptr : component;
        }
    }

private:
    // One long component before many short names would grow with the square of the value.
    static constexpr std::size_t Bound = std::size_t{16} << 20;

    void Check()
    {
        if (size_ > Bound) {
            is_over_ = true;
            Report_Warning(value_.handle,
                           "\361\005WARNING:\002 (%04x,%04x): name components taken over from "
                           "earlier names exceed %d bytes, the rest is left out",
                           value_.tag.group, value_.tag.element, static_cast<int>(Bound));
        }
    }

    const Value& value_;
    std::size_t size_ = 0;
    bool is_over_ = false;
};

/** False without memory for all names. */
bool Make_Names(const Value& value, OrisWare_Name* names)
{
    char* const* const strings = Get_Value_Pools().strings[value.slot].Data();
    // Components of earlier names are carried over on purpose.
    Components components = {};
    Carried_Text carried(value);
    for (std::size_t i = 0; i < value.tag.vm; ++i) {
        const std::size_t own = Cut_Name(strings[i], components);
        carried.Limit(std::span(components).subspan(own));
        if (Make_Oris_Name(&names[i], strings[i], components[0], components[1], components[2],
                           components[3]) == 0) {
            return false;
        }
    }
    return true;
}

}  // namespace

OrisWare_Name* NEMA_Value_Name(HWND handle, DICOM_List* tag, unsigned short vr)
{
    return Extract<OrisWare_Name>(handle, tag, vr, Name_Extractor, [](const Value& value) {
        using Names = Outcome<OrisWare_Name>;
        // The value is split whatever its VR is, and counted in `vm`.
        if (!Split(value)) {
            return Names{};
        }
        if (value.vr != VR_PN) {
            return Refuse_VR<OrisWare_Name>(value, This_Unit);
        }
        Pool_Names& names = Get_Value_Pools().names[value.slot];
        if (!names.Reset(value.handle, This_Unit, value.tag.vm, "Oris_Name[cc]") ||
            !Make_Names(value, names.Data())) {
            value.tag.vm = 0;
            return Names{};
        }
        return Names{names.Data(), "VR_PN"};
    });
}
