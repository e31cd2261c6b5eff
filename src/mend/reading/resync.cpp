// The next place where headers follow each other, behind bytes that are no elements.
//
//     element, 12 bytes of anything, element, element ...
//
// From the fault on every byte is tried as the beginning of a header, in each of the innermost open
// levels. The place has to make sense itself, and those behind it too. What was skipped is said and
// kept apart. No byte is searched twice for nothing: a search that found none is remembered.
#include "mend/reading/element_reader.h"

#include <algorithm>
#include <cstring>

#include "mend/reading/vr_forms.h"

namespace lib_mend {

namespace {

/** Levels that a place may belong to, the innermost first. */
constexpr std::size_t Levels_Tried = 6;
/** Headers that have to follow each other, and what they have to come to. */
constexpr int Steps = 4;
constexpr int Enough = 8;

/** Bytes that are searched more than once before searches are held together. */
constexpr std::int64_t Free_Search = 1 << 20;
constexpr std::int64_t Search_Per_Byte = 16;

/** The quickest test: zeros are no header, and with explicit VR two capitals stand in each of them. */
bool Is_Hopeless(const unsigned char* bytes, bool is_explicit)
{
    constexpr auto is_capital = [](unsigned char byte) {
        return byte >= 'A' && byte <= 'Z';
    };
    // Group FFFE in either byte order.
    const bool may_be_delimiter = bytes[0] >= 0xFE && bytes[1] >= 0xFE;
    if (is_explicit) {
        return !(is_capital(bytes[4]) && is_capital(bytes[5])) && !may_be_delimiter;
    }
    std::uint64_t all = 0;
    std::memcpy(&all, bytes, sizeof all);
    return all == 0;
}

constexpr std::size_t Chunk = 64;

/** The same for a chunk of places at once, and seven bytes behind it: many are compared in one step. */
bool Is_Hopeless_Chunk(const unsigned char* bytes, bool is_explicit)
{
    unsigned int found = 0;
    if (is_explicit) {
        for (std::size_t i = 0; i < Chunk; ++i) {
            const auto first = static_cast<unsigned char>(bytes[i + 4] - 'A');
            const auto second = static_cast<unsigned char>(bytes[i + 5] - 'A');
            const bool is_capitals = (first < 26) & (second < 26);
            found |= is_capitals | ((bytes[i] >= 0xFE) & (bytes[i + 1] >= 0xFE));
        }
    } else {
        for (std::size_t i = 0; i < Chunk + 7; ++i) {
            found |= bytes[i];
        }
    }
    return found == 0;
}

/** The quick test that nearly every byte fails. */
bool May_Be_Header(std::span<const unsigned char> bytes, unsigned char mode)
{
    const Element_Header header = Decode_Header(bytes, mode);
    if (header.tag.group == Delimiter_Group) {
        return header.tag == Item_Tag ||
               ((header.tag == Item_End_Tag || header.tag == Sequence_End_Tag) &&
                header.length == 0);
    }
    if (Is_Explicit(mode)) {
        return header.size != 0 && Is_Known_VR(header.vr);
    }
    constexpr std::uint32_t Long = 0x10000;
    // Lengths of implicit elements are small numbers, which random bytes are not.
    return header.Is_Undefined() || header.length < Long || header.tag.group >= 0x5000 ||
           header.tag.group == 0x0042;
}

}  // namespace

bool Element_Reader::Is_Place(std::int64_t at, std::size_t levels, Tag last)
{
    const Nesting_Level& level = levels_[levels - 1];
    const Element_Header header = Decode_Header(Header_Bytes(at), level.mode);
    // A private element shows by the one in front of it, if that is what it says it is.
    const bool has_company = levels == levels_.size() && header.tag.group == last.group &&
                             last.group % 2 != 0 && last > level.last && header.tag > last;
    Tag behind = has_company ? last : level.last;
    constexpr unsigned short First_Private_Element = 0x1000;
    const Tag creator = {header.tag.group, First_Private_Element - 1};
    if (header.tag.group % 2 != 0 && header.tag.element >= First_Private_Element) {
        // What was skipped may have been its creator: others of its group follow it.
        behind = std::max(behind, creator);
    }
    if (header.tag == Item_Tag && level.kind == Level_Kind::List &&
        (levels < 2 || level.end != Level_View::Open)) {
        return levels == levels_.size() && (Is_Lost_Sequence(at) || Goes_On_At(at, true));
    }
    if (header.tag.group != Delimiter_Group) {
        Level_View list = level;
        list.last = behind;
        const Grade grade = Judge(header, at, list);
        const bool may_be_items =
            grade == Grade::Length_Impossible && Starts_With_Item(at + header.size, level.mode);
        const std::int64_t beyond = at + header.size + header.length - level.limit;
        if (grade == Grade::Length_Impossible && level.is_weak &&
            (beyond == at - position_ || beyond == at - claimed_end_)) {
            // What was put in front of it moved the end of the level too.
            return true;
        }
        if (level.kind != Level_Kind::List || (grade != Grade::Sound && !may_be_items)) {
            return false;
        }
    }
    Outlook look(window_, std::span(levels_).first(levels), end_);
    look.Top().last = behind;
    return look.Follow(at, Steps) >= Enough;
}

/**
 * Finds where elements go on, not before `from` and before `until`.
 *
 * @param last  tag of the element in front, to which private ones may belong
 */
std::optional<Element_Reader::Place_Found> Element_Reader::Find_Place(std::int64_t from, Tag last,
                                                                      std::int64_t until)
{
    constexpr std::int64_t Block = 16384;
    constexpr std::int64_t Overlap = static_cast<std::int64_t>(Longest_Header) - 1;
    std::size_t lowest = levels_.size() > Levels_Tried ? levels_.size() - Levels_Tried : 0;
    // A length that is believed holds whatever stands in it.
    for (std::size_t level = lowest + 1; level < levels_.size(); ++level) {
        lowest = levels_[level].end != Level_View::Open ? level : lowest;
    }
    const bool is_explicit =
        std::all_of(levels_.begin() + static_cast<std::ptrdiff_t>(lowest), levels_.end(),
                    [](const Nesting_Level& level) { return Is_Explicit(level.mode); });
    const std::int64_t limit = std::min(until + Overlap, Top().limit);
    std::int64_t at = std::max(from, searched_to_);
    // Where searches cost more than the data is worth, none goes over what another one went over.
    const bool is_spent = scanned_ > Free_Search + Search_Per_Byte * position_;
    const std::int64_t wanted = at;
    if (is_spent && at >= found_from_ && at < found_at_) {
        at = found_at_;
    }
    const std::int64_t start = at;
    while (at + 8 <= limit) {
        const auto size = static_cast<std::size_t>(std::min(Block, limit - at));
        const std::span<const unsigned char> view = window_.At(at, size);
        if (view.size() < 8) {
            break;
        }
        // Looking elsewhere may move the window.
        search_.assign(view.begin(), view.end());
        const std::span<const unsigned char> bytes = search_;
        for (std::size_t i = 0; i + 8 <= bytes.size(); ++i) {
            if (i % Chunk == 0 && i + Chunk + 7 <= bytes.size() &&
                Is_Hopeless_Chunk(&bytes[i], is_explicit)) {
                i += Chunk - 1;
                continue;
            }
            if (Is_Hopeless(&bytes[i], is_explicit)) {
                continue;
            }
            const std::span<const unsigned char> header =
                bytes.subspan(i, std::min(Longest_Header, bytes.size() - i));
            for (std::size_t levels = levels_.size(); levels > lowest; --levels) {
                const std::int64_t place = at + static_cast<std::int64_t>(i);
                if (May_Be_Header(header, levels_[levels - 1].mode) &&
                    Is_Place(place, levels, last)) {
                    scanned_ += place - start;
                    found_from_ = wanted;
                    found_at_ = place;
                    return Place_Found{place, levels};
                }
            }
        }
        at += std::max<std::int64_t>(std::ssize(bytes) - Overlap, 1);
    }
    scanned_ += std::max<std::int64_t>(at - start, 0);
    searched_to_ = std::max(searched_to_, limit - Overlap);
    return std::nullopt;
}

/** The source ends before an element does. */
void Element_Reader::Skip_Rest()
{
    const std::int64_t size = end_ - position_;
    findings_.Report(Fault::Truncated, Level::Error,
                     {.path = &path_, .offset = position_, .length = size},
                     "the last " + std::to_string(size) + (size == 1 ? " byte is" : " bytes are") +
                         " no complete element");
    cut_off_ = true;
    skipped_.push_back({position_, size});
    position_ = end_;
}

/** Leaves out what stands up to a place. */
void Element_Reader::Skip_To(std::int64_t end)
{
    const std::int64_t size = end - position_;
    findings_.Report(Fault::Garbage, Level::Error,
                     {.path = &path_, .offset = position_, .length = size},
                     std::to_string(size) + " bytes from " + std::to_string(position_) +
                         " on are no elements; they are skipped");
    cut_off_ = cut_off_ || end == end_;
    skipped_.push_back({position_, size});
    Note_Garbage(size);
    position_ = end;
    damaged_to_ = end;
}

void Element_Reader::Skip_Garbage()
{
    const std::int64_t start = position_;
    const std::int64_t limit = Top().limit;
    const std::optional<Place_Found> place = Find_Place(start + 1, {}, limit);
    // Whatever is made of the levels, reading goes on.
    const std::int64_t end = std::max(place.has_value() ? place->position : limit, start + 1);
    const std::int64_t size = end - start;
    constexpr std::int64_t Shortest_Element = 8;
    if (end == end_ && size < Shortest_Element) {
        Skip_Rest();
        return;
    }
    Skip_To(end);
    if (place.has_value()) {
        Leave_For(*place);
    }
}

/** Closes what a place is not in. */
void Element_Reader::Leave_For(const Place_Found& place)
{
    if (place.levels < levels_.size() && !Is_Lost_Sequence(place.position)) {
        Pop_To(place.levels);
    }
}

}  // namespace lib_mend
