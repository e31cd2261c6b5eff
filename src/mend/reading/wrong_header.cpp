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

#include "mend/reading/vr_forms.h"

namespace lib_mend {

namespace {

/** So much behind a header leaves no doubt, and so much makes a changed reading likely. */
constexpr int No_Doubt = 7;
constexpr int Likely = 5;
constexpr int Possible = 2;

constexpr unsigned short Blank_VR = DICOM_VR(' ', ' ');

}  // namespace

/** The header with a VR that exists: that of the dictionary, or UN. */
Element_Header Element_Reader::With_VR(const Element_Header& header) const
{
    Element_Header known = header;
    if (header.form != Header_Form::Implicit && !Is_Known_VR(header.vr)) {
        const TAG_db_Elems* const entry = header.Entry();
        known.vr = Meant_VR(header.vr, entry);
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
    const bool fits = header.Is_Undefined() || value + header.length <= Top().limit;
    const bool items = header.length != 0 && (Starts_With_Item(value, header.mode) ||
                                              Starts_With_Item(value, header.mode ^ 1));
    Level_View list = Top();
    list.mode = reading.mode;
    // A VR that had to be made up speaks for nothing.
    const bool is_made_up = header.vr != reading.header.vr &&
                            Judge(reading.header, position_, list) == Grade::Impossible;
    const Grade grade = is_made_up ? Grade::Impossible : Judge(header, position_, list);
    constexpr std::int64_t Group_Length_Size = 4;
    if ((is_made_up || header.tag.group == 0x0000) && header.tag.element == 0x0000 &&
        header.length != Group_Length_Size) {
        // Zeros behind a number, and not the length of a group.
        return;
    }
    const TAG_db_Elems* const entry = header.Entry();
    const bool is_known_sequence = entry != nullptr && entry->vr[0] == VR_SQ;
    const bool may_hold_items = header.vr == VR_SQ || (header.vr == 0 && is_known_sequence);
    const int bare = may_hold_items && !items ? Points_Without_Item(header) : 0;
    if (header.Is_Undefined() || !fits) {
        // Only items can stand in what has no length of its own; one wrong thing at a time.
        Element_Header open = reading.header;
        open.length = Element_Header::Undefined;
        const bool may_be_unknown =
            entry == nullptr && Judge(open, position_, list) != Grade::Impossible;
        const bool may_be_foreign = may_be_unknown || is_known_sequence || header.vr == VR_SQ ||
                                    reading.header.vr == VR_UN || header.tag == Pixel_Data_Tag;
        if ((!header.Is_Undefined() && (reading.assumed == Assumed::Encoding || !may_be_foreign)) ||
            (!items && bare < No_Doubt)) {
            return;
        }
        header.vr = header.vr == 0 ? header.vr : VR_SQ;
        header.length = Element_Header::Undefined;
    } else if (header.vr == VR_SQ && !items && bare < No_Doubt && header.length != 0) {
        header.vr = VR_UN;
    }
    Outlook look = Look();
    look.Top().mode = reading.mode;
    look.Top().habit = reading.habit;
    look.Top().pads = reading.assumed == Assumed::Padding;
    reading.behind = bare >= No_Doubt ? bare : look.Follow_Header(header, position_);
    const int own = grade == Grade::Sound || (items && is_known_sequence) ? Outlook::Sound_Points
                    : grade != Grade::Impossible                          ? Outlook::Doubtful_Points
                                                                          : 0;
    const int needed = own == 0 ? 2 * Outlook::Sound_Points : Possible;
    reading.points = own + reading.behind - cost + (items && is_known_sequence ? 1 : 0);
    reading.is_possible = own != 0;
    if (reading.behind >= needed && reading.points > best.points) {
        best = reading;
    }
}

void Element_Reader::Offer(Reading& best, const Element_Header& header, Assumed assumed, int cost)
{
    Offer_Under(best, {.header = header, .mode = Top().mode, .assumed = assumed}, cost);
}

/** The same bytes with a length of 2 and of 4 bytes. */
void Element_Reader::Offer_Forms(Reading& best, const Element_Header& as_read)
{
    const std::span<const unsigned char> bytes = Header_Bytes(position_);
    for (const Header_Form form : {Header_Form::Short, Header_Form::Long, Header_Form::Packed}) {
        if (form == as_read.form || !Is_Explicit(Top().mode)) {
            continue;
        }
        const Element_Header header = Decode_Header_As(bytes, Top().mode, form);
        Offer(best, header, Assumed::Form, 2);
        // Some writers give all headers one form.
        Offer_Under(best,
                    {.header = header, .mode = Top().mode, .assumed = Assumed::Form, .habit = form},
                    4);
    }
    if (as_read.length % 2 != 0 && !as_read.Is_Undefined()) {
        // Others do not count the padding of any value.
        Element_Header padded = as_read;
        ++padded.length;
        Offer(best, padded, Assumed::Padding, 4);
    }
}

/** The header of a sequence that lost a few bytes, or got some: its first item shows where it ends. */
void Element_Reader::Offer_Torn(Reading& best, const Element_Header& as_read)
{
    constexpr int Tag_Size = 4;
    constexpr int Most_Bytes = 7;
    const bool is_explicit = Is_Explicit(Top().mode);
    const int usual = is_explicit ? static_cast<int>(Longest_Header) : Item_Header_Size;
    const TAG_db_Elems* const entry = as_read.Entry();
    if (entry == nullptr || entry->vr[0] != VR_SQ ||
        Starts_With_Item(position_ + usual, Top().mode)) {
        return;
    }
    Element_Header torn = as_read;
    torn.form = is_explicit ? Header_Form::Long : Header_Form::Implicit;
    torn.vr = is_explicit ? VR_SQ : static_cast<unsigned short>(0);
    torn.reserved = 0;
    torn.length = Element_Header::Undefined;
    for (torn.size = Tag_Size; torn.size <= usual + Most_Bytes; ++torn.size) {
        if (Starts_With_Item(position_ + torn.size, Top().mode)) {
            Offer(best, torn, Assumed::Torn, 2);
            return;
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
        Offer_Under(best, {.header = header, .mode = mode, .assumed = Assumed::Encoding}, 2);
        Offer_Under(best, {.header = header, .mode = usual, .assumed = Assumed::Encoding}, 3);
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

/** A header that is sound, but for a length that reaches beyond the end of the source. */
bool Element_Reader::Ends_Beyond_Source(const Element_Header& header)
{
    return end_ == source_->Size() && position_ + header.size + header.length > end_ &&
           Judge(header, position_, Top()) == Grade::Length_Impossible;
}

void Element_Reader::Settle(const Element_Header& as_read)
{
    const bool is_delimiter = as_read.tag.group == Delimiter_Group;
    if (as_read.tag == Pixel_Data_Tag && Settle_Pixels(as_read)) {
        return;
    }
    claimed_end_ = position_ + as_read.size + as_read.length;
    if (Settle_Before_Sequence(as_read)) {
        return;
    }
    Reading best;
    constexpr int Reserved_Cost = 3;
    Offer(best, as_read, Assumed::Nothing, as_read.reserved != 0 ? Reserved_Cost : 0);
    const TAG_db_Elems* const entry = as_read.Entry();
    const bool vr_fits =
        as_read.form == Header_Form::Implicit ||
        (Is_Known_VR(as_read.vr) && (entry == nullptr || Allows(*entry, as_read.vr)));
    if (best.behind < No_Doubt || !vr_fits || as_read.reserved != 0) {
        Offer_Library(best, as_read);
        Offer_Forms(best, as_read);
        Offer_Encodings(best);
    }
    Offer_Torn(best, as_read);
    if (Ends_Beyond_Source(as_read) && With_VR(best.header).length == 0 &&
        best.behind < Outlook::All_Points / 2) {
        // A file that is cut off in zeros, which make a length of none, and headers of nothing.
        best = {};
    }
    if (Settle_Damaged_Delimiter(as_read, std::max(best.points, Likely))) {
        return;
    }
    const bool is_likely = best.points >= 0 && best.behind >= Likely;
    if (is_likely && !Hides_Place(best)) {
        Take(best, as_read);
    } else if (!is_delimiter && Settle_By_Search(as_read)) {
        return;
    } else if (best.points >= 0 && !Hides_Place(best)) {
        Take(best, as_read);
    } else if (!Settle_Torn_Tag()) {
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
    const bool is_made_up = header.vr != as_read.vr && header.tag.element == 0x0000;
    if (header.size == 0 || is_made_up || Judge(empty, position_, Top()) != Grade::Sound) {
        return false;
    }
    const std::int64_t value = position_ + header.size;
    const std::int64_t claimed = header.Is_Undefined() ? Top().limit + 1 : value + header.length;
    const std::optional<Place_Found> place = Find_Place(value, header.tag, Top().limit);
    if (place.has_value() && header.vr == as_read.vr && Take_Before_Torn_Tag(header, *place)) {
        return true;
    }
    if (place.has_value() && !Fits_Place(header, *place)) {
        return false;
    }
    // A sound header is believed, unless there is no doubt that elements stand in its value.
    const bool is_doubtful = place.has_value() && place->position < claimed &&
                             Judge(as_read, position_, Top()) == Grade::Sound &&
                             !Holds_Controls(header) && !Is_Strong(*place);
    const bool holds = claimed <= Top().limit && (is_doubtful || !place.has_value() ||
                                                  Length_Holds(header, claimed, place->position));
    const std::int64_t found = holds ? claimed : place.has_value() ? place->position : Top().limit;
    Element_Header mended = header;
    mended.length = found - value;
    mended.length = Length_Before_Elements(mended);
    const std::int64_t end = value + mended.length;
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
        Report_Length(header, end - value);
    }
    const std::int64_t claim = header.length;
    Note_Shift(found - claimed);
    damaged_to_ = end != claimed ? end : damaged_to_;
    Accept(mended);
    Note_Claim(mended.length, claim);
    if (place.has_value() && end == place->position) {
        Leave_For(*place);
    }
    return true;
}

/** Elements follow each other at a place for longer than chance has it. */
bool Element_Reader::Is_Strong(const Place_Found& place)
{
    constexpr int Steps = 8;
    constexpr int Enough = 18;
    const Nesting_Level& list = levels_[place.levels - 1];
    const Element_Header next = Decode_Header(Header_Bytes(place.position), list.mode);
    if (next.tag == Pixel_Data_Tag && next.length != 0 &&
        place.position + next.size + next.length == list.limit) {
        return true;
    }
    return Outlook(window_, std::span(levels_).first(place.levels), end_)
               .Follow(place.position, Steps) >= Enough;
}

/** The source ends in the middle of a value. */
void Element_Reader::Report_Cut(const Element_Header& header, std::int64_t claimed)
{
    cut_off_ = true;
    Report(Fault::Truncated, Level::Error, header,
           "the value is cut off: " + std::to_string(header.length) + " of " +
               std::to_string(claimed) + " bytes are there");
}

/** Keeps what the header of the last record claimed. */
void Element_Reader::Note_Claim(std::int64_t length, std::int64_t claimed)
{
    if (length != claimed && Top().tail != nullptr) {
        Set_Claim(*source_, *Top().tail, claimed);
    }
}

void Element_Reader::Take(const Reading& reading, const Element_Header& as_read)
{
    const Element_Header header = With_Length_Of_Items(With_VR(reading.header));
    if (reading.assumed == Assumed::Nothing || reading.assumed == Assumed::As_Library) {
        DICOM_List subject = {};
        subject.group = as_read.tag.group;
        subject.element = as_read.tag.element;
        subject.vr = header.vr;
        Set_Place(*source_, subject, position_, position_, 0);
        const About about(findings_, subject, path_);
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
    } else if (reading.assumed == Assumed::Padding) {
        Report_Length(as_read, header.length);
    } else if (reading.assumed == Assumed::Form) {
        Report(Fault::Header, Level::Change, header,
               header.form == Header_Form::Short ? "its length has 2 bytes instead of 4"
                                                 : "its length has 4 bytes instead of 2");
    }
    const Element_Header usual =
        Decode_Header_As(Header_Bytes(position_), header.mode,
                         !Is_Explicit(Top().usual_mode) ? Header_Form::Implicit
                         : Is_Long_VR(header.vr)        ? Header_Form::Long
                                                        : Header_Form::Short);
    if (reading.assumed == Assumed::Torn) {
        Report(Fault::Header, Level::Change, header,
               "its header has " + Bytes_Text(header.size) + " instead of " +
                   std::to_string(usual.size));
    }
    Note_Shift(header.size - usual.size);
    Accept_Doubtful(header);
    if (reading.assumed == Assumed::Torn) {
        // That its length is not known was said.
        Top().said = true;
    }
    Note_Claim(header.length, as_read.length);
}

}  // namespace lib_mend
