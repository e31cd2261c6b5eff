// What stands directly in a sequence: items, and what is none.
//
//     (0008,1140) (0008,1150) ...                elements without an item: one is supplied
//     (FFFE,E000) elements (FFFE,E00D) elements  the item ends too early: it is opened again
//     (FFFE,E000) ... (FFFE,E00D) (FFFE,E00D)    one delimitation too many, or that of the sequence
//     (FFFE,E0F0) elements                       a damaged tag, taken as that of an item
//     FE FF E0 22 00 00 00 elements              a header with a few bytes missing, or put into it
//     FF DD E0 00 00 00 00 elements              the same in the delimitation of the sequence
//
// Of several readings that one holds under which most of what follows makes sense.

#include "mend/reading/element_reader.h"

#include <algorithm>
#include <array>
#include <string>

namespace lib_mend {

namespace {

/** What leaves no doubt that elements stand in an item. */
constexpr int Enough_In_Item = 7;
/** So many bytes may be missing from the header of an item or a delimitation, or too many in it. */
constexpr std::int64_t Most_Torn = Item_Header_Size - 1;

}  // namespace

/** The same header follows once more. */
bool Element_Reader::Starts_Doubled(const Element_Header& header)
{
    const Element_Header next =
        Decode_Header(window_.At(position_ + header.size, Item_Header_Size), Top().mode);
    return header.size == Item_Header_Size && header.length != 0 && next.size != 0 &&
           next.tag == Item_Tag && next.length == header.length;
}

void Element_Reader::Start_Item(const Element_Header& header)
{
    if (!Spend_Element()) {
        return;
    }
    Nesting_Level& sequence = Top();
    Nesting_Level item;
    item.mode = sequence.mode;
    item.limit = sequence.limit;
    item.is_weak = sequence.is_weak;
    const std::int64_t content = position_ + header.size;
    if (Starts_Doubled(header)) {
        Report(Fault::Nesting, Level::Change, header, "the header of the item stands twice");
        // The other one is read next.
        position_ = content;
        Note_Shift(header.size);
        return;
    }
    if (!header.Is_Undefined()) {
        Believe_Length(item, content, header.length);
        if (item.end == Level_View::Open && Start_Torn_Item(content, item.claimed_end)) {
            return;
        }
    }
    item.mode = Mode_In_Item(window_, content, item);
    if (item.mode != sequence.mode) {
        Report(Fault::Encoding, Level::Change, *sequence.owner,
               "its items are in " + Mode_Text(item.mode));
        sequence.mode = item.mode;
    }
    item.usual_mode = item.mode;
    Add_Item(sequence, item, header);
    position_ = content;
    path_.push_back({Tag_Of(*sequence.owner), sequence.items - 1});
    levels_.push_back(std::move(item));
}

/**
 * A few bytes of the header of an item are missing, or others were put into it: its elements begin not
 * where they should, but so many bytes behind it; 0 when they do not, or cannot be found.
 */
std::int64_t Element_Reader::Find_Torn_Item(const Outlook& look, std::int64_t content)
{
    for (std::int64_t bytes = 1; bytes <= Most_Torn; ++bytes) {
        for (const std::int64_t moved : {-bytes, bytes}) {
            if (Points_In_Torn_Item(look, content + moved) >= Enough_In_Item) {
                return moved;
            }
        }
    }
    return 0;
}

/** An item that ends behind its elements, or with its sequence. */
int Element_Reader::Points_In_Torn_Item(const Outlook& look, std::int64_t content)
{
    Level_View item = look.Top();
    const int within = item.end != Level_View::Open ? Points_In_Item(look, item, content) : 0;
    item.end = Level_View::Open;
    return std::max(within, Points_In_Item(look, item, content));
}

/** Starts an item with a torn header; false when there is none. */
bool Element_Reader::Start_Torn_Item(std::int64_t content, std::int64_t claimed_end)
{
    if (Points_In_Torn_Item(Look(), content) != 0) {
        return false;
    }
    const std::int64_t moved = Find_Torn_Item(Look(), content);
    if (moved == 0) {
        return false;
    }
    const std::int64_t size = content + moved - position_;
    const Element_Header torn = {.tag = Item_Tag,
                                 .mode = Top().mode,
                                 .size = static_cast<int>(size),
                                 .length = Element_Header::Undefined};
    Report(Fault::Header, Level::Change, torn,
           "the header of an item has " + Bytes_Text(size) + " instead of " +
               std::to_string(Item_Header_Size));
    const Shift shift = shift_;
    Note_Shift(moved);
    Start_Item(torn);
    Top().claimed_end = claimed_end;
    Top().shift = shift;
    Top().said = true;
    return true;
}

/** The two bytes of the element number of a delimiter stand between here and a place behind it. */
bool Element_Reader::Shows_Delimiter(Tag tag, std::int64_t until)
{
    const auto high = static_cast<unsigned char>(tag.element >> 8);
    const auto low = static_cast<unsigned char>(tag.element & 0xFF);
    const bool is_big = (Top().mode & DICOM_Order_Big_Endian) != 0;
    const std::array<unsigned char, 2> number = {is_big ? high : low, is_big ? low : high};
    const auto size = static_cast<std::size_t>(std::max<std::int64_t>(until - position_, 0));
    const std::span<const unsigned char> bytes = window_.At(position_, size);
    return std::search(bytes.begin(), bytes.end(), number.begin(), number.end()) != bytes.end();
}

/**
 * How many bytes more or less than it should the delimitation of the sequence has, when what stands
 * behind it makes most sense one level out; 0 when it does not. What begins an item looks the same as
 * what follows the sequence: an item takes all the rest of the data set into the sequence when it is
 * none, so that it has to make more sense, or as much and show its tag.
 */
std::int64_t Element_Reader::Find_Torn_End(std::int64_t content)
{
    constexpr int Enough = 2 * Outlook::Sound_Points;
    const std::int64_t torn_item = Find_Torn_Item(Look(), content);
    if (torn_item == 0 && !Shows_Delimiter(Sequence_End_Tag, content + Most_Torn)) {
        return 0;
    }
    int most = Enough - 1;
    std::int64_t found = 0;
    for (std::int64_t bytes = 1; bytes <= Most_Torn; ++bytes) {
        for (const std::int64_t moved : {-bytes, bytes}) {
            const int points = Points_After(content + moved, 1);
            if (points > most && points >= Points_After(content + moved, 0)) {
                most = points;
                found = moved;
            }
        }
    }
    if (found == 0 || Shows_Delimiter(Sequence_End_Tag, content + found)) {
        return found;
    }
    return torn_item != 0 && Stand_In_Item(content + torn_item, content + found) ? 0 : found;
}

/** Ends a sequence of undefined length at its torn delimitation; false when there is none. */
bool Element_Reader::End_At_Torn_Delimiter(std::int64_t content)
{
    // One with a length, though it may be a wrong one, has no delimitation.
    const bool has_length = Top().claimed_end != Level_View::Open;
    const std::int64_t moved = has_length ? 0 : Find_Torn_End(content);
    if (moved == 0) {
        return false;
    }
    const std::int64_t size = content + moved - position_;
    const Element_Header torn = {
        .tag = Sequence_End_Tag, .mode = Top().mode, .size = static_cast<int>(size)};
    Report(Fault::Header, Level::Change, torn,
           Bytes_Text(size) + " instead of " + std::to_string(Item_Header_Size) +
               " are taken as a sequence delimitation");
    Note_Shift(moved);
    position_ = content + moved;
    Pop();
    return true;
}

/** An empty item, behind which no other one stands nor the end of the sequence, is that end itself. */
bool Element_Reader::Is_Damaged_End(const Element_Header& header)
{
    constexpr int Enough = 2 * Outlook::Sound_Points;
    const std::int64_t behind = position_ + header.size;
    if (header.length != 0 || Top().claimed_end != Level_View::Open || Top().items == 0) {
        return false;
    }
    const Element_Header next = Decode_Header(Header_Bytes(behind), Top().mode);
    return next.tag.group != Delimiter_Group && Points_After(behind, 1) >= Enough &&
           !Stand_In_Item(behind, behind);
}

void Element_Reader::End_At_Damaged_Delimiter(const Element_Header& header)
{
    Report(Fault::Header, Level::Change, header,
           "a damaged tag is taken as a sequence delimitation");
    position_ += header.size;
    Pop();
}

void Element_Reader::Read_In_Sequence()
{
    Element_Header header = Decode_Header(window_.At(position_, 8), Top().mode);
    if (header.size == 0) {
        Settle_In_Sequence();
        return;
    }
    header.size = Size_Of_Delimiter(header);
    const Nesting_Level& around = levels_[levels_.size() - 2];
    if (header.tag == Item_Tag && Ends_As_Claimed(Top()) && Ends_As_Claimed(around) &&
        Leave_Exact_Lengths(header)) {
        // The item is the next one of the sequence further out.
        return;
    }
    if (header.tag == Item_Tag && Is_Damaged_End(header)) {
        End_At_Damaged_Delimiter(header);
    } else if (header.tag == Item_Tag) {
        Start_Item(header);
    } else if (header.tag == Sequence_End_Tag) {
        Check_Delimiter_Length(header);
        if (Top().claimed_end != Level_View::Open && Top().end != Level_View::Open) {
            Skip_Delimiter(header, "sequence delimitation inside a given length");
            return;
        }
        Report_Wrong_Length();
        position_ += header.size;
        if (Top().claimed_end != Level_View::Open) {
            // Its length says otherwise, and may be right.
            Note_Left();
        }
        Pop();
    } else if (header.tag == Swapped_Item_Tag) {
        Top().mode ^= DICOM_Order_Big_Endian;
        Report(Fault::Encoding, Level::Change, *Top().owner,
               "its items are in the other byte order");
    } else if (header.tag == Item_End_Tag) {
        Read_Item_End_In_Sequence(header);
    } else if (!Leave_Exact_Lengths(header)) {
        Settle_In_Sequence();
    }
}

/** An item delimitation where none is open: one too many, or in the place of the sequence's. */
void Element_Reader::Read_Item_End_In_Sequence(const Element_Header& header)
{
    const std::int64_t behind = position_ + header.size;
    const bool is_open = Top().end == Level_View::Open;
    const int here = Points_After(behind, 0);
    const int as_end = is_open ? Points_After(behind, 1) : 0;
    const bool has_open_item =
        is_open && levels_.size() > 3 && levels_[levels_.size() - 2].end == Level_View::Open;
    const int around = has_open_item ? Points_After(behind, 2) : 0;
    const int most = std::max(here, as_end);
    if (has_open_item &&
        (around > most || (around == most && Leads_Further(behind, 2, as_end > here ? 1 : 0)))) {
        // It is that of the item around.
        Close_Unclosed("sequence is not closed");
        return;
    }
    if (as_end > here) {
        Report(Fault::Nesting, Level::Change, header,
               "item delimitation in the place of a sequence delimitation");
        position_ = behind;
        Pop();
        return;
    }
    Skip_Delimiter(header, "item delimitation outside an item");
}

/** An item whose length does not fit, read on behind it. */
int Element_Reader::Points_In_Last_Item()
{
    const Nesting_Level& sequence = Top();
    if (sequence.items == 0) {
        return 0;
    }
    Outlook look = Look();
    Level_View item = sequence;
    item.kind = Level_Kind::List;
    item.last = sequence.last_in_item;
    item.end = Level_View::Open;
    look.Push(item);
    return look.Follow(position_);
}

void Element_Reader::Reopen_Item()
{
    Nesting_Level& sequence = Top();
    Nesting_Level item;
    item.mode = sequence.mode;
    item.usual_mode = item.mode;
    item.last = sequence.last_in_item;
    item.limit = sequence.limit;
    item.head = sequence.owner->item[sequence.items - 1];
    item.owner = item.head;
    item.tail = item.head->last;
    item.creators = std::move(sequence.creators);
    path_.push_back({Tag_Of(*sequence.owner), sequence.items - 1});
    Report(Fault::Value_Length, Level::Change, *item.owner,
           "the item ends " + std::to_string(position_ - Value_Position_Of(*item.owner)) +
               " bytes behind its header, but elements of it follow");
    item.said = true;
    levels_.push_back(std::move(item));
}

/** A new item, for elements that stand in a sequence without one or behind a damaged item tag. */
int Element_Reader::Points_In_New_Item(std::int64_t at)
{
    Outlook look = Look();
    Level_View item = Top();
    item.kind = Level_Kind::List;
    item.last = {};
    item.end = Level_View::Open;
    item.mode = Mode_In_Item(window_, at, item);
    look.Push(item);
    return look.Follow(at);
}

/** Number of bytes, of the four of a tag, that are those of another tag. */
int Element_Reader::Same_Bytes(Tag tag, Tag other)
{
    const int groups = tag.group ^ other.group;
    const int elements = tag.element ^ other.element;
    return ((groups & 0xFF00) == 0) + ((groups & 0xFF) == 0) + ((elements & 0xFF00) == 0) +
           ((elements & 0xFF) == 0);
}

/** The elements in the sequence lead to where its length ends, but for the header of their item. */
bool Element_Reader::Lacks_Item_Header()
{
    return Top().claimed_end != Level_View::Open && Top().items == 0 &&
           Fill_Bare_Item(Top(), position_, Top().claimed_end);
}

void Element_Reader::Supply_Item()
{
    Report(Fault::Nesting, Level::Change, *Top().owner,
           "its elements stand in no item; one is supplied");
    const bool has_length = Lacks_Item_Header();
    const Element_Header none = {.tag = Item_Tag,
                                 .mode = Top().mode,
                                 .form = Header_Form::Implicit,
                                 .length = has_length
                                               ? Top().claimed_end - Item_Header_Size - position_
                                               : std::int64_t{Element_Header::Undefined}};
    const std::int64_t claimed_end = Top().claimed_end;
    const Shift shift = Top().shift;
    Note_Shift(-Item_Header_Size);
    Start_Item(none);
    Top().claimed_end = claimed_end;
    Top().shift = shift;
    Top().said = true;
}

/** Something that is no item stands directly in a sequence. */
void Element_Reader::Settle_In_Sequence()
{
    constexpr int Damaged_Tag = 3;
    constexpr int Doubtful = 2 * Outlook::Sound_Points;
    const Element_Header header =
        Decode_Header_As(window_.At(position_, 8), Top().mode, Header_Form::Implicit);
    const std::int64_t behind = position_ + header.size;
    const bool is_open = Top().end == Level_View::Open;
    int close = is_open ? Points_After(position_, 1) : 0;
    int reopen = Points_In_Last_Item();
    if (close > 0 && reopen >= Doubtful && Top().last_in_item == Tag{}) {
        // Behind an empty item: what leads on for longer tells whether it is one.
        (Stand_In_Item(position_, position_) ? close : reopen) = 0;
    }
    const bool like_item = header.size != 0 && Same_Bytes(header.tag, Item_Tag) >= Damaged_Tag;
    const bool like_end = header.size != 0 && is_open && header.length == 0 &&
                          Same_Bytes(header.tag, Sequence_End_Tag) >= Damaged_Tag;
    int item = like_item ? Points_In_New_Item(behind) : Points_In_Damaged_Item(Look(), position_);
    int end = like_end ? Points_After(behind, 1) : 0;
    if (item != 0 && (!like_item || like_end) && !Stand_In_Item(behind, behind)) {
        item = 0;
        end = Points_After(behind, 1);
    }
    // What ascends from the last item goes on in it, or stands behind the sequence.
    const Element_Header first = Decode_Header(Header_Bytes(position_), Top().mode);
    const bool is_first = Top().items == 0;
    const bool is_inside = Top().claimed_end == Level_View::Open ||
                           (Top().claimed_end > position_ && Top().claimed_end <= Top().limit);
    const bool begins_anew = is_inside && first.size != 0 && first.tag <= Top().last_in_item;
    const int bare = is_first || begins_anew ? Points_In_New_Item(position_) : 0;
    const int most = std::max({close, reopen, item, end});
    const int wanted = is_first ? most : most + 1;
    const bool is_empty = is_first && is_open && close > 0 && !Stand_In_Item(position_, position_);
    if (is_first && Lacks_Item_Header()) {
        Supply_Item();
    } else if (is_empty) {
        Close_Unclosed("sequence is not closed");
    } else if (bare >= std::max(wanted, Outlook::Fair_Points + Outlook::Sound_Points)) {
        Supply_Item();
    } else if (most < Doubtful && header.size != 0 &&
               (End_At_Torn_Delimiter(behind) || Start_Torn_Item(behind, Level_View::Open) ||
                Start_Overwritten_Item() || Skip_To_Items())) {
        return;
    } else if (most == 0 || (most < Doubtful && Is_Item_Near(Look(), position_, Top().limit))) {
        Skip_Garbage();
    } else if (most == close) {
        Close_Unclosed("sequence is not closed");
    } else if (most == reopen) {
        Reopen_Item();
    } else if (most == item) {
        Report(Fault::Header, Level::Change, header, "a damaged tag is taken as that of an item");
        Element_Header mended = header;
        mended.tag = Item_Tag;
        Start_Item(mended);
    } else {
        End_At_Damaged_Delimiter(header);
    }
}

}  // namespace lib_mend
