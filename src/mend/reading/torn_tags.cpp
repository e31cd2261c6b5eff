// Headers that lost a byte of their tag: the last byte of the value in front looks like the missing one.
//
//     ... '5' '7' | 40 00 70 A1 'S' 'Q'         sound
//     ... '5' '7' | 40 00 70    'S' 'Q'         the tag has three bytes
//     ... '5' | '7'  40 00 70   'S' 'Q'         (4037,7000), which nobody knows, and a byte is missing
//
// The length of the value in front is right, and speaks for the three bytes. The tag is known where only
// one fits: in order, of that VR, and private ones of a creator that is there.
#include "mend/reading/element_reader.h"

#include <array>

#include "mend/reading/vr_forms.h"

namespace lib_mend {

namespace {

constexpr std::size_t Tag_Size = 4;

Tag Tag_In(const std::array<unsigned char, Tag_Size>& bytes, unsigned char mode)
{
    return {Get_UShort(mode, bytes.data()), Get_UShort(mode, bytes.data() + 2)};
}

}  // namespace

/** Tells whether an element of a list may have a tag, of a VR that is known for it. */
bool Element_Reader::Is_Known_Here(Tag tag, const Element_Header& header)
{
    const Nesting_Level& list = Top();
    if (tag.group % 2 != 0) {
        const Tag block = {tag.group, static_cast<unsigned short>(tag.element >> 8)};
        return list.creators != nullptr && list.creators->names.count(block) != 0;
    }
    const TAG_db_Elems* const entry = NEMA_db_Locate(tag.group, tag.element);
    return entry != nullptr && tag.element != 0x0000 && Allows(*entry, header.vr) &&
           header.vr != VR_UN;
}

/** The one tag that becomes the three bytes in front of a VR when it loses a byte. */
std::optional<Tag> Element_Reader::Whole_Tag(std::span<const unsigned char> rest,
                                             const Element_Header& header, Tag after, Tag before)
{
    std::optional<Tag> found;
    for (std::size_t lost = 0; lost < Tag_Size; ++lost) {
        for (unsigned int value = 0; value <= 0xFF; ++value) {
            std::array<unsigned char, Tag_Size> bytes = {};
            for (std::size_t i = 0, from = 0; i < Tag_Size; ++i) {
                bytes[i] = i == lost ? static_cast<unsigned char>(value) : rest[from++];
            }
            const Tag tag = Tag_In(bytes, header.mode);
            if (tag <= after || tag >= before || tag == found || !Is_Known_Here(tag, header)) {
                continue;
            }
            if (found) {
                return std::nullopt;
            }
            found = tag;
        }
    }
    return found;
}

/** The header whose VR stands three bytes behind a place, with the tag that it must have had. */
std::optional<Element_Header> Element_Reader::Torn_Header(std::int64_t at, Tag after)
{
    constexpr int Most = 256;
    if (torn_tags_ == Most || !Is_Explicit(Top().mode)) {
        return std::nullopt;
    }
    ++torn_tags_;
    Element_Header torn = Decode_Header(Header_Bytes(at - 1), Top().mode);
    if (torn.size == 0 || !Is_Known_VR(torn.vr) || Is_Known_Here(torn.tag, torn)) {
        return std::nullopt;
    }
    const std::int64_t value = at - 1 + torn.size;
    Tag before = {0xFFFF, 0xFFFF};
    if (torn.Is_Undefined() || torn.vr == VR_SQ) {
        if (torn.length != 0 && !Starts_With_Item(value, Top().mode)) {
            return std::nullopt;
        }
    } else {
        const Element_Header next =
            Decode_Header(window_.At(value + torn.length, Longest_Header), Top().mode);
        before = next.size != 0 && next.tag > after ? next.tag : before;
    }
    const std::span<const unsigned char> rest = Header_Bytes(at).first(Tag_Size - 1);
    const std::optional<Tag> tag = Whole_Tag(rest, torn, after, before);
    torn.tag = tag.value_or(torn.tag);
    return tag && Look().Follow_Header(torn, at - 1) >= Outlook::Sound_Points ? std::optional(torn)
                                                                              : std::nullopt;
}

void Element_Reader::Take_Torn(const Element_Header& torn)
{
    --position_;
    Report(Fault::Header, Level::Change, torn, "a byte of its tag is missing; only this one fits");
    Note_Shift(-1);
    Accept(torn);
}

/** Bytes that are no header may be one that lacks a byte of its tag. */
bool Element_Reader::Settle_Torn_Tag()
{
    const bool is_behind_value =
        Top().tail != nullptr && Header_Bytes(position_).size() >= Tag_Size;
    const std::optional<Element_Header> torn =
        is_behind_value ? Torn_Header(position_, Top().last) : std::nullopt;
    if (torn) {
        Take_Torn(*torn);
    }
    return torn.has_value();
}

/**
 * Takes a value as long as its header says, and behind it an element that lacks a byte of its tag.
 *
 * @param place  of the element as it would be with the last byte of the value
 */
bool Element_Reader::Take_Before_Torn_Tag(const Element_Header& header, const Place_Found& place)
{
    const std::int64_t claimed = position_ + header.size + header.length;
    if (place.position + 1 != claimed || place.levels != levels_.size() || header.length == 0 ||
        Has_Nested_Content(header, header.Entry())) {
        return false;
    }
    const std::optional<Element_Header> torn =
        Torn_Header(claimed, std::max(header.tag, Top().last));
    if (!torn) {
        return false;
    }
    const std::size_t levels = levels_.size();
    Accept(header);
    if (position_ == claimed && levels_.size() == levels) {
        Take_Torn(*torn);
    }
    return true;
}

}  // namespace lib_mend
