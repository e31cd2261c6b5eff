#include "mend/reading/vr_forms.h"

#include <array>
#include <cstddef>
#include <iterator>

namespace lib_mend {

namespace {

constexpr std::size_t Letters = 26;
constexpr unsigned char No_Row = 0xFF;
constexpr std::size_t Row_Of_UN = 29;
static_assert(VR_Forms[Row_Of_UN].vr == VR_UN && std::size(VR_Forms) < No_Row);

constexpr std::size_t Index_Of(unsigned short vr)
{
    const auto first = static_cast<std::size_t>((vr >> 8) - 'A');
    const auto second = static_cast<std::size_t>((vr & 0xFF) - 'A');
    return first < Letters && second < Letters ? first * Letters + second : Letters * Letters;
}

/** Rows by the two letters, since every header asks; the last is for what are no capitals. */
constexpr auto Make_Rows()
{
    std::array<unsigned char, Letters* Letters + 1> rows = {};
    rows.fill(No_Row);
    for (std::size_t i = 0; i < std::size(VR_Forms); ++i) {
        rows[Index_Of(VR_Forms[i].vr)] = static_cast<unsigned char>(i);
    }
    return rows;
}

constexpr auto Rows = Make_Rows();

}  // namespace

bool Is_Known_VR(unsigned short vr)
{
    return Rows[Index_Of(vr)] != No_Row;
}

const VR_Form& Form_Of(unsigned short vr)
{
    const unsigned char row = Rows[Index_Of(vr)];
    return VR_Forms[row != No_Row ? row : Row_Of_UN];
}

}  // namespace lib_mend
