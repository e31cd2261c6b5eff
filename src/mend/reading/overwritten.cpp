// Headers of items and sequences that are overwritten as a whole: how far the headers behind them lead on
// tells what they were.
//
//     (0008,1140) 3B 91 C4 07 E2 2D 88 10 elements (FFFE,E00D)   the header of an item, or the
//                                                                 delimitation of the sequence
//     (0008,0060) FF*12 (FFFE,E000) elements ... (FFFE,E0DD)     the header of a sequence
//
// Nobody can tell the tag of the sequence. Its items are kept in a private one, and not spilled over
// the list around them.
#include "mend/reading/element_reader.h"

#include <algorithm>
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
