// The VRs of the standard (PS3.5 table 6.2-1): how they stand in a stream.
#ifndef LIB_MEND_VR_FORMS_H
#define LIB_MEND_VR_FORMS_H

#include <Lib_DICOM/Lib_DICOM.h>

#include <array>
#include <cstddef>
#include <iterator>

namespace lib_mend {

struct VR_Form {
    unsigned short vr;
    /** The explicit header has a reserved field and a length of four bytes (PS3.5 section 7.1.2). */
    bool is_long = false;
    /** Bytes that change places between the byte orders; 1 where there is no order. */
    int width = 1;
    /** What makes the length even. */
    char padding = '\0';
    /** The value is characters. */
    bool is_text = false;
};

inline constexpr VR_Form VR_Forms[] = {
    {.vr = VR_AE, .padding = ' ', .is_text = true},
    {.vr = VR_AS, .padding = ' ', .is_text = true},
    {.vr = VR_AT, .width = 2},
    {.vr = VR_CS, .padding = ' ', .is_text = true},
    {.vr = VR_DA, .padding = ' ', .is_text = true},
    {.vr = VR_DS, .padding = ' ', .is_text = true},
    {.vr = VR_DT, .padding = ' ', .is_text = true},
    {.vr = VR_FD, .width = 8},
    {.vr = VR_FL, .width = 4},
    {.vr = VR_IS, .padding = ' ', .is_text = true},
    {.vr = VR_LO, .padding = ' ', .is_text = true},
    {.vr = VR_LT, .padding = ' ', .is_text = true},
    {.vr = VR_OB, .is_long = true},
    {.vr = VR_OD, .is_long = true, .width = 8},
    {.vr = VR_OF, .is_long = true, .width = 4},
    {.vr = VR_OL, .is_long = true, .width = 4},
    {.vr = VR_OV, .is_long = true, .width = 8},
    {.vr = VR_OW, .is_long = true, .width = 2},
    {.vr = VR_PN, .padding = ' ', .is_text = true},
    {.vr = VR_SH, .padding = ' ', .is_text = true},
    {.vr = VR_SL, .width = 4},
    {.vr = VR_SQ, .is_long = true},
    {.vr = VR_SS, .width = 2},
    {.vr = VR_ST, .padding = ' ', .is_text = true},
    {.vr = VR_SV, .is_long = true, .width = 8},
    {.vr = VR_TM, .padding = ' ', .is_text = true},
    {.vr = VR_UC, .is_long = true, .padding = ' ', .is_text = true},
    {.vr = VR_UI, .is_text = true},
    {.vr = VR_UL, .width = 4},
    {.vr = VR_UN, .is_long = true},
    {.vr = VR_UR, .is_long = true, .padding = ' ', .is_text = true},
    {.vr = VR_US, .width = 2},
    {.vr = VR_UT, .is_long = true, .padding = ' ', .is_text = true},
    {.vr = VR_UV, .is_long = true, .width = 8},
};

/** The rows by the two letters of a VR, since every header asks; the last is for what are no capitals. */
class VR_Rows {
public:
    static constexpr unsigned char None = 0xFF;

    constexpr VR_Rows()
    {
        rows_.fill(None);
        for (std::size_t i = 0; i < std::size(VR_Forms); ++i) {
            rows_[Index_Of(VR_Forms[i].vr)] = static_cast<unsigned char>(i);
        }
    }
    constexpr unsigned char operator[](unsigned short vr) const
    {
        return rows_[Index_Of(vr)];
    }

private:
    static constexpr std::size_t Letters = 26;

    static constexpr std::size_t Index_Of(unsigned short vr)
    {
        const auto first = static_cast<std::size_t>((vr >> 8) - 'A');
        const auto second = static_cast<std::size_t>((vr & 0xFF) - 'A');
        return first < Letters && second < Letters ? first * Letters + second : Letters * Letters;
    }

    std::array<unsigned char, Letters* Letters + 1> rows_ = {};
};

inline constexpr VR_Rows Rows_Of_VRs;
inline constexpr std::size_t Row_Of_UN = 29;
static_assert(VR_Forms[Row_Of_UN].vr == VR_UN && std::size(VR_Forms) < VR_Rows::None);

/** VRs of the standard; OX and other pairs of letters are none. */
inline bool Is_Known_VR(unsigned short vr)
{
    return Rows_Of_VRs[vr] != VR_Rows::None;
}

/** The form of a VR, or of UN for one that is not known. */
inline const VR_Form& Form_Of(unsigned short vr)
{
    const unsigned char row = Rows_Of_VRs[vr];
    return VR_Forms[row != VR_Rows::None ? row : Row_Of_UN];
}

inline bool Is_Long_VR(unsigned short vr)
{
    return Is_Known_VR(vr) && Form_Of(vr).is_long;
}

inline bool Is_Text(unsigned short vr)
{
    return Form_Of(vr).is_text;
}

/** Bytes that are reversed together between the byte orders; 1 for VRs that have no order. */
inline int Swap_Width(unsigned short vr)
{
    return Form_Of(vr).width;
}

}  // namespace lib_mend

#endif
