// Headers of items and sequences that are overwritten as a whole: how far the headers behind them lead on
// tells what they were.
//
//     (0008,1140) 3B 91 C4 07 E2 2D 88 10 elements (FFFE,E00D)   the header of an item, or the
//                                                                 delimitation of the sequence
//     (0008,0060) FF*12 (FFFE,E000) elements ... (FFFE,E0DD)     the header of a sequence
//
//     (0008,1140) 60  anything (FFFE,E000) elements ...           the first items of a sequence, whose
//                                                                 length fits those behind them
//
// Nobody can tell the tag of the sequence. Its items are kept in a private one, and not spilled over
// the list around them.
#include "mend/reading/element_reader.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace lib_mend {

/** How far headers lead on from a place with some levels closed and perhaps a new one opened. */
Straight_Reading Element_Reader::Straight_From(std::int64_t at, std::size_t pop,
                                               std::optional<Level_Kind> inside)
{
    constexpr std::size_t Most_Levels = 32;
    constexpr int Most_Headers = 256;
    const std::size_t count = levels_.size() - pop;
    std::size_t base = count - 1;
    while (base > 0 && levels_[base].end == Level_View::Open && count - base < Most_Levels) {
        --base;
    }
    std::vector<Level_View> levels(levels_.begin() + static_cast<std::ptrdiff_t>(base),
                                   levels_.begin() + static_cast<std::ptrdiff_t>(count));
    if (inside.has_value()) {
        Level_View level = levels.back();
        level.kind = *inside;
        level.last = {};
        level.end = Level_View::Open;
        if (level.kind == Level_Kind::List) {
            level.mode = Mode_In_Item(window_, at, level);
        }
        levels.push_back(level);
    }
    return Read_Straight(window_, std::move(levels), at, Most_Headers);
}

/** What follows makes sense for longer with so many levels closed than with so many others. */
bool Element_Reader::Leads_Further(std::int64_t at, std::size_t pop, std::size_t other)
{
    const Straight_Reading one = Straight_From(at, pop, {});
    const Straight_Reading two = Straight_From(at, other, {});
    return one.holds != two.holds ? one.holds : one.headers > two.headers;
}

/** Elements at a place stand in an item, and not at another one behind the sequence. */
bool Element_Reader::Stand_In_Item(std::int64_t at, std::int64_t behind)
{
    if (Top().end != Level_View::Open || levels_.size() < 2) {
        return true;
    }
    const Straight_Reading as_item = Straight_From(at, 0, Level_Kind::List);
    const Straight_Reading as_end = Straight_From(behind, 1, {});
    if (as_item.holds != as_end.holds || as_item.headers != as_end.headers) {
        return as_item.holds || (!as_end.holds && as_item.headers > as_end.headers);
    }
    const Element_Header next = Decode_Header(window_.At(as_item.to, Item_Header_Size), Top().mode);
    return next.size != 0 && next.tag.group == Delimiter_Group;
}

/**
 * Starts an item whose header is overwritten; false when there is none. Its elements make more sense
 * in an item than behind the sequence when a delimitation and other items follow them.
 */
bool Element_Reader::Start_Overwritten_Item()
{
    const std::int64_t content = position_ + Item_Header_Size;
    const bool has_wrong_length =
        Top().claimed_end != Level_View::Open && Top().end == Level_View::Open;
    if (has_wrong_length || Points_In_New_Item(content) < Outlook::All_Points ||
        !Stand_In_Item(content, content)) {
        return false;
    }
    const Element_Header supposed = {.tag = Item_Tag,
                                     .mode = Top().mode,
                                     .size = static_cast<int>(Item_Header_Size),
                                     .length = Element_Header::Undefined};
    Report(Fault::Header, Level::Change, supposed,
           "damaged bytes are taken as the header of an item");
    Start_Item(supposed);
    Top().said = true;
    return true;
}

/**
 * Where items begin, behind damaged bytes, that lead to the end of their sequence, or to that of the
 * list around it when bytes are missing or were put in; or -1.
 */
std::int64_t Element_Reader::Items_Behind_Damage(std::int64_t from, std::int64_t end,
                                                 unsigned char mode)
{
    constexpr std::int64_t Most_Bytes = 4096;
    constexpr int Most_Tried = 4;
    constexpr std::int64_t Free_Walk = std::int64_t{1} << 20;
    constexpr std::int64_t Walk_Per_Byte = 16;
    constexpr std::int64_t Most_Moved = 64;
    const std::int64_t limit = Top().limit;
    const bool is_near = std::abs(limit - end) <= Most_Moved;
    if ((end > limit && !is_near) || items_walked_ > Free_Walk + Walk_Per_Byte * position_) {
        return -1;
    }
    if (from == damage_.from && end == damage_.end) {
        return damage_.items;
    }
    damage_ = {from, end, -1};
    const auto size = static_cast<std::size_t>(std::clamp<std::int64_t>(end - from, 0, Most_Bytes));
    const std::span<const unsigned char> view = window_.At(from, size);
    // Looking elsewhere may move the window.
    const Bytes bytes(view.begin(), view.end());
    int tried = 0;
    for (std::size_t i = 0; i + Item_Header_Size <= bytes.size() && tried < Most_Tried; ++i) {
        const std::int64_t at = from + static_cast<std::int64_t>(i);
        if (bytes[i] < 0xFE || Decode_Header(std::span(bytes).subspan(i), mode).tag != Item_Tag) {
            continue;
        }
        ++tried;
        items_walked_ += end - at;
        if (Are_Items(window_, at, std::min(end, limit), mode) ||
            (is_near && Are_Items(window_, at, limit, mode))) {
            damage_.items = at;
            break;
        }
    }
    return damage_.items;
}

/** Where the elements of an item begin whose header is damaged, and that ends at a place; or -1. */
std::int64_t Element_Reader::Elements_Behind_Damage(std::int64_t from, std::int64_t end)
{
    constexpr std::int64_t Most_Bytes = 32;
    Level_View item = Top();
    item.kind = Level_Kind::List;
    item.last = {};
    item.end = end;
    item.limit = end;
    for (std::int64_t at = from; at < std::min(from + Most_Bytes, end); ++at) {
        item.mode = Mode_In_Item(window_, at, item);
        if (Judge(Decode_Header(Header_Bytes(at), item.mode), at, item) == Grade::Sound &&
            Read_Straight(window_, {item}, at).holds) {
            return at;
        }
    }
    return -1;
}

/**
 * Skips damaged bytes in front of items that lead to the end of their sequence, but no elements: false
 * where there are no such items.
 */
bool Element_Reader::Skip_To_Items()
{
    const std::int64_t end = Top().end != Level_View::Open ? Top().end : Top().claimed_end;
    const std::int64_t items =
        end != Level_View::Open ? Items_Behind_Damage(position_, end, Top().mode) : -1;
    if (items <= position_) {
        return false;
    }
    const std::int64_t elements = Elements_Behind_Damage(position_, items);
    Skip_To(elements < 0 ? items : elements);
    if (elements >= 0) {
        Start_Item({.tag = Item_Tag, .mode = Top().mode, .length = items - elements});
    }
    return true;
}

/** The end of items that have lengths, when something that makes sense in the list stands there; or -1. */
std::int64_t Element_Reader::End_Of_Items(std::int64_t at)
{
    const std::int64_t start = at;
    Element_Header item = Decode_Header(window_.At(at, Item_Header_Size), Top().mode);
    while (item.size != 0 && item.tag == Item_Tag && !item.Is_Undefined() &&
           at + item.size + item.length <= Top().limit) {
        at += item.size + item.length;
        item = Decode_Header(window_.At(at, Item_Header_Size), Top().mode);
    }
    const bool fits = at == Top().end ||
                      Judge(Decode_Header(Header_Bytes(at), Top().mode), at, Top()) == Grade::Sound;
    return at > start && fits ? at : -1;
}

/** The tag of a sequence is left in front of its first item. */
bool Element_Reader::Follows_Torn_Header(std::int64_t at)
{
    constexpr int Tag_Size = 4;
    const int usual = Is_Explicit(Top().mode) ? static_cast<int>(Longest_Header) : Item_Header_Size;
    for (int size = Tag_Size; size < usual; ++size) {
        const Element_Header header = Decode_Header(Header_Bytes(at - size), Top().mode);
        const TAG_db_Elems* const entry = header.Entry();
        if (entry != nullptr && entry->vr[0] == VR_SQ && header.tag > Top().last) {
            return true;
        }
    }
    return false;
}

/** Items stand in a list, where they make more sense in a sequence of their own than anywhere else. */
bool Element_Reader::Is_Lost_Sequence(std::int64_t at)
{
    // Where nothing is damaged in front of them there never was a header.
    const bool is_behind_damage = at > position_ || at == damaged_to_;
    if (!is_behind_damage || Top().kind != Level_Kind::List ||
        lost_sequences_ == Most_Lost_Sequences || !Starts_With_Item(at, Top().mode)) {
        return false;
    }
    if (Follows_Torn_Header(at) || Goes_On_At(at, true)) {
        return false;
    }
    if (End_Of_Items(at) >= 0) {
        return true;
    }
    const bool is_open = Top().end == Level_View::Open && levels_.size() > 1;
    const Straight_Reading nested = Straight_From(at, 0, Level_Kind::Sequence);
    const Straight_Reading other =
        is_open ? Straight_From(at, 1, {}) : Straight_From(at + Item_Header_Size, 0, {});
    return nested.holds || (!other.holds && nested.headers > other.headers);
}

/** Opens a sequence of a private tag for items whose own one is overwritten; false for none. */
bool Element_Reader::Supply_Sequence()
{
    if (!Is_Lost_Sequence(position_)) {
        return false;
    }
    constexpr int Odd = 1;
    constexpr int First_Group = 0x0009;
    constexpr int First_Element = 0xFF00;
    const Tag last = Top().last;
    const std::int64_t end = End_Of_Items(position_);
    Element_Header header;
    header.tag = {static_cast<unsigned short>(std::max(last.group | Odd, First_Group)),
                  static_cast<unsigned short>(First_Element + lost_sequences_++)};
    header.mode = Top().mode;
    header.form = Is_Explicit(header.mode) ? Header_Form::Long : Header_Form::Implicit;
    header.vr = Is_Explicit(header.mode) ? VR_SQ : static_cast<unsigned short>(0);
    header.length = end < 0 ? Element_Header::Undefined : end - position_;
    Report(Fault::Header, Level::Error, header,
           "the header of a sequence is lost; its items are kept in a private one");
    const std::size_t list = levels_.size() - 1;
    Accept(header);
    levels_[list].last = last;
    return true;
}

}  // namespace lib_mend
