#include "commands.h"
#include "mend/healing/character_set.h"
#include "mend/healing/image.h"

#include <algorithm>
#include <array>
#include <utility>

namespace dicom_mend {

namespace {

constexpr lib_mend::Tag SOP_Class_Tag = {0x0008, 0x0016};
constexpr lib_mend::Tag Manufacturer_Tag = {0x0008, 0x0070};
constexpr lib_mend::Tag Model_Tag = {0x0008, 0x1090};
constexpr lib_mend::Tag Serial_Number_Tag = {0x0018, 0x1020};
constexpr lib_mend::Tag Study_Tag = {0x0020, 0x000D};

/** What says what a data set is: the elements are found in one walk, since that of a large one takes its time. */
class Described {
public:
    explicit Described(const lib_mend::Data_Set& set) : set_(set)
    {
        std::size_t left = found_.size();
        for (const DICOM_List& record : lib_mend::Records(set.records.Head())) {
            for (auto& [tag, element] : found_) {
                if (element == nullptr && lib_mend::Tag_Of(record) == tag) {
                    element = &record;
                    --left;
                }
            }
            // What was healed is in order.
            if (left == 0 || (set.healed && lib_mend::Tag_Of(record) > Study_Tag)) {
                break;
            }
        }
    }

    /** A value without padding, and without what is behind its first bytes. */
    std::string Text(lib_mend::Tag tag, std::size_t most = 64) const
    {
        const auto* const found = std::find_if(
            found_.begin(), found_.end(), [tag](const auto& each) { return each.first == tag; });
        const DICOM_List* const element = found->second;
        return element != nullptr && lib_mend::Has_Value(*element)
                   ? lib_mend::Trimmed(set_.Value(*element, most))
                   : std::string();
    }

private:
    const lib_mend::Data_Set& set_;
    std::array<std::pair<lib_mend::Tag, const DICOM_List*>, 6> found_ = {
        {{lib_mend::Character_Set_Tag, nullptr},
         {SOP_Class_Tag, nullptr},
         {Manufacturer_Tag, nullptr},
         {Model_Tag, nullptr},
         {Serial_Number_Tag, nullptr},
         {Study_Tag, nullptr}}};
};

}  // namespace

void Take_Findings(lib_mend::Findings& findings, File_Record& record)
{
    findings.Sum_Up();
    record.status = Status_Of(findings);
    record.findings = findings.All();
}

void Describe(const lib_mend::Data_Set& set, lib_mend::Findings& findings, File_Record& record)
{
    Take_Findings(findings, record);
    if (set.foreign) {
        return;
    }
    constexpr std::size_t Enough = 256;
    const Described described(set);
    const lib_mend::Character_Set characters(described.Text(lib_mend::Character_Set_Tag));
    const auto text = [&](lib_mend::Tag tag) {
        return characters.To_UTF_8(described.Text(tag, Enough), VR_LO);
    };
    record.sop_class = described.Text(SOP_Class_Tag);
    if (record.sop_class.empty()) {
        // A directory has no other.
        record.sop_class = lib_mend::Text_In(set, set.meta.Head(), {0x0002, 0x0002});
    }
    record.study = described.Text(Study_Tag);
    record.device = {text(Manufacturer_Tag), text(Model_Tag), text(Serial_Number_Tag)};
}

}  // namespace dicom_mend
