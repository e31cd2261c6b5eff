#include "mend/healing/repair.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace lib_mend {

namespace {

constexpr Tag Pixel_Representation_Tag = {0x0028, 0x0103};
/** Longest value that an explicit header with a 2-byte length can have. */
constexpr int Longest_Short_Value = 65534;

std::string VR_Text(unsigned short vr)
{
    return {static_cast<char>(vr >> 8), static_cast<char>(vr & 0xFF)};
}

bool Has_Alternative(const TAG_db_Elems& entry, unsigned short vr)
{
    const int count = std::abs(entry.nb_vr);
    return std::find(entry.vr, entry.vr + count, vr) != entry.vr + count;
}

/**
 * Chooses between the VRs that the dictionary allows, for an element that carries none: US or SS
 * by Pixel Representation, words for anything that may be words (PS3.5 section A.1).
 */
unsigned short Choose_VR(const DICOM_List& record, bool is_signed)
{
    const TAG_db_Elems& entry = *record.dict;
    if (Has_Alternative(entry, VR_US) && Has_Alternative(entry, VR_SS)) {
        if (Has_Alternative(entry, VR_OW) && record.size > Longest_Short_Value) {
            return VR_OW;
        }
        return is_signed ? VR_SS : VR_US;
    }
    return Has_Alternative(entry, VR_OW) ? VR_OW : record.vr_default;
}

/**
 * A standard element of one known VR that was written as UN: its value is little endian. One that
 * is too long for the header of most VRs has to stay UN (PS3.5 section 6.2.2).
 */
bool Is_Known_Though_UN(const DICOM_List& record)
{
    const bool is_plain = record.vr == VR_UN && record.dict != nullptr && record.group % 2 == 0 &&
                          (record.byte_order & DICOM_Order_Big_Endian) == 0 && record.nb_item == 0;
    if (!is_plain || record.size > Longest_Short_Value || std::abs(record.dict->nb_vr) != 1) {
        return false;
    }
    const unsigned short vr = record.dict->vr[0];
    return vr != VR_SQ && vr != VR_UN && vr != VR_RT;
}

/** Pixel Representation of a list, or that of the list around it. */
bool Is_Signed(const Data_Set& set, DICOM_List* list, bool around)
{
    const DICOM_List* const sign = Find_Record(list, Pixel_Representation_Tag);
    if (sign == nullptr) {
        return around;
    }
    const Bytes value = set.Value(*sign, 2);
    return value.size() == 2 && Get_UShort(sign->byte_order, value.data()) == 1;
}

void Settle_List(Data_Set& set, DICOM_List* list, bool is_signed, Findings& findings)
{
    is_signed = Is_Signed(set, list, is_signed);
    for (DICOM_List& record : Records(list)) {
        if (record.vr == 0 && record.dict != nullptr && std::abs(record.dict->nb_vr) > 1 &&
            Tag_Of(record) != Pixel_Data_Tag) {
            record.vr_default = Choose_VR(record, is_signed);
        } else if (Is_Known_Though_UN(record)) {
            record.vr = record.dict->vr[0];
            findings.Add(Level::Change, record,
                         "VR=UN is replaced by VR=" + VR_Text(record.vr) + " of the dictionary");
        }
        for (int i = 0; Item_Of(record, i) != nullptr; ++i) {
            Settle_List(set, Item_Of(record, i), is_signed, findings);
        }
    }
}

bool Is_Private_Creator(const DICOM_List& record)
{
    return record.group % 2 != 0 && record.element >= 0x0010 && record.element <= 0x00FF;
}

/** Tells whether a VR would not come back when it is not written. */
bool Has_Foreign_VR(const DICOM_List& record)
{
    if (record.vr == 0 || Is_Streamed(record)) {
        return false;
    }
    if (record.dict == nullptr || record.dict->nb_vr == 0) {
        return Is_Private_Creator(record) && record.vr != VR_LO;
    }
    return !Has_Alternative(*record.dict, record.vr);
}

/** A sequence that a writer without a dictionary took for unknown bytes. */
void Check_Unknown(const DICOM_List& record, Findings& findings)
{
    constexpr std::string_view Item_Tag("\xFE\xFF\x00\xE0", 4);
    constexpr std::string_view End_Of_Sequence("\xFE\xFF\xDD\xE0\0\0\0\0", 8);
    const std::string_view value(reinterpret_cast<const char*>(record.data),
                                 static_cast<std::size_t>(record.size));
    if (!value.starts_with(Item_Tag)) {
        return;
    }
    findings.Add(Level::Kept, record, "sequence stored as UN");
    if (value.ends_with(End_Of_Sequence)) {
        const std::size_t at = record.data_pos + value.size() - End_Of_Sequence.size();
        findings.Add(Level::Kept, Tag_Of(record), static_cast<std::int64_t>(at),
                     "sequence delimitation inside a given length");
    }
}

void Repair_Record(const Data_Set& set, DICOM_List& record, Findings& findings)
{
    if (!set.Load(record)) {
        findings.Add(Level::Error, record, "the value cannot be read; it is left out");
        record.flags |= DICOM_Mark_Deleted;
        return;
    }
    const About about(findings, record);
    if (DICOM_Attribute_Cleanup_Swab(nullptr, &record) == 0) {
        findings.Add(Level::Change, record, "big-endian value of a broken size is left as it is");
    }
    if (record.data == nullptr) {
        return;
    }
    if (VR_Of(record) == VR_UN) {
        Check_Unknown(record, findings);
    }
    const Bytes before = Value_Bytes(record);
    const std::size_t count = findings.Count();
    DICOM_Attribute_Cleanup_Tag(nullptr, &record);
    if (findings.Count() != count || Value_Bytes(record) == before) {
        return;
    }
    findings.Add(Level::Change, record,
                 Form_Changes(before, record)
                     ? Form_Text
                     : "padding is put right, " + std::to_string(before.size()) + " bytes become " +
                           std::to_string(record.size));
}

void Take_Dictionary_VR(const Data_Set& set, DICOM_List& record, bool is_signed, Findings& findings)
{
    const std::string text = "VR=" + VR_Text(record.vr);
    // A sequence shows by its items, whatever the dictionary says.
    if (record.vr == VR_SQ || record.size < 0) {
        return;
    }
    const unsigned short vr = record.dict != nullptr ? Choose_VR(record, is_signed) : VR_LO;
    if (vr == VR_SQ || !set.Load(record) || DICOM_Attribute_Cleanup_Swab(nullptr, &record) == 0) {
        findings.Add(Level::Change, record, text + " cannot be kept in implicit VR");
        record.flags |= DICOM_Mark_Deleted;
        return;
    }
    findings.Add(Level::Change, record,
                 text + " is replaced by VR=" + VR_Text(vr) + ", which implicit VR stands for");
    record.vr = 0;
    record.vr_default = vr;
    Repair_Record(set, record, findings);
}

void Fit_List(Data_Set& set, DICOM_List* list, const Encoding& output, bool is_signed,
              Findings& findings)
{
    is_signed = Is_Signed(set, list, is_signed);
    for (DICOM_List& record : Records(list)) {
        if (!output.explicit_vr && Has_Foreign_VR(record)) {
            Take_Dictionary_VR(set, record, is_signed, findings);
        }
        for (int i = 0; Item_Of(record, i) != nullptr; ++i) {
            Fit_List(set, Item_Of(record, i), output, is_signed, findings);
        }
    }
}

/** What is needed to tell of a record after it is gone. */
struct Trace_Of_Record {
    Tag tag;
    unsigned int pos;
    unsigned short flags;
};

std::vector<Trace_Of_Record> Traces_Of(DICOM_List* list)
{
    std::vector<Trace_Of_Record> traces;
    For_Each_Record(list, [&](const DICOM_List& record) {
        if (!Is_Delimiter(record)) {
            traces.push_back({Tag_Of(record), record.pos, record.flags});
        }
    });
    return traces;
}

std::string Removal_Reason(const Trace_Of_Record& trace)
{
    if ((trace.flags & DICOM_Mark_Invalid) != 0) {
        return "removed: its value is invalid";
    }
    return (trace.flags & DICOM_Mark_Deleted) != 0 ? "removed: it cannot be kept whole"
                                                   : "removed together with its sequence";
}

void Report_Removed(const std::vector<Trace_Of_Record>& before, DICOM_List* list,
                    Findings& findings)
{
    std::unordered_set<unsigned int> kept;
    for (const Trace_Of_Record& trace : Traces_Of(list)) {
        kept.insert(trace.pos);
    }
    for (const Trace_Of_Record& trace : before) {
        if (kept.count(trace.pos) == 0) {
            findings.Add(Level::Change, trace.tag, trace.pos, Removal_Reason(trace));
        }
    }
}

}  // namespace

void Settle_VRs(Data_Set& set, Findings& findings)
{
    Settle_List(set, set.records.Head(), false, findings);
}

void Fit_To_Encoding(Data_Set& set, const Encoding& output, Findings& findings)
{
    Fit_List(set, set.records.Head(), output, false, findings);
}

Bytes Value_Bytes(const DICOM_List& record)
{
    return record.data != nullptr ? Bytes(record.data, record.data + record.size) : Bytes();
}

bool Form_Changes(const Bytes& before, const DICOM_List& record)
{
    return Trimmed(before) != Trimmed(Value_Bytes(record));
}

bool Is_Streamed(const DICOM_List& record)
{
    constexpr unsigned short Pixel_Group = 0x7FE0;
    return record.depth == 0 && record.group == Pixel_Group &&
           (record.element == 0x0008 || record.element == 0x0009 || record.element == 0x0010);
}

void Repair_Values(const Data_Set& set, DICOM_List* list, Findings& findings)
{
    for (DICOM_List& record : Records(list)) {
        if (!Is_Streamed(record) && Has_Value(record)) {
            Repair_Record(set, record, findings);
        }
        for (int i = 0; Item_Of(record, i) != nullptr && !Is_Streamed(record); ++i) {
            Repair_Values(set, Item_Of(record, i), findings);
        }
    }
}

void Remove_Invalid(Record_List& list, Findings& findings)
{
    const std::vector<Trace_Of_Record> before = Traces_Of(list.Head());
    DICOM_Attribute_Remove(nullptr, list.Address(), DICOM_Remove_Deleted);
    Report_Removed(before, list.Head(), findings);
}

}  // namespace lib_mend
