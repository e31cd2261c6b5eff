#include "mend/healing/creators.h"

#include "mend/reading/tree.h"

#include <set>

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

void Check_List(DICOM_List* list, const Path& path, Findings& findings)
{
    std::set<Tag> creators;
    for (const DICOM_List& record : Records(list)) {
        if (record.group % 2 != 0 && record.element >= First_Creator &&
            record.element <= Last_Creator) {
            creators.insert(Tag_Of(record));
        }
    }
    for (const DICOM_List& record : Records(list)) {
        const auto block = static_cast<unsigned short>(record.element >> 8);
        if (record.group % 2 == 0) {
            continue;
        }
        if (Is_Outside_Blocks(record.element)) {
            findings.Report(Fault::Creator, Level::Kept, At(record, path),
                            "private element outside all blocks");
        } else if (record.element >= First_Private_Element &&
                   creators.count({record.group, block}) == 0) {
            findings.Report(Fault::Creator, Level::Kept, At(record, path),
                            "no private creator owns it");
        }
    }
}

}  // namespace

void Check_Creators(DICOM_List** list, Findings& findings)
{
    For_Each_List(list,
                  [&](DICOM_List** each, const Path& path) { Check_List(*each, path, findings); });
}

}  // namespace lib_mend
