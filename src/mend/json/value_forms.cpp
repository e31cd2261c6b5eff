#include "mend/json/value_forms.h"

#include <algorithm>
#include <iterator>

namespace lib_mend {

namespace {

constexpr JSON_Form Forms[] = {
    {VR_AE, JSON_Kind::Texts, 1, false},    {VR_AS, JSON_Kind::Texts, 1, false},
    {VR_AT, JSON_Kind::Tags, 4, false},     {VR_CS, JSON_Kind::Texts, 1, false},
    {VR_DA, JSON_Kind::Texts, 1, false},    {VR_DS, JSON_Kind::Number_Texts, 1, false},
    {VR_DT, JSON_Kind::Texts, 1, false},    {VR_FD, JSON_Kind::Floats, 8, false},
    {VR_FL, JSON_Kind::Floats, 4, false},   {VR_IS, JSON_Kind::Number_Texts, 1, false},
    {VR_LO, JSON_Kind::Texts, 1, false},    {VR_LT, JSON_Kind::Text, 1, false},
    {VR_OB, JSON_Kind::Binary, 1, false},   {VR_OD, JSON_Kind::Binary, 1, false},
    {VR_OF, JSON_Kind::Binary, 1, false},   {VR_OL, JSON_Kind::Binary, 1, false},
    {VR_OV, JSON_Kind::Binary, 1, false},   {VR_OW, JSON_Kind::Binary, 1, false},
    {VR_PN, JSON_Kind::Names, 1, false},    {VR_SH, JSON_Kind::Texts, 1, false},
    {VR_SL, JSON_Kind::Integers, 4, true},  {VR_SQ, JSON_Kind::Items, 1, false},
    {VR_SS, JSON_Kind::Integers, 2, true},  {VR_ST, JSON_Kind::Text, 1, false},
    {VR_SV, JSON_Kind::Integers, 8, true},  {VR_TM, JSON_Kind::Texts, 1, false},
    {VR_UC, JSON_Kind::Texts, 1, false},    {VR_UI, JSON_Kind::Texts, 1, false},
    {VR_UL, JSON_Kind::Integers, 4, false}, {VR_UN, JSON_Kind::Binary, 1, false},
    {VR_UR, JSON_Kind::Text, 1, false},     {VR_US, JSON_Kind::Integers, 2, false},
    {VR_UT, JSON_Kind::Text, 1, false},     {VR_UV, JSON_Kind::Integers, 8, false},
};

}  // namespace

const JSON_Form* Find_JSON_Form(unsigned short vr)
{
    const auto* const form = std::find_if(std::begin(Forms), std::end(Forms),
                                          [vr](const JSON_Form& row) { return row.vr == vr; });
    return form != std::end(Forms) ? form : nullptr;
}

}  // namespace lib_mend
