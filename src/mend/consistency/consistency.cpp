#include "mend/consistency/consistency.h"

#include "mend/consistency/rules.h"
#include "mend/healing/records.h"
#include "mend/reading/tree.h"

#include <algorithm>
#include <bitset>
#include <map>
#include <unordered_map>

namespace lib_mend {

namespace {

const Rule* const Rules[] = {&Reference_Rule, &Instance_Rule, &Frame_Rule,    &Item_Rule,
                             &LUT_Rule,       &Identity_Rule, &Tracking_Rule, &Count_Rule,
                             &Geometry_Rule,  &Date_Rule};

constexpr std::size_t Filter_Size = 4096;

std::size_t Place_In_Filter(unsigned int group, unsigned int element)
{
    return (element ^ group * 61U) % Filter_Size;
}

/** Tells of nearly all elements at once that no rule wants them. */
class Wanted_Tags {
public:
    Wanted_Tags()
    {
        std::map<Tag, unsigned int> rules;
        unsigned int bit = 1;
        for (const Rule* const rule : Rules) {
            for (const Tag tag : rule->tags) {
                rules[tag] |= bit;
                filter_.set(Place_In_Filter(tag.group, tag.element));
            }
            bit <<= 1U;
        }
        rules_.assign(rules.begin(), rules.end());
    }

    /** A bit for each rule that wants an element. */
    unsigned int Rules_For(const DICOM_List& record) const
    {
        // Overlays repeat their group; the first stands for all.
        const auto group = static_cast<unsigned short>(
            (record.group & 0xFF00U) == 0x6000 ? 0x6000U : record.group);
        if (!filter_[Place_In_Filter(group, record.element)]) {
            return 0;
        }
        const Tag tag = {group, record.element};
        const auto found =
            std::lower_bound(rules_.begin(), rules_.end(), tag,
                             [](const auto& each, Tag wanted) { return each.first < wanted; });
        return found != rules_.end() && found->first == tag ? found->second : 0;
    }

private:
    std::vector<std::pair<Tag, unsigned int>> rules_;
    std::bitset<Filter_Size> filter_;
};

/** Values of more bytes are not looked at. */
constexpr std::size_t Longest_Value = std::size_t{1} << 20;

std::string Whole_Value(const Data_Set& set, const DICOM_List& record)
{
    const Bytes bytes = Has_Value(record) ? set.Value(record, Longest_Value) : Bytes();
    return {bytes.begin(), bytes.end()};
}

std::size_t Width_Of(unsigned short vr)
{
    switch (vr) {
    case VR_SS:
    case VR_US:
        return 2;
    case VR_AT:
    case VR_FL:
    case VR_SL:
    case VR_UL:
        return 4;
    case VR_FD:
        return 8;
    default:
        return 0;
    }
}

}  // namespace

const DICOM_List* Subject_Set::Top(Tag tag) const
{
    const auto found =
        std::lower_bound(top.begin(), top.end(), tag, [](const DICOM_List* record, Tag wanted) {
            return Tag_Of(*record) < wanted;
        });
    return found != top.end() && Tag_Of(**found) == tag ? *found : nullptr;
}

std::string_view Subject_Set::Text(const DICOM_List& record) const
{
    constexpr std::string_view Padding(" \0", 2);
    const std::string_view text = Has_Value(record) ? Bytes_Of(record) : std::string_view();
    const std::size_t first = std::min(text.find_first_not_of(Padding), text.size());
    return text.substr(first, text.find_last_not_of(Padding) + 1 - first);
}

std::string_view Subject_Set::Top_Text(Tag tag) const
{
    const DICOM_List* const record = Top(tag);
    return record != nullptr ? Text(*record) : std::string_view();
}

Numbers Subject_Set::Whole_Numbers(const DICOM_List& record) const
{
    if (Size_Of(record) > static_cast<std::int64_t>(Longest_Value)) {
        return {};
    }
    const std::string loaded = record.data == nullptr ? Whole_Value(set, record) : std::string();
    return Numbers_In(record.data != nullptr ? Bytes_Of(record) : loaded, VR_Of(record),
                      record.byte_order)
        .value_or(Numbers());
}

std::optional<std::size_t> Subject_Set::Count(const DICOM_List& record) const
{
    if (Size_Of(record) <= 0) {
        return 0;
    }
    if (const std::size_t width = Width_Of(VR_Of(record)); width != 0) {
        return static_cast<std::size_t>(Size_Of(record)) / width;
    }
    if (Size_Of(record) > static_cast<std::int64_t>(Longest_Value)) {
        return std::nullopt;
    }
    const std::string value = Whole_Value(set, record);
    return static_cast<std::size_t>(std::count(value.begin(), value.end(), '\\')) + 1;
}

const DICOM_List* Behind(const DICOM_List& record, Tag tag)
{
    // Of elements that stand there many times each looks as far as the next, and all together once.
    const Tag own = Tag_Of(record);
    const DICOM_List* next = own < tag ? record.next : &record;
    while (next != nullptr && Tag_Of(*next) < tag && own < Tag_Of(*next)) {
        next = next->next;
    }
    return next != nullptr && Tag_Of(*next) == tag ? next : nullptr;
}

void Watch(Subject_Set& subject, const DICOM_List& record, const Path& path)
{
    static const Wanted_Tags wanted;
    const unsigned int rules = wanted.Rules_For(record);
    if (rules == 0) {
        return;
    }
    if (path.empty()) {
        subject.watched.push_back({&record, Tag_Of(record), {}, {}, {}, 0, rules});
        subject.top.push_back(&record);
    } else {
        const Tag around = path.size() > 1 ? path[path.size() - 2].sequence : Tag{};
        subject.watched.push_back({&record, Tag_Of(record), path.back().sequence,
                                   path.front().sequence, around, path.front().item, rules});
    }
}

void Watch(Subject_Set& subject)
{
    For_Each_Element(subject.set.records.Head(), [&](const DICOM_List& record, const Path& path) {
        Watch(subject, record, path);
    });
    const auto is_before = [](const DICOM_List* a, const DICOM_List* b) {
        return Tag_Of(*a) < Tag_Of(*b);
    };
    if (!std::is_sorted(subject.top.begin(), subject.top.end(), is_before)) {
        std::stable_sort(subject.top.begin(), subject.top.end(), is_before);
    }
}

void Report_Doubts(const Subject_Set& subject, Findings& findings)
{
    if (subject.doubts.empty()) {
        return;
    }
    std::unordered_map<const DICOM_List*, std::vector<const Doubt*>> doubts;
    for (const Doubt& doubt : subject.doubts) {
        doubts[doubt.record].push_back(&doubt);
    }
    Tree_Walk walk(subject.set.records.Head());
    const DICOM_List* next = walk.Next();
    for (std::size_t left = doubts.size(); left > 0 && next != nullptr; next = walk.Next()) {
        const DICOM_List& record = *next;
        const auto here = doubts.find(&record);
        if (here == doubts.end()) {
            continue;
        }
        --left;
        for (const Doubt* const doubt : here->second) {
            findings.Report(doubt->fault, doubt->level, At(record, walk.Way()), doubt->text,
                            {doubt->value, {}}, doubt->clause);
        }
    }
}

void Check_Consistency(const Data_Set& set, Findings& findings)
{
    Subject_Set subject = {set};
    Watch(subject);
    Check_Watched(subject, findings);
}

void Check_Watched(Subject_Set& subject, Findings& findings)
{
    if (subject.watched.empty()) {
        return;
    }
    subject.rule = 1;
    for (const Rule* const rule : Rules) {
        rule->check(subject);
        subject.rule <<= 1U;
    }
    Report_Doubts(subject, findings);
}

}  // namespace lib_mend
