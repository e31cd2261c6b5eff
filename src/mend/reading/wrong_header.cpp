// Headers that make no sense, or lead to one that makes none: VRs that do not exist, lengths that do
// not fit, headers of another form or in another encoding.
//
//     10 00 10 00 '-' '-' 08 00 value         unknown VR: the dictionary's; the length has 2 or 4
//     28 00 00 12 'O' 'W' 00 04 value         bytes, whichever makes the next header fit
//     10 00 10 00 08 00 00 00 value           implicit VR in an explicit data set, and the reverse
//     00 10 00 10 'P' 'N' 00 08 value         the other byte order
//     10 00 10 00 'P' 'N' 0A 00 8 bytes       a length that is off by a few bytes, swapped, cut to 16
//                                             bits, zero or far too long
//
// Each reading is tried and judged by the headers that follow. One that has to assume nothing wins
// over others that are as good. The library, which knows the faults of several makers, is asked too.
#include "mend/reading/element_reader.h"

#include <algorithm>
#include <array>

namespace lib_mend {

namespace {

/** So much behind a header leaves no doubt, and so much makes a changed reading likely. */
constexpr int No_Doubt = 7;
constexpr int Likely = 5;
constexpr int Possible = 2;

constexpr unsigned short Blank_VR = DICOM_VR(' ', ' ');

std::uint32_t Swapped_32(std::uint32_t number)
{
    return number >> 24 | (number >> 8 & 0xFF00) | (number << 8 & 0xFF0000) | number << 24;
}

std::uint32_t Swapped_16(std::uint32_t number)
{
    return (number >> 8 & 0xFF) | (number << 8 & 0xFF00);
}

}  // namespace

/** The header with a VR that exists: that of the dictionary, or UN. */
Element_Header Element_Reader::With_VR(const Element_Header& header) const
{
    Element_Header known = header;
    if (header.form != Header_Form::Implicit && !Is_Known_VR(header.vr)) {
        const TAG_db_Elems* const entry = NEMA_db_Locate(header.tag.group, header.tag.element);
        known.vr = entry != nullptr && Is_Known_VR(entry->vr[0]) ? entry->vr[0] : VR_UN;
    }
    return known;
}

void Element_Reader::Offer_Under(Reading& best, const Reading& offered, int cost)
{
    Reading reading = offered;
    Element_Header header = With_VR(reading.header);
    if (header.size == 0 || header.tag.group == Delimiter_Group || header.tag.group == 0xFFFF ||
        header.tag == Swapped_Item_Tag) {
        return;
    }
    const std::int64_t value = position_ + header.size;
    const bool fits =
        header.Is_Undefined() || value + static_cast<std::int64_t>(header.length) <= Top().limit;
    const bool items = header.length != 0 && (Starts_With_Item(value, header.mode) ||
                                              Starts_With_Item(value, header.mode ^ 1));
    Level_View list = Top();
    list.mode = reading.mode;
    const Grade grade = Judge(header, position_, list);
    if (header.Is_Undefined() || !fits) {
        // Only items can stand in what has no length of its own.
        if (!items) {
            return;
        }
        header.vr = header.vr == 0 ? header.vr : VR_SQ;
        header.length = Element_Header::Undefined;
    } else if (header.vr == VR_SQ && !items && header.length != 0) {
        header.vr = VR_UN;
    }
    Outlook look = Look();
    look.Top().mode = reading.mode;
    reading.behind = look.Follow_Header(header, position_);
    const bool is_sound = grade == Grade::Sound;
    const int own = is_sound                     ? Outlook::Sound_Points
                    : grade != Grade::Impossible ? Outlook::Doubtful_Points
                                                 : 0;
    const int needed = own == 0 ? 2 * Outlook::Sound_Points : Possible;
    reading.points = own + reading.behind - cost;
    if (reading.behind >= needed && reading.points > best.points) {
        best = reading;
    }
}

void Element_Reader::Offer(Reading& best, const Element_Header& header, Assumed assumed, int cost)
{
    Offer_Under(best, {header, Top().mode, assumed}, cost);
}

/** The same bytes with a length of 2 and of 4 bytes. */
void Element_Reader::Offer_Forms(Reading& best, const Element_Header& as_read)
{
    if (!Is_Explicit(Top().mode)) {
        return;
    }
    const std::span<const unsigned char> bytes = Header_Bytes(position_);
    for (const Header_Form form : {Header_Form::Short, Header_Form::Long, Header_Form::Packed}) {
        if (form != as_read.form) {
            Offer(best, Decode_Header_As(bytes, Top().mode, form), Assumed::Form, 2);
        }
    }
}

/** The other encodings, for this element alone and for those that follow too. */
void Element_Reader::Offer_Encodings(Reading& best)
{
    const unsigned char usual = Top().mode;
    constexpr int Changes[] = {DICOM_Order_Explicit_VR, DICOM_Order_Big_Endian,
                               DICOM_Order_Explicit_VR | DICOM_Order_Big_Endian};
    for (const int change : Changes) {
        const auto mode = static_cast<unsigned char>(usual ^ change);
        const Element_Header header = Decode_Header(Header_Bytes(position_), mode);
        if (Is_Explicit(mode) && !Is_Known_VR(header.vr)) {
            continue;
        }
        Offer_Under(best, {header, mode, Assumed::Encoding}, 2);
        Offer_Under(best, {header, usual, Assumed::Encoding}, 3);
    }
}

void Element_Reader::Offer_Lengths(Reading& best, const Element_Header& as_read)
{
    const Element_Header header = With_VR(as_read);
    const std::int64_t room = Top().limit - position_ - header.size;
    if (header.size == 0 || header.tag <= Top().last || room < 0) {
        return;
    }
    const auto offer = [&](std::int64_t length) {
        if (length >= 0 && length <= room && length != header.length) {
            Element_Header other = header;
            other.length = static_cast<std::uint32_t>(length);
            Offer(best, other, Assumed::Length, 3);
        }
    };
    constexpr int Offs[] = {1, 2, 4, 8, 12};
    const auto length = static_cast<std::int64_t>(header.length);
    for (const int off : Offs) {
        offer(length - off);
        offer(length + off);
    }
    offer(header.form == Header_Form::Short ? Swapped_16(header.length)
                                            : Swapped_32(header.length));
    offer(length & 0xFFFF);
    constexpr std::int64_t Cut = 0x10000;
    constexpr int Most_Cuts = 16;
    for (int i = 1; i <= Most_Cuts && header.length < Cut; ++i) {
        offer(length + i * Cut);
    }
}

/** What the library makes of a header, with its warnings as findings; false when it refuses. */
bool Element_Reader::Ask_Library(const Element_Header& as_read, Element_Header& header)
{
    const bool searches = as_read.tag == Pixel_Data_Tag && as_read.Is_Undefined();
    const std::span<const unsigned char> bytes = window_.At(position_, lens_.size());
    if (bytes.size() < 8 || searches) {
        return false;
    }
    std::fill(std::copy(bytes.begin(), bytes.end(), lens_.begin()), lens_.end(), 0);
    Header read;
    if (!lens_cursor_.Seek(0) || !lens_cursor_.Read_Header(Top().mode, read, source_->Size())) {
        findings_.Take_Errors();
        return false;
    }
    header = as_read;
    header.tag = {read.group, read.element};
    if (header.tag == Tag{0xFFFF, 0xFFFF}) {
        // An element of one maker that the library would have its client skip.
        header.tag = as_read.tag;
    }
    header.vr = read.vr;
    header.length = static_cast<std::uint32_t>(read.length);
    header.size = static_cast<int>(lens_cursor_.Tell());
    header.form = read.vr == 0        ? Header_Form::Implicit
                  : header.size == 12 ? Header_Form::Long
                                      : Header_Form::Short;
    return true;
}

void Element_Reader::Offer_Library(Reading& best, const Element_Header& as_read)
{
    Findings unheard;
    Element_Header header;
    bool done = false;
    {
        const Library_Session session(unheard);
        done = Ask_Library(as_read, header);
    }
    const bool differs = header.tag != as_read.tag || header.vr != as_read.vr ||
                         header.length != as_read.length || header.size != as_read.size;
    const bool names_VR = header.vr != as_read.vr && Is_Known_VR(header.vr);
    if (done && differs && (unheard.Count() != 0 || names_VR)) {
        Offer(best, header, Assumed::As_Library, names_VR ? -1 : 0);
    }
}

void Element_Reader::Settle(const Element_Header& as_read)
{
    const bool is_delimiter = as_read.tag.group == Delimiter_Group;
    Reading best;
    Offer(best, as_read, Assumed::Nothing, 0);
    const bool vr_is_known = as_read.form == Header_Form::Implicit || Is_Known_VR(as_read.vr);
    if (best.behind < No_Doubt || !vr_is_known) {
        Offer_Library(best, as_read);
        Offer_Forms(best, as_read);
        Offer_Encodings(best);
        Offer_Lengths(best, as_read);
    }
    if (Settle_Damaged_Delimiter(as_read, std::max(best.points, Likely))) {
        return;
    }
    const bool assumes = best.assumed != Assumed::Nothing;
    if (best.points >= 0 && (!assumes || best.behind >= Likely)) {
        Take(best, as_read);
    } else if (!is_delimiter && Settle_By_Search(as_read)) {
        return;
    } else if (best.points >= 0) {
        Take(best, as_read);
    } else {
        Skip_Garbage();
    }
}

/** In an item a delimiter may be damaged: a tag that differs from one in a single byte. */
bool Element_Reader::Settle_Damaged_Delimiter(const Element_Header& header, int enough)
{
    constexpr int Damaged_Tag = 3;
    if (levels_.size() < 3 || Top().end != Level_View::Open) {
        return false;
    }
    const Element_Header read =
        Decode_Header_As(Header_Bytes(position_), header.mode, Header_Form::Implicit);
    const std::int64_t behind = position_ + read.size;
    if (read.size != 0 && read.length == 0 && Same_Bytes(read.tag, Item_End_Tag) >= Damaged_Tag &&
        Points_After(behind, 1) > enough) {
        Report(Fault::Header, Level::Change, read,
               "a damaged tag is taken as an item delimitation");
        position_ = behind;
        Pop();
        return true;
    }
    return false;
}

/** Keeps tag and VR, and takes the value to go on to the next place that makes sense. */
bool Element_Reader::Settle_By_Search(const Element_Header& as_read)
{
    Element_Header header = With_VR(as_read);
    if (header.vr != as_read.vr) {
        header = Decode_Header_As(Header_Bytes(position_), as_read.mode,
                                  Is_Long_VR(header.vr) ? Header_Form::Long : Header_Form::Short);
        header = With_VR(header);
    }
    Element_Header empty = header;
    empty.length = 0;
    if (header.size == 0 || Judge(empty, position_, Top()) != Grade::Sound) {
        return false;
    }
    const std::int64_t value = position_ + header.size;
    const std::int64_t claimed =
        header.Is_Undefined() ? Top().limit + 1 : value + static_cast<std::int64_t>(header.length);
    const std::optional<Place_Found> place = Find_Place(value, header.tag);
    const std::int64_t end = place.has_value()        ? place->position
                             : claimed <= Top().limit ? claimed
                                                      : Top().limit;
    Element_Header mended = header;
    mended.length = static_cast<std::uint32_t>(end - value);
    const bool is_cut = end == end_ && claimed > end_ && !header.Is_Undefined() && !place;
    if (header.vr != as_read.vr) {
        Report(Fault::VR, Level::Change, header,
               "VR=" + VR_Text(as_read.vr) + " does not exist; it is taken as " +
                   VR_Text(header.vr));
    }
    if (is_cut) {
        Report_Cut(mended, header.length);
    } else if (header.Is_Undefined()) {
        Report(Fault::Undefined_Length, Level::Change, header,
               "undefined length without items; " + std::to_string(end - value) +
                   " bytes fit what follows");
    } else if (end != claimed) {
        Report(Fault::Value_Length, Level::Change, header,
               "the length is " + std::to_string(header.length) + ", but " +
                   std::to_string(end - value) + " bytes fit what follows");
    }
    const std::uint32_t claim = header.length;
    Accept(mended);
    Note_Claim(mended.length, claim);
    if (place.has_value()) {
        Pop_To(place->levels);
    }
    return true;
}

/** The source ends in the middle of a value. */
void Element_Reader::Report_Cut(const Element_Header& header, std::uint32_t claimed)
{
    cut_off_ = true;
    Report(Fault::Truncated, Level::Error, header,
           "the value is cut off: " + std::to_string(header.length) + " of " +
               std::to_string(claimed) + " bytes are there");
}

/** Keeps what the header of the last record claimed. */
void Element_Reader::Note_Claim(std::uint32_t length, std::uint32_t claimed)
{
    if (length != claimed && Top().tail != nullptr) {
        Top().tail->spare = claimed;
    }
}

void Element_Reader::Take(const Reading& reading, const Element_Header& as_read)
{
    const Element_Header header = With_VR(reading.header);
    if (reading.assumed == Assumed::Nothing || reading.assumed == Assumed::As_Library) {
        DICOM_List subject = {};
        subject.group = as_read.tag.group;
        subject.element = as_read.tag.element;
        subject.vr = header.vr;
        subject.pos = static_cast<unsigned int>(position_);
        const About about(findings_, subject);
        Element_Header unused;
        Ask_Library(as_read, unused);
    }
    if (reading.assumed == Assumed::As_Library && as_read.vr == Blank_VR) {
        Report(Fault::VR, Level::Change, header, "blank VR is taken as " + VR_Text(header.vr));
    }
    if (reading.assumed == Assumed::Encoding) {
        const bool goes_on = reading.mode != Top().mode;
        if (!goes_on || reading.mode != Top().usual_mode) {
            Report(Fault::Encoding, Level::Change, header,
                   goes_on ? "from here on the elements are in " + Mode_Text(header.mode)
                           : "the element is in " + Mode_Text(header.mode));
        }
        Top().mode = reading.mode;
    } else if (reading.header.vr != header.vr) {
        Report(Fault::VR, Level::Change, header,
               "VR=" + VR_Text(reading.header.vr) + " does not exist; it is taken as " +
                   VR_Text(header.vr));
    } else if (reading.assumed == Assumed::Form) {
        Report(Fault::Header, Level::Change, header,
               header.form == Header_Form::Short ? "its length has 2 bytes instead of 4"
                                                 : "its length has 4 bytes instead of 2");
    } else if (reading.assumed == Assumed::Length &&
               position_ + header.size + header.length == end_ && as_read.length > header.length) {
        Report_Cut(header, as_read.length);
    } else if (reading.assumed == Assumed::Length) {
        Report(Fault::Value_Length, Level::Change, header,
               "the length is " + std::to_string(as_read.length) + ", but " +
                   std::to_string(header.length) + " bytes fit what follows");
    }
    Accept(header);
    Note_Claim(header.length, as_read.length);
}

}  // namespace lib_mend
