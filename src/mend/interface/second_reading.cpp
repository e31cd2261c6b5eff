#include "mend/interface/second_reading.h"

#include "mend/reading/tree.h"

#include <set>
#include <string>
#include <unordered_map>

namespace lib_mend {

namespace {

/** The paths that findings name. */
class Named_Paths {
public:
    explicit Named_Paths(const Findings& findings)
    {
        for (const Finding& finding : findings.All()) {
            if (!finding.path.empty()) {
                any_.insert(finding.path);
            }
            if (!finding.path.empty() && finding.level == Level::Error) {
                lost_.insert(finding.path);
            }
        }
    }

    /** An element, or a sequence around it, is named. */
    bool Hold(const std::string& path, bool as_lost) const
    {
        const std::set<std::string>& named = as_lost ? lost_ : any_;
        for (std::size_t end = path.find_first_of("[/"); end != std::string::npos;
             end = path.find_first_of("[/", end + 1)) {
            if (named.count(path.substr(0, end)) != 0) {
                return true;
            }
        }
        return named.count(path) != 0;
    }

private:
    std::set<std::string> any_;
    std::set<std::string> lost_;
};

/** Long values go from one reading to the other as they are; so do those in another byte order. */
bool Holds_Same(const Data_Set& before, const DICOM_List& old, const Data_Set& after,
                const DICOM_List& now)
{
    constexpr std::int64_t Long = 65536;
    const bool is_long = Size_Of(old) > Long || Size_Of(now) > Long;
    if (is_long || ((old.byte_order ^ now.byte_order) & DICOM_Order_Big_Endian) != 0) {
        return (Size_Of(old) + 1) / 2 == (Size_Of(now) + 1) / 2;
    }
    return Trimmed(before.Value(old)) == Trimmed(after.Value(now));
}

bool Is_Compared(const DICOM_List& record)
{
    return Has_Value(record) && !Is_Delimiter(record) && record.element != 0x0000;
}

}  // namespace

void Report_Differences(const Data_Set& before, const Data_Set& after, Findings& findings)
{
    std::unordered_map<std::string, const DICOM_List*> there;
    For_Each_Element(after.records.Head(), [&](DICOM_List& record, const Path& way) {
        there.emplace(Path_Text(way, Tag_Of(record)), &record);
    });
    const Named_Paths named(findings);
    For_Each_Element(before.records.Head(), [&](DICOM_List& record, const Path& way) {
        const std::string path = Path_Text(way, Tag_Of(record));
        const auto found = there.find(path);
        const bool is_gone = found == there.end();
        if (!Is_Compared(record) || named.Hold(path, is_gone) ||
            (!is_gone && Holds_Same(before, record, after, *found->second))) {
            return;
        }
        Place place = At(record, way);
        place.offset = Finding::Nowhere;
        findings.Report(Fault::Nesting, is_gone ? Level::Error : Level::Change, place,
                        is_gone
                            ? "stands in another value, or at another path, once what is around "
                              "it is in order"
                            : "has another value once what is around it is in order");
    });
}

}  // namespace lib_mend
