// An item and its sequence that are both not closed: they take in what follows them.
//
//     (0008,1140) (FFFE,E000) (0008,1155) (0010,0010) (0010,0020) ... (7FE0,0010)   the end
//
// That shows at the end of the data set only. What belongs to the item is below the tag of its sequence,
// refers to an instance, or stands in the item in front too; the data set goes on with the patient, the
// image, and ever other groups.
#include "mend/reading/element_reader.h"
#include "mend/reading/tree.h"

#include <algorithm>
#include <array>
#include <set>

namespace lib_mend {

namespace {

constexpr std::array Tags_Of_Data_Sets = {Tag{0x0010, 0x0010}, Tag{0x0010, 0x0020}};
/** What refers to an instance does so in an item. */
constexpr std::array Tags_Of_Items = {Tag{0x0008, 0x1150}, Tag{0x0008, 0x1155},
                                      Tag{0x0008, 0x1160}};
constexpr Tag Rows_Tag = {0x0028, 0x0010};

/** So many other groups does no item have behind that of its sequence. */
constexpr int Many_Groups = 3;

bool Is_Among(Tag tag, std::span<const Tag> tags)
{
    return std::find(tags.begin(), tags.end(), tag) != tags.end();
}

/** The elements from one on are those of a data set, and not of an item of a sequence. */
bool Are_Of_Data_Set(const DICOM_List& item, const DICOM_List* first, Tag sequence)
{
    bool has_rows = false;
    for (const DICOM_List* record = &item; record != first; record = record->next) {
        // An image of the item's own.
        has_rows = has_rows || Tag_Of(*record) == Rows_Tag;
    }
    int groups = 0;
    unsigned short group = sequence.group;
    for (; first != nullptr; first = first->next) {
        const Tag tag = Tag_Of(*first);
        groups += tag.group > group ? 1 : 0;
        group = std::max(group, tag.group);
        if (Is_Among(tag, Tags_Of_Data_Sets) || (tag == Pixel_Data_Tag && !has_rows)) {
            return true;
        }
    }
    return groups >= Many_Groups;
}

/** Tags of an item, which those of the same sequence mostly share. */
std::set<Tag> Tags_Of(const DICOM_List* record)
{
    std::set<Tag> tags;
    for (; record != nullptr; record = record->next) {
        tags.insert(Tag_Of(*record));
    }
    return tags;
}

/** Records that move from an item to the list around its sequence. */
void Raise(DICOM_List* records)
{
    constexpr unsigned char Deepest = 255;
    Tree_Walk walk(records);
    while (DICOM_List* const record = walk.Next()) {
        if (record->depth > 0 && record->depth < Deepest) {
            --record->depth;
        }
    }
}

}  // namespace

/** Gives what an unclosed item took in back to the data set; false when it took in nothing. */
bool Element_Reader::Release_Data_Set()
{
    constexpr unsigned short First_Group_Of_Data = 0x0008;
    if (position_ != end_ || levels_.size() < 3) {
        return false;
    }
    const bool is_cut = std::any_of(levels_.begin() + 1, levels_.end(),
                                    [this](const auto& level) { return level.claimed_end > end_; });
    Nesting_Level& data_set = levels_[0];
    const Nesting_Level& sequence = levels_[1];
    const Nesting_Level& item = levels_[2];
    const Tag tag = Tag_Of(*sequence.owner);
    if (is_cut || item.kind != Level_Kind::List || sequence.claimed_end != Level_View::Open ||
        item.claimed_end != Level_View::Open || tag.group < First_Group_Of_Data) {
        return false;
    }
    const std::set<Tag> tags =
        sequence.items > 1 ? Tags_Of(sequence.owner->item[sequence.items - 2]) : std::set<Tag>();
    const auto stays = [&](const DICOM_List& record) {
        const Tag own = Tag_Of(record);
        return own <= tag || tags.count(own) != 0 || Is_Among(own, Tags_Of_Items);
    };
    // The first element is the item's, for an empty one would have been closed.
    DICOM_List* last = item.head->next != nullptr ? item.head->next : item.head;
    while (last->next != nullptr && stays(*last->next)) {
        last = last->next;
    }
    DICOM_List* const first = last->next;
    if (first == nullptr || !Are_Of_Data_Set(*item.head, first, tag)) {
        return false;
    }
    path_.clear();
    Report(Fault::Nesting, Level::Error, *sequence.owner,
           "neither it nor its item is closed; the elements from (" + Tag_Text(Tag_Of(*first)) +
               ") on are taken as those of the data set");
    last->next = nullptr;
    item.head->last = last;
    data_set.tail->next = first;
    data_set.tail = item.tail;
    data_set.head->last = item.tail;
    Raise(first);
    return true;
}

}  // namespace lib_mend
