#include "mend/reading/plausibility.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "mend/reading/vr_forms.h"

namespace lib_mend {

namespace {

constexpr Tag Trailing_Padding_Tag = {0xFFFC, 0xFFFC};

bool Is_Creator(Tag tag)
{
    return tag.group % 2 != 0 && tag.element >= 0x0010 && tag.element <= 0x00FF;
}

/** VRs under which the name of a creator is seen. */
bool Holds_Names(unsigned short vr)
{
    constexpr unsigned short Names[] = {VR_LO, VR_UN, VR_SH, VR_CS, VR_ST, VR_LT, VR_OB, VR_UT};
    return std::find(std::begin(Names), std::end(Names), vr) != std::end(Names);
}

/** How well the tag alone makes sense. */
Grade Judge_Tag(Tag tag, const Level_View& list, const TAG_db_Elems* entry, bool is_explicit)
{
    const Tag last = list.last;
    constexpr unsigned short Last_Reserved_Odd_Group = 0x0007;
    constexpr unsigned short Last_Group = 0x7FE0;
    constexpr unsigned short First_Private_Element = 0x1000;
    const bool ascends = tag > last;
    if (tag.group == Delimiter_Group || tag.group == 0xFFFF) {
        return Grade::Impossible;
    }
    if (tag.group % 2 == 0) {
        const bool is_group_length = tag.element == 0x0000 && tag.group <= Last_Group;
        const bool is_known = entry != nullptr || tag == Trailing_Padding_Tag || is_group_length;
        // Command and file meta elements stand outside a data set.
        const bool is_foreign = tag.group <= 0x0002;
        return is_known && ascends && !is_foreign ? Grade::Sound
               : is_known || is_explicit          ? Grade::Doubtful
                                                  : Grade::Impossible;
    }
    const bool is_creator = Is_Creator(tag);
    const bool has_form =
        is_creator || tag.element >= First_Private_Element || tag.element == 0x0000;
    // A private element shows by its company: others of its group come first.
    const bool has_company = is_creator || tag.group == last.group;
    const bool is_sound = has_form && ascends && has_company && tag.group > Last_Reserved_Odd_Group;
    return is_sound ? Grade::Sound : Grade::Doubtful;
}

bool Is_Length_Possible(const Element_Header& header, std::int64_t at, std::int64_t limit,
                        bool is_nested)
{
    if (header.Is_Undefined()) {
        return is_nested;
    }
    return at + header.size + header.length <= limit;
}

}  // namespace

bool Allows(const TAG_db_Elems& entry, unsigned short vr)
{
    const auto* const end = entry.vr + std::abs(entry.nb_vr);
    return vr == VR_UN || std::find(entry.vr, end, vr) != end;
}

unsigned short Meant_VR(unsigned short vr, const TAG_db_Elems* entry)
{
    constexpr unsigned short Small = 0x2020;
    const auto capitals = static_cast<unsigned short>(vr & ~unsigned{Small});
    if ((vr & Small) == Small && Is_Known_VR(capitals)) {
        return capitals;
    }
    return entry != nullptr && Is_Known_VR(entry->vr[0]) ? entry->vr[0] : VR_UN;
}

bool Has_Nested_Content(const Element_Header& header, const TAG_db_Elems* entry)
{
    if (header.vr == VR_SQ) {
        return true;
    }
    if (header.Is_Undefined()) {
        return header.vr == 0 || header.vr == VR_UN || header.vr == VR_OB || header.vr == VR_OW;
    }
    return header.vr == 0 && entry != nullptr && entry->vr[0] == VR_SQ;
}

Grade Judge(const Element_Header& header, std::int64_t at, const Level_View& list)
{
    if (header.size == 0) {
        return Grade::Impossible;
    }
    const bool is_explicit = header.form != Header_Form::Implicit;
    const TAG_db_Elems* const entry = header.Entry();
    const bool has_vr = is_explicit && Is_Known_VR(header.vr);
    const Grade tag = Judge_Tag(header.tag, list, entry, is_explicit);
    constexpr std::uint32_t Group_Length_Size = 4;
    const bool is_wrong_group_length =
        header.tag.element == 0x0000 && header.length != Group_Length_Size && header.length != 0;
    // Zeros behind a number look like the length of some group, of no bytes.
    const bool is_zeros = header.tag.element == 0x0000 && header.length == 0 && !has_vr;
    // Without a VR nothing but its length speaks for a creator.
    constexpr std::int64_t Longest_Creator = 1024;
    const bool is_too_long = !is_explicit && Is_Creator(header.tag) && !header.Is_Undefined() &&
                             header.length > Longest_Creator;
    if (tag == Grade::Impossible || is_wrong_group_length || is_zeros || is_too_long) {
        return Grade::Impossible;
    }
    if (is_explicit && !has_vr) {
        return tag == Grade::Sound ? Grade::VR_Impossible : Grade::Impossible;
    }
    const bool fits =
        !is_explicit || (entry != nullptr ? Allows(*entry, header.vr)
                                          : !Is_Creator(header.tag) || Holds_Names(header.vr));
    const bool is_nested = Has_Nested_Content(header, entry);
    if (!Is_Length_Possible(header, at, list.limit, is_nested)) {
        return tag == Grade::Sound && fits ? Grade::Length_Impossible : Grade::Impossible;
    }
    const bool is_odd = header.length % 2 != 0 && !header.Is_Undefined();
    // Where the reserved bytes hold something, it may be a length of 2 bytes.
    return tag == Grade::Sound && fits && !is_odd && header.reserved == 0 ? Grade::Sound
                                                                          : Grade::Doubtful;
}

}  // namespace lib_mend
