#include "mend/reading/outlook.h"

#include <algorithm>

#include "mend/reading/vr_forms.h"

namespace lib_mend {

namespace {

/** Levels that are taken over from the reader: a look cannot leave more. */
constexpr std::size_t Innermost = 10;
/** A header that makes sense but for its length speaks for its place, but not for what follows. */
constexpr int Length_Points = 4;
/** So do the last bytes, when they are too few for a header. */
constexpr int Rest_Points = 4;
/** Anything can be made to end with the source; it is no more than likely. */
constexpr int End_Points = 6;

}  // namespace

Outlook::Outlook(Window& window, std::span<const Nesting_Level> levels, std::int64_t size)
    : window_(window), size_(size), is_whole_(levels.size() <= Innermost)
{
    for (const Nesting_Level& level : levels.last(std::min(levels.size(), Innermost))) {
        levels_[depth_++] = level;
    }
}

void Outlook::Push(const Level_View& level)
{
    if (depth_ == levels_.size()) {
        stopped_ = true;
        return;
    }
    levels_[depth_++] = level;
}

bool Outlook::Leave_Ended()
{
    while (depth_ > 0 && Top().end == at_) {
        Pop();
    }
    return depth_ == 0 || at_ == size_;
}

int Outlook::Follow(std::int64_t at, int steps)
{
    at_ = at;
    int points = 0;
    for (int left = steps; left > 0 && !stopped_; --left) {
        if (Leave_Ended()) {
            if (at_ == size_ && points < 2 * Sound_Points) {
                return points + std::min(End_Points, left * Sound_Points);
            }
            return points + left * (is_whole_ || at_ == size_ ? Sound_Points : Doubtful_Points);
        }
        const int gained = at_ < Top().limit ? Step() : 0;
        if (gained == 0) {
            return points;
        }
        points += gained;
    }
    return points;
}

int Outlook::Follow_Header(const Element_Header& header, std::int64_t at, int steps)
{
    at_ = at;
    Top().last = std::max(Top().last, header.tag);
    Enter(header);
    return stopped_ ? 0 : Follow(at_, steps);
}

int Outlook::Step()
{
    const Element_Header header = Decode_Header(window_.At(at_, Longest_Header), Top().mode);
    if (header.size == 0) {
        stopped_ = true;
        return at_ + static_cast<std::int64_t>(Longest_Header) > size_ ? Rest_Points : 0;
    }
    if (header.tag == Tag{} && header.length == 0 && (header.vr == 0 || header.vr == VR_UL)) {
        // Zeros behind the last element.
        stopped_ = true;
        return Doubtful_Points;
    }
    return header.tag.group == Delimiter_Group ? Step_Delimiter(header) : Step_Element(header);
}

Element_Header Outlook::Header_Here()
{
    const std::span<const unsigned char> bytes = window_.At(at_, Longest_Header);
    return Top().habit != Header_Form::Implicit && Is_Explicit(Top().mode)
               ? Decode_Header_As(bytes, Top().mode, Top().habit)
               : Decode_Header(bytes, Top().mode);
}

int Outlook::Step_Element(const Element_Header& read)
{
    Element_Header header = Top().habit != Header_Form::Implicit ? Header_Here() : read;
    int most = Sound_Points;
    while (Top().kind != Level_Kind::List) {
        // Only items stand in a sequence; an element is the first one behind it.
        if (Top().end != Level_View::Open || depth_ < 2) {
            return 0;
        }
        Pop();
        header = Header_Here();
        most = Doubtful_Points;
    }
    constexpr unsigned short Meta_Group = 0x0002;
    switch (Judge(header, at_, Top())) {
    case Grade::Impossible:
        return Step_Damaged(header);
    case Grade::Length_Impossible:
        if (Holds_Item(header)) {
            // What is too long by a few bytes is still seen by its items.
            Top().last = header.tag;
            most = Fair_Points;
            break;
        }
        if (const int size = Torn_Size(header); size != 0) {
            Enter_Torn(header, size);
            return Fair_Points;
        }
        stopped_ = true;
        return Is_Explicit(header.mode) ? Length_Points : Doubtful_Points;
    case Grade::VR_Impossible: {
        if (const int size = Torn_Size(header); size != 0) {
            Enter_Torn(header, size);
            return Fair_Points;
        }
        const TAG_db_Elems* const entry = header.Entry();
        const unsigned short vr = Meant_VR(header.vr, entry);
        const bool is_long = vr != VR_UN && Is_Long_VR(vr);
        const Header_Form form = Top().habit != Header_Form::Implicit ? Top().habit
                                 : is_long                            ? Header_Form::Long
                                                                      : Header_Form::Short;
        header = Decode_Header_As(window_.At(at_, Longest_Header), header.mode, form);
        header.vr = vr;
        // A tag that is known and in order speaks for itself, for those writers that know no VR.
        most = entry != nullptr ? Fair_Points : Doubtful_Points;
        Top().last = header.tag;
        break;
    }
    case Grade::Doubtful: {
        // A VR that exists, or a tag that does, is more than chance though something is odd about it.
        const bool is_fair =
            header.vr != 0 || (header.tag.group % 2 == 0 && header.tag.group > Meta_Group);
        most = is_fair ? Fair_Points : Doubtful_Points;
        break;
    }
    case Grade::Sound:
        Top().last = header.tag;
        break;
    }
    Enter(header);
    return most;
}

bool Outlook::Holds_Item(const Element_Header& header)
{
    const TAG_db_Elems* const entry = header.Entry();
    const std::span<const unsigned char> bytes = window_.At(at_ + header.size, Longest_Header);
    return Has_Nested_Content(header, entry) && Decode_Header(bytes, Top().mode).tag == Item_Tag;
}

/** Where the first item stands behind the tag of a sequence whose header lost some bytes; or 0. */
int Outlook::Torn_Size(const Element_Header& header)
{
    constexpr int Tag_Size = 4;
    const TAG_db_Elems* const entry = header.Entry();
    const int usual = Is_Explicit(header.mode) ? static_cast<int>(Longest_Header) : 8;
    for (int size = Tag_Size; entry != nullptr && entry->vr[0] == VR_SQ && size < usual; ++size) {
        if (Decode_Header(window_.At(at_ + size, Longest_Header), header.mode).tag == Item_Tag) {
            return size;
        }
    }
    return 0;
}

void Outlook::Enter_Torn(const Element_Header& header, int size)
{
    Top().last = header.tag;
    Element_Header torn = header;
    torn.size = size;
    torn.vr = Is_Explicit(header.mode) ? VR_SQ : static_cast<unsigned short>(0);
    torn.length = Element_Header::Undefined;
    Enter(torn);
}

/** One header may be damaged, when its length leads to a sound one all the same. */
int Outlook::Step_Damaged(const Element_Header& read)
{
    const std::span<const unsigned char> bytes = window_.At(at_, Longest_Header);
    for (const Header_Form form : {read.form, Header_Form::Short, Header_Form::Long}) {
        if (was_damaged_ || (!Is_Explicit(Top().mode) && form != read.form)) {
            break;
        }
        const Element_Header header = Decode_Header_As(bytes, read.mode, form);
        const std::int64_t end = at_ + header.size + header.length;
        const bool is_zeros = header.length == 0 && !Is_Known_VR(header.vr);
        if (header.size == 0 || header.Is_Undefined() || end > Top().limit || is_zeros) {
            continue;
        }
        const Element_Header next = Decode_Header(window_.At(end, Longest_Header), read.mode);
        if (end == Top().end || Judge(next, end, Top()) == Grade::Sound) {
            was_damaged_ = true;
            at_ = end;
            return Doubtful_Points;
        }
    }
    return 0;
}

void Outlook::Enter(const Element_Header& header)
{
    const TAG_db_Elems* const entry = header.Entry();
    const Level_View around = Top();
    at_ += header.size;
    const std::int64_t end = header.Is_Undefined() ? Level_View::Open : at_ + header.length;
    if (!Has_Nested_Content(header, entry)) {
        const bool is_padded = around.pads && !header.Is_Undefined() && header.length % 2 != 0;
        stopped_ = end == Level_View::Open || end > around.limit;
        at_ = is_padded ? end + 1 : end;
        return;
    }
    if (header.length == 0) {
        return;
    }
    Level_View inside = around;
    inside.kind = header.vr == VR_OB || header.vr == VR_OW ||
                          (header.Is_Undefined() && header.tag == Pixel_Data_Tag)
                      ? Level_Kind::Fragments
                      : Level_Kind::Sequence;
    inside.last = header.tag;
    inside.end = end <= around.limit ? end : Level_View::Open;
    inside.limit = inside.end != Level_View::Open ? inside.end : around.limit;
    inside.mode = header.vr == VR_UN ? static_cast<unsigned char>(0) : around.mode;
    Push(inside);
}

int Outlook::Step_Delimiter(const Element_Header& header)
{
    if (header.tag == Item_Tag) {
        return Step_Item(header);
    }
    const bool is_open = Top().end == Level_View::Open && depth_ > 1;
    const bool is_known = header.tag == Item_End_Tag || header.tag == Sequence_End_Tag;
    if (header.length != 0 || !is_known) {
        return 0;
    }
    at_ += header.size;
    if (!is_open) {
        // A stray one is passed over.
        return Doubtful_Points;
    }
    if (header.tag == Item_End_Tag) {
        const bool fits = Top().kind == Level_Kind::List;
        Pop();
        return fits ? Sound_Points : 0;
    }
    if (Top().kind != Level_Kind::List) {
        Pop();
        return Sound_Points;
    }
    // The item is not closed.
    Pop();
    const bool fits = Top().end == Level_View::Open && depth_ > 1;
    Pop();
    return fits ? Doubtful_Points : 0;
}

int Outlook::Step_Item(const Element_Header& header)
{
    int points = Sound_Points;
    if (Top().kind == Level_Kind::List) {
        if (Top().end != Level_View::Open || depth_ < 2) {
            at_ += header.size;
            return Doubtful_Points;
        }
        Pop();
        points = Doubtful_Points;
    }
    at_ += header.size;
    std::int64_t end = header.Is_Undefined() ? Level_View::Open : at_ + header.length;
    if (Top().kind == Level_Kind::Fragments) {
        const bool fits = end != Level_View::Open && end <= Top().limit;
        at_ = end;
        return fits ? points : 0;
    }
    if (end > Top().limit) {
        end = Level_View::Open;
        points = Doubtful_Points;
    }
    Level_View item = Top();
    item.kind = Level_Kind::List;
    item.last = {};
    item.end = end;
    item.limit = end != Level_View::Open ? end : Top().limit;
    item.mode = Mode_In_Item(window_, at_, item);
    Push(item);
    return points;
}

namespace {

/** Something that makes sense stands behind an element. */
bool Leads_To_Next(Window& window, const Element_Header& header, std::int64_t at, Level_View item)
{
    const std::int64_t value = at + header.size;
    if (header.Is_Undefined()) {
        return Decode_Header(window.At(value, Longest_Header), header.mode).tag == Item_Tag;
    }
    const std::int64_t end = value + header.length;
    item.mode = header.mode;
    item.last = header.tag;
    const Element_Header next = Decode_Header(window.At(end, Longest_Header), header.mode);
    return end == item.limit || next.tag.group == Delimiter_Group ||
           Judge(next, end, item) >= Grade::Doubtful;
}

}  // namespace

unsigned char Mode_In_Item(Window& window, std::int64_t at, const Level_View& item)
{
    const std::span<const unsigned char> bytes = window.At(at, Longest_Header);
    const Element_Header header = Decode_Header(bytes, item.mode);
    const Grade grade = Judge(header, at, item);
    if (at == item.end || header.size == 0 || header.tag.group == Delimiter_Group) {
        return item.mode;
    }
    const auto other = static_cast<unsigned char>(item.mode ^ DICOM_Order_Explicit_VR);
    const Element_Header otherwise = Decode_Header(bytes, other);
    if (!Is_Explicit(item.mode)) {
        // As an implicit length two capitals stand for more than 16,000 bytes.
        const TAG_db_Elems* const entry = header.Entry();
        const bool speaks = entry == nullptr
                                ? Is_Known_VR(otherwise.vr)
                                : otherwise.vr != VR_UN && Allows(*entry, otherwise.vr);
        return speaks && Judge(otherwise, at, item) >= Grade::Doubtful ? other : item.mode;
    }
    const bool is_better = header.tag != Tag{} && grade < Grade::Doubtful &&
                           Judge(otherwise, at, item) >= Grade::Doubtful;
    return is_better && !Is_Known_VR(header.vr) && Leads_To_Next(window, otherwise, at, item)
               ? other
               : item.mode;
}

}  // namespace lib_mend
