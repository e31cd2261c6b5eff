// Frames are counted from 1 to Number of Frames: what names one of them, and what has a value or an
// item for each.
#include "mend/consistency/rules.h"
#include "mend/healing/image.h"
#include "mend/reading/tree.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>

namespace lib_mend {

namespace {

enum class Kind {
    /** Each value is the number of a frame. */
    Number,
    /** There is a value for each frame. */
    Vector,
    /** There is an item for each frame. */
    Items
};

struct Frame_Row {
    Tag tag;
    /** The sequence that the element stands in, (0000,0000) for the top level. */
    Tag sequence;
    Kind kind;
    const char* clause;
};

constexpr Tag Per_Frame_Groups = {0x5200, 0x9230};
constexpr Tag Masks = {0x0028, 0x6100};
constexpr Tag Increment_Pointer = {0x0028, 0x0009};
constexpr Tag Instance_Tag = {0x0008, 0x0018};
constexpr Tag Referenced_Instance = {0x0008, 0x1155};
constexpr Tag Referenced_Frames = {0x0008, 0x1160};

constexpr Frame_Row Rows[] = {
    {{0x0008, 0x2142}, {}, Kind::Number, "PS3.3 C.7.6.5"},
    {{0x0008, 0x2143}, {}, Kind::Number, "PS3.3 C.7.6.5"},
    {{0x0018, 0x1065}, {}, Kind::Vector, "PS3.3 C.7.6.5"},
    {{0x0018, 0x2001}, {}, Kind::Vector, "PS3.3 C.8.6.4"},
    {{0x0018, 0x2002}, {}, Kind::Vector, "PS3.3 C.8.6.4"},
    {{0x0018, 0x2003}, {}, Kind::Vector, "PS3.3 C.8.6.4"},
    {{0x0018, 0x2004}, {}, Kind::Vector, "PS3.3 C.8.6.4"},
    {{0x0018, 0x2005}, {}, Kind::Vector, "PS3.3 C.8.6.4"},
    {{0x0028, 0x6010}, {}, Kind::Number, "PS3.3 C.7.6.9"},
    {{0x0028, 0x6020}, {}, Kind::Number, "PS3.3 C.7.6.9"},
    {{0x0028, 0x6102}, Masks, Kind::Number, "PS3.3 C.7.6.10"},
    {{0x0028, 0x6110}, Masks, Kind::Number, "PS3.3 C.7.6.10"},
    {{0x0054, 0x0010}, {}, Kind::Vector, "PS3.3 C.8.4.8"},
    {{0x0054, 0x0020}, {}, Kind::Vector, "PS3.3 C.8.4.8"},
    {{0x0054, 0x0030}, {}, Kind::Vector, "PS3.3 C.8.4.8"},
    {{0x0054, 0x0050}, {}, Kind::Vector, "PS3.3 C.8.4.8"},
    {{0x0054, 0x0060}, {}, Kind::Vector, "PS3.3 C.8.4.8"},
    {{0x0054, 0x0070}, {}, Kind::Vector, "PS3.3 C.8.4.8"},
    {{0x0054, 0x0080}, {}, Kind::Vector, "PS3.3 C.8.4.8"},
    {{0x0054, 0x0090}, {}, Kind::Vector, "PS3.3 C.8.4.8"},
    {{0x0054, 0x0100}, {}, Kind::Vector, "PS3.3 C.8.4.8"},
    {{0x3004, 0x000C}, {}, Kind::Vector, "PS3.3 C.8.8.3"},
    {Per_Frame_Groups, {}, Kind::Items, "PS3.3 C.7.6.16"},
};

constexpr Tag More[] = {Frames_Tag, Increment_Pointer, Instance_Tag, Referenced_Instance,
                        Referenced_Frames};

constexpr std::array<Tag, std::size(Rows) + std::size(More)> All_Tags()
{
    std::array<Tag, std::size(Rows) + std::size(More)> tags;
    auto* const behind = std::transform(std::begin(Rows), std::end(Rows), tags.begin(),
                                        [](const Frame_Row& row) { return row.tag; });
    std::copy(std::begin(More), std::end(More), behind);
    return tags;
}

constexpr std::array Tags = All_Tags();

std::string Counted(std::size_t count, const char* one)
{
    return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

void Doubt_Of(Subject_Set& subject, const DICOM_List& record, Fault fault, std::string text,
              const char* clause, std::string value = {})
{
    subject.doubts.push_back(
        {&record, fault, Level::Kept, std::move(text), clause, std::move(value)});
}

void Check_Count(Subject_Set& subject, const DICOM_List& record, const Frame_Row& row,
                 std::size_t count, std::int64_t frames)
{
    if (count != 0 && static_cast<std::int64_t>(count) != frames) {
        Doubt_Of(subject, record, Fault::Item_Count,
                 Counted(count, row.kind == Kind::Items ? "item" : "value") + " for " +
                     Counted(static_cast<std::size_t>(frames), "frame"),
                 row.clause);
    }
}

/** @param frames  nothing where it is not known how many there are */
void Check_Numbers(Subject_Set& subject, const DICOM_List& record, const char* clause,
                   std::optional<std::int64_t> frames)
{
    for (const std::int64_t number : subject.Whole_Numbers(record)) {
        const bool is_too_large = frames && number > *frames;
        if (number < 1 || is_too_large) {
            Doubt_Of(subject, record, Fault::Frame_Number,
                     is_too_large
                         ? "there is no such frame, there " +
                               std::string(*frames == 1 ? "is " : "are ") + std::to_string(*frames)
                         : "frames are counted from 1",
                     clause, std::to_string(number));
            return;
        }
    }
}

/** @param is_counted  the object says itself how many frames it has */
void Check_Row(Subject_Set& subject, const Watched& element, std::int64_t frames, bool is_counted)
{
    const DICOM_List& record = *element.record;
    const auto* const row =
        std::find_if(std::begin(Rows), std::end(Rows), [&](const Frame_Row& each) {
            return each.tag == Tag_Of(record) && each.sequence == element.sequence;
        });
    if (row == std::end(Rows)) {
        return;
    }
    if (row->kind == Kind::Number) {
        Check_Numbers(subject, record, row->clause, frames);
    } else if (!is_counted) {
        // Where there is a value for each of several, the number is missing, and is told as that.
        return;
    } else if (row->kind == Kind::Items) {
        Check_Count(subject, record, *row, static_cast<std::size_t>(Item_Count(record)), frames);
    } else if (const auto count = subject.Count(record)) {
        Check_Count(subject, record, *row, *count, frames);
    }
}

/** Each element that it names stands beside it. */
void Check_Pointer(Subject_Set& subject, const DICOM_List& pointer)
{
    constexpr std::size_t Width = 4;
    constexpr std::size_t Enough = 64;
    const bool is_pointer = Has_Value(pointer) && VR_Of(pointer) == VR_AT;
    const Bytes value = is_pointer ? subject.set.Value(pointer, Enough) : Bytes();
    for (std::size_t at = 0; at + Width <= value.size(); at += Width) {
        const Tag tag = {Get_UShort(pointer.byte_order, value.data() + at),
                         Get_UShort(pointer.byte_order, value.data() + at + 2)};
        if (Find_Record(subject.set.records.Head(), tag) == nullptr) {
            Doubt_Of(subject, pointer, Fault::Reference, "the element that it names is not there",
                     "PS3.3 C.7.6.6", "(" + Tag_Text(tag) + ")");
        }
    }
}

/** One number without a sign, as nearly all are. */
bool Is_Above_Zero(std::string_view text)
{
    return !text.empty() && text[0] >= '1' && text[0] <= '9' &&
           text.find_first_not_of("0123456789") == text.npos;
}

/** An image that does not say how many frames it has is one; nothing where that cannot be told. */
std::optional<std::int64_t> Count_Of_Frames(const Subject_Set& subject)
{
    const DICOM_List* const counter = subject.Top(Frames_Tag);
    if (counter == nullptr) {
        const bool has_groups = subject.Top(Per_Frame_Groups) != nullptr;
        return has_groups ? std::nullopt : std::optional<std::int64_t>(1);
    }
    const Numbers numbers = subject.Whole_Numbers(*counter);
    const bool is_known = numbers.size() == 1 && numbers.front() > 0;
    return is_known ? std::optional(numbers.front()) : std::nullopt;
}

/** Frame numbers next to the UID of an instance: of this one those that are there, of any those from 1. */
void Check_References(Subject_Set& subject, std::optional<std::int64_t> frames)
{
    const std::string_view own = subject.Top_Text(Instance_Tag);
    const DICOM_List* instance = nullptr;
    subject.For_Each([&](const Watched& element) {
        const Tag tag = element.tag;
        if (tag == Referenced_Instance) {
            instance = element.record;
        } else if (tag == Referenced_Frames) {
            // The UID stands right in front in the same item, but for unknown elements.
            const DICOM_List* before = instance;
            while (before != nullptr && before != element.record) {
                before = before->next;
            }
            const bool is_own = before != nullptr && frames && subject.Text(*instance) == own;
            if (is_own || !Is_Above_Zero(subject.Text(*element.record))) {
                Check_Numbers(subject, *element.record, "PS3.3 10.3",
                              is_own ? frames : std::nullopt);
            }
            instance = nullptr;
        }
    });
}

void Check(Subject_Set& subject)
{
    const std::optional<std::int64_t> frames = Count_Of_Frames(subject);
    if (frames) {
        const bool is_counted = subject.Top(Frames_Tag) != nullptr;
        subject.For_Each(
            [&](const Watched& element) { Check_Row(subject, element, *frames, is_counted); });
    }
    if (const DICOM_List* const pointer = subject.Top(Increment_Pointer)) {
        Check_Pointer(subject, *pointer);
    }
    Check_References(subject, frames);
}

}  // namespace

constinit const Rule Frame_Rule = {Tags, Check};

}  // namespace lib_mend
