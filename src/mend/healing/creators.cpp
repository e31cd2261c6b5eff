#include "mend/healing/creators.h"

#include "mend/healing/records.h"
#include "mend/reading/tree.h"

#include <set>
#include <vector>

namespace lib_mend {

namespace {

constexpr unsigned short First_Creator = 0x0010;
constexpr unsigned short Last_Creator = 0x00FF;
constexpr unsigned short First_Private_Element = 0x1000;

/** Numbers that private groups leave free: no creator can reserve them. */
bool Is_Outside_Blocks(unsigned short element)
{
    return (element > 0 && element < First_Creator) ||
           (element > Last_Creator && element < First_Private_Element);
}

/** The element that would reserve the block of a private one. */
Tag Creator_Of(const DICOM_List& record)
{
    return {record.group, static_cast<unsigned short>(record.element >> 8)};
}

void Check_List(DICOM_List* list, const Path& path, Findings& findings)
{
    std::set<Tag> creators;
    // Elements follow their creator, but for a few, which are looked at again when all are known.
    std::vector<const DICOM_List*> doubtful;
    Tag known;
    for (const DICOM_List& record : Records(list)) {
        if (record.group % 2 == 0 || record.element == 0) {
            continue;
        }
        if (Is_Creator(record)) {
            creators.insert(Tag_Of(record));
        } else if (Is_Outside_Blocks(record.element)) {
            doubtful.push_back(&record);
        } else if (const Tag creator = Creator_Of(record); creator != known) {
            if (creators.count(creator) != 0) {
                known = creator;
            } else {
                doubtful.push_back(&record);
            }
        }
    }
    for (const DICOM_List* const record : doubtful) {
        if (Is_Outside_Blocks(record->element)) {
            findings.Report(Fault::Creator, Level::Kept, At(*record, path),
                            "private element outside all blocks");
        } else if (creators.count(Creator_Of(*record)) == 0) {
            findings.Report(Fault::Creator, Level::Kept, At(*record, path),
                            "no private creator owns it");
        }
    }
}

}  // namespace

bool Creator_Watch::Owns(const DICOM_List& record)
{
    if (record.group != group_) {
        group_ = record.group;
        blocks_.reset();
    }
    if (Is_Creator(record)) {
        blocks_.set(record.element);
        return true;
    }
    return record.element == 0 ||
           (!Is_Outside_Blocks(record.element) && blocks_[record.element >> 8U]);
}

void Check_Creators(DICOM_List** list, Findings& findings)
{
    For_Each_List(list,
                  [&](DICOM_List** each, const Path& path) { Check_List(*each, path, findings); });
}

}  // namespace lib_mend
