// Where levels end: delimiters that are missing, doubled, exchanged or misplaced, and lengths that do
// not fit.
//
//     (FFFE,E000) elements (FFFE,E000) ...           the first item is not closed
//     (FFFE,E000) elements (FFFE,E0DD) (FFFE,E000)   its delimiter and that of a sequence exchanged
//     (0008,1140) items (0010,0010)                  the sequence is not closed
//     (FFFE,E000) 20, but 34 bytes of elements       the length of an item or a sequence is wrong
//
// Where a level ends by its length, that length holds when something that makes sense there stands
// behind it; otherwise the level ends where what follows cannot belong to it.
#include "mend/reading/element_reader.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>

namespace lib_mend {

namespace {

/** So many bytes may be too many or too few in a damaged header. */
constexpr std::int64_t Most_Slack = 2;

}  // namespace

/** How well what follows makes sense from a position on with some levels closed. */
int Element_Reader::Points_After(std::int64_t at, std::size_t pop)
{
    Outlook look = Look();
    if (pop >= look.Depth()) {
        return 0;
    }
    for (; pop > 0; --pop) {
        look.Pop();
    }
    return look.Follow(at);
}

/** A delimitation whose length is none may have lost some of its bytes: what follows shows it. */
int Element_Reader::Size_Of_Delimiter(const Element_Header& header)
{
    constexpr int Tag_Size = 4;
    constexpr int Enough = 2 * Outlook::Sound_Points;
    const bool is_end = header.tag == Item_End_Tag || header.tag == Sequence_End_Tag;
    if (!is_end || header.length == 0 || Points_After(position_ + header.size, 1) >= Enough) {
        return header.size;
    }
    int size = header.size - 1;
    while (size >= Tag_Size && Points_After(position_ + size, 1) < Enough) {
        --size;
    }
    return size >= Tag_Size ? size : header.size;
}

void Element_Reader::Check_Delimiter_Length(const Element_Header& header)
{
    // Nothing belongs to a delimiter, whatever its length says.
    if (header.size != Item_Header_Size) {
        Report(Fault::Header, Level::Change, header,
               "the delimitation has " + Bytes_Text(header.size) + " instead of " +
                   std::to_string(Item_Header_Size));
        Note_Shift(header.size - Item_Header_Size);
    } else if (header.length != 0) {
        Report(Fault::Nesting, Level::Change, header,
               "delimitation of length " + std::to_string(header.length));
    }
}

void Element_Reader::Skip_Delimiter(const Element_Header& header, const char* what)
{
    Report(Fault::Nesting, Level::Change, header, what);
    position_ += header.size;
}

/** The position is where a level ends by its length, or by the length and what was put into it. */
bool Element_Reader::Ends_As_Claimed(const Nesting_Level& level) const
{
    const std::int64_t late = position_ - level.claimed_end;
    const std::int64_t put_in = shift_.if_put_in - level.shift.if_put_in;
    const std::int64_t damaged = shift_.if_damaged - level.shift.if_damaged;
    const std::int64_t slack = shift_.damaged != level.shift.damaged ? Most_Slack : 0;
    return level.claimed_end != Level_View::Open &&
           (late == 0 || std::abs(late - put_in) <= slack || std::abs(late - damaged) <= slack ||
            late == shift_.if_left_over - level.shift.if_left_over);
}

/** Keeps in mind that nothing ended the innermost level. */
void Element_Reader::Note_Left()
{
    const Nesting_Level& level = Top();
    const bool is_short = level.claimed_end == Level_View::Open || position_ < level.claimed_end;
    if (level.kind == Level_Kind::Sequence && is_short && levels_.size() > 1) {
        levels_[levels_.size() - 2].left = {level.owner, level.items, level.mode, level.claimed_end,
                                            level.shift};
    }
}

/** The innermost level ends here, and not where its length says. */
void Element_Reader::Report_Wrong_Length()
{
    const Nesting_Level& level = Top();
    if (level.said || level.claimed_end == Level_View::Open || Ends_As_Claimed(level)) {
        return;
    }
    const std::int64_t content = Value_Position_Of(*level.owner);
    Report(Fault::Value_Length, Level::Change, *level.owner,
           "the length " + std::to_string(level.claimed_end - content) +
               " does not fit what it holds; it ends after " + std::to_string(position_ - content) +
               " bytes");
}

/** Closes the innermost level, which nothing has closed. */
void Element_Reader::Close_Unclosed(const char* what)
{
    const Nesting_Level& level = Top();
    Report_Wrong_Length();
    if (!level.said && level.claimed_end == Level_View::Open) {
        Report(level.kind == Level_Kind::Fragments ? Fault::Fragments : Fault::Nesting,
               Level::Change, *level.owner, what);
    }
    Note_Left();
    Pop();
}

/** Closes the innermost level where it ends, be it by its length or by what was found there. */
void Element_Reader::Close_Moved()
{
    if (Top().moved != 0) {
        Close_Unclosed("is not closed");
    } else {
        Pop();
    }
}

/**
 * What an item or a sequence holds ends exactly where its length says, though what stands there was
 * not believed: it is that what is damaged, and not the length.
 */
bool Element_Reader::Leave_Exact_Lengths(const Element_Header& header)
{
    const Nesting_Level& level = Top();
    if (!Ends_As_Claimed(level) || level.end != Level_View::Open ||
        position_ <= Value_Position_Of(*level.owner)) {
        return false;
    }
    if (level.kind == Level_Kind::List) {
        std::size_t list = levels_.size() - 1;
        while (list > 1 && levels_[list - 1].kind != Level_Kind::List) {
            --list;
        }
        if (Judge(header, position_, level) == Grade::Sound &&
            Judge(header, position_, levels_[list - 1]) != Grade::Sound) {
            return false;
        }
    }
    Pop();
    return true;
}

/**
 * An element in an item whose length is not believed, though it is off by a few bytes only: where it
 * goes beyond that length, or is out of order, and makes sense in a list around, it stands there.
 */
bool Element_Reader::Leave_Wrong_Lengths(const Element_Header& header)
{
    constexpr std::int64_t Few_Bytes = 16;
    const std::int64_t end = position_ + header.size + header.length;
    const auto is_wrong = [](const Nesting_Level& level) {
        return level.claimed_end != Level_View::Open && level.end == Level_View::Open;
    };
    if (!is_wrong(Top()) || header.size == 0) {
        return false;
    }
    if (Leave_Exact_Lengths(header)) {
        return true;
    }
    const bool descends = header.tag <= Top().last;
    std::size_t levels = levels_.size();
    std::size_t list = levels;
    constexpr std::size_t Levels_Tried = 8;
    while (levels > 1 && levels_.size() - levels < Levels_Tried && is_wrong(levels_[levels - 1])) {
        const Nesting_Level& level = levels_[levels - 1];
        const std::int64_t claimed_end =
            level.claimed_end + shift_.if_put_in - level.shift.if_put_in;
        const bool is_near = std::abs(position_ - claimed_end) <= Few_Bytes &&
                             claimed_end - Value_Position_Of(*level.owner) > Few_Bytes;
        const std::int64_t slack = shift_.damaged != level.shift.damaged ? Most_Slack : 0;
        if (!descends && !(is_near && end > claimed_end + slack)) {
            break;
        }
        --levels;
        list = levels_[levels - 1].kind == Level_Kind::List ? levels : list;
    }
    const std::size_t pop = levels_.size() - list;
    if (pop == 0 || Judge(header, position_, levels_[list - 1]) != Grade::Sound ||
        Points_After(position_, pop) < Points_After(position_, 0)) {
        return false;
    }
    Pop_To(list + 1);
    Close_Unclosed("sequence is not closed");
    return true;
}

void Element_Reader::Read_Delimiter_In_List(const Element_Header& as_read)
{
    Element_Header header = as_read;
    header.size = Size_Of_Delimiter(header);
    if (header.tag == Item_Tag) {
        Read_Item_In_List(header);
    } else if (header.tag == Item_End_Tag) {
        Check_Delimiter_Length(header);
        if (levels_.size() > 1 && Top().end == Level_View::Open) {
            position_ += header.size;
            if (Top().claimed_end != Level_View::Open && !Top().said) {
                Report(Fault::Nesting, Level::Change, header,
                       "item delimitation inside an item of given length");
            }
            Pop();
            return;
        }
        Skip_Delimiter(header, levels_.size() > 1
                                   ? "item delimitation inside an item of given length"
                                   : "item delimitation outside an item");
    } else if (header.tag == Sequence_End_Tag) {
        Read_Sequence_End_In_List(header);
    } else if (!Leave_Exact_Lengths(header)) {
        Settle(header);
    }
}

/** The last element is a sequence of length zero. */
bool Element_Reader::Is_Empty_Sequence_In_Front() const
{
    const DICOM_List* const last = levels_.back().tail;
    return last != nullptr && last->size == 0 &&
           (VR_Of(*last) == VR_SQ || (last->dict != nullptr && last->dict->vr[0] == VR_SQ)) &&
           Value_Position_Of(*last) == position_;
}

/** Items behind a sequence of length zero are its own, when that leads further than another item does. */
bool Element_Reader::Goes_On_In_Empty_Sequence()
{
    if (!Is_Empty_Sequence_In_Front()) {
        return false;
    }
    const Straight_Reading inside = Straight_From(position_, 0, Level_Kind::Sequence);
    const Straight_Reading around = Straight_From(position_, 1, {});
    const bool is_further =
        inside.holds != around.holds ? inside.holds : inside.headers > around.headers;
    return is_further && Reopen_Sequence();
}

/** An item behind a sequence that ended by its length: that length is too short. */
bool Element_Reader::Reopen_Sequence()
{
    DICOM_List* const last = Top().tail;
    const bool is_sequence =
        last != nullptr && (VR_Of(*last) == VR_SQ || Is_Empty_Sequence_In_Front());
    const bool is_pixels = last != nullptr && Tag_Of(*last) == Pixel_Data_Tag && last->size == 0;
    if ((!is_sequence && !is_pixels) || last->size < 0 ||
        Value_Position_Of(*last) + Size_Of(*last) != position_) {
        return false;
    }
    Report(Fault::Value_Length, Level::Change, *last,
           "the length is " + std::to_string(Size_Of(*last)) + ", but items follow behind it");
    const unsigned short vr = is_pixels ? VR_OB : VR_SQ;
    last->vr = last->vr != 0 ? vr : static_cast<unsigned short>(0);
    last->vr_default = vr;
    const int items = Item_Count(*last);
    last->size = DICOM_Undefined_Length;
    Enter_Again(*last, is_pixels ? Level_Kind::Fragments : Level_Kind::Sequence, items, Top().mode);
    return true;
}

/** An item stands at a place in a list, and may be one of a sequence that was left in front of it. */
bool Element_Reader::Goes_On_At(std::int64_t at, bool within_length)
{
    constexpr int Enough = 2 * Outlook::Sound_Points;
    const Nesting_Level& list = Top();
    const Left_Sequence& left = list.left;
    if (list.kind != Level_Kind::List || left.owner == nullptr ||
        !Starts_With_Item(at, left.mode)) {
        return false;
    }
    const std::int64_t put_in = std::max<std::int64_t>(shift_.if_put_in - left.shift.if_put_in, 0);
    if (within_length && left.claimed_end != Level_View::Open && at >= left.claimed_end + put_in) {
        return false;
    }
    Outlook look = Look();
    Level_View sequence = list;
    sequence.kind = Level_Kind::Sequence;
    sequence.end = Level_View::Open;
    sequence.mode = left.mode;
    look.Push(sequence);
    return look.Follow(at) >= Enough;
}

/** Opens the level of a sequence or an encapsulated value once more, for what stands behind it. */
void Element_Reader::Enter_Again(DICOM_List& record, Level_Kind kind, int items, unsigned char mode)
{
    Nesting_Level level;
    level.kind = kind;
    level.mode = mode;
    level.last = Tag_Of(record);
    level.owner = &record;
    level.limit = Top().limit;
    level.items = items;
    level.said = true;
    levels_.push_back(std::move(level));
    ++depth_;
}

/** What was taken for the end of a sequence was none: more of its items follow. */
bool Element_Reader::Go_On_In_Left_Sequence(bool within_length)
{
    if (!Goes_On_At(position_, within_length)) {
        return false;
    }
    const Left_Sequence left = std::exchange(Top().left, {});
    Report(Fault::Nesting, Level::Change, *left.owner,
           "more of its items stand " + Bytes_Text(position_ - Value_Position_Of(*left.owner)) +
               " behind its header, after what is none of it");
    Enter_Again(*left.owner, Level_Kind::Sequence, left.items, left.mode);
    Top().claimed_end = left.claimed_end;
    Top().shift = left.shift;
    return true;
}

void Element_Reader::Read_Item_In_List(const Element_Header& header)
{
    const bool is_open = levels_.size() > 1 && Top().end == Level_View::Open;
    if (is_open ? Goes_On_In_Empty_Sequence() : Reopen_Sequence() || Go_On_In_Left_Sequence(true)) {
        return;
    }
    // What goes beyond an item with a length is the next one.
    const bool is_beyond = levels_.size() > 2 && !header.Is_Undefined() &&
                           position_ + header.size + header.length > Top().limit &&
                           Points_After(position_, 1) >= Outlook::All_Points;
    if (!is_beyond && Supply_Sequence()) {
        return;
    }
    if (is_open || is_beyond) {
        Close_Unclosed("item is not closed");
        return;
    }
    // Whatever length it claimed, the contents of items are no elements of the list.
    if (Go_On_In_Left_Sequence(false)) {
        return;
    }
    Skip_Delimiter(header, levels_.size() > 1
                               ? "item inside an item; its contents are taken without it"
                               : "item outside a sequence; its contents are taken without it");
}

bool Element_Reader::Stands_Sequence_End(std::int64_t at)
{
    const Element_Header header = Decode_Header(window_.At(at, 8), Top().mode);
    return header.size != 0 && header.tag == Sequence_End_Tag;
}

void Element_Reader::Read_Sequence_End_In_List(const Element_Header& header)
{
    Check_Delimiter_Length(header);
    const std::int64_t behind = position_ + header.size;
    const bool is_open = levels_.size() > 2 && Top().end == Level_View::Open;
    const DICOM_List* const last = Top().tail;
    // An item with a length has no delimitation, and that of the sequence follows at once.
    const bool has_length = Top().claimed_end != Level_View::Open;
    const bool is_doubled = is_open && !has_length && last != nullptr && last->nb_item > 0 &&
                            Points_After(behind, 0) >= Points_After(behind, 2) &&
                            Stands_Sequence_End(position_ - header.size);
    if (is_doubled) {
        Skip_Delimiter(header, "a second sequence delimitation");
        return;
    }
    if (!is_open) {
        Skip_Delimiter(header, levels_.size() > 1 ? "sequence delimitation inside a given length"
                                                  : "sequence delimitation outside a sequence");
        return;
    }
    if (!has_length && Points_After(behind, 1) > Points_After(behind, 2)) {
        Report(Fault::Nesting, Level::Change, header,
               "sequence delimitation in the place of an item delimitation");
        position_ = behind;
        Pop();
        return;
    }
    // The delimiter itself is read by the sequence.
    Close_Unclosed("item is not closed");
}

}  // namespace lib_mend
