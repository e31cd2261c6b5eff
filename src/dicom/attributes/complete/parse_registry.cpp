// Handlers of the client: their registry, and the walk that hands them the records of a list.
#include "attributes/complete/private_creators.h"
#include "frame/report.h"

#include <Lib_DICOM/attributes.h>

#include <cstdlib>
#include <new>
#include <optional>
#include <string_view>
#include <vector>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Tag_Parse";

struct Group_Handler {
    unsigned short group;
    DICOM_Parse_Handler handler;
};

struct Private_Handler {
    char creator[72];
    DICOM_Parse_Handler handler;
};

struct Registry {
    std::vector<Group_Handler> groups;
    std::vector<Private_Handler> creators;
    std::vector<Group_Handler> spi;
};

Registry& The_Registry()
{
    static Registry registry;
    return registry;
}

/** Adds an entry; without memory the table stays as it is. */
template <class Entry>
int Grow(Place place, std::vector<Entry>& table, const Entry& entry, const char* name)
{
    try {
        table.push_back(entry);
        return 1;
    } catch (const std::bad_alloc&) {
        Report_Memory(hwnd, place, "realloc", name, static_cast<int>(table.size() + 1),
                      sizeof(Entry));
        return 0;
    }
}

DICOM_Parse_Handler Find_Handler(const std::vector<Group_Handler>& table, unsigned short group)
{
    for (const Group_Handler& entry : table) {
        if (entry.group == group) {
            return entry.handler;
        }
    }
    return nullptr;
}

DICOM_Parse_Handler Find_Handler(const std::vector<Private_Handler>& table, std::string_view text)
{
    for (const Private_Handler& entry : table) {
        if (text.starts_with(entry.creator)) {
            return entry.handler;
        }
    }
    return nullptr;
}

/** The handler of a record of a list; null for none. */
DICOM_Parse_Handler Handler_Of(DICOM_List* list, const DICOM_List& record, Creators& creators)
{
    const Registry& registry = The_Registry();
    if ((record.flags & DICOM_Mark_Private) != 0) {
        const DICOM_Parse_Handler handler = Find_Handler(registry.spi, record.group);
        if (handler != nullptr) {
            return handler;
        }
    }
    if (record.group % 2 == 0) {
        return Find_Handler(registry.groups, record.group);
    }
    if (record.element < First_Private_Element) {
        return nullptr;
    }
    const DICOM_List* const creator = creators.Get(list, record);
    return Has_Text(creator) ? Find_Handler(registry.creators, Creator_Text(*creator)) : nullptr;
}

}  // namespace

int DICOM_Attribute_List_Group_Grow(unsigned short group, DICOM_Parse_Handler handler)
{
    const Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_Attribute_List_Group_Grow(%04x)",
                            group);
    return Grow(This_Unit, The_Registry().groups, {group, handler}, "List_Group");
}

int DICOM_Attribute_List_Private_Grow(const char* creator, DICOM_Parse_Handler handler)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_Attribute_List_Private_Grow(%hs)",
                      creator);
    Private_Handler entry = {{}, handler};
    const std::size_t size = std::strlen(creator);
    if (size >= sizeof entry.creator) {
        Report_Error(hwnd, This_Unit, "the private creator \"%hs\" is longer than %d bytes",
                     creator, static_cast<int>(sizeof entry.creator) - 1);
        return trace.Leave(0, "creator");
    }
    std::memcpy(entry.creator, creator, size);
    return Grow(This_Unit, The_Registry().creators, entry, "List_Private");
}

int DICOM_Attribute_List_SPI_Grow(unsigned short group, DICOM_Parse_Handler handler)
{
    const Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_Attribute_List_SPI_Grow(%04x)",
                            group);
    return Grow(This_Unit, The_Registry().spi, {group, handler}, "List_SPI");
}

void DICOM_Attribute_List_Cleanup(void)
{
    const Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_Attribute_List_Cleanup()");
    The_Registry() = Registry();
}

void* DICOM_Attribute_Parse(HWND handle, DICOM_Root* root, DICOM_List* list, void* user)
{
    const Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Parse()");
    return Guarded(handle, This_Unit, user, [=, &user] {
        Creators creators(handle, root);
        for (DICOM_List* record = list; record != nullptr; record = record->next) {
            Trace(handle, Trace_Entry, "-> DICOM_Attribute_Parse (%04x,%04x)", record->group,
                  record->element);
            const DICOM_Parse_Handler handler = Handler_Of(list, *record, creators);
            if (handler != nullptr) {
                user = handler(handle, root, record, user);
                // The handler may have changed the list.
                creators.Forget();
            }
            if (user == nullptr) {
                break;
            }
        }
        return user;
    });
}
