#include "mend/reading/meta_header.h"

#include "mend/reading/evidence.h"
#include "mend/reading/meta_group.h"
#include "mend/reading/vr_forms.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <iterator>
#include <vector>

namespace lib_mend {

namespace {

/** How far behind a damaged header the next one is looked for. */
constexpr std::int64_t Group_Search_Size = std::int64_t{1} << 16;
/** The last element that the registry knows in the group. */
constexpr unsigned short Last_Element = 0x0102;
/** The longest value of an element of the group, but for private information. */
constexpr std::int64_t Longest_Value = 1024;
constexpr std::size_t Header_Size = 8;

using Raw_Header = std::array<unsigned char, 12>;

bool Tag_In(const unsigned char* bytes, bool big_endian, Tag& tag)
{
    const unsigned char order = big_endian ? DICOM_Order_Big_Endian : 0;
    tag = {Get_UShort(order, bytes), Get_UShort(order, bytes + 2)};
    return tag.group == Meta_Group && tag.element <= Last_Element;
}

/** Length of the group length and of the version, -1 for others. */
std::int64_t Fixed_Length(Tag tag)
{
    return tag.element == 0 ? 4 : tag.element == 1 ? 2 : -1;
}

unsigned short VR_In(const unsigned char* letters)
{
    return static_cast<unsigned short>(letters[0] << 8 | letters[1]);
}

unsigned short Capitals(const unsigned char* letters)
{
    const unsigned char capitals[] = {static_cast<unsigned char>(std::toupper(letters[0])),
                                      static_cast<unsigned char>(std::toupper(letters[1]))};
    return VR_In(capitals);
}

enum class Width { Two, Reserved_And_Four, Four };

Meta_Header With_Width(Meta_Header header, std::int64_t at, const Raw_Header& raw, Width width)
{
    const unsigned char order = header.big_endian ? DICOM_Order_Big_Endian : 0;
    switch (width) {
    case Width::Two:
        header.length = Get_UShort(order, raw.data() + 6);
        break;
    case Width::Reserved_And_Four:
        header.length = Get_Int(order, raw.data() + 8);
        break;
    case Width::Four:
        header.length = Get_Int(order, raw.data() + 4);
        break;
    }
    header.claimed = header.length;
    header.reserved_in_use =
        width == Width::Reserved_And_Four && Get_UShort(order, raw.data() + 6) != 0;
    header.value = at + (width == Width::Reserved_And_Four ? 12 : 8);
    return header;
}

/** All readings of a header, the most likely first. */
std::vector<Meta_Header> Readings(const Raw_Header& raw, std::int64_t at, Tag tag, bool big_endian)
{
    using Form = Meta_Header::Form;
    const unsigned char* const letters = raw.data() + 4;
    const unsigned short given = VR_In(letters);
    const unsigned short small = Capitals(letters);
    Meta_Header header = {.tag = tag, .big_endian = big_endian};
    std::vector<Meta_Header> readings;
    const auto add = [&](Form form, unsigned short vr, Width width) {
        header.form = form;
        header.vr = vr;
        readings.push_back(With_Width(header, at, raw, width));
    };
    const auto own = [](unsigned short vr) {
        return Is_Long_VR(vr) ? Width::Reserved_And_Four : Width::Two;
    };
    const auto other = [](unsigned short vr) {
        return Is_Long_VR(vr) ? Width::Two : Width::Reserved_And_Four;
    };
    if (Is_Known_VR(given)) {
        add(Form::Sound, given, own(given));
        add(Form::Other_Width, given, other(given));
    } else if (Is_Known_VR(small)) {
        add(Form::Small_Letters, small, own(small));
        add(Form::Small_Letters, small, other(small));
    }
    const unsigned short registered = Registered_VR(tag);
    add(Form::Unknown_VR, 0, own(registered));
    add(Form::Unknown_VR, 0, other(registered));
    add(Form::Implicit, 0, Width::Four);
    return readings;
}

}  // namespace

unsigned short Registered_VR(Tag tag)
{
    const TAG_db_Elems* const entry = NEMA_db_Locate(tag.group, tag.element);
    if (entry != nullptr) {
        return entry->vr[0];
    }
    return tag.element == 0 ? VR_UL : VR_UN;
}

bool Is_Start_Of_Meta_Group(const Source& source, std::int64_t at)
{
    Raw_Header raw = {};
    if (source.Read(at, raw) < raw.size()) {
        return false;
    }
    Tag tag;
    const bool big_endian = raw[0] == 0;
    if (!Tag_In(raw.data(), big_endian, tag) || NEMA_db_Locate(tag.group, tag.element) == nullptr) {
        return false;
    }
    const unsigned short vr = Registered_VR(tag);
    const bool is_explicit = VR_In(raw.data() + 4) == vr;
    const Width width = !is_explicit     ? Width::Four
                        : Is_Long_VR(vr) ? Width::Reserved_And_Four
                                         : Width::Two;
    const std::int64_t length =
        With_Width({.tag = tag, .big_endian = big_endian}, at, raw, width).length;
    const std::int64_t fixed = Fixed_Length(tag);
    constexpr std::int64_t Longest_UID = 64;
    return fixed >= 0 ? length == fixed : length > 0 && length <= Longest_UID;
}

bool Is_Meta_Group(const Source& source, std::int64_t at)
{
    constexpr std::int64_t Length_Element_Size = 12;
    return Is_Start_Of_Meta_Group(source, at) ||
           Is_Start_Of_Meta_Group(source, at + Length_Element_Size);
}

Meta_Headers::Meta_Headers(const Source& source, std::int64_t start) : source_(source)
{
    std::array<unsigned char, 3> bytes = {};
    big_endian_ = source.Read(start, bytes) == bytes.size() && bytes[0] == 0 &&
                  bytes[1] == Meta_Group && bytes[2] == 0;
}

/** The tag at a place; one that the registry does not know counts with a VR behind it only. */
bool Meta_Headers::Tag_At(std::int64_t at, Tag& tag) const
{
    std::array<unsigned char, 6> bytes = {};
    return source_.Read(at, bytes) == bytes.size() && Tag_In(bytes.data(), big_endian_, tag) &&
           (NEMA_db_Locate(tag.group, tag.element) != nullptr ||
            Is_Known_VR(VR_In(bytes.data() + 4)));
}

bool Meta_Headers::Is_Tag(std::int64_t at) const
{
    Tag tag;
    return Tag_At(at, tag);
}

bool Meta_Headers::Is_Data_Set(std::int64_t at) const
{
    return std::any_of(std::begin(Header_Forms), std::end(Header_Forms), [&](const Encoding& form) {
        return Score_Of(source_, at, form) >= Sure_Score;
    });
}

bool Meta_Headers::Is_Sound_Behind(std::int64_t next) const
{
    Plain_Header header;
    const Encoding form = {.explicit_vr = true};
    if (!Read_Plain_Header(source_, next, form, header) || header.length < 0) {
        return false;
    }
    const std::int64_t behind = next + header.size + header.length;
    return behind == end_ || behind == source_.Size() || Is_Tag(behind);
}

/** Tells whether the group goes on or ends at a place. */
bool Meta_Headers::Follows(std::int64_t next, Tag after) const
{
    if (next == end_ || (next == source_.Size() && end_ < 0)) {
        return true;
    }
    Tag tag;
    if (Tag_At(next, tag)) {
        std::array<unsigned char, 2> letters = {};
        source_.Read(next + 4, letters);
        return tag > after || tag.element == 0 || Is_Known_VR(VR_In(letters.data()));
    }
    return Is_Data_Set(next);
}

bool Meta_Headers::Read(std::int64_t at, Meta_Header& header) const
{
    Raw_Header raw = {};
    const std::size_t count = source_.Read(at, raw);
    Tag tag;
    if (count < Header_Size || !Tag_In(raw.data(), big_endian_, tag)) {
        return false;
    }
    const std::vector<Meta_Header> readings = Readings(raw, at, tag, big_endian_);
    const bool is_end_known = end_ > at && !Is_Tag(end_) && Is_Data_Set(end_);
    for (const Meta_Header& reading : readings) {
        const bool is_inside = reading.length >= 0 && reading.Next() <= source_.Size() &&
                               (!is_end_known || reading.Next() <= end_);
        // Elsewhere the bytes of the value are taken for those of the length: the group length leads
        // to the data set, as a longer header it would be its own length.
        const std::int64_t fixed = Fixed_Length(tag);
        const bool has_length = fixed < 0 || reading.length == fixed;
        if (is_inside && has_length && Follows(reading.Next(), tag)) {
            header = reading;
            return true;
        }
    }
    header = readings.front();
    // The header behind this one may be the damaged one.
    const bool is_inside = header.length >= 0 && (!is_end_known || header.Next() <= end_);
    return (is_inside && Is_Sound_Behind(header.Next())) || Settle_Length(header);
}

/** Tells whether the bytes between the end that a header claims and another place may be its value. */
bool Meta_Headers::May_Be_Value(const Meta_Header& header, std::int64_t end) const
{
    if (header.length < 0 || Registered_VR(header.tag) != VR_UI ||
        end > header.value + Longest_Value) {
        return true;
    }
    constexpr std::string_view Letters("0123456789. \0", 13);
    Bytes bytes(static_cast<std::size_t>(end - header.Next()));
    bytes.resize(source_.Read(header.Next(), bytes));
    return std::all_of(bytes.begin(), bytes.end(), [&](unsigned char byte) {
        return Letters.find(static_cast<char>(byte)) != Letters.npos;
    });
}

/** Ends a value where something follows that makes sense. */
bool Meta_Headers::Settle_Length(Meta_Header& header) const
{
    const std::int64_t next = Find_Next(header.value, header.tag);
    if (next >= 0 && (next < header.Next() || May_Be_Value(header, next))) {
        header.length = next - header.value;
        return true;
    }
    // A deflated data set is not known by its bytes.
    return header.length >= 0 && header.Next() <= source_.Size();
}

bool Meta_Headers::Read_Foreign(std::int64_t at, Meta_Header& header) const
{
    Plain_Header plain;
    if (!Read_Plain_Header(source_, at, {.explicit_vr = true}, plain) || plain.length < 0) {
        return false;
    }
    header = {.tag = plain.tag,
              .vr = plain.vr,
              .value = at + plain.size,
              .length = plain.length,
              .claimed = plain.length};
    const std::int64_t next = header.Next();
    return next == end_ || (next < source_.Size() && Is_Tag(next));
}

std::int64_t Meta_Headers::Find_Next(std::int64_t at, Tag after) const
{
    if (searches_left_ == 0) {
        return -1;
    }
    const std::int64_t limit = std::min(at + Group_Search_Size, source_.Size());
    for (std::int64_t place = at; place < limit; ++place) {
        Tag tag;
        if (Tag_At(place, tag) && tag > after && Is_Start_Of_Meta_Group(source_, place)) {
            return place;
        }
    }
    if (end_ >= at && Is_Data_Set(end_)) {
        return end_;
    }
    const std::int64_t near = std::min(at + Longest_Value, source_.Size());
    for (std::int64_t place = at; place < near; ++place) {
        if (Is_Data_Set(place)) {
            return place;
        }
    }
    if (end_ == source_.Size() && end_ >= at) {
        return end_;
    }
    --searches_left_;
    return -1;
}

Tag Undamaged_Tag(const Meta_Header& header, Tag after)
{
    const auto bytes_apart = [&](unsigned short element) {
        const unsigned int groups = header.tag.group ^ Meta_Group;
        const unsigned int elements = header.tag.element ^ static_cast<unsigned int>(element);
        return ((groups & 0xFF) != 0) + (groups >> 8 != 0) + ((elements & 0xFF) != 0) +
               (elements >> 8 != 0);
    };
    Tag found;
    for (unsigned short element = 0; element <= Last_Element; ++element) {
        const Tag tag = {Meta_Group, element};
        const bool is_known = NEMA_db_Locate(tag.group, tag.element) != nullptr;
        if (is_known && tag > after && Registered_VR(tag) == header.vr &&
            bytes_apart(element) == 1) {
            if (found.group != 0) {
                return {};
            }
            found = tag;
        }
    }
    return found;
}

}  // namespace lib_mend
