// Items that are counted by values, and values that count items.
#include "mend/consistency/rules.h"
#include "mend/healing/image.h"
#include "mend/reading/tree.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>

namespace lib_mend {

namespace {

constexpr Tag Dimensions = {0x0020, 0x9222};
constexpr Tag Dimension_Values = {0x0020, 0x9157};
constexpr Tag Frame_Content = {0x0020, 0x9111};
constexpr Tag Dimension_Pointer = {0x0020, 0x9165};
constexpr Tag Organization_Type = {0x0020, 0x9311};
constexpr Tag Stack_Position = {0x0020, 0x9057};
constexpr Tag Frame_Groups = {0x5200, 0x9230};
constexpr Tag Shared_Groups = {0x5200, 0x9229};
constexpr Tag Segmentation_Type = {0x0062, 0x0001};
constexpr Tag Segments = {0x0062, 0x0002};
constexpr Tag Segment_Number = {0x0062, 0x0004};
constexpr Tag Annotated_Channels = {0x0040, 0xA0B0};
constexpr Tag Waveform_Annotations = {0x0040, 0xB020};
constexpr Tag Waveforms = {0x5400, 0x0100};
constexpr Tag Channel_Count = {0x003A, 0x0005};
constexpr Tag Content = {0x0040, 0xA730};
constexpr Tag Content_Reference = {0x0040, 0xDB73};

constexpr std::array Tags = {
    Dimensions,        Dimension_Values,   Frame_Content,     Segmentation_Type, Segment_Number,
    Waveforms,         Annotated_Channels, Content_Reference, Content,           Dimension_Pointer,
    Organization_Type, Stack_Position,     Frame_Groups};

DICOM_List* Item(const DICOM_List& sequence, std::int64_t index)
{
    const bool is_number = index >= 0 && index < sequence.nb_item;
    return is_number ? Item_Of(sequence, static_cast<int>(index)) : nullptr;
}

/** A frame has an index for each dimension. */
void Check_Dimensions(Subject_Set& subject, std::size_t dimensions, const Watched& element)
{
    const std::size_t values = subject.Count(*element.record).value_or(dimensions);
    if (values != 0 && values != dimensions) {
        subject.doubts.push_back({element.record, Fault::Item_Count, Level::Kept,
                                  std::to_string(values) + " indices for " +
                                      std::to_string(dimensions) +
                                      (dimensions == 1 ? " dimension" : " dimensions"),
                                  "PS3.3 C.7.6.16.2.2"});
    }
}

/** What counts from 1 and holds a zero; of frames that do there is one finding for all. */
bool Has_Zero(Subject_Set& subject, const Watched& element, const char* text, const char* clause)
{
    const Numbers numbers = subject.Whole_Numbers(*element.record);
    const bool has_zero = std::find(numbers.begin(), numbers.end(), 0) != numbers.end();
    if (has_zero) {
        subject.doubts.push_back(
            {element.record, Fault::Item_Count, Level::Kept, text, clause, Text_Of(numbers)});
    }
    return has_zero;
}

/** What is wrong with the indices of frames; each is told once. */
class Frame_Indices {
public:
    Frame_Indices(Subject_Set& subject, std::size_t dimensions)
        : subject_(subject), dimensions_(dimensions)
    {
    }

    void Take(const Watched& element)
    {
        Check_Dimensions(subject_, dimensions_, element);
        has_zero_ = has_zero_ ||
                    Has_Zero(subject_, element, "the indices of a dimension are counted from 1",
                             "PS3.3 C.7.6.17");
        const Numbers indices = subject_.Whole_Numbers(*element.record);
        if (!has_twins_ && !indices.empty() && !seen_.insert(indices).second) {
            has_twins_ = true;
            subject_.doubts.push_back({element.record, Fault::Unlikely, Level::Info,
                                       "a frame before has the same indices", "PS3.3 C.7.6.17",
                                       Text_Of(indices)});
        }
    }
    void Take_Position(const Watched& element)
    {
        has_zero_position_ =
            has_zero_position_ ||
            Has_Zero(subject_, element, "positions are counted from 1", "PS3.3 C.7.6.16.2.2");
    }

private:
    Subject_Set& subject_;
    std::size_t dimensions_;
    std::set<Numbers> seen_;
    bool has_zero_ = false;
    bool has_twins_ = false;
    bool has_zero_position_ = false;
};

/** The tags that a value of VR AT names, group in the upper half. */
Numbers Pointed_Tags(const Subject_Set& subject, const DICOM_List& record)
{
    const Bytes bytes = Has_Value(record) ? subject.set.Value(record, 64) : Bytes();
    Numbers tags;
    for (std::size_t i = 0; VR_Of(record) == VR_AT && i + 4 <= bytes.size(); i += 4) {
        tags.push_back(std::int64_t{Get_UShort(record.byte_order, bytes.data() + i)} << 16 |
                       Get_UShort(record.byte_order, bytes.data() + i + 2));
    }
    return tags;
}

/** Dimensions are attributes of frames. Of tiles that fill the whole image none need be written. */
void Check_Pointers(Subject_Set& subject)
{
    std::map<Tag, const DICOM_List*> wanted;
    subject.For_Each([&](const Watched& element) {
        const Numbers tags = element.tag == Dimension_Pointer && element.outermost == Dimensions
                                 ? Pointed_Tags(subject, *element.record)
                                 : Numbers();
        for (const std::int64_t tag : tags) {
            wanted.emplace(Tag{static_cast<unsigned short>(tag >> 16),
                               static_cast<unsigned short>(tag & 0xFFFF)},
                           element.record);
        }
    });
    if (wanted.empty() || subject.Top(Frame_Groups) == nullptr ||
        subject.Top_Text(Organization_Type) == "TILED_FULL") {
        return;
    }
    Tree_Walk walk(subject.set.records.Head());
    for (const DICOM_List* record = walk.Next(); record != nullptr && !wanted.empty();
         record = walk.Next()) {
        wanted.erase(Tag_Of(*record));
    }
    for (const auto& [tag, record] : wanted) {
        subject.doubts.push_back({record, Fault::Reference, Level::Kept,
                                  "no frame has the attribute of this dimension", "PS3.3 C.7.6.17",
                                  Tag_Text(tag)});
    }
}

/** Segments are numbered from 1, one after the other, where pixels do not hold their numbers. */
void Check_Segments(Subject_Set& subject)
{
    const std::string_view type = subject.Top_Text(Segmentation_Type);
    if (type != "BINARY" && type != "FRACTIONAL") {
        return;
    }
    for (const Watched& element : subject.watched) {
        if (element.tag != Segment_Number || element.outermost != Segments ||
            element.sequence != Segments) {
            continue;
        }
        const Numbers numbers = subject.Whole_Numbers(*element.record);
        if (numbers.size() == 1 && numbers.front() != element.item + 1) {
            subject.doubts.push_back({element.record, Fault::Segment_Number, Level::Kept,
                                      "segments are to be numbered from 1, this one is the " +
                                          std::to_string(element.item + 1) + ". in the sequence",
                                      nullptr, Text_Of(numbers)});
            // The numbers behind it are shifted by it.
            return;
        }
    }
}

/** How many channels each multiplex group has; nothing where that is not told. */
using Channel_Counts = std::vector<std::optional<std::int64_t>>;

Channel_Counts Channels_Of(const Subject_Set& subject)
{
    Channel_Counts counts;
    const DICOM_List* const waveforms = subject.Top(Waveforms);
    for (int i = 0; waveforms != nullptr && Item_Of(*waveforms, i) != nullptr; ++i) {
        counts.push_back(Number_In(subject.set, Item_Of(*waveforms, i), Channel_Count));
    }
    return counts;
}

/** Pairs of a multiplex group and a channel of it; channel 0 stands for all. */
void Check_Channels(Subject_Set& subject, const Channel_Counts& counts, const Watched& element)
{
    const Numbers numbers = subject.Whole_Numbers(*element.record);
    for (std::size_t i = 0; i + 1 < numbers.size(); i += 2) {
        const std::int64_t group = numbers[i];
        const std::int64_t channel = numbers[i + 1];
        const bool is_group = group >= 1 && group <= std::ssize(counts);
        const auto most = is_group ? counts[static_cast<std::size_t>(group - 1)] : std::nullopt;
        if (!is_group || (most && channel > *most)) {
            subject.doubts.push_back({element.record, Fault::Reference, Level::Kept,
                                      "there is no such channel", "PS3.3 C.10.10",
                                      Text_Of({group, channel})});
            return;
        }
    }
}

/** Finds the Content Sequence of lists, each of which is gone through once. */
class Contents_Of_Items {
public:
    const DICOM_List* Of(DICOM_List* list)
    {
        const auto [entry, is_new] = known_.emplace(list, nullptr);
        if (is_new) {
            entry->second = Find_Record(list, Content);
        }
        return entry->second;
    }

private:
    std::unordered_map<const DICOM_List*, const DICOM_List*> known_;
};

/** The way to a content item: 1 for the document, then the number of an item on each level. */
bool Is_Content_Item(const Subject_Set& subject, const Numbers& way, Contents_Of_Items& contents)
{
    DICOM_List* list = way.front() == 1 ? subject.set.records.Head() : nullptr;
    for (std::size_t i = 1; i < way.size() && list != nullptr; ++i) {
        const DICOM_List* const content = contents.Of(list);
        list = content != nullptr ? Item(*content, way[i] - 1) : nullptr;
    }
    return list != nullptr;
}

void Check_Content(Subject_Set& subject, Contents_Of_Items& contents, const Watched& element)
{
    const Numbers way = subject.Whole_Numbers(*element.record);
    if (!way.empty() && !Is_Content_Item(subject, way, contents)) {
        subject.doubts.push_back({element.record, Fault::Reference, Level::Kept,
                                  "there is no content item in this place of the document",
                                  "PS3.3 C.17.3", Text_Of(way)});
    }
}

void Check(Subject_Set& subject)
{
    Check_Segments(subject);
    const Channel_Counts channels = Channels_Of(subject);
    const bool is_document = subject.Top(Content) != nullptr;
    const DICOM_List* const sequence = subject.Top(Dimensions);
    const auto dimensions =
        static_cast<std::size_t>(sequence != nullptr ? Item_Count(*sequence) : 0);
    Contents_Of_Items contents;
    Frame_Indices indices(subject, dimensions);
    Check_Pointers(subject);
    subject.For_Each([&](const Watched& element) {
        const Tag tag = element.tag;
        if (tag == Dimension_Values && element.sequence == Frame_Content && dimensions != 0) {
            indices.Take(element);
        } else if (tag == Stack_Position && element.sequence == Frame_Content) {
            indices.Take_Position(element);
        } else if (tag == Frame_Content && element.sequence == Shared_Groups) {
            subject.doubts.push_back({element.record, Fault::Functional_Group, Level::Kept,
                                      "is of one frame, and cannot be shared by all",
                                      "PS3.3 C.7.6.16.2.2"});
        } else if (tag == Annotated_Channels && element.sequence == Waveform_Annotations &&
                   element.outermost == Waveform_Annotations && !channels.empty()) {
            Check_Channels(subject, channels, element);
        } else if (tag == Content_Reference && element.sequence == Content && is_document) {
            Check_Content(subject, contents, element);
        }
    });
}

}  // namespace

constinit const Rule Item_Rule = {Tags, Check};

}  // namespace lib_mend
