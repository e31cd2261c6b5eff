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

constexpr VR_Rule Text(unsigned short vr, VR_Kind kind, unsigned char lead, unsigned char trail,
                       const char* set, int max_length, VR_Repair repair = VR_Repair::None,
                       char even_pad = ' ')
{
    return {vr,    kind, repair, lead, trail, even_pad, set,   max_length, 0,
            false, "",   1,      1,    1,     false,    false, false,      false};
}

constexpr VR_Rule Long(VR_Rule rule, bool read, bool write, bool current_only = false)
{
    rule.long_read = read;
    rule.long_write = write;
    rule.long_current = true;
    rule.current_only = current_only;
    return rule;
}

constexpr VR_Rule Binary(unsigned short vr, unsigned char width, bool counts, const char* expected,
                         unsigned char swab_width, unsigned char write_width)
{
    return {
        vr,    VR_Kind::Binary, VR_Repair::None, VR_No_Padding, VR_No_Padding, '\0',        nullptr,
        0,     width,           counts,          expected,      swab_width,    write_width, 1,
        false, false,           false,           false};
}

/** A binary VR whose unit in the current PS3.5 is given; the fixed rules may reverse another. */
constexpr VR_Rule Units(VR_Rule rule, unsigned char current_width)
{
    rule.current_width = current_width;
    return rule;
}

constexpr VR_Rule Opaque(unsigned short vr)
{
    VR_Rule rule = Binary(vr, 0, false, "", 1, 1);
    rule.kind = VR_Kind::Opaque;
    return rule;
}

constexpr VR_Kind Multiple = VR_Kind::Text_Multiple;
constexpr VR_Kind Single = VR_Kind::Text_Single;
constexpr unsigned char None = VR_No_Padding;

// "Unigned", "Floation" and the "Signed Long" of UL are texts that users and their scripts know.
constexpr VR_Rule Rules[] = {
    Text(VR_AE, Multiple, None, None, nullptr, 16, VR_Repair::Printable),
    Text(VR_AS, VR_Kind::Age, None, None, Set_Age, 0),
    Units(Binary(VR_AT, 4, false, "multiple 2*\"Unigned Short\"", 1, 1), 2),
    Text(VR_CS, Multiple, ' ', ' ', Set_Code, 16),
    Text(VR_DA, VR_Kind::Date, None, None, Set_Date, 0),
    Text(VR_DS, Multiple, ' ', ' ', Set_Decimal, 16),
    Text(VR_DT, Multiple, None, ' ', Set_Date_Time, 26),
    Units(Binary(VR_FD, 8, true, "\"Floation Point Double\"", 8, 8), 8),
    Units(Binary(VR_FL, 4, true, "\"Floation Point\"", 4, 4), 4),
    Text(VR_IS, Multiple, ' ', ' ', Set_Integer, 12, VR_Repair::Integer),
    Text(VR_LO, Multiple, ' ', ' ', nullptr, 64),
    Text(VR_LT, Single, None, ' ', nullptr, 10240),
    Long(Opaque(VR_OB), true, true),
    Long(Units(Binary(VR_OD, 8, false, "\"Other Double\"", 8, 8), 8), false, false, true),
    Long(Units(Binary(VR_OF, 4, false, "\"Other Float\"", 4, 1), 4), false, false),
    Long(Units(Binary(VR_OL, 4, false, "\"Other Long\"", 4, 4), 4), false, false, true),
    Long(Units(Binary(VR_OV, 8, false, "\"Other Very Long\"", 8, 8), 8), false, false, true),
    Long(Units(Binary(VR_OW, 2, false, "\"Other Word\"", 2, 2), 2), true, true),
    Text(VR_PN, Multiple, None, None, nullptr, 320),
    Text(VR_SH, Multiple, ' ', ' ', nullptr, 16),
    Units(Binary(VR_SL, 4, true, "\"Signed Long\"", 4, 4), 4),
    Long(Opaque(VR_SQ), true, true),
    Units(Binary(VR_SS, 2, true, "\"Signed Short\"", 2, 2), 2),
    Text(VR_ST, Single, None, ' ', nullptr, 1024),
    Long(Units(Binary(VR_SV, 8, true, "\"Signed Very Long\"", 8, 8), 8), false, false, true),
    Text(VR_TM, Multiple, None, ' ', Set_Time, 16, VR_Repair::Time),
    Long(Text(VR_UC, Multiple, None, ' ', nullptr, 0), false, false, true),
    Text(VR_UI, Multiple, None, '\0', Set_Time, 64, VR_Repair::None, '\0'),
    Units(Binary(VR_UL, 4, true, "\"Signed Long\"", 4, 4), 4),
    Long(Opaque(VR_UN), true, true),
    Long(Text(VR_UR, Single, None, ' ', nullptr, 0), false, false, true),
    Units(Binary(VR_US, 2, true, "\"Unsigned Short\"", 2, 2), 2),
    Long(Text(VR_UT, Single, None, ' ', nullptr, 0), true, false),
    Long(Units(Binary(VR_UV, 8, true, "\"Unsigned Very Long\"", 8, 8), 8), false, false, true),
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
           (DICOM_Flag_Current_Standard != 0 ? rule->long_current : rule->long_read);
}

bool Writes_Long_Header(unsigned short vr)
{
    const VR_Rule* const rule = Find_VR_Rule(vr);
    return rule != nullptr &&
           (DICOM_Flag_Current_Standard != 0 ? rule->long_current : rule->long_write);
}

int Swab_Width(unsigned short vr)
{
    const VR_Rule* const rule = Find_VR_Rule(vr);
    if (rule == nullptr) {
        return 1;
    }
    return DICOM_Flag_Current_Standard != 0 ? rule->current_width : rule->swab_width;
}

int Write_Width(unsigned short vr)
{
    const VR_Rule* const rule = Find_VR_Rule(vr);
    if (rule == nullptr) {
        return 1;
    }
    return DICOM_Flag_Current_Standard != 0 ? rule->current_width : rule->write_width;
}

}  // namespace lib_dicom
