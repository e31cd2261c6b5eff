// Encapsulated data (PS3.5 section A.4) and its faults.
//
//     (7FE0,0010) OB undefined
//       (FFFE,E000) 0             offset table, may be empty       missing: an empty one is supplied
//       (FFFE,E000) n  fragment                                    of undefined or wrong length: to
//       ...                                                        the next item that makes sense
//       (FFFE,E0DD) 0                                              missing: the next element ends it
//
// A length that leads to the next item or the delimiter holds, whatever the bytes of a fragment look
// like: compressed data may hold the bytes of a delimiter.
#include "mend/reading/element_reader.h"
#include "mend/reading/encoding.h"

#include <algorithm>

namespace lib_mend {

namespace {

bool Is_Compressed_Frame(std::span<const unsigned char> bytes)
{
    const bool has_marker =
        bytes.size() >= 2 && bytes[0] == 0xFF && (bytes[1] == 0xD8 || bytes[1] == 0x4F);
    return has_marker || !Guess_Pixel_Syntax(bytes).empty();
}

}  // namespace

/** Tells whether an item, the delimiter or the end of the data stands at a place. */
bool Element_Reader::Fragment_May_End(std::int64_t at)
{
    const Nesting_Level& level = Top();
    if (at == level.limit) {
        return true;
    }
    const Element_Header next = Decode_Header(Header_Bytes(at), level.mode);
    if (next.size == 0) {
        return false;
    }
    if (next.tag == Item_Tag) {
        return true;
    }
    const bool is_end = next.tag == Sequence_End_Tag || next.tag == Item_End_Tag;
    const std::int64_t behind = at + next.size;
    if (next.length == 0 && is_end) {
        return next.tag == Sequence_End_Tag || Ends_Fragments(behind);
    }
    // Without a delimiter, elements follow at once.
    return Is_Damaged_Item(next, at) || Ends_Fragments(at);
}

/** The fragments end here: so does all, or elements follow. */
bool Element_Reader::Ends_Fragments(std::int64_t at)
{
    if (at == Top().limit || Points_After(at, 1) > Outlook::Sound_Points) {
        return true;
    }
    // The last element of all leads to no other.
    Level_View around = levels_[levels_.size() - 2];
    around.last = Tag_Of(*Top().owner);
    const Element_Header last = Decode_Header(Header_Bytes(at), around.mode);
    return at + last.size + last.length == Top().limit && Judge(last, at, around) == Grade::Sound;
}

/** One byte of the tag of an item is wrong, and its length leads to the next one. */
bool Element_Reader::Is_Damaged_Item(const Element_Header& header, std::int64_t at)
{
    constexpr int Damaged_Tag = 3;
    const bool is_delimiter = header.tag == Item_End_Tag || header.tag == Sequence_End_Tag;
    if (is_delimiter || Same_Bytes(header.tag, Item_Tag) < Damaged_Tag || header.Is_Undefined()) {
        return false;
    }
    const std::int64_t end = at + header.size + header.length;
    const Element_Header next = Decode_Header(window_.At(end, Item_Header_Size), Top().mode);
    return end == Top().limit ||
           (next.size != 0 && (next.tag == Item_Tag || next.tag == Sequence_End_Tag));
}

/** A value of defined length that consists of fragments. */
bool Element_Reader::Fragments_Fill(std::int64_t at, std::int64_t end, unsigned char mode)
{
    bool holds_any = false;
    while (at + Item_Header_Size <= end) {
        const Element_Header item = Decode_Header(window_.At(at, Item_Header_Size), mode);
        if (item.tag == Sequence_End_Tag) {
            return holds_any && at + item.size == end;
        }
        if (item.tag != Item_Tag || item.Is_Undefined()) {
            return false;
        }
        at += item.size + item.length;
        holds_any = holds_any || item.length > 0;
    }
    return holds_any && at == end;
}

/** The next place from which the fragments, or the elements behind them, go on; or the end. */
std::int64_t Element_Reader::Find_Fragment_End(std::int64_t from)
{
    constexpr std::size_t Block = 16384;
    constexpr std::int64_t Overlap = Item_Header_Size - 1;
    const Nesting_Level& level = Top();
    std::int64_t at = std::max(from, fragments_searched_to_);
    while (at + Item_Header_Size <= level.limit) {
        const auto size = static_cast<std::size_t>(std::min<std::int64_t>(Block, level.limit - at));
        const std::span<const unsigned char> bytes = window_.At(at, size);
        if (bytes.size() < Item_Header_Size) {
            break;
        }
        for (std::size_t i = 0; i + Item_Header_Size <= bytes.size(); ++i) {
            // Group FFFE in either byte order.
            if (bytes[i] < 0xFE || bytes[i + 1] < 0xFE) {
                continue;
            }
            const std::int64_t place = at + static_cast<std::int64_t>(i);
            const Element_Header next = Decode_Header(bytes.subspan(i), level.mode);
            const bool is_end = next.tag == Sequence_End_Tag && next.length == 0;
            const bool is_item = next.tag == Item_Tag && !next.Is_Undefined() &&
                                 place + Item_Header_Size + next.length <= level.limit &&
                                 Look().Follow(place, 2) == 2 * Outlook::Sound_Points;
            if (is_item || (is_end && Look().Follow(place, 2) > Outlook::Sound_Points)) {
                return place;
            }
        }
        at += std::ssize(bytes) - Overlap;
    }
    fragments_searched_to_ = level.limit;
    return level.limit;
}

/** The first item of encapsulated pixel data holds a frame: the offset table is missing. */
void Element_Reader::Supply_Offset_Table(std::int64_t content, std::int64_t end)
{
    Nesting_Level& level = Top();
    if (level.items != 0 || end == content || Tag_Of(*level.owner) != Pixel_Data_Tag) {
        return;
    }
    constexpr std::int64_t Enough = 65536;
    const auto size = static_cast<std::size_t>(std::min(end - content, Enough));
    const std::span<const unsigned char> bytes = window_.At(content, size);
    const bool is_table =
        bytes.size() >= 4 &&
        std::all_of(bytes.begin(), bytes.begin() + 4, [](unsigned char byte) { return byte == 0; });
    const bool is_broken_table = !Is_Compressed_Frame(bytes) && Starts_With_Item(end, level.mode) &&
                                 Is_Compressed_Frame(window_.At(end + Item_Header_Size, Enough));
    // As the length will be once it is even.
    const std::int64_t length = end - content + (end - content) % 2;
    if (is_table || is_broken_table || (length % 4 == 0 && !Is_Compressed_Frame(bytes))) {
        return;
    }
    Report(Fault::Offset_Table, Level::Change, *level.owner,
           "the item of the offset table is missing; an empty one is supplied");
    Nesting_Level item;
    const Element_Header empty = {Item_Tag, 0, level.mode, Header_Form::Implicit, 0, 0};
    Add_Item(level, item, empty);
    item.owner->vr_default = VR_OB;
}

void Element_Reader::Read_Fragment(const Element_Header& header)
{
    if (!Spend_Element()) {
        return;
    }
    Nesting_Level& level = Top();
    const std::int64_t content = position_ + header.size;
    const std::int64_t claimed = header.Is_Undefined() ? level.limit + 1 : content + header.length;
    const bool holds = claimed <= level.limit && Fragment_May_End(claimed);
    const std::int64_t end = holds ? claimed : Find_Fragment_End(content);
    Supply_Offset_Table(content, end);
    Nesting_Level item;
    Add_Item(level, item, header);
    DICOM_List& record = *item.owner;
    // A fragment is a value; its VR keeps it apart from the items of sequences.
    record.vr_default = VR_OB;
    if (!holds) {
        Report_Fragment_End(record, header, claimed, end);
    }
    Set_Size(*source_, record, end - content);
    Set_Claim(*source_, record, header.length != end - content ? header.length : 0);
    Load(record);
    position_ = end;
}

void Element_Reader::Report_Fragment_End(const DICOM_List& record, const Element_Header& header,
                                         std::int64_t claimed, std::int64_t end)
{
    const std::int64_t there = end - position_ - header.size;
    if (header.Is_Undefined()) {
        Report(Fault::Fragments, Level::Change, record,
               "fragment of undefined length; it ends after " + std::to_string(there) + " bytes");
    } else if (end == end_ && claimed > end_) {
        cut_off_ = true;
        Report(Fault::Truncated, Level::Error, record,
               "the value is cut off: " + std::to_string(there) + " of " +
                   std::to_string(header.length) + " bytes are there");
    } else {
        Report(Fault::Value_Length, Level::Change, record,
               "the length of the fragment is " + std::to_string(header.length) + ", but " +
                   std::to_string(there) + " bytes fit what follows");
    }
}

void Element_Reader::Read_In_Fragments()
{
    const Element_Header header = Decode_Header(Header_Bytes(position_), Top().mode);
    if (header.size != 0 && header.tag == Item_Tag) {
        Read_Fragment(header);
        return;
    }
    if (header.size != 0 && Is_Damaged_Item(header, position_)) {
        Report(Fault::Header, Level::Change, header, "a damaged tag is taken as that of an item");
        Element_Header mended = header;
        mended.tag = Item_Tag;
        Read_Fragment(mended);
        return;
    }
    if (header.size != 0 && header.tag == Sequence_End_Tag) {
        Check_Delimiter_Length(header);
        position_ += header.size;
        Pop();
        return;
    }
    if (header.size != 0 && header.tag == Item_End_Tag && header.length == 0 &&
        Ends_Fragments(position_ + header.size)) {
        Report(Fault::Nesting, Level::Change, header,
               "item delimitation in the place of a sequence delimitation");
        position_ += header.size;
        Pop();
        return;
    }
    if (Ends_Fragments(position_)) {
        Close_Unclosed("encapsulated value is not closed");
        return;
    }
    Read_Bare_Fragment(header);
}

/** Bytes that stand in no item: one is supplied around them, so that nothing is lost. */
void Element_Reader::Read_Bare_Fragment(const Element_Header& header)
{
    if (header.size != 0 && header.tag == Item_End_Tag && header.length == 0) {
        Skip_Delimiter(header, "item delimitation outside an item");
        return;
    }
    const std::int64_t end = Find_Fragment_End(position_ + 1);
    Report(Fault::Fragments, Level::Change, *Top().owner,
           std::to_string(end - position_) + " bytes at " + std::to_string(position_) +
               " stand in no fragment; they are taken as one");
    const Element_Header bare = {Item_Tag,       0, Top().mode, Header_Form::Implicit, 0,
                                 end - position_};
    Supply_Offset_Table(position_, end);
    Nesting_Level item;
    Add_Item(Top(), item, bare);
    item.owner->vr_default = VR_OB;
    Load(*item.owner);
    position_ = end;
}

}  // namespace lib_mend
