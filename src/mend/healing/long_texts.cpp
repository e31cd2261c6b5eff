#include "mend/healing/long_texts.h"

#include "mend/healing/forms.h"
#include "mend/healing/texts.h"

#include <algorithm>

namespace lib_mend {

namespace {

/** Of shorter ones the judgement of Heal_Value is had for their size in memory. */
constexpr std::int64_t Long = std::int64_t{1} << 20;
constexpr std::int64_t Block = std::int64_t{1} << 16;

/** The part of a text without the NULs that pad it, and the blanks among them; nothing when it cannot be read. */
std::optional<std::int64_t> Size_Without_NULs(const Data_Set& set, const DICOM_List& record)
{
    std::int64_t size = Size_Of(record);
    Bytes block;
    for (std::int64_t end = size; end > 0;) {
        const std::int64_t start = std::max<std::int64_t>(end - Block, 0);
        block.resize(static_cast<std::size_t>(end - start));
        if (set.Read(record, start, block) != block.size()) {
            return std::nullopt;
        }
        for (std::size_t i = block.size(); i > 0; --i) {
            const unsigned char byte = block[i - 1];
            if (byte != ' ' && byte != '\0') {
                return size;
            }
            size = byte == '\0' ? start + static_cast<std::int64_t>(i) - 1 : size;
        }
        end = start;
    }
    return size;
}

/** Goes through the first bytes of a text; false when they cannot be read, or when `takes` says so. */
template <class Takes>
bool Go_Through(const Data_Set& set, const DICOM_List& record, std::int64_t size, Takes&& takes)
{
    std::int64_t left = size;
    const bool is_whole = All_Pieces(set, record, [&](std::string_view piece) {
        piece = piece.substr(0, static_cast<std::size_t>(std::min<std::int64_t>(
                                    left, static_cast<std::int64_t>(piece.size()))));
        left -= static_cast<std::int64_t>(piece.size());
        return takes(piece) && left > 0;
    });
    return is_whole || left == 0;
}

/** Tells whether the front of a text has more characters than its VR allows, without blanks behind them. */
bool Is_Too_Long(const Data_Set& set, const DICOM_List& record, std::int64_t size,
                 const Character_Set& characters)
{
    // At the cut a character may count as several.
    constexpr std::size_t Most_Of_One = 8;
    const Bytes front = set.Value(record, static_cast<std::size_t>(std::min(size, Long)));
    std::string_view text(reinterpret_cast<const char*>(front.data()), front.size());
    text = text.substr(0, text.find_last_not_of(' ') + 1);
    const unsigned short vr = VR_Of(record);
    return characters.Count(text, vr) > Longest_Of(vr) + Most_Of_One;
}

}  // namespace

bool Is_Long_Text(const DICOM_List& record)
{
    const unsigned short vr = VR_Of(record);
    return record.data == nullptr && Size_Of(record) > Long &&
           (vr == VR_UT || vr == VR_LT || vr == VR_ST);
}

std::optional<Long_Judgement> Judge_Long_Text(const Data_Set& set, const DICOM_List& record,
                                              const Character_Set& characters)
{
    const unsigned short vr = VR_Of(record);
    const std::int64_t whole = Size_Of(record);
    const std::optional<std::int64_t> size = Size_Without_NULs(set, record);
    if (!size) {
        return std::nullopt;
    }
    Long_Judgement judgement = {{}, *size > 0 ? std::size_t{1} : 0, *size};
    bool has_controls = false;
    const bool is_read = Go_Through(set, record, *size, [&](std::string_view piece) {
        has_controls = has_controls || Has_Control_Characters(piece, vr);
        return true;
    });
    if (!is_read) {
        return std::nullopt;
    }
    if (has_controls) {
        // Binary bytes under the VR of a text: the last NULs may be a part of them.
        Add_Note(judgement.notes,
                 {Fault::Control_Characters, Level::Kept, Control_Characters_Text});
        judgement.size = whole;
    } else if (Longest_Of(vr) != 0) {
        if (!Is_Too_Long(set, record, *size, characters)) {
            return std::nullopt;
        }
        Add_Note(judgement.notes, {Fault::Length, Level::Kept, Too_Long_Text});
    }
    if (judgement.size != whole) {
        Add_Note(judgement.notes, {Fault::Padding, Level::Change, Wrong_Padding_Text});
    } else if (whole % 2 != 0) {
        Add_Note(judgement.notes, {Fault::Odd_Length, Level::Change, Odd_Size_Text});
    }
    return judgement;
}

bool Is_All_Valid(const Data_Set& set, const DICOM_List& record, const Character_Set& characters)
{
    Text_Check check(characters, VR_Of(record));
    return All_Pieces(set, record, [&](std::string_view piece) { return check.Take(piece); }) &&
           check.Finish();
}

}  // namespace lib_mend
