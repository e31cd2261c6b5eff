// The ends of levels that are not where lengths say, because bytes are missing in front of them or were
// put in: the same few bytes for all levels around the place.
//
//     (0008,1140) 60  (FFFE,E000) 52  ... 51 bytes ... (0010,0010)   one byte is missing: both end one
//                                                                    byte earlier
#include "mend/reading/element_reader.h"

namespace lib_mend {

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
        at += item.size + item.length;
        item = Decode_Header(window_.At(at, Item_Header_Size), level.mode);
    }
    return at > content && at < end &&
           Judge(Decode_Header(Header_Bytes(at), Top().mode), at, Top()) == Grade::Sound;
}

/** What an item holds leads to a delimitation of its own in front of a place: its length is wrong. */
bool Element_Reader::Is_Delimited_Before(const Nesting_Level& level, std::int64_t content,
                                         std::int64_t end)
{
    if (level.kind != Level_Kind::List || Top().end != Level_View::Open) {
        return false;
    }
    Level_View item = level;
    item.mode = Mode_In_Item(window_, content, item);
    item.end = end;
    item.limit = end;
    const std::int64_t to = Read_Straight(window_, {item}, content).to;
    const Element_Header found = Decode_Header(window_.At(to, Item_Header_Size), level.mode);
    const Element_Header next =
        Decode_Header(window_.At(to + Item_Header_Size, Item_Header_Size), level.mode);
    return to < end && found.size != 0 && found.tag == Item_End_Tag && found.length == 0 &&
           next.size != 0 && (next.tag == Item_Tag || next.tag == Sequence_End_Tag);
}

/** The items of a sequence have lengths that lead to an element of the list around it. */
bool Element_Reader::Items_Lead_Behind(const Nesting_Level& level, std::int64_t content)
{
    std::int64_t at = content;
    Element_Header item = Decode_Header(window_.At(at, Item_Header_Size), level.mode);
    while (level.kind == Level_Kind::Sequence && at < Top().limit && item.size != 0 &&
           item.tag == Item_Tag && !item.Is_Undefined()) {
        at += item.size + item.length;
        item = Decode_Header(window_.At(at, Item_Header_Size), level.mode);
    }
    constexpr std::int64_t Few_Bytes = 64;
    return at > level.claimed_end && at <= level.claimed_end + Few_Bytes && at <= Top().limit &&
           Trust_In(at, levels_.size()) == Trust::Full;
}

/** Sets the end of a level, that is not open yet, by the length that its header claims. */
void Element_Reader::Believe_Length(Nesting_Level& level, std::int64_t content, std::int64_t length)
{
    level.claimed_end = content + length;
    level.shift = shift_;
    const Trust trust = Trust_In(level.claimed_end, levels_.size());
    const bool is_around = level.claimed_end == level.limit;
    level.moved = trust == Trust::Full || is_around ? 0 : Find_Moved_End(level);
    const Nesting_Level& around = Top();
    const bool is_last = level.kind == Level_Kind::List && around.end == Level_View::Open &&
                         around.claimed_end == level.claimed_end && !is_around;
    if (is_last && !Content_Fills(level, content, level.claimed_end)) {
        // It ends with its sequence, and that does not end there.
        level.moved = 0;
        return;
    }
    if (trust == Trust::Weak && level.kind == Level_Kind::Sequence &&
        Ends_Before(level, content, level.claimed_end)) {
        level.moved = 0;
        return;
    }
    if (level.moved != 0 && Is_Delimited_Before(level, content, level.claimed_end + level.moved)) {
        level.moved = 0;
        return;
    }
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

/** Bytes too many, or too few, move the ends of all that is open. */
void Element_Reader::Note_Shift(std::int64_t bytes)
{
    constexpr std::int64_t Most = 512;
    if (bytes < -Most || bytes > Most) {
        // A damaged length says nothing about how many they are.
        ++shift_.damaged;
        Move_Weak_Ends({1, -1, 2, -2});
    } else if (bytes != 0) {
        shift_.if_put_in += bytes;
        shift_.if_damaged += bytes;
        shift_.if_left_over += bytes;
        Move_Weak_Ends({bytes});
    }
}

/** Bytes that are no elements may be too many, an element, or part of one. */
void Element_Reader::Note_Garbage(std::int64_t size)
{
    constexpr std::int64_t Most = 4096;
    constexpr std::int64_t Usual_Header = 8;
    if (size <= Most) {
        shift_.if_put_in += size;
        shift_.if_left_over -= Usual_Header;
        ++shift_.damaged;
        Move_Weak_Ends({size, -Usual_Header, 1, -1, 2, -2});
    }
}

/** Ends that nothing behind them speaks for move to where something does. */
void Element_Reader::Move_Weak_Ends(std::initializer_list<std::int64_t> shifts)
{
    constexpr std::size_t Levels_Moved = 32;
    for (std::size_t i = 1; i < levels_.size() && levels_.size() <= Levels_Moved; ++i) {
        Nesting_Level& level = levels_[i];
        if (level.end == Level_View::Open) {
            level.limit = levels_[i - 1].limit;
            level.is_weak = levels_[i - 1].is_weak;
            continue;
        }
        for (const std::int64_t bytes : shifts) {
            if (level.is_weak && level.end + bytes >= position_ &&
                Trust_In(level.end + bytes, i) == Trust::Full) {
                level.end += bytes;
                level.limit = level.end;
                level.is_weak = false;
            }
        }
    }
}

}  // namespace lib_mend
