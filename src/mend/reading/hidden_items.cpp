// Sequences that do not look like one, and what looks like one and is none.
//
//     (0009,1001) UN undefined, (FFFE,E000) ...     a sequence that a writer did not know; its items
//                                                   should be in implicit VR little endian (PS3.5
//                                                   6.2.2), but often hold what is around them
//     (0028,3010) OW 60, (FFFE,E000) ...            a sequence under the VR of something else
//     (0008,1140) SQ 12, "no items in it"           bytes under the VR of a sequence
//     (0028,3006) OW undefined, (FFFE,E000) ...     encapsulated, unless elements stand in the items
//
// What holds items from its first byte to its last becomes a sequence, what holds none stays bytes.
#include "mend/reading/element_reader.h"

#include <algorithm>
#include <array>

namespace lib_mend {

namespace {

/** What leaves no doubt that elements stand in a sequence without an item. */
constexpr int Bare_Points = 7;
/** The same where a whole header is overwritten. */
constexpr int Enough_In_Overwritten = 9;

bool May_Hide_Items(const DICOM_List& record)
{
    const unsigned short vr = VR_Of(record);
    return vr == VR_UN || vr == VR_OB || vr == VR_OW || vr == 0 ||
           (record.dict != nullptr && record.dict->vr[0] == VR_SQ);
}

bool Is_Pixel_Value(Tag tag)
{
    return tag.group == Pixel_Data_Tag.group;
}

}  // namespace

bool Element_Reader::Starts_With_Item(std::int64_t at, unsigned char mode)
{
    const Element_Header item = Decode_Header(window_.At(at, Item_Header_Size), mode);
    return item.size != 0 && item.tag == Item_Tag;
}

/** Steps over the items of a value; the first one without a length is taken on trust. */
bool Element_Reader::Items_Fill(std::int64_t at, std::int64_t end, unsigned char mode)
{
    while (at + Item_Header_Size <= end) {
        const Element_Header item = Decode_Header(window_.At(at, Item_Header_Size), mode);
        const std::int64_t content = at + item.size;
        if (item.size == 0 || item.tag != Item_Tag) {
            // A delimiter that needs not be there.
            return item.tag == Sequence_End_Tag && item.length == 0 && content == end;
        }
        Level_View inside;
        inside.limit = end;
        inside.end = item.Is_Undefined() ? Level_View::Open : content + item.length;
        inside.mode = mode;
        if (inside.end > end) {
            return false;
        }
        if (item.length != 0) {
            inside.mode = Mode_In_Item(window_, content, inside);
            const Element_Header first = Decode_Header(Header_Bytes(content), inside.mode);
            const bool is_end = item.Is_Undefined() && first.tag == Item_End_Tag;
            if (!is_end && Judge(first, content, inside) < Grade::Doubtful) {
                return false;
            }
        }
        if (item.Is_Undefined()) {
            return true;
        }
        at = inside.end;
    }
    return at == end;
}

/** Byte order of the items of a value: that of the list around it, or the other one. */
unsigned char Element_Reader::Mode_Of_Items(std::int64_t at, unsigned char mode)
{
    const auto swapped = static_cast<unsigned char>(mode ^ DICOM_Order_Big_Endian);
    return !Starts_With_Item(at, mode) && Starts_With_Item(at, swapped) ? swapped : mode;
}

void Element_Reader::Note_Byte_Order(const DICOM_List& record, unsigned char around,
                                     unsigned char mode)
{
    if (mode != around) {
        Report(Fault::Encoding, Level::Change, record, "its items are in the other byte order");
    }
}

/** How well elements make sense from a place on in an item of the sequence look.Top(). */
int Element_Reader::Points_In_Item(const Outlook& look, Level_View item, std::int64_t at)
{
    item.kind = Level_Kind::List;
    item.last = {};
    item.mode = Mode_In_Item(window_, at, item);
    const Element_Header first = Decode_Header(Header_Bytes(at), item.mode);
    if (first.tag.group == Delimiter_Group || Judge(first, at, item) != Grade::Sound) {
        return 0;
    }
    // Most places fail above, at the cost of one header.
    Outlook inside = look;
    inside.Push(item);
    return inside.Follow(at);
}

/** How well the first elements of a sequence make sense in an item whose tag is missing. */
int Element_Reader::Points_In_Bare_Item(const Element_Header& header)
{
    const std::int64_t value = position_ + header.size;
    Level_View item = Top();
    item.kind = Level_Kind::Sequence;
    item.last = header.tag;
    item.mode = header.mode;
    item.end = Level_View::Open;
    Outlook look = Look();
    look.Push(item);
    return Points_In_Item(look, item, value);
}

/** How well elements make sense behind a header that should be that of an item; look.Top() is its
 *  sequence. */
int Element_Reader::Points_In_Damaged_Item(const Outlook& look, std::int64_t at)
{
    const Level_View sequence = look.Top();
    const Element_Header header =
        Decode_Header_As(window_.At(at, Item_Header_Size), sequence.mode, Header_Form::Implicit);
    const std::int64_t content = at + header.size;
    const std::int64_t end = content + header.length;
    const bool is_delimiter =
        header.tag == Item_Tag || header.tag == Item_End_Tag || header.tag == Sequence_End_Tag;
    if (header.size == 0 || header.length == 0 || is_delimiter ||
        (!header.Is_Undefined() && end > sequence.limit)) {
        return 0;
    }
    Level_View item = sequence;
    item.end = header.Is_Undefined() ? Level_View::Open : end;
    item.limit = header.Is_Undefined() ? sequence.limit : end;
    return Points_In_Item(look, item, content);
}

/** The same where nothing of the header is left, not even its length. */
int Element_Reader::Points_In_Overwritten_Item(const Outlook& look, std::int64_t at)
{
    const Element_Header header =
        Decode_Header_As(window_.At(at, Item_Header_Size), look.Top().mode, Header_Form::Implicit);
    Level_View item = look.Top();
    item.end = Level_View::Open;
    const bool is_delimiter = header.size == 0 || header.tag.group == Delimiter_Group;
    const int points = is_delimiter ? 0 : Points_In_Item(look, item, at + Item_Header_Size);
    return points >= Enough_In_Overwritten ? points : 0;
}

/** An item of the sequence look.Top() stands behind a few bytes that are none, before anything else
 *  does. */
bool Element_Reader::Is_Item_Near(Outlook look, std::int64_t from, std::int64_t until)
{
    constexpr std::int64_t Most_Bytes = 512;
    const Level_View sequence = look.Top();
    const std::int64_t size = std::min(until - from, Most_Bytes) + Item_Header_Size - 1;
    const std::span<const unsigned char> bytes =
        window_.At(from, static_cast<std::size_t>(std::max<std::int64_t>(size, 0)));
    const bool is_big = Is_Big_Endian(sequence.mode);
    constexpr unsigned char Little[] = {0xFE, 0xFF, 0x00, 0xE0};
    constexpr unsigned char Big[] = {0xFF, 0xFE, 0xE0, 0x00};
    const auto item = is_big ? std::search(bytes.begin(), bytes.end(), Big, std::end(Big))
                             : std::search(bytes.begin(), bytes.end(), Little, std::end(Little));
    if (bytes.end() - item < Item_Header_Size) {
        return false;
    }
    const std::int64_t at = from + (item - bytes.begin());
    const std::optional<Place_Found> place =
        look.Follow(at) >= Bare_Points ? Find_Place(from, sequence.last, at) : Place_Found{from, 0};
    return !place.has_value() || place->position >= at;
}

/** Elements lead to the end of a sequence, but for the header of their item, which is missing. */
bool Element_Reader::Fill_Bare_Item(Level_View item, std::int64_t at, std::int64_t sequence_end)
{
    const std::int64_t end = sequence_end - Item_Header_Size;
    if (end <= at || end > item.limit) {
        return false;
    }
    item.kind = Level_Kind::List;
    item.last = {};
    item.end = end;
    item.limit = end;
    item.mode = Mode_In_Item(window_, at, item);
    const Straight_Reading reading = Read_Straight(window_, {item}, at);
    return reading.holds && reading.sound > 0;
}

/** How well a sequence makes sense whose first item is damaged, missing, or behind other bytes. */
int Element_Reader::Points_Without_Item(const Element_Header& header)
{
    const std::int64_t value = position_ + header.size;
    const std::int64_t end = header.Is_Undefined() ? Top().limit : value + header.length;
    Level_View sequence = Top();
    sequence.kind = Level_Kind::Sequence;
    sequence.last = header.tag;
    sequence.mode = header.mode;
    sequence.end = Level_View::Open;
    if (!header.Is_Undefined() && Fill_Bare_Item(sequence, value, end)) {
        return Bare_Points;
    }
    Outlook look = Look();
    look.Push(sequence);
    const bool has_room = header.Is_Undefined() || header.length > Item_Header_Size;
    const int points = std::max({Points_In_Bare_Item(header), Points_In_Damaged_Item(look, value),
                                 has_room ? Points_In_Overwritten_Item(look, value) : 0});
    if (points >= Bare_Points || Is_Item_Near(look, value, end)) {
        return std::max(points, Bare_Points);
    }
    sequence.limit = std::min(end, sequence.limit);
    sequence.end = header.Is_Undefined() ? Level_View::Open : sequence.limit;
    look.Top() = sequence;
    const bool has_items =
        Find_Torn_Item(look, value + Item_Header_Size) != 0 ||
        (!header.Is_Undefined() && Items_Behind_Damage(value, end, header.mode) >= 0);
    return has_items ? Bare_Points : points;
}

/** A header of an unknown tag and a length that does not fit, before items: they tell where it ends. */
Element_Header Element_Reader::With_Length_Of_Items(const Element_Header& header)
{
    const TAG_db_Elems* const entry = header.Entry();
    const std::int64_t value = position_ + header.size;
    const bool fits = header.Is_Undefined() || value + header.length <= Top().limit;
    if (fits || entry != nullptr || header.vr == VR_SQ || !Starts_With_Item(value, header.mode)) {
        return header;
    }
    const std::int64_t end = End_Of_Items(value);
    Element_Header mended = header;
    mended.length = end < 0 ? std::int64_t{Element_Header::Undefined} : end - value;
    Report(Fault::Value_Length, Level::Change, header,
           "the length is " + std::to_string(header.length) +
               ", but the items behind it tell where it ends");
    return mended;
}

/** Looks at the first item that is not empty; items that are all empty are those of a sequence. */
bool Element_Reader::Elements_Stand_In_Items(std::int64_t at, unsigned char mode)
{
    const std::int64_t start = at;
    Element_Header item = Decode_Header(window_.At(at, Item_Header_Size), mode);
    while (item.size != 0 && item.tag == Item_Tag && item.length == 0) {
        at += item.size;
        item = Decode_Header(window_.At(at, Item_Header_Size), mode);
    }
    if (item.size == 0 || item.tag != Item_Tag) {
        return item.size != 0 && item.tag == Sequence_End_Tag && at != start;
    }
    const std::int64_t first = at + item.size;
    Level_View inside;
    inside.limit = Top().limit;
    inside.mode = mode;
    inside.mode = Mode_In_Item(window_, first, inside);
    const Element_Header element = Decode_Header(Header_Bytes(first), inside.mode);
    const Grade needed = Is_Explicit(inside.mode) ? Grade::Doubtful : Grade::Sound;
    return (item.Is_Undefined() && element.tag == Item_End_Tag) ||
           Judge(element, first, inside) >= needed;
}

/** Where what stands in front of a delimitation ends, whatever items it is in. */
std::int64_t Element_Reader::End_Of_Bytes(Tag tag, std::int64_t value)
{
    const std::int64_t limit = Top().limit;
    const unsigned char mode = Top().mode;
    std::int64_t end = value;
    Element_Header item = Decode_Header(window_.At(end, Item_Header_Size), mode);
    while (item.size != 0 && item.tag == Item_Tag && !item.Is_Undefined() &&
           end + item.size + item.length <= limit) {
        end += item.size + item.length;
        item = Decode_Header(window_.At(end, Item_Header_Size), mode);
    }
    if (item.size == 0 || item.tag != Sequence_End_Tag) {
        const std::optional<Place_Found> place = Find_Place(end, tag, limit);
        end = place.has_value() ? place->position : limit;
    }
    return end;
}

/** Takes what would be no items under a defined length either for a value; false when it would be. */
bool Element_Reader::Take_As_Bytes(DICOM_List& record, std::int64_t value, unsigned char mode)
{
    const std::int64_t end = End_Of_Bytes(Tag_Of(record), value);
    if (end > value && Are_Items(window_, value, end, mode)) {
        return false;
    }
    Set_Size(*source_, record, end - value);
    Set_Claim(*source_, record, Element_Header::Undefined);
    Report(Fault::Undefined_Length, Level::Change, record,
           "undefined length, though it is no pixel data; its " + std::to_string(end - value) +
               " bytes are kept as a value");
    return true;
}

/** Fragments under a tag that nobody knows are pixel data with a damaged tag, where there is no other. */
bool Element_Reader::Is_Pixel_Data(DICOM_List& record)
{
    constexpr int Most = 16;
    if (Tag_Of(record) == Pixel_Data_Tag) {
        return true;
    }
    const bool may_be =
        Is_Pixel_Value(Tag_Of(record)) && record.dict == nullptr && damaged_pixel_tags_ < Most;
    if (!may_be || Find_Record(Top().head, Pixel_Data_Tag) != nullptr) {
        return false;
    }
    ++damaged_pixel_tags_;
    Report(Fault::Header, Level::Change, record,
           "holds fragments, as only pixel data does, and is taken for it");
    record.element = Pixel_Data_Tag.element;
    record.dict = NEMA_db_Locate(record.group, record.element);
    return true;
}

Element_Reader::Content Element_Reader::Content_Of_Undefined(DICOM_List& record,
                                                             const Element_Header& header)
{
    const unsigned short vr = VR_Of(record);
    const std::int64_t value = position_ + header.size;
    const bool is_OB = vr == VR_OB || vr == VR_OW;
    unsigned char mode = vr == VR_UN && record.vr != 0
                             ? static_cast<unsigned char>(header.mode & DICOM_Order_Big_Endian)
                             : header.mode;
    const unsigned char around = mode;
    mode = Mode_Of_Items(value, around);
    Note_Byte_Order(record, around, mode);
    if (header.tag == Pixel_Data_Tag || is_OB) {
        const bool is_pixels = Is_Pixel_Data(record);
        if (!is_pixels && !Elements_Stand_In_Items(value, mode) &&
            Take_As_Bytes(record, value, mode)) {
            // Other values than pixel data are not encapsulated.
            return {Content::Kind::Plain, header.mode};
        }
        if (is_pixels) {
            if (record.vr != 0 && !is_OB) {
                Report(Fault::Fragments, Level::Change, record,
                       "encapsulated value stored as " + VR_Text(record.vr));
                record.vr = VR_OB;
            }
            return {Content::Kind::Fragments, header.mode};
        }
        Report(Fault::VR, Level::Change, record,
               "VR=" + VR_Text(vr) + " of undefined length holds items; it is a sequence");
        record.vr = VR_SQ;
    } else if (vr == VR_UN) {
        Report(Fault::VR_Unknown, Level::Change, record, "sequence stored as UN");
        record.vr = VR_SQ;
    } else if (vr != VR_SQ && vr != 0) {
        // Where the stream carries no VR there is nothing that could be put right.
        Report(Fault::Undefined_Length, record.vr != 0 ? Level::Change : Level::Info, record,
               "VR=" + VR_Text(vr) + " of undefined length is taken as a sequence");
        record.vr = VR_SQ;
    }
    record.vr_default = VR_SQ;
    return {Content::Kind::Items, mode};
}

Element_Reader::Content Element_Reader::Content_Of(DICOM_List& record, const Element_Header& header)
{
    if (header.Is_Undefined()) {
        return Content_Of_Undefined(record, header);
    }
    const Content bytes;
    const std::int64_t value = position_ + header.size;
    if (header.length == 0) {
        return bytes;
    }
    const bool is_sequence = VR_Of(record) == VR_SQ;
    const bool may_hide = May_Hide_Items(record) && !Is_Pixel_Value(header.tag);
    if (!is_sequence && !may_hide && header.tag != Pixel_Data_Tag) {
        return bytes;
    }
    const unsigned char around = record.vr == VR_UN ? static_cast<unsigned char>(0) : header.mode;
    const unsigned char mode = Mode_Of_Items(value, around);
    if (is_sequence && Starts_With_Item(value, mode)) {
        Note_Byte_Order(record, around, mode);
        return {Content::Kind::Items, mode};
    }
    if (is_sequence && Points_Without_Item(header) >= Bare_Points) {
        return {Content::Kind::Items, mode};
    }
    const std::int64_t end = std::min(value + header.length, end_);
    if (header.tag == Pixel_Data_Tag && Starts_With_Item(value, header.mode) &&
        Fragments_Fill(value, end, header.mode)) {
        Report(Fault::Fragments, Level::Change, record, "fragments under a defined length");
        record.size = DICOM_Undefined_Length;
        record.vr = record.vr != 0 ? VR_OB : static_cast<unsigned short>(0);
        return {Content::Kind::Fragments, header.mode};
    }
    if (is_sequence && value + header.length >= end_ &&
        end_ - value < static_cast<std::int64_t>(Item_Header_Size)) {
        // Cut off in front of its first item: the rest is none of it.
        return {Content::Kind::Items, mode};
    }
    const bool is_known = record.dict != nullptr && record.dict->vr[0] == VR_SQ;
    if (is_sequence) {
        // A private definition may be that of another maker.
        const bool is_sure = record.vr != 0 || is_known;
        Report(is_sure ? Fault::Nesting : Fault::Private_Definition,
               is_sure ? Level::Change : Level::Info, record,
               "a sequence without items; its bytes are kept as UN");
        record.vr = VR_UN;
        return bytes;
    }
    if (!may_hide || !Starts_With_Item(value, mode)) {
        return bytes;
    }
    // Under a tag that is a sequence's they may be damaged; bytes of any other are items from end to
    // end, or none.
    if (is_known ? !Items_Fill(value, end, mode) : !Are_Items(window_, value, end, mode)) {
        return bytes;
    }
    if (record.vr != 0) {
        Report(record.vr == VR_UN ? Fault::VR_Unknown : Fault::VR, Level::Change, record,
               "sequence stored as " + VR_Text(record.vr));
    }
    Note_Byte_Order(record, around, mode);
    record.vr_default = VR_SQ;
    record.vr = record.vr != 0 ? VR_SQ : static_cast<unsigned short>(0);
    return {Content::Kind::Items, mode};
}

}  // namespace lib_mend
