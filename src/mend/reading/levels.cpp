// The nesting of levels while elements are read: when a sequence, an item or an encapsulated value is
// entered, what its length is worth, and when it is left.
#include "mend/reading/element_reader.h"

#include <utility>

namespace lib_mend {

/** Tells how well what stands where a length ends makes sense there. */
Element_Reader::Trust Element_Reader::Trust_In(std::int64_t end, std::size_t levels)
{
    const Nesting_Level& around = levels_[levels - 1];
    if (end >= around.limit) {
        return end > around.limit ? Trust::None : around.is_weak ? Trust::Weak : Trust::Full;
    }
    const Element_Header next = Decode_Header(Header_Bytes(end), around.mode);
    const bool is_element = around.kind == Level_Kind::List && next.tag.group != Delimiter_Group;
    if (is_element && Judge(next, end, around) == Grade::Sound) {
        return Trust::Full;
    }
    if (around.kind == Level_Kind::Sequence && next.tag == Item_Tag) {
        return Trust::Full;
    }
    const bool may_end = levels > 1 && around.end == Level_View::Open;
    if (around.kind == Level_Kind::List && next.tag.group == Delimiter_Group && !may_end) {
        return Trust::None;
    }
    constexpr int Steps = 3;
    constexpr int Enough = 6;
    const int points = Outlook(window_, std::span(levels_).first(levels), end_).Follow(end, Steps);
    const bool is_end = next.tag.group == Delimiter_Group;
    return points < Enough ? Trust::None : is_end ? Trust::Full : Trust::Weak;
}

/** What a level holds leads to its end without a contradiction. */
bool Element_Reader::Content_Fills(const Nesting_Level& level, std::int64_t content,
                                   std::int64_t end)
{
    if (end > level.limit || level.kind == Level_Kind::Fragments) {
        return false;
    }
    if (level.kind == Level_Kind::Sequence) {
        return Are_Items(window_, content, end, level.mode);
    }
    Level_View item = level;
    item.mode = Mode_In_Item(window_, content, item);
    item.end = end;
    item.limit = end;
    return Read_Straight(window_, {item}, content).holds;
}

/** An element of the list around the innermost sequence stands at a place. */
bool Element_Reader::Stands_Behind_Sequence(std::int64_t at)
{
    if (levels_.size() < 2 || Top().kind != Level_Kind::Sequence) {
        return false;
    }
    const Nesting_Level& list = levels_[levels_.size() - 2];
    return Judge(Decode_Header(Header_Bytes(at), list.mode), at, list) == Grade::Sound;
}

/**
 * A few bytes that are missing in a level, or were put into it, move its end and those of all levels
 * around the place by so many: what makes sense stands not where the length ends, but that far away.
 */
std::int64_t Element_Reader::Find_Moved_End(const Nesting_Level& level)
{
    // The smallest element that might be taken for what stands behind the level has eight bytes.
    constexpr std::int64_t Most_Bytes = 7;
    const auto trust_in = [this, &level](std::int64_t moved) {
        const std::int64_t end = level.claimed_end + moved;
        // What the end of the source cuts off is not moved.
        return end == end_ || end <= position_ ? Trust::None : Trust_In(end, levels_.size());
    };
    if (Top().moved != 0 && trust_in(Top().moved) == Trust::Full) {
        return Top().moved;
    }
    for (std::int64_t bytes = 1; bytes <= Most_Bytes; ++bytes) {
        for (const std::int64_t moved : {-bytes, bytes}) {
            const Trust trust = trust_in(moved);
            if (trust == Trust::Full) {
                return moved;
            }
            if (trust == Trust::Weak && Stands_Behind_Sequence(level.claimed_end + moved)) {
                return 0;
            }
        }
    }
    return 0;
}

/** What a level holds ends in front of a place, where something else begins: its length is wrong. */
bool Element_Reader::Ends_Before(const Nesting_Level& level, std::int64_t content, std::int64_t end)
{
    if (level.kind == Level_Kind::List) {
        Level_View item = level;
        item.mode = Mode_In_Item(window_, content, item);
        item.end = end;
        item.limit = end;
        const std::int64_t to = Read_Straight(window_, {item}, content).to;
        return to < end && Starts_With_Item(to, level.mode);
    }
    std::int64_t at = content;
    Element_Header item = Decode_Header(window_.At(at, Item_Header_Size), level.mode);
    while (at < end && item.size != 0 && item.tag == Item_Tag && !item.Is_Undefined()) {
        at += item.size + static_cast<std::int64_t>(item.length);
        item = Decode_Header(window_.At(at, Item_Header_Size), level.mode);
    }
    return at > content && at < end &&
           Judge(Decode_Header(Header_Bytes(at), Top().mode), at, Top()) == Grade::Sound;
}

/** Sets the end of a level, that is not open yet, by the length that its header claims. */
void Element_Reader::Believe_Length(Nesting_Level& level, std::int64_t content, std::int64_t length)
{
    level.claimed_end = content + static_cast<std::int64_t>(length);
    level.shift = shift_;
    const Trust trust = Trust_In(level.claimed_end, levels_.size());
    const bool is_around = level.claimed_end == level.limit;
    level.moved = trust == Trust::Full || is_around ? 0 : Find_Moved_End(level);
    if (level.moved != 0 && Ends_Before(level, content, level.claimed_end + level.moved)) {
        level.moved = 0;
    }
    if (trust != Trust::None || level.moved != 0 ||
        Content_Fills(level, content, level.claimed_end)) {
        level.is_weak = trust != Trust::Full && level.moved == 0;
        level.end = level.claimed_end + level.moved;
        level.limit = level.end;
    }
}

/** Opens the level of a sequence or an encapsulated value. */
void Element_Reader::Enter(DICOM_List& record, const Element_Header& header, const Content& content)
{
    Nesting_Level level;
    level.kind =
        content.kind == Content::Kind::Items ? Level_Kind::Sequence : Level_Kind::Fragments;
    level.mode = content.mode;
    level.last = header.tag;
    level.owner = &record;
    level.limit = Top().limit;
    level.is_weak = Top().is_weak;
    if (!header.Is_Undefined()) {
        Believe_Length(level, position_ + header.size, header.length);
    }
    position_ += header.size;
    levels_.push_back(std::move(level));
    ++depth_;
}

void Element_Reader::Leave_Ended_Levels()
{
    while (levels_.size() > 1 && Top().limit <= position_ && position_ < end_) {
        if (Top().end != Level_View::Open) {
            Close_Moved();
            continue;
        }
        // A length around it ends what nothing has closed: one fault, however many levels it is.
        Close_Unclosed(Top().kind == Level_Kind::List ? "item is not closed"
                                                      : "sequence is not closed");
        while (levels_.size() > 1 && Top().limit <= position_ && Top().end == Level_View::Open) {
            Pop();
        }
    }
}

void Element_Reader::Pop()
{
    if (Top().kind == Level_Kind::List) {
        path_.pop_back();
        Nesting_Level& sequence = levels_[levels_.size() - 2];
        sequence.last_in_item = Top().last;
        sequence.creators = std::move(Top().creators);
    } else {
        --depth_;
    }
    levels_.pop_back();
}

void Element_Reader::Pop_To(std::size_t levels)
{
    while (levels_.size() > levels) {
        Pop();
    }
}

void Element_Reader::Report_Open_Levels()
{
    while (levels_.size() > 1 && Top().end != Level_View::Open && Top().end <= position_) {
        Close_Moved();
    }
    if (stopped_ || cut_off_) {
        return;
    }
    // A cut or a missing delimiter is one fault, however many levels it leaves open.
    for (std::size_t i = 1; i < levels_.size(); ++i) {
        const Nesting_Level& level = levels_[i];
        if (level.claimed_end > end_) {
            Report(Fault::Truncated, Level::Error, *level.owner,
                   "is cut off: " + Bytes_Text(level.claimed_end - end_) + " are missing");
            return;
        }
    }
    if (levels_.size() > 1 && levels_[1].claimed_end == Level_View::Open) {
        const bool has_fragments = levels_[1].kind == Level_Kind::Fragments;
        Report(has_fragments ? Fault::Fragments : Fault::Nesting, Level::Change, *levels_[1].owner,
               "is not closed at the end");
    }
}

}  // namespace lib_mend
