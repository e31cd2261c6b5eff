#include "attributes/repair/value_engine.h"

#include "attributes/repair/value_work.h"

#include <algorithm>
#include <climits>

namespace lib_dicom {

namespace {

bool Is_Text(const VR_Rule& rule)
{
    return rule.kind == VR_Kind::Text_Multiple || rule.kind == VR_Kind::Text_Single;
}

/** Only texts are padded, although PS3.5 section 7.1.1 asks for an even length of every value. */
bool Needs_Pad(const Value_Work& work)
{
    const std::size_t size = work.value.size();
    return work.policy.pads_to_even && Is_Text(work.rule) && size % 2 != 0 && size < INT_MAX;
}

std::size_t Check_Binary(Value_Work& work, std::size_t size)
{
    if (size % work.rule.width != 0) {
        return work.Invalid_Size(work.rule.expected, size);
    }
    return work.rule.counts ? size / work.rule.width : 1;
}

std::size_t Repair_Age(Value_Work& work)
{
    work.Check_Set();
    std::string& value = work.value;
    if (value.size() == 2 || value.size() == 3) {
        value.insert(0, 4 - value.size(), '0');
    }
    if (value.size() != 4) {
        // The value is kept all the same.
        work.Invalid_Size("4 bytes", value.size());
    }
    return 1;
}

std::size_t Apply_Rule(Value_Work& work, std::size_t size)
{
    switch (work.rule.kind) {
    case VR_Kind::Binary:
        return Check_Binary(work, size);
    case VR_Kind::Age:
        return Repair_Age(work);
    case VR_Kind::Date:
        return Repair_Date(work);
    case VR_Kind::Text_Multiple:
    case VR_Kind::Text_Single:
        return Repair_Text(work);
    case VR_Kind::Opaque:
        break;
    }
    return 1;
}

}  // namespace

Value_Findings Examine_Value(HWND handle, const DICOM_List& record, const VR_Rule& rule,
                             const Value_Policy& policy)
{
    const std::string_view original(reinterpret_cast<const char*>(record.data),
                                    static_cast<std::size_t>(std::max(record.size, 0)));
    Value_Work work(handle, record, rule, policy);
    // Pixel data may be large: a value that cannot change is not copied.
    const bool is_fixed = rule.kind == VR_Kind::Binary || rule.kind == VR_Kind::Opaque;
    if (!is_fixed) {
        work.value = original;
    }
    const std::size_t count = Apply_Rule(work, original.size());
    if (count != 0 && Needs_Pad(work)) {
        work.value += rule.pad;
    }
    const bool is_changed = !is_fixed && work.value != original;
    if (is_changed) {
        work.Mark(DICOM_Mark_Changed);
    }
    Value_Findings findings;
    findings.count = static_cast<int>(std::min<std::size_t>(count, INT_MAX));
    findings.marks = work.marks;
    findings.changed = is_changed;
    findings.warning_label = work.warning_label;
    if (is_changed) {
        findings.value = std::move(work.value);
    }
    return findings;
}

int Swab_Value(DICOM_List& record, Trace_Scope& trace)
{
    if (record.data == nullptr) {
        return trace.Leave(1, "! tag->data");
    }
    if ((record.byte_order & DICOM_Order_Big_Endian) == 0) {
        return trace.Leave(1, "LITTLE_ENDIAN");
    }
    record.byte_order =
        static_cast<unsigned char>(record.byte_order & ~unsigned{DICOM_Order_Big_Endian});
    const int width = Swab_Width(Effective_VR(record));
    if (width > 2 && record.size % width != 0) {
        return trace.Leave(0, width == 8 ? "tag->size % 8" : "tag->size % 4");
    }
    for (int pos = 0; width > 1 && pos <= record.size - width; pos += width) {
        std::reverse(record.data + pos, record.data + pos + width);
    }
    return trace.Leave(1, "");
}

}  // namespace lib_dicom
