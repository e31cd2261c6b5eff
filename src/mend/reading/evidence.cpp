#include "mend/reading/evidence.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

#include "mend/reading/meta_header.h"
#include "mend/reading/vr_forms.h"

namespace lib_mend {

namespace {

/** Number of elements that a score looks at. */
constexpr int Enough_Elements = 16;
/** Bytes that a survey looks through. */
constexpr std::int64_t Survey_Size = std::int64_t{1} << 16;

constexpr unsigned short Item_Group = 0xFFFE;
/** Longest value that is likely for a text, a number or a date. */
constexpr std::int64_t Longest_Small_Value = std::int64_t{1} << 20;

bool Is_Bulk_VR(unsigned short vr)
{
    constexpr unsigned short Bulk[] = {VR_OB, VR_OD, VR_OF, VR_OL, VR_OV, VR_OW, VR_SQ, VR_UN};
    return std::find(std::begin(Bulk), std::end(Bulk), vr) != std::end(Bulk);
}

/** What one element adds to a score. */
int Worth_Of(const Plain_Header& header)
{
    constexpr int Matches = 3;
    constexpr int Possible = 1;
    const bool is_private = header.tag.group % 2 != 0;
    if (is_private) {
        const bool is_likely = header.tag.group > 8 && header.tag.element >= 0x0010;
        return is_likely ? Possible : 0;
    }
    const TAG_db_Elems* const entry = NEMA_db_Locate(header.tag.group, header.tag.element);
    if (header.tag.element == 0x0000) {
        // Group lengths stand in every group that the registry knows.
        const bool fits = header.length == 4 && (header.vr == 0 || header.vr == VR_UL);
        return fits && header.tag.group <= 0x0028 && header.tag.group % 2 == 0 ? Matches - 1 : 0;
    }
    if (entry == nullptr) {
        return 0;
    }
    const auto* const end = std::end(entry->vr);
    if (header.vr != 0) {
        return std::find(std::begin(entry->vr), end, header.vr) != end ? Matches : Possible;
    }
    const bool is_bulk = std::any_of(std::begin(entry->vr), end, Is_Bulk_VR);
    const bool is_even = header.length % 2 == 0 || header.length == DICOM_Undefined_Length;
    return is_even && (is_bulk || header.length <= Longest_Small_Value) ? Matches - 1 : 0;
}

bool Holds_Items(const Plain_Header& header)
{
    return header.tag.group == Item_Group || header.vr == VR_SQ ||
           header.length == DICOM_Undefined_Length;
}

/** Position behind an element, or of the first item inside; -1 beyond the end of the source. */
std::int64_t Next_Of(const Source& source, std::int64_t at, const Plain_Header& header)
{
    const std::int64_t next = at + header.size + (Holds_Items(header) ? 0 : header.length);
    return next <= source.Size() ? next : -1;
}

/**
 * Some writers leave the two bytes of every VR empty: the registry tells how long the length is. In
 * big endian such headers cannot be told from those of implicit VR.
 */
bool Read_Header_Of_Empty_VR(const Source& source, std::int64_t at, const Encoding& encoding,
                             Plain_Header& header)
{
    std::array<unsigned char, 12> bytes = {};
    if (!encoding.explicit_vr || encoding.big_endian || source.Read(at, bytes) < bytes.size() ||
        bytes[4] != 0 || bytes[5] != 0) {
        return false;
    }
    const unsigned char order = encoding.Code();
    header = {};
    header.tag = {Get_UShort(order, bytes.data()), Get_UShort(order, bytes.data() + 2)};
    const TAG_db_Elems* const entry = NEMA_db_Locate(header.tag.group, header.tag.element);
    const bool is_long = entry != nullptr && Is_Long_VR(entry->vr[0]);
    header.size = is_long ? 12 : 8;
    header.length =
        is_long ? Get_Int(order, bytes.data() + 8) : Get_UShort(order, bytes.data() + 6);
    return entry != nullptr && header.length >= DICOM_Undefined_Length;
}

/** A header that says by itself what it is: a tag of the registry with its VR and a length. */
bool Is_Telling(const Plain_Header& header)
{
    return header.tag.group > Meta_Group && header.tag.group % 2 == 0 &&
           header.tag.group != Item_Group && header.tag.element != 0 && Worth_Of(header) > 1;
}

}  // namespace

bool Read_Plain_Header(const Source& source, std::int64_t at, const Encoding& encoding,
                       Plain_Header& header)
{
    std::array<unsigned char, 12> bytes = {};
    const std::size_t count = source.Read(at, bytes);
    if (count < 8) {
        return false;
    }
    const unsigned char order = encoding.Code();
    header.tag = {Get_UShort(order, bytes.data()), Get_UShort(order, bytes.data() + 2)};
    header.vr = 0;
    header.size = 8;
    header.length = Get_Int(order, bytes.data() + 4);
    if (encoding.explicit_vr && header.tag.group != Item_Group) {
        header.vr = static_cast<unsigned short>(bytes[4] << 8 | bytes[5]);
        const bool is_long = Is_Long_VR(header.vr);
        if (!Is_Known_VR(header.vr) || (is_long && count < 12)) {
            return false;
        }
        header.size = is_long ? 12 : 8;
        header.length =
            is_long ? Get_Int(order, bytes.data() + 8) : Get_UShort(order, bytes.data() + 6);
    }
    return header.length >= DICOM_Undefined_Length;
}

int Score_Of(const Source& source, std::int64_t offset, const Encoding& encoding)
{
    constexpr int Out_Of_Order = -2;
    constexpr int Whole = 2;
    int score = 0;
    Tag last;
    for (int i = 0; i < Enough_Elements; ++i) {
        Plain_Header header;
        const bool is_header = Read_Plain_Header(source, offset, encoding, header) ||
                               Read_Header_Of_Empty_VR(source, offset, encoding, header);
        const std::int64_t next = is_header ? Next_Of(source, offset, header) : -1;
        if (next < 0 || header.tag.group == Meta_Group ||
            (i == 0 && header.tag.group == Item_Group)) {
            break;
        }
        score += header.tag.group == Item_Group ? 0 : Worth_Of(header);
        // Inside items the order begins anew.
        score += header.tag <= last ? Out_Of_Order : 0;
        last = Holds_Items(header) ? Tag() : header.tag;
        offset = next;
        if (next == source.Size()) {
            score += score > 0 ? Whole : 0;
            break;
        }
    }
    return std::max(score, 0);
}

Survey Survey_Of(const Source& source, std::int64_t offset, const Encoding& encoding)
{
    Survey survey;
    const std::int64_t end = std::min(offset + Survey_Size, source.Size());
    for (std::int64_t at = offset; at < end;) {
        Plain_Header header;
        Plain_Header behind;
        const bool is_telling =
            Read_Plain_Header(source, at, encoding, header) && Is_Telling(header);
        const std::int64_t next = is_telling ? Next_Of(source, at, header) : -1;
        const bool is_pair = next > at && !Holds_Items(header) &&
                             Read_Plain_Header(source, next, encoding, behind) &&
                             Is_Telling(behind) && header.tag < behind.tag;
        if (is_pair) {
            survey.first = survey.pairs == 0 ? at : survey.first;
            ++survey.pairs;
        }
        at = is_pair ? next : at + 1;
    }
    return survey;
}

bool Is_Data_Set(const Source& source, std::int64_t at)
{
    return std::any_of(std::begin(Header_Forms), std::end(Header_Forms), [&](const Encoding& form) {
        return Score_Of(source, at, form) >= Sure_Score;
    });
}

}  // namespace lib_mend
