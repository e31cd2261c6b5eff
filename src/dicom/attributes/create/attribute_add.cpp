// Creating attributes from C values.
#include "attributes/create/value_builders.h"
#include "frame/report.h"

#include <Lib_DICOM/attributes.h>
#include <Lib_DICOM/dictionary.h>

#include <cstdarg>
#include <cstdlib>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Tag_Add";

void Report_Unknown_VR(HWND handle, const DICOM_List& record)
{
    // A kept quirk: the line is part of the text.
    Report_Internal(handle, Place(This_Unit, 193));
    Error_Fct(handle, Severity_Memory, "tag (%04x,%04x) VR=%c%c not implemented", record.group,
              record.element, record.vr >> 8, record.vr & 0xFF);
}

void Set_Value(HWND handle, DICOM_List* record, int nb_arg, Arguments& args)
{
    if (record->vr == VR_SQ) {
        record->flags = static_cast<unsigned short>(
            record->flags | static_cast<unsigned short>(va_arg(args.list, int)));
        return;
    }
    const Builder_Rule* const rule = Find_Builder_Rule(record->vr);
    if (rule == nullptr) {
        Report_Unknown_VR(handle, *record);
        return;
    }
    // What a record without marks held, which no size may be added to.
    std::free(record->data);
    record->data = nullptr;
    record->size = 0;
    record->data = Build_Value(handle, *rule, &record->size, nb_arg, args);
}

void Add_To_Record(HWND handle, DICOM_List* record, unsigned short vr, int nb_arg, Arguments& args)
{
    record->byte_order = DICOM_Order_Explicit_VR;
    record->flags = DICOM_Origin_Library;
    record->vr = vr;
    record->dict = NEMA_db_Locate(record->group, record->element);
    if (nb_arg != 0) {
        Set_Value(handle, record, nb_arg, args);
    }
    if (DICOM_Attribute_Cleanup_Tag(handle, record) == 0) {
        Report_Warning(handle,
                       "    \361\005WARNING:\002 problem creating tag (\001%04x\002,\001%04x\002)",
                       record->group, record->element);
    }
}

}  // namespace

DICOM_List* DICOM_Attribute_Add(HWND handle, DICOM_Root* root, DICOM_List** list,
                                unsigned short group, unsigned short element, unsigned short vr,
                                int nb_arg, ...)
{
    const Trace_Scope trace(handle, Trace_Entry,
                            "Lib_DICOM: DICOM_Attribute_Add(%04x,%04x) nb_arg=%d", group, element,
                            nb_arg);
    DICOM_List* const record = DICOM_Attribute_Find(handle, root, list, group, element);
    if (record == nullptr || (record->flags != 0 && record->size != 0)) {
        return *list;
    }
    Arguments args;
    va_start(args.list, nb_arg);
    Add_To_Record(handle, record, vr, nb_arg, args);
    va_end(args.list);
    return *list;
}
