#include "mend/healing/repair.h"

#include "mend/healing/character_sets.h"
#include "mend/healing/values.h"
#include "mend/healing/vrs.h"
#include "mend/reading/header.h"
#include "mend/reading/tree.h"
#include "mend/reading/vr_forms.h"
#include "mend/writing/encoder.h"

#include <string>

namespace lib_mend {

namespace {

/** Turns a value round by the VR that it has, for nothing of that VR will be known. */
void Bring_To_Little_Endian(const Data_Set& set, DICOM_List& record)
{
    const int width = Swap_Width(VR_Of(record));
    const bool is_big = (record.byte_order & DICOM_Order_Big_Endian) != 0;
    if (!is_big || (width > 1 && (!set.Load(record) || record.data == nullptr))) {
        return;
    }
    if (width > 1) {
        Reverse_Units({record.data, static_cast<std::size_t>(record.size)}, width);
    }
    record.byte_order =
        static_cast<unsigned char>(record.byte_order & ~unsigned{DICOM_Order_Big_Endian});
}

/** Implicit VR has no place for a VR: the value is taken for one of the registry's. */
void Take_Registry_VR(const Data_Set& set, DICOM_List& record, const Path& way, bool is_signed,
                      const Character_Set& characters, const Heal_Options& options,
                      Findings& findings)
{
    // A sequence shows by its items, whatever the dictionary says.
    const unsigned short vr = Registry_VR(record, is_signed);
    if (vr == VR_SQ && record.size == 0) {
        // Without a value it is a sequence without items.
        record.vr = VR_SQ;
    }
    if (record.vr == VR_SQ || vr == VR_SQ || record.size < 0) {
        return;
    }
    findings.Report(Fault::VR_Other, Level::Kept, At(record, way),
                    "implicit VR does not tell VR=" + VR_Text(record.vr) +
                        "; readers take VR=" + VR_Text(vr));
    Bring_To_Little_Endian(set, record);
    record.vr = 0;
    record.vr_default = vr;
    Heal_Value_Of(set, record, way, characters, options, findings);
}

}  // namespace

void Heal_New_Texts(Data_Set& set, const Heal_Options& options, Findings& findings)
{
    Findings again;
    Heal_Character_Sets(set, options, again);
    for (const Finding& finding : again.All()) {
        if (finding.level == Level::Change) {
            findings.Report(
                finding.fault, finding.level,
                {finding.has_tag, finding.tag, finding.vr, nullptr, finding.offset, finding.length},
                finding.text, {finding.before, finding.after});
        }
    }
}

void Fit_To_Encoding(Data_Set& set, const Encoding& output, const Heal_Options& options,
                     Findings& findings)
{
    if (output.explicit_vr) {
        return;
    }
    bool any = false;
    Signs_Of_Lists signs(set);
    Character_Sets_Of_Lists sets(set);
    For_Each_Element(set.records.Head(), [&](DICOM_List& record, const Path& way) {
        const Character_Set& characters = sets.Of(record, way);
        const bool is_signed = signs.Of(record, way);
        if (Has_Foreign_VR(record)) {
            any = true;
            Take_Registry_VR(set, record, way, is_signed, characters, options, findings);
        }
    });
    if (options.strict) {
        Remove_Marked(set.records);
    }
    if (any) {
        Heal_New_Texts(set, options, findings);
    }
}

bool Is_Streamed(const DICOM_List& record)
{
    constexpr unsigned short Pixel_Group = 0x7FE0;
    return record.depth == 0 && record.group == Pixel_Group &&
           (record.element == 0x0008 || record.element == 0x0009 || record.element == 0x0010);
}

void Remove_Marked(DICOM_List** head)
{
    DICOM_List* last = nullptr;
    for (DICOM_List** link = head; *link != nullptr;) {
        DICOM_List* const record = *link;
        if ((record->flags & DICOM_Mark_Deleted) != 0) {
            *link = record->next;
            DICOM_Attribute_Free(nullptr, record);
        } else {
            last = record;
            link = &record->next;
        }
    }
    if (*head != nullptr) {
        (*head)->last = last;
    }
}

void Remove_Marked(Record_List& list)
{
    For_Each_List(list.Address(), [](DICOM_List** head, const Path&) { Remove_Marked(head); });
}

}  // namespace lib_mend
