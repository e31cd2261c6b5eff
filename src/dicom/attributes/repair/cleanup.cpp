// Repairs the value of one record, and the values of a list, by the rules of their VRs.
#include "attributes/list/walk.h"
#include "attributes/repair/value_engine.h"
#include "dictionary/value_count.h"
#include "frame/c_memory.h"

#include <Lib_DICOM/attributes.h>

#include <algorithm>
#include <climits>
#include <cstring>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Tag_Cleanup";

constexpr Value_Policy Cleanup_Policy = {
    .note_label = "\002    (\001%04x\002,\001%04x\002) VR=\001%c%c\002",
    .warning_label = "    \361\005WARNING:\002 (\001%04x\002,\001%04x\002) VR=\001%c%c",
    .multiple_trace = "in DICOM_Tag_Cleanup_Text_Multiple(%04x,%04x)",
    .integer_trace = "in DICOM_Tag_Cleanup_Valid_Int(%04x,%04x)",
    .last_backslash = "%hs Removed last char (=\001\\\002) from string!",
    .converts_decimals = true,
    .pads_to_even = true,
};

constexpr std::size_t Max_Code_Length = 16;

void Delete_Value(DICOM_List& record)
{
    std::free(record.data);
    record.data = nullptr;
    record.size = 0;
}

/** Stores a value in exactly its size; an empty one leaves no buffer. */
bool Store_Value(HWND handle, DICOM_List& record, const std::string& value)
{
    if (value.size() > INT_MAX) {
        Report_Memory(handle, This_Unit, "realloc", "tag->data", INT_MAX);
        return false;
    }
    if (!C_Resize(handle, This_Unit, record.data, value.size(), "tag->data")) {
        return false;
    }
    if (!value.empty()) {
        std::memcpy(record.data, value.data(), value.size());
    }
    record.size = static_cast<int>(value.size());
    return true;
}

/** Repairs and stores the value; returns the number of values, 0 when it is of no use. */
int Repair_Value(HWND handle, DICOM_List& record, const VR_Rule& rule, std::string& label)
{
    try {
        Value_Findings findings = Examine_Value(handle, record, rule, Cleanup_Policy);
        record.flags = static_cast<unsigned short>(record.flags | findings.marks);
        label = std::move(findings.warning_label);
        const bool is_stored =
            findings.count == 0 || !findings.changed || Store_Value(handle, record, findings.value);
        return is_stored ? findings.count : 0;
    } catch (const std::bad_alloc&) {
        Report_Memory(handle, This_Unit, "calloc", "new_data", record.size);
        return 0;
    }
}

char To_Code_Character(char c)
{
    if (c >= 'a' && c <= 'z') {
        return static_cast<char>(c - 'a' + 'A');
    }
    const bool is_kept = (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == ' ' || c == '\\';
    return is_kept ? c : '_';
}

}  // namespace

int DICOM_Attribute_Cleanup_Tag(HWND handle, DICOM_List* record)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Cleanup_Tag(%04x,%04x)",
                      record->group, record->element);
    if (record->data == nullptr) {
        return trace.Leave(1, "! tag->data");
    }
    const VR_Rule* const rule = Find_VR_Rule(Effective_VR(*record));
    if (rule == nullptr) {
        return trace.Leave(0, "0");
    }
    std::string label;
    const int count = Repair_Value(handle, *record, *rule, label);
    if (count == 0) {
        Delete_Value(*record);
        return trace.Leave(0, "0");
    }
    const int result = Check_Value_Count(handle, *record, count, label.c_str());
    if (result == 0) {
        record->flags = static_cast<unsigned short>(record->flags | DICOM_Mark_Invalid);
    }
    return trace.Leave(result, "%d", result);
}

int DICOM_Attribute_Cleanup(HWND handle, DICOM_Root* root, DICOM_List* list)
{
    Visit_Records(handle, This_Unit, {.root = root},
                  {Trace_List, "Lib_DICOM: DICOM_Attribute_Cleanup()"}, list,
                  [=](DICOM_List* record, DICOM_List*) {
                      DICOM_Attribute_Cleanup_Swab(handle, record);
                      DICOM_Attribute_Cleanup_Tag(handle, record);
                  });
    return 1;
}

int DICOM_Attribute_Cleanup_Swab(HWND handle, DICOM_List* record)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Cleanup_Swab(%04x,%04x)",
                      record->group, record->element);
    return Swab_Value(*record, trace);
}

int DICOM_Str_To_CS(char* text)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_Str_To_CS(%hs)", text);
    if (text == nullptr) {
        return trace.Leave(1, "! text");
    }
    Str_Strip_Spaces(text);
    const std::size_t length = strnlen(text, Max_Code_Length);
    std::transform(text, text + length, text, To_Code_Character);
    text[length] = '\0';
    return 1;
}
