#include "frame/vr_rules.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace lib_dicom {

namespace {

constexpr char Set_Age[] = "0123456789DWMY";
constexpr char Set_Code[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_ \\";
constexpr char Set_Date[] = "0123456789.\\";
constexpr char Set_Decimal[] = "0123456789+-Ee. \\";
constexpr char Set_Date_Time[] = "0123456789+-. \\";
constexpr char Set_Integer[] = "0123456789+- \\";
constexpr char Set_Time[] = "0123456789. \\";

constexpr VR_Units Units_Of_2 = {.read = 2, .written = 2, .current = 2};
constexpr VR_Units Units_Of_4 = {.read = 4, .written = 4, .current = 4};
constexpr VR_Units Units_Of_8 = {.read = 8, .written = 8, .current = 8};

using enum VR_Kind;
using enum VR_Padding;
using enum VR_Header;

// "Unigned", "Floation" and the "Signed Long" of UL are kept on purpose.
constexpr VR_Rule Rules[] = {
    {.vr = VR_AE, .kind = Text_Multiple, .max_length = 16, .repair = VR_Repair::Printable},
    {.vr = VR_AS, .kind = Age, .set = Set_Age},
    {.vr = VR_AT,
     .kind = Binary,
     .width = 4,
     .expected = "multiple 2*\"Unigned Short\"",
     .units = {.current = 2},
     .counts = false},
    {.vr = VR_CS, .kind = Text_Multiple, .padding = Around, .set = Set_Code, .max_length = 16},
    {.vr = VR_DA, .kind = Date, .set = Set_Date},
    {.vr = VR_DS, .kind = Text_Multiple, .padding = Around, .set = Set_Decimal, .max_length = 16},
    {.vr = VR_DT, .kind = Text_Multiple, .padding = Behind, .set = Set_Date_Time, .max_length = 26},
    {.vr = VR_FD,
     .kind = Binary,
     .width = 8,
     .expected = "\"Floation Point Double\"",
     .units = Units_Of_8},
    {.vr = VR_FL,
     .kind = Binary,
     .width = 4,
     .expected = "\"Floation Point\"",
     .units = Units_Of_4},
    {.vr = VR_IS,
     .kind = Text_Multiple,
     .padding = Around,
     .set = Set_Integer,
     .max_length = 12,
     .repair = VR_Repair::Integer},
    {.vr = VR_LO, .kind = Text_Multiple, .padding = Around, .max_length = 64},
    {.vr = VR_LT, .kind = Text_Single, .padding = Behind, .max_length = 10240},
    {.vr = VR_OB, .kind = Opaque, .header = Long},
    {.vr = VR_OD,
     .current_only = true,
     .kind = Binary,
     .width = 8,
     .expected = "\"Other Double\"",
     .units = Units_Of_8,
     .counts = false,
     .header = Long_By_Current},
    {.vr = VR_OF,
     .kind = Binary,
     .width = 4,
     .expected = "\"Other Float\"",
     .units = {.read = 4, .current = 4},
     .counts = false,
     .header = Long_By_Current},
    {.vr = VR_OL,
     .current_only = true,
     .kind = Binary,
     .width = 4,
     .expected = "\"Other Long\"",
     .units = Units_Of_4,
     .counts = false,
     .header = Long_By_Current},
    {.vr = VR_OV,
     .current_only = true,
     .kind = Binary,
     .width = 8,
     .expected = "\"Other Very Long\"",
     .units = Units_Of_8,
     .counts = false,
     .header = Long_By_Current},
    {.vr = VR_OW,
     .kind = Binary,
     .width = 2,
     .expected = "\"Other Word\"",
     .units = Units_Of_2,
     .counts = false,
     .header = Long},
    {.vr = VR_PN, .kind = Text_Multiple, .max_length = 320},
    {.vr = VR_SH, .kind = Text_Multiple, .padding = Around, .max_length = 16},
    {.vr = VR_SL, .kind = Binary, .width = 4, .expected = "\"Signed Long\"", .units = Units_Of_4},
    {.vr = VR_SQ, .kind = Opaque, .header = Long},
    {.vr = VR_SS, .kind = Binary, .width = 2, .expected = "\"Signed Short\"", .units = Units_Of_2},
    {.vr = VR_ST, .kind = Text_Single, .padding = Behind, .max_length = 1024},
    {.vr = VR_SV,
     .current_only = true,
     .kind = Binary,
     .width = 8,
     .expected = "\"Signed Very Long\"",
     .units = Units_Of_8,
     .header = Long_By_Current},
    {.vr = VR_TM,
     .kind = Text_Multiple,
     .padding = Behind,
     .set = Set_Time,
     .max_length = 16,
     .repair = VR_Repair::Time},
    {.vr = VR_UC,
     .current_only = true,
     .kind = Text_Multiple,
     .padding = Behind,
     .header = Long_By_Current},
    {.vr = VR_UI,
     .kind = Text_Multiple,
     .pad = '\0',
     .padding = Behind,
     .set = Set_Time,
     .max_length = 64},
    {.vr = VR_UL, .kind = Binary, .width = 4, .expected = "\"Signed Long\"", .units = Units_Of_4},
    {.vr = VR_UN, .kind = Opaque, .header = Long},
    {.vr = VR_UR,
     .current_only = true,
     .kind = Text_Single,
     .padding = Behind,
     .header = Long_By_Current},
    {.vr = VR_US,
     .kind = Binary,
     .width = 2,
     .expected = "\"Unsigned Short\"",
     .units = Units_Of_2},
    {.vr = VR_UT, .kind = Text_Single, .padding = Behind, .header = Long_When_Read},
    {.vr = VR_UV,
     .current_only = true,
     .kind = Binary,
     .width = 8,
     .expected = "\"Unsigned Very Long\"",
     .units = Units_Of_8,
     .header = Long_By_Current},
};

constexpr bool Is_Sorted()
{
    for (std::size_t i = 1; i < std::size(Rules); ++i) {
        if (Rules[i - 1].vr >= Rules[i].vr) {
            return false;
        }
    }
    return true;
}
static_assert(Is_Sorted(), "the search relies on the order");

bool Is_Long_By_Current(const VR_Rule& rule)
{
    return DICOM_Flag_Current_Standard != 0 && rule.header != Short;
}

}  // namespace

const VR_Rule* Find_Any_VR_Rule(unsigned short vr)
{
    const VR_Rule* const rule =
        std::lower_bound(std::begin(Rules), std::end(Rules), vr,
                         [](const VR_Rule& entry, unsigned short code) { return entry.vr < code; });
    return rule == std::end(Rules) || rule->vr != vr ? nullptr : rule;
}

const VR_Rule* Find_VR_Rule(unsigned short vr)
{
    const VR_Rule* const rule = Find_Any_VR_Rule(vr);
    return rule != nullptr && rule->current_only && DICOM_Flag_Current_Standard == 0 ? nullptr
                                                                                     : rule;
}

bool Reads_Long_Header(unsigned short vr)
{
    if (vr == VR_OX) {
        return true;
    }
    const VR_Rule* const rule = Find_VR_Rule(vr);
    return rule != nullptr &&
           (rule->header == Long || rule->header == Long_When_Read || Is_Long_By_Current(*rule));
}

bool Writes_Long_Header(unsigned short vr)
{
    const VR_Rule* const rule = Find_VR_Rule(vr);
    return rule != nullptr && (rule->header == Long || Is_Long_By_Current(*rule));
}

int Swab_Width(unsigned short vr)
{
    const VR_Rule* const rule = Find_VR_Rule(vr);
    if (rule == nullptr) {
        return 1;
    }
    return DICOM_Flag_Current_Standard != 0 ? rule->units.current : rule->units.read;
}

int Write_Width(unsigned short vr)
{
    const VR_Rule* const rule = Find_VR_Rule(vr);
    if (rule == nullptr) {
        return 1;
    }
    return DICOM_Flag_Current_Standard != 0 ? rule->units.current : rule->units.written;
}

}  // namespace lib_dicom
