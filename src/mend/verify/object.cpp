#include "mend/verify/object.h"

#include <algorithm>

namespace lib_mend {

namespace {

bool Is_Before(const std::pair<Tag, DICOM_List*>& entry, Tag tag)
{
    return entry.first < tag;
}

/** The tag of a step of an operand. */
Tag Tag_At(const DICOM_Step& operand, int index, unsigned short group)
{
    const unsigned int tag = operand.tags[index];
    const auto named = static_cast<unsigned short>(tag >> 16U);
    const bool repeats = named == 0x60FF || named == 0x50FF;
    return {repeats ? group : named, static_cast<unsigned short>(tag & 0xFFFFU)};
}

}  // namespace

void Object::Level::Fill(DICOM_List* from)
{
    list = from;
    next_ = 0;
    by_tag.clear();
    for (DICOM_List& record : Records(from)) {
        if (!Is_Delimiter(record)) {
            by_tag.emplace_back(Tag_Of(record), &record);
        }
    }
    const auto by_first = [](const auto& a, const auto& b) {
        return a.first < b.first;
    };
    if (!std::is_sorted(by_tag.begin(), by_tag.end(), by_first)) {
        std::stable_sort(by_tag.begin(), by_tag.end(), by_first);
    }
}

DICOM_List* Object::Level::Find(Tag tag) const
{
    const auto found = std::lower_bound(by_tag.begin(), by_tag.end(), tag, Is_Before);
    return found != by_tag.end() && found->first == tag ? found->second : nullptr;
}

DICOM_List* Object::Level::Find_Next(Tag tag)
{
    if (next_ > 0 && tag < by_tag[next_ - 1].first) {
        next_ = 0;
    }
    while (next_ < by_tag.size() && by_tag[next_].first < tag) {
        ++next_;
    }
    return next_ < by_tag.size() && by_tag[next_].first == tag ? by_tag[next_].second : nullptr;
}

Object::Object(const Data_Set& set) : set_(set)
{
    levels_.emplace_back().Fill(set.records.Head());
    const DICOM_List* const sop_class = Find(SOP_Class_Tag);
    sop_class_ = sop_class != nullptr ? Trimmed(set.Value(*sop_class, 128)) : std::string();
    frames_ = Find(Frame_Groups_Tag);
    const DICOM_List* const shared = Find(Shared_Groups_Tag);
    Add_To(shared_, shared != nullptr ? Item_Of(*shared, 0) : nullptr);
    Sort(shared_);
}

void Object::Enter(const DICOM_List& sequence, int item)
{
    if (spare_.empty()) {
        levels_.emplace_back();
    } else {
        levels_.push_back(std::move(spare_.back()));
        spare_.pop_back();
    }
    levels_.back().Fill(Item_Of(sequence, item));
    ++turn_;
    way_.push_back({Tag_Of(sequence), item});
    levels_.back().sum = Sum_With(levels_[levels_.size() - 2].sum, way_.back());
}

void Object::Leave()
{
    spare_.push_back(std::move(levels_.back()));
    levels_.pop_back();
    ++turn_;
    way_.pop_back();
}

bool Object::Has_Group(unsigned short group) const
{
    const auto& by_tag = levels_.back().by_tag;
    const auto found = std::lower_bound(by_tag.begin(), by_tag.end(), Tag{group, 0}, Is_Before);
    return found != by_tag.end() && found->first.group == group;
}

std::vector<unsigned short> Object::Repetitions(unsigned short group) const
{
    // Sixteen of even number.
    constexpr unsigned short Last = 0x001E;
    std::vector<unsigned short> groups;
    const auto& by_tag = levels_.back().by_tag;
    const auto first = std::lower_bound(by_tag.begin(), by_tag.end(), Tag{group, 0}, Is_Before);
    const bool has_any = first != by_tag.end() && first->first.group <= group + Last;
    for (unsigned short more = 0; has_any && more <= Last; more += 2) {
        if (Has_Group(static_cast<unsigned short>(group + more))) {
            groups.push_back(static_cast<unsigned short>(group + more));
        }
    }
    if (groups.empty()) {
        groups.push_back(group);
    }
    return groups;
}

void Object::Add_To(Group_Index& index, DICOM_List* item)
{
    for (const DICOM_List& group : Records(item)) {
        if (Is_Delimiter(group)) {
            continue;
        }
        index.emplace_back(Tag_Of(group), &group);
        for (int i = 0; Item_Of(group, i) != nullptr; ++i) {
            for (const DICOM_List& record : Records(Item_Of(group, i))) {
                index.emplace_back(Tag_Of(record), &record);
            }
        }
    }
}

void Object::Sort(Group_Index& index)
{
    std::stable_sort(index.begin(), index.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
}

const Object::Group_Index& Object::All_Frames()
{
    if (!has_all_frames_) {
        has_all_frames_ = true;
        for (int i = 0; frames_ != nullptr && Item_Of(*frames_, i) != nullptr; ++i) {
            Add_To(all_frames_, Item_Of(*frames_, i));
        }
        Sort(all_frames_);
    }
    return all_frames_;
}

const Object::Group_Index& Object::Current_Frame()
{
    const int item = way_.front().item;
    if (frame_number_ != item) {
        frame_.clear();
        Add_To(frame_, Item_Of(*frames_, item));
        Sort(frame_);
        frame_number_ = item;
    }
    return frame_;
}

bool Object::Follow(const DICOM_Step& operand, int from, const DICOM_List& record,
                    unsigned short group, const Visit& visit)
{
    if (from == operand.tag_count) {
        return visit(record);
    }
    const Tag tag = Tag_At(operand, from, group);
    for (int i = 0; Item_Of(record, i) != nullptr; ++i) {
        const DICOM_List* const inner = Find_Record(Item_Of(record, i), tag);
        if (inner != nullptr && Follow(operand, from + 1, *inner, group, visit)) {
            return true;
        }
    }
    return false;
}

bool Object::Follow_In(const Group_Index& index, const DICOM_Step& operand, unsigned short group,
                       const Visit& visit) const
{
    const Tag tag = Tag_At(operand, 0, group);
    auto found =
        std::lower_bound(index.begin(), index.end(), tag,
                         [](const auto& entry, Tag wanted) { return entry.first < wanted; });
    for (; found != index.end() && found->first == tag; ++found) {
        if (Follow(operand, 1, *found->second, group, visit)) {
            return true;
        }
    }
    return false;
}

bool Object::Any_In_Groups(const DICOM_Step& operand, unsigned short group, const Visit& visit)
{
    return Follow_In(shared_, operand, group, visit) ||
           Follow_In(In_Frame() ? Current_Frame() : All_Frames(), operand, group, visit);
}

bool Object::Any_Of(const DICOM_Step& operand, unsigned short group, const Visit& visit)
{
    if (operand.origin == DICOM_Step::Frame) {
        return Any_In_Groups(operand, group, visit);
    }
    const Tag tag = Tag_At(operand, 0, group);
    const DICOM_List* record = nullptr;
    if (operand.origin == DICOM_Step::Top) {
        record = tag.group == 0x0002 ? Find_Record(set_.meta.Head(), tag) : levels_[0].Find(tag);
    } else if (operand.up < levels_.size()) {
        record = levels_[levels_.size() - 1 - operand.up].Find(tag);
    }
    return record != nullptr && Follow(operand, 1, *record, group, visit);
}

bool Object::Is_Same_Everywhere(const DICOM_Step& operand) const
{
    constexpr unsigned short Any = 0;
    const bool repeats =
        std::any_of(operand.tags, operand.tags + operand.tag_count, [&](auto& tag) {
            return Tag_At(operand, static_cast<int>(&tag - operand.tags), Any).group == Any;
        });
    return !repeats && (operand.kind == DICOM_Step::Class || operand.origin == DICOM_Step::Top ||
                        (operand.origin == DICOM_Step::Frame && !In_Frame()));
}

}  // namespace lib_mend
