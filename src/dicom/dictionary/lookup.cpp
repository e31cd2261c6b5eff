// The data dictionary as the library and its clients see it.
#include <Lib_DICOM/dictionary.h>

#include "dictionary/name_search.h"
#include "dictionary/parse_table.h"
#include "dictionary/tables.h"
#include "dictionary/value_count.h"
#include "frame/record_codes.h"
#include "frame/report.h"
#include "frame/vr_rules.h"

#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <utility>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "OrisWare_DICOM";

/** The dictionaries; null until the first lookup that asks them. */
struct State {
    std::unique_ptr<Dictionary> standard;
    std::unique_ptr<Dictionary> current;
};

State& Get_State()
{
    static State state;
    return state;
}

/** Calls `ask`, which may have to parse lines; null without memory. */
template <class Ask>
auto Asked(Ask&& ask) -> decltype(ask())
{
    return Guarded(hwnd, This_Unit, decltype(ask())(), std::forward<Ask>(ask), "dictionary");
}

/** Takes the tables unless that is done. Returns null without memory; the next call tries again. */
Dictionary* NEMA_db_Load(std::unique_ptr<Dictionary>& place, std::span<const Table> tables)
{
    if (place == nullptr) {
        place = Asked([&] {
            auto dictionary = std::make_unique<Dictionary>();
            for (const Table& table : tables) {
                dictionary->Add_Group(Group_Of(table.Lines()));
            }
            return dictionary;
        });
    }
    return place.get();
}

Dictionary* Load_Standard()
{
    return NEMA_db_Load(Get_State().standard, Standard_Tables());
}

unsigned int& Generation()
{
    static unsigned int generation = 0;
    return generation;
}

/** Null unless the current standard is asked for. */
Dictionary* Load_Current()
{
    return DICOM_Flag_Current_Standard != 0 ? NEMA_db_Load(Get_State().current, Current_Tables())
                                            : nullptr;
}

/** A short text by value. */
struct Text {
    char text[16];
};

/** Half a tag in hexadecimal, with "x" for the digits outside the mask. */
Text Tag_Text(unsigned short number, unsigned short mask)
{
    Text result;
    std::snprintf(result.text, sizeof result.text, "%04x", number);
    for (int i = 0; i < 4; i++) {
        if ((mask & 0xF000 >> 4 * i) == 0) {
            result.text[i] = 'x';
        }
    }
    return result;
}

Text NEMA_db_VM_Text(const TAG_db_VM& vm)
{
    Text result;
    if (vm.vm_min == vm.vm_max) {
        std::snprintf(result.text, sizeof result.text, "%d", vm.vm_min);
    } else if (Is_Bounded(vm)) {
        std::snprintf(result.text, sizeof result.text, "%d-%d", vm.vm_min, vm.vm_max);
    } else {
        std::snprintf(result.text, sizeof result.text, "%d-n", vm.vm_min);
    }
    return result;
}

void List_Entry(HWND handle, unsigned int severity, const Text& group, const TAG_db_Elems& entry)
{
    // By number of alternatives; the arguments of those that an entry lacks are not printed.
    static constexpr const char* Formats[Max_Alternatives + 1] = {
        " (%hs,%hs) \001%-40.40hs \002type:%d",
        " (%hs,%hs) \001%-40.40hs \002type:%d VR:%hc%hc VN:%hs",
        " (%hs,%hs) \001%-40.40hs \002type:%d (VR:%hc%hc VN:%hs) or (VR:%hc%hc VN:%hs)",
        (" (%hs,%hs) \001%-40.40hs \002type:%d (VR:%hc%hc VN:%hs) or (VR:%hc%hc VN:%hs) or "
         "(VR:%hc%hc VN:%hs)")};
    const unsigned short* const vr = entry.vr;
    Error_Fct(
        handle, severity, Formats[std::abs(entry.nb_vr)], group.text,
        Tag_Text(entry.element, entry.elem_mask).text, entry.name, entry.nb_vr,
        First_Letter(vr[0], '-'), Second_Letter(vr[0], '-'), NEMA_db_VM_Text(entry.vm[0]).text,
        First_Letter(vr[1], '-'), Second_Letter(vr[1], '-'), NEMA_db_VM_Text(entry.vm[1]).text,
        First_Letter(vr[2], '-'), Second_Letter(vr[2], '-'), NEMA_db_VM_Text(entry.vm[2]).text);
}

TAG_db_Elems* Find_Behind(const char* name_part, const TAG_db_Elems* previous,
                          std::initializer_list<Dictionary*> dictionaries)
{
    bool is_behind = previous == nullptr;
    for (Dictionary* const dictionary : dictionaries) {
        if (dictionary == nullptr) {
            continue;
        }
        for (const TAG_db_Group& group : dictionary->Groups()) {
            for (const TAG_db_Group::Slot& slot : group.slots) {
                if (is_behind && Name_Contains(slot.entry->name, name_part)) {
                    return slot.entry;
                }
                is_behind = is_behind || slot.entry == previous;
            }
        }
    }
    return nullptr;
}

}  // namespace

unsigned int lib_dicom::Dictionary_Generation()
{
    return Generation();
}

TAG_db_Elems* NEMA_db_Locate(unsigned short group, unsigned short element)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: NEMA_db_Locate(%04x,%04x)", group, element);
    Dictionary* const standard = Load_Standard();
    if (standard == nullptr) {
        return trace.Leave(nullptr, "! dictionary");
    }
    if (group % 2 != 0) {
        return trace.Leave(nullptr, "private");
    }
    TAG_db_Elems* const entry = Asked([&] {
        TAG_db_Elems* const found = standard->Find(group, element);
        Dictionary* const current = found == nullptr ? Load_Current() : nullptr;
        return current == nullptr ? found : current->Find(group, element);
    });
    return entry != nullptr ? entry : trace.Leave(entry, "! entry");
}

TAG_db_Elems* NEMA_db_Find(const char* name_part, const TAG_db_Elems* previous)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: NEMA_db_Find(%hs)", name_part);
    TAG_db_Elems* const None = nullptr;
    if (name_part == nullptr) {
        return trace.Leave(None, "! name_part");
    }
    TAG_db_Elems* const entry = Asked([&] {
        return Find_Behind(name_part, previous, {Load_Standard(), Load_Current()});
    });
    return entry != nullptr ? entry : trace.Leave(None, "! entry");
}

void NEMA_db_Cleanup(void)
{
    Trace(hwnd, Trace_Value, "--- in NEMA_db_Cleanup() ---");
    Get_State() = State();
    ++Generation();
    Trace(hwnd, Trace_Value, "--- out NEMA_db_Cleanup() ---");
}

void NEMA_db_Stool(HWND handle, int flag)
{
    Trace(handle, Trace_1, "--- in NEMA_db_Stool(%d) ---", flag);
    Dictionary* const standard = Get_State().standard.get();
    const auto* const groups =
        standard != nullptr ? Asked([&] { return &standard->Groups(); }) : nullptr;
    if (groups == nullptr) {
        return;
    }
    const unsigned int severity = static_cast<unsigned int>(flag);
    for (const TAG_db_Group& node : *groups) {
        const Text group = Tag_Text(node.group, node.group_mask);
        Error_Fct(handle, severity, "--- Group %hs ---", group.text);
        for (const TAG_db_Group::Slot& slot : node.slots) {
            List_Entry(handle, severity, group, *slot.entry);
        }
    }
}

int NEMA_db_Check_VN(HWND handle, DICOM_List* attribute, int count)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: NEMA_db_Check_VN(%d)", count);
    if (attribute == nullptr) {
        return trace.Leave(1, "! attribute");
    }
    const unsigned short vr = Effective_VR(*attribute);
    char label[64];
    std::snprintf(
        label, sizeof label, "    \361\005WARNING:\002 (\001%04x\002,\001%04x\002) VR=\001%c%c\002",
        attribute->group, attribute->element, First_Letter(vr, '-'), Second_Letter(vr, '-'));
    return Check_Value_Count(handle, *attribute, count, label);
}
