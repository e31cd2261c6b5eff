// Tracking UIDs, each with the label that people read: findings that are followed over time have them in
// segments, in graphics of presentations and in content items of documents.
#include "mend/consistency/tracking.h"
#include "mend/consistency/rules.h"
#include "mend/healing/image.h"
#include "mend/reading/tree.h"

#include <algorithm>
#include <array>
#include <map>
#include <unordered_map>

namespace lib_mend {

namespace {

constexpr Tag SOP_Instance = {0x0008, 0x0018};
constexpr Tag Code_Value = {0x0008, 0x0100};
constexpr Tag Scheme = {0x0008, 0x0102};
constexpr Tag Study = {0x0020, 0x000D};
constexpr Tag Series = {0x0020, 0x000E};
constexpr Tag Frame_Of_Reference = {0x0020, 0x0052};
constexpr Tag Concept_Name = {0x0040, 0xA043};
constexpr Tag UID_Value = {0x0040, 0xA124};
constexpr Tag Text_Value = {0x0040, 0xA160};
constexpr Tag Segments = {0x0062, 0x0002};
constexpr Tag Tracking_ID = {0x0062, 0x0020};
constexpr Tag Tracking_UID = {0x0062, 0x0021};

constexpr std::array Tags = {Tracking_ID, Tracking_UID, Concept_Name,      SOP_Instance,
                             Study,       Series,       Frame_Of_Reference};

/** The value of a content item, told by its name, that is a label or a UID of tracking. */
const DICOM_List* Tracking_Value(const Data_Set& set, const DICOM_List& concept_name, bool& is_uid)
{
    DICOM_List* const code = Item_Of(concept_name, 0);
    const std::string value = code != nullptr ? Text_In(set, code, Code_Value) : std::string();
    is_uid = value == "112040";
    if ((!is_uid && value != "112039") || Text_In(set, code, Scheme) != "DCM") {
        return nullptr;
    }
    return Behind(concept_name, is_uid ? UID_Value : Text_Value);
}

/** Those of elements, and whether content items have any. */
std::vector<Tracking> In_Elements(const Data_Set& set, std::span<const Watched> watched,
                                  bool& has_items)
{
    std::vector<Tracking> all;
    for (const Watched& element : watched) {
        const DICOM_List& record = *element.record;
        bool is_uid = false;
        if (element.tag == Tracking_ID) {
            all.push_back({&record, Behind(record, Tracking_UID), element.sequence});
        } else if (element.tag == Tracking_UID &&
                   (all.empty() || all.back().uid != element.record)) {
            all.push_back({nullptr, &record, element.sequence});
        } else if (element.tag == Concept_Name) {
            has_items = has_items || Tracking_Value(set, record, is_uid) != nullptr;
        }
    }
    return all;
}

/** Those of content items: a label and a UID beside each other belong together. */
void Add_Of_Items(const Data_Set& set, std::vector<Tracking>& all)
{
    std::unordered_map<const DICOM_List*, Tracking> by_content;
    std::vector<const DICOM_List*> order;
    Tree_Walk walk(set.records.Head());
    while (const DICOM_List* const record = walk.Next()) {
        bool is_uid = false;
        const DICOM_List* const value =
            Tag_Of(*record) == Concept_Name ? Tracking_Value(set, *record, is_uid) : nullptr;
        if (value == nullptr) {
            continue;
        }
        const auto [entry, is_new] = by_content.try_emplace(walk.Around());
        if (is_new) {
            order.push_back(walk.Around());
        }
        const DICOM_List*& place = is_uid ? entry->second.uid : entry->second.label;
        place = place == nullptr ? value : place;
    }
    for (const DICOM_List* const content : order) {
        all.push_back(by_content.at(content));
        all.back().sequence = Concept_Name;
    }
}

/** Each is required when the other is there; of segments the definitions say so. */
void Check_Pair(Subject_Set& subject, const Tracking& each)
{
    const bool is_alone = each.label == nullptr || each.uid == nullptr;
    if (is_alone && each.sequence != Segments && each.sequence != Concept_Name) {
        subject.doubts.push_back({each.label != nullptr ? each.label : each.uid, Fault::Reference,
                                  Level::Kept,
                                  each.label != nullptr ? "stands there without a Tracking UID"
                                                        : "stands there without a Tracking ID",
                                  "PS3.3 C.10.5"});
    }
}

void Check_Identity(Subject_Set& subject, const Tracking& each)
{
    constexpr struct {
        Tag tag;
        const char* text;
    } Others[] = {{Study, "is the UID of the study too"},
                  {Series, "is the UID of the series too"},
                  {SOP_Instance, "is the UID of the instance too"},
                  {Frame_Of_Reference, "is the UID of the frame of reference too"}};
    const std::string_view uid = each.uid != nullptr ? subject.Text(*each.uid) : std::string_view();
    const auto* const other =
        std::find_if(std::begin(Others), std::end(Others),
                     [&](const auto& row) { return subject.Top_Text(row.tag) == uid; });
    if (!uid.empty() && other != std::end(Others)) {
        subject.doubts.push_back(
            {each.uid, Fault::UID_Reused, Level::Kept, other->text, nullptr, std::string(uid)});
    }
}

/** One UID has one label, and one label is that of one UID. */
class Labels {
public:
    explicit Labels(Subject_Set& subject) : subject_(subject)
    {
    }

    void Take(const Tracking& each)
    {
        const std::string_view label = Text(each.label);
        const std::string_view uid = Text(each.uid);
        if (label.empty() || uid.empty()) {
            return;
        }
        if (labels_.try_emplace(uid, label).first->second != label) {
            Doubt_Of(*each.uid, Fault::UID_Reused, Level::Kept,
                     "stands before with another Tracking ID", uid);
        } else if (uids_.try_emplace(label, uid).first->second != uid) {
            Doubt_Of(*each.label, Fault::Unlikely, Level::Info,
                     "is the label of another Tracking UID too", label);
        }
    }

private:
    std::string_view Text(const DICOM_List* record) const
    {
        return record != nullptr ? subject_.Text(*record) : std::string_view();
    }
    void Doubt_Of(const DICOM_List& record, Fault fault, Level level, const char* text,
                  std::string_view value)
    {
        const char* const clause = level == Level::Info ? "PS3.3 C.8.20.2" : nullptr;
        subject_.doubts.push_back({&record, fault, level, text, clause, std::string(value)});
    }

    Subject_Set& subject_;
    std::map<std::string_view, std::string_view> labels_;
    std::map<std::string_view, std::string_view> uids_;
};

void Check(Subject_Set& subject)
{
    Labels labels(subject);
    for (const Tracking& each : Trackings_Of(subject)) {
        Check_Pair(subject, each);
        Check_Identity(subject, each);
        labels.Take(each);
    }
}

}  // namespace

std::vector<Tracking> Trackings_Of(const Subject_Set& subject)
{
    bool has_items = false;
    std::vector<Tracking> all = In_Elements(subject.set, subject.watched, has_items);
    if (has_items) {
        Add_Of_Items(subject.set, all);
    }
    return all;
}

constinit const Rule Tracking_Rule = {Tags, Check};

}  // namespace lib_mend
