// What speaks against a reading of a header: a value that cannot be one of its VR, a place inside it where
// elements begin, a tag or a length that do not go with what follows.
#include "mend/findings/attributes.h"
#include "mend/reading/element_reader.h"
#include "mend/reading/vr_forms.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>
#include <vector>

namespace lib_mend {

namespace {

constexpr std::int64_t Shortest_Element = 8;

/** VR of the header, or that of the dictionary, which takes the place of UN when values are healed. */
unsigned short VR_In(const Element_Header& header)
{
    const TAG_db_Elems* const entry = header.Entry();
    const bool says = header.vr != 0 && header.vr != VR_UN;
    return says ? header.vr : entry != nullptr ? entry->vr[0] : VR_UN;
}

bool Is_Control(unsigned char byte)
{
    constexpr unsigned char Escape = 0x1B;
    return byte < ' ' && byte != '\t' && byte != '\n' && byte != '\f' && byte != '\r' &&
           byte != Escape;
}

/** Whether there is a control character among bytes, most of which are letters. */
bool Holds_Control(std::span<const unsigned char> bytes)
{
    constexpr std::uint64_t Each = 0x0101010101010101;
    constexpr std::uint64_t Highest = 0x80 * Each;
    while (bytes.size() >= sizeof(std::uint64_t)) {
        std::uint64_t eight = 0;
        std::memcpy(&eight, bytes.data(), sizeof eight);
        // A byte below a blank borrows from its highest bit.
        if (((eight - ' ' * Each) & ~eight & Highest) != 0 &&
            std::any_of(bytes.begin(), bytes.begin() + sizeof eight, Is_Control)) {
            return true;
        }
        bytes = bytes.subspan(sizeof eight);
    }
    return std::any_of(bytes.begin(), bytes.end(), Is_Control);
}

/** A byte that no value of a VR holds, where its characters are few. */
bool Is_Foreign(unsigned char byte, unsigned short vr)
{
    constexpr unsigned short Of_Digits[] = {VR_DA, VR_DS, VR_DT, VR_IS, VR_TM, VR_UI};
    constexpr std::string_view Characters("0123456789.+-eE\\: \0", 19);
    const bool has_digits =
        std::find(std::begin(Of_Digits), std::end(Of_Digits), vr) != std::end(Of_Digits);
    constexpr unsigned char Last_Of_ASCII = 0x7F;
    const bool is_plain = vr == VR_CS || vr == VR_AE || vr == VR_AS;
    return Is_Control(byte) || (is_plain && byte > Last_Of_ASCII) ||
           (has_digits && Characters.find(static_cast<char>(byte)) == Characters.npos);
}

/** Numbers of which the registry wants one, and which are several. */
bool Holds_Too_Many(const Element_Header& header)
{
    constexpr unsigned short Numbers[] = {VR_US, VR_SS, VR_UL, VR_SL, VR_FL, VR_FD};
    const unsigned short vr = VR_In(header);
    if (std::find(std::begin(Numbers), std::end(Numbers), vr) == std::end(Numbers)) {
        return false;
    }
    const std::uint32_t width = vr == VR_US || vr == VR_SS ? 2 : vr == VR_FD ? 8 : 4;
    if (header.length <= width || header.Is_Undefined()) {
        return false;
    }
    const std::optional<Attribute> attribute = Find_Attribute(header.tag);
    return attribute.has_value() && attribute->vm_max == 1;
}

}  // namespace

/** A value that cannot be one: other elements may stand in it. */
bool Element_Reader::Looks_Wrong(const Element_Header& header)
{
    return Holds_Controls(header) || Holds_Too_Many(header);
}

/** A text with bytes in it that are no text. */
bool Element_Reader::Holds_Controls(const Element_Header& header)
{
    if (!Is_Text(VR_In(header)) || header.Is_Undefined() || header.length < Shortest_Element) {
        return false;
    }
    const std::int64_t value = position_ + header.size;
    const auto holds = [this](std::int64_t at, std::int64_t size) {
        return Holds_Control(window_.At(at, static_cast<std::size_t>(size)));
    };
    constexpr std::int64_t Enough = 512;
    // The padding of the last byte is none of the text.
    const std::int64_t length = header.length - 1;
    return holds(value, std::min(length, Enough)) ||
           (length > Enough && holds(value + length - Enough, Enough));
}

/** End of a value, with the byte that one of odd length gets when the file is cut off in it. */
std::int64_t Element_Reader::Padded_End(const Element_Header& header) const
{
    const std::int64_t end = position_ + header.size + header.length;
    return end == source_->Size() ? end + header.length % 2 : end;
}

/** Where elements follow each other in a value, at least two of them, and where they cease to. */
std::vector<Element_Reader::Run> Element_Reader::Find_Runs(const Element_Header& header,
                                                           unsigned char mode)
{
    constexpr int Several = 2;
    std::vector<Run> runs;
    Level_View list;
    list.mode = mode;
    list.last = header.tag;
    std::int64_t at = position_ + header.size;
    list.end = Padded_End(header);
    list.limit = list.end;
    while (at + Several * Shortest_Element <= list.end) {
        const Element_Header first = Decode_Header(Header_Bytes(at), list.mode);
        Straight_Reading reading;
        const bool fits = first.Is_Undefined() || first.length <= list.end - at;
        if (fits && Judge(first, at, list) == Grade::Sound) {
            reading = Read_Straight(window_, {list}, at);
        }
        if (reading.sound >= Several) {
            runs.push_back({at, reading.to, mode, levels_.size()});
        }
        // Nothing is gone over twice.
        at = reading.sound >= Several ? reading.to : at + 1;
    }
    return runs;
}

/**
 * What is left of the length of a value that cannot be one, when elements follow each other from some
 * place in it to its end. Nothing but the value decides, in whatever encoding it stands: what is kept
 * of it is kept when the mended file is read, however much else was wrong with the first one. The
 * elements are read next, in their own encoding.
 */
std::int64_t Element_Reader::Length_Before_Elements(const Element_Header& header)
{
    constexpr int Changes[] = {0, DICOM_Order_Explicit_VR, DICOM_Order_Big_Endian,
                               DICOM_Order_Explicit_VR | DICOM_Order_Big_Endian};
    const std::int64_t value = position_ + header.size;
    const bool has_items = Starts_With_Item(value, Mode_Of_Items(value, header.mode));
    Element_Header left = header;
    for (const int change : Changes) {
        if (header.Is_Undefined() || has_items || !Looks_Wrong(left)) {
            break;
        }
        const auto mode = static_cast<unsigned char>(header.mode ^ change);
        const std::vector<Run> runs = Find_Runs(left, mode);
        for (auto run = runs.rbegin(); run != runs.rend() && run->to == Padded_End(left); ++run) {
            left.length = run->from - value;
            foreign_.push_back(*run);
        }
    }
    return left.length;
}

/** Takes elements that were found in a value for what they were found as. */
void Element_Reader::Follow_Foreign()
{
    while (!foreign_.empty() &&
           (foreign_.back().to <= position_ || foreign_.back().levels > levels_.size())) {
        if (foreign_.back().levels == levels_.size()) {
            Top().mode = Top().usual_mode;
        }
        foreign_.pop_back();
    }
    if (foreign_.empty() || foreign_.back().from != position_ ||
        foreign_.back().levels != levels_.size() || foreign_.back().mode == Top().mode) {
        return;
    }
    Top().mode = foreign_.back().mode;
    Report(Fault::Encoding, Level::Change, Header_At(position_),
           "the elements up to " + std::to_string(foreign_.back().to) + " are in " +
               Mode_Text(Top().mode));
}

/** Accepts an element whose value may be none, without the elements that stand in it. */
void Element_Reader::Accept_Doubtful(const Element_Header& header)
{
    Element_Header left = header;
    left.length = Length_Before_Elements(header);
    if (left.length != header.length) {
        Report_Length(header, left.length);
    }
    Accept(left);
    Note_Claim(left.length, header.length);
}

/** A value that ends inside the header of a sequence, whose first item shows where it is. */
std::int64_t Element_Reader::Sequence_At_End(const Element_Header& header)
{
    constexpr std::int64_t Most_Bytes = 16;
    const std::int64_t value = position_ + header.size;
    const std::int64_t end = value + header.length;
    Level_View list = Top();
    list.last = header.tag;
    for (std::int64_t at = end - 1; at >= std::max(value, end - Most_Bytes); --at) {
        const Element_Header next = Decode_Header(Header_Bytes(at), list.mode);
        const TAG_db_Elems* const entry = next.Entry();
        const bool is_sequence = next.form == Header_Form::Implicit
                                     ? entry != nullptr && entry->vr[0] == VR_SQ
                                     : next.vr == VR_SQ;
        if (is_sequence && at + next.size >= end && Starts_With_Item(at + next.size, list.mode) &&
            Judge(next, at, list) == Grade::Sound) {
            return at;
        }
    }
    return -1;
}

/** Ends a value in front of the sequence whose header it would take in; false when there is none. */
bool Element_Reader::Settle_Before_Sequence(const Element_Header& header)
{
    Element_Header mended = header;
    mended.length = 0;
    if (header.size == 0 || header.Is_Undefined() ||
        Judge(mended, position_, Top()) != Grade::Sound) {
        return false;
    }
    const std::int64_t end = Sequence_At_End(header);
    if (end < 0) {
        return false;
    }
    mended.length = end - position_ - header.size;
    Report_Length(header, mended.length);
    Note_Shift(mended.length - header.length);
    damaged_to_ = end;
    Accept(mended);
    Note_Claim(mended.length, header.length);
    return true;
}

/** A reading that is a guess must not pass over a place where elements begin. */
bool Element_Reader::Hides_Place(const Reading& reading)
{
    const Element_Header header = With_VR(reading.header);
    if (header.Is_Undefined() ||
        (reading.assumed == Assumed::Nothing && reading.is_possible && !Looks_Wrong(header))) {
        return false;
    }
    const std::int64_t value = position_ + header.size;
    if (Starts_With_Item(value, Mode_Of_Items(value, reading.header.mode))) {
        return false;
    }
    const std::int64_t end = value + reading.header.length;
    const std::optional<Place_Found> place = Find_Place(position_ + 1, reading.header.tag, end);
    return place.has_value() && place->position < end;
}

/** A header whose tag is above that of the next place is none, unless its VR speaks for it. */
bool Element_Reader::Fits_Place(const Element_Header& header, const Place_Found& place)
{
    if (place.levels != levels_.size()) {
        return true;
    }
    const Element_Header next = Decode_Header(Header_Bytes(place.position), Top().mode);
    const TAG_db_Elems* const entry = header.Entry();
    const bool speaks = header.form != Header_Form::Implicit && entry != nullptr &&
                        header.vr != VR_UN && Allows(*entry, header.vr);
    return next.tag.group == Delimiter_Group || next.tag > header.tag || speaks;
}

/**
 * Elements go on at a place behind the claimed end of a value: either its length is too short, or it
 * is right and what stands between is no element.
 */
bool Element_Reader::Length_Holds(const Element_Header& header, std::int64_t claimed,
                                  std::int64_t place)
{
    constexpr std::int64_t Cut = 0x10000;
    const std::int64_t gap = place - claimed;
    if (header.length == 0 || gap <= 0 || gap % Cut == 0) {
        return false;
    }
    Element_Header grown = header;
    grown.length = place - position_ - header.size;
    if (Holds_Too_Many(grown) && !Holds_Too_Many(header)) {
        // One number is all there is of it.
        return true;
    }
    constexpr std::int64_t Enough = 64;
    const std::span<const unsigned char> rest =
        window_.At(claimed, static_cast<std::size_t>(std::min(gap, Enough)));
    if (Is_Text(VR_In(header))) {
        // A text that goes on is one text, its padding included.
        const unsigned short vr = VR_In(header);
        return !rest.empty() && std::any_of(rest.begin(), rest.end() - 1,
                                            [vr](auto byte) { return Is_Foreign(byte, vr); });
    }
    // Bytes that would be lost stay in a long value, unless an element can be seen behind it.
    constexpr std::int64_t Likely_Element = 256;
    Element_Header next = Decode_Header(Header_Bytes(claimed), Top().mode);
    next.length = 0;
    const bool is_seen = Judge(next, claimed, Top()) >= Grade::VR_Impossible;
    return gap >= Shortest_Element && (gap <= Likely_Element || is_seen);
}

}  // namespace lib_mend
