#include "support/recovery.h"

#include "support/plain_converter.h"

#include <algorithm>
#include <map>

namespace {

bool Is_Damaged(const std::string& path, const std::string& damaged)
{
    return path == damaged;
}

bool Is_Picture(const std::string& path)
{
    return path.compare(0, 9, "7fe0,0010") == 0;
}

/** The offset table is made anew; the frames are the picture. */
bool Is_Offset_Table(const std::string& path)
{
    return path == "7fe0,0010[0]";
}

}  // namespace

Recovery Recovery_Of(const Fault_Case& fault, const Mended_File& mended)
{
    Recovery recovery;
    const Plain_File after = Read_Plain(mended.bytes);
    const auto values = after.Values();
    const bool is_fragment_fault = fault.damaged == "7fe0,0010";
    recovery.said = !mended.Faults().empty();
    recovery.picture_recovered = true;
    for (const auto& [path, value] : fault.sound->plain.Values()) {
        if (Is_Damaged(path, fault.damaged) || (Is_Picture(path) && is_fragment_fault)) {
            continue;
        }
        ++recovery.wanted;
        const auto found = values.find(path);
        const bool there =
            found != values.end() && (found->second == value || Is_Offset_Table(path));
        recovery.recovered += there ? 1U : 0U;
        if (Is_Picture(path)) {
            recovery.has_picture = true;
            recovery.picture_recovered = recovery.picture_recovered && there;
        }
        if (!there) {
            recovery.missing += path + (found != values.end() ? " differs\n" : " is missing\n");
        }
    }
    return recovery;
}

void Kind_Of_Fault_Count::Add(const Recovery& recovery, const Recovery& plainly,
                              const Recovery& conversion)
{
    ++cases;
    recovered += recovery.Fraction();
    worst = std::min(worst, recovery.Fraction());
    read_plainly += plainly.Fraction();
    pictures_read_plainly += plainly.has_picture && plainly.picture_recovered ? 1U : 0U;
    converted += conversion.Fraction();
    pictures_converted += conversion.has_picture && conversion.picture_recovered ? 1U : 0U;
    pictures += recovery.has_picture ? 1U : 0U;
    pictures_recovered += recovery.has_picture && recovery.picture_recovered ? 1U : 0U;
    unsaid += recovery.said ? 0U : 1U;
}

std::vector<Kind_Of_Fault_Count> Count_Recovery(const std::vector<Sound_File>& files, int places)
{
    std::map<std::string, Kind_Of_Fault_Count> counts;
    Kind_Of_Fault_Count all;
    all.kind = "all";
    for (const Sound_File& file : files) {
        For_Each_Fault(file, places, [&](const Fault_Case& fault) {
            const Recovery recovery = Recovery_Of(fault, Mend_In_Memory(fault.bytes));
            Mended_File unmended;
            unmended.bytes = fault.bytes;
            const Recovery plainly = Recovery_Of(fault, unmended);
            unmended.bytes = Convert_Plainly(fault.bytes);
            const Recovery conversion = Recovery_Of(fault, unmended);
            counts[fault.kind].Add(recovery, plainly, conversion);
            all.Add(recovery, plainly, conversion);
        });
    }
    std::vector<Kind_Of_Fault_Count> rows;
    for (const std::string& kind : Fault_Kinds()) {
        Kind_Of_Fault_Count row = counts[kind];
        row.kind = kind;
        rows.push_back(row);
    }
    rows.push_back(all);
    return rows;
}
