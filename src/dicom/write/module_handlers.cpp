// Creation of the attributes that a module asks for, by handlers of the client's or empty.
#include "frame/record_codes.h"
#include "frame/report.h"
#include "frame/vr_rules.h"

#include <Lib_DICOM/attributes.h>
#include <Lib_DICOM/write.h>

#include <algorithm>
#include <vector>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Write_Module";

struct Registered {
    unsigned short group;
    DICOM_Module_Handler handler;
};

using Registry = std::vector<Registered>;

struct Registries {
    Registry group;
    Registry private_group;
};

Registries& Get_Registries()
{
    static Registries registries;
    return registries;
}

int Grow(Place place, Registry& registry, const char* variable, Registered entry)
{
    if (entry.handler == nullptr) {
        return 0;
    }
    try {
        registry.push_back(entry);
        return 1;
    } catch (const std::bad_alloc&) {
        Report_Memory(hwnd, place, "realloc", variable, static_cast<int>(registry.size() + 1),
                      sizeof(Registered));
        return 0;
    }
}

/** The first handler of a group, null when there is none. */
DICOM_Module_Handler Find_Handler(const Registry& registry, unsigned short group)
{
    const auto found = std::find_if(registry.begin(), registry.end(),
                                    [=](const Registered& entry) { return entry.group == group; });
    return found != registry.end() ? found->handler : nullptr;
}

}  // namespace

int DICOM_Module_Add(HWND handle, DICOM_Root* root, DICOM_List** list, DICOM_List* node,
                     void* param)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Module_Add(%04x,%04x)", node->group,
                      node->element);
    const DICOM_List* created = nullptr;
    for (const Registry* registry : {&Get_Registries().group, &Get_Registries().private_group}) {
        if (const auto handler = Find_Handler(*registry, node->group)) {
            // What a handler of the client's throws must not cross the interface.
            created = Guarded(
                handle, This_Unit, static_cast<DICOM_List*>(nullptr),
                [&] { return handler(handle, root, list, node, param); }, "attribute");
        }
    }
    if (created != nullptr) {
        return trace.Leave(0, "handler");
    }
    if (node->type == 0) {
        Trace(handle, Trace_1, "\361\004ERROR: \002Unknown tag type (\001%04x\002,\001%04x\002)",
              node->group, node->element);
        return trace.Leave(0, "! node->type");
    }
    if (node->type == Type_2 || node->type == Type_2C) {
        DICOM_Attribute_Add(handle, root, list, node->group, node->element, Effective_VR(*node), 0);
    }
    return 1;
}

int DICOM_Module_List_Group_Grow(unsigned short group, DICOM_Module_Handler handler)
{
    const Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_Module_List_Group_Grow(%04x)",
                            group);
    return Grow(This_Unit, Get_Registries().group, "List_Group", {group, handler});
}

int DICOM_Module_List_Private_Grow(unsigned short group, DICOM_Module_Handler handler)
{
    const Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_Module_List_Private_Grow(%04x)",
                            group);
    return Grow(This_Unit, Get_Registries().private_group, "List_Private", {group, handler});
}

void DICOM_Module_List_Cleanup(void)
{
    const Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_Module_List_Cleanup()");
    Get_Registries() = {};
}
