#include "mend/interface/check.h"

#include "mend/healing/repair.h"
#include "mend/writing/file_meta.h"
#include "mend/writing/pixel_data.h"

#include <cstdlib>
#include <cstring>
#include <set>
#include <string_view>
#include <utility>

namespace lib_mend {

namespace {

/** Says what the repair of a value does without a word: it widens ages to four characters. */
void Check_Age(const DICOM_List& record, Findings& findings)
{
    DICOM_List copy = record;
    const auto size = static_cast<std::size_t>(record.size);
    copy.data = static_cast<unsigned char*>(std::malloc(size));
    if (copy.data == nullptr) {
        findings.Add(Level::Error, record, "no memory to check it");
        return;
    }
    std::memcpy(copy.data, record.data, size);
    const std::size_t count = findings.Count();
    DICOM_Attribute_Cleanup_Tag(nullptr, &copy);
    if (findings.Count() == count && Form_Changes(Value_Bytes(record), copy)) {
        findings.Add(Level::Change, record, Form_Text);
    }
    std::free(copy.data);
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
    findings.Add(Level::Change, record, "sequence stored as UN");
    if (value.ends_with(End_Of_Sequence)) {
        const std::size_t at = record.data_pos + value.size() - End_Of_Sequence.size();
        findings.Add(Level::Change, Tag_Of(record), static_cast<std::int64_t>(at),
                     "sequence delimitation inside a given length");
    }
}

/** Looks at one value, which is in memory no longer than that. */
void Check_Value(const Data_Set& set, DICOM_List& record, Findings& findings)
{
    const bool was_loaded = record.data != nullptr;
    const unsigned char order = record.byte_order;
    if (!set.Load(record)) {
        findings.Add(Level::Error, record, "the value cannot be read");
        return;
    }
    if (record.data == nullptr) {
        return;
    }
    const About about(findings, record);
    DICOM_List alone = record;
    alone.next = nullptr;
    alone.item = nullptr;
    DICOM_Root root = {};
    const std::size_t count = findings.Count();
    DICOM_Attribute_Syntax(nullptr, &root, &alone);
    if (VR_Of(record) == VR_AS && findings.Count() == count) {
        Check_Age(record, findings);
    } else if (VR_Of(record) == VR_UN) {
        Check_Unknown(record, findings);
    }
    if (was_loaded) {
        record.byte_order = alone.byte_order;
    } else {
        std::free(std::exchange(record.data, nullptr));
        record.byte_order = order;
    }
}

/** Private elements belong to whoever reserved their block (PS3.5 section 7.8.1). */
void Check_Creators(DICOM_List* list, Findings& findings)
{
    constexpr unsigned short First_Private_Element = 0x1000;
    std::set<Tag> creators;
    for (const DICOM_List& record : Records(list)) {
        if (record.group % 2 == 0) {
            continue;
        }
        const auto block = static_cast<unsigned short>(record.element >> 8);
        if (record.element >= 0x0010 && record.element <= 0x00FF) {
            creators.insert(Tag_Of(record));
        } else if (record.element >= First_Private_Element &&
                   creators.count({record.group, block}) == 0) {
            findings.Add(Level::Change, record, "no private creator owns it");
        }
    }
}

void Check_List(const Data_Set& set, DICOM_List* list, Findings& findings)
{
    Check_Creators(list, findings);
    for (DICOM_List& record : Records(list)) {
        if (Is_Streamed(record)) {
            continue;
        }
        if (Has_Value(record)) {
            Check_Value(set, record, findings);
        }
        for (int i = 0; Item_Of(record, i) != nullptr; ++i) {
            Check_List(set, Item_Of(record, i), findings);
        }
    }
}

}  // namespace

void Check(Data_Set& set, Findings& findings)
{
    DICOM_Root root = {};
    DICOM_Attribute_Complement(nullptr, &root, set.records.Head());
    Settle_VRs(set, findings);
    Check_List(set, set.records.Head(), findings);
    Sort_Records(set.records, findings);
    Remove_Unwanted(set.records, false, true, findings);
    if (set.too_deep) {
        findings.Add(Level::Change, "sequences nest deeper than nine levels");
    }
    if (set.preamble_in_use) {
        findings.Add(Level::Info, "the preamble held data of an application");
    }
    Report_Pixel_Changes(set, findings);
    if (set.meta.Head() != nullptr) {
        const std::string syntax =
            set.encoding.encapsulated ? set.syntax : std::string(UID_Of(set.encoding));
        Complete_Meta(set, syntax, findings);
    }
    findings.Settle_Errors();
}

}  // namespace lib_mend
