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
        Note_Left();
        Pop();
    }
}

void Element_Reader::Report_Open_Levels()
{
    while (levels_.size() > 1 && Top().end != Level_View::Open && Top().end <= position_) {
        Close_Moved();
    }
    if (stopped_ || cut_off_ || Release_Data_Set()) {
        return;
    }
    // A cut or a missing delimiter is one fault, however many levels it leaves open.
    std::size_t steps = 0;
    for (std::size_t i = 1; i < levels_.size(); ++i) {
        const Nesting_Level& level = levels_[i];
        steps += level.kind == Level_Kind::List ? 1 : 0;
        if (level.claimed_end > end_) {
            path_.resize(steps);
            Report(Fault::Truncated, Level::Error, *level.owner,
                   "is cut off: " + Bytes_Text(level.claimed_end - end_) + " are missing");
            return;
        }
    }
    if (levels_.size() > 1 && levels_[1].claimed_end == Level_View::Open) {
        const bool has_fragments = levels_[1].kind == Level_Kind::Fragments;
        path_.clear();
        Report(has_fragments ? Fault::Fragments : Fault::Nesting, Level::Change, *levels_[1].owner,
               "is not closed at the end");
    }
}

}  // namespace lib_mend
