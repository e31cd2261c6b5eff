// Reports what is wrong with the values of a list. The rules are those of the repair, which they
// share an engine with; the values stay as they are.
#include "attributes/list/walk.h"
#include "attributes/repair/value_engine.h"
#include "dictionary/value_count.h"

#include <Lib_DICOM/attributes.h>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Tag_Syntax";

constexpr Value_Policy Syntax_Policy = {
    .note_label = "\002    (\001%04x\002,\001%04x\002) VR=\001%c%c\002",
    .warning_label = "    \361\005WARNING:\002 (\001%04x\002,\001%04x\002) VR=\001%c%c\002",
    .multiple_trace = "in DICOM_Tag_Syntax_Text_Multiple(%04x,%04x)",
    .integer_trace = "in DICOM_Tag_Syntax_Valid_Int(%04x,%04x)",
    .last_backslash = "%hs last char is (=\001\\\002)!",
    .converts_decimals = false,
    .pads_to_even = false,
};

int DICOM_Attribute_Syntax_Swab(HWND handle, DICOM_List& record)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Syntax_Swab(%04x,%04x)",
                      record.group, record.element);
    return Swab_Value(record, trace);
}

int DICOM_Attribute_Syntax_Tag(HWND handle, const DICOM_List& record)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Syntax_Tag(%04x,%04x)",
                      record.group, record.element);
    if (record.data == nullptr) {
        return trace.Leave(1, "! tag->data");
    }
    const VR_Rule* const rule = Find_VR_Rule(Effective_VR(record));
    if (rule == nullptr) {
        return trace.Leave(0, "default");
    }
    try {
        const Value_Findings findings = Examine_Value(handle, record, *rule, Syntax_Policy);
        if (findings.count == 0) {
            return 0;
        }
        return trace.Leave(
            Check_Value_Count(handle, record, findings.count, findings.warning_label.c_str()),
            "vn");
    } catch (const std::bad_alloc&) {
        Report_Memory(handle, This_Unit, "calloc", "mom_tag.data", record.size + 1);
        return 0;
    }
}

}  // namespace

int DICOM_Attribute_Syntax(HWND handle, DICOM_Root* root, DICOM_List* list)
{
    Visit_Records(handle, This_Unit, {.root = root},
                  {Trace_Entry, "Lib_DICOM: DICOM_Attribute_Syntax()"}, list,
                  [=](DICOM_List* record, DICOM_List*) {
                      DICOM_Attribute_Syntax_Swab(handle, *record);
                      DICOM_Attribute_Syntax_Tag(handle, *record);
                  });
    return 1;
}
