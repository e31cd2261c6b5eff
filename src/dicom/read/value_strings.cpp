// Values as strings and as bytes.
#include "read/value_extractor.h"

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Read_Value";

constexpr Extractor Str_Extractor = {
    .id = Extractor_Id::Str,
    .call = "NEMA_Value_Str()",
    .fetches = true,
    .bad_vr = "(%04x,%04x): bad VR value (%c%c) != AE,AS,CS,LO,LT,SH,ST,UI,UT)",
};
constexpr Extractor Hex_Extractor = {
    .id = Extractor_Id::Hex,
    .call = "NEMA_Value_Hex()",
    .fetches = true,
    .bad_vr = "(%04x,%04x): bad VR value (%c%c) != OB or OW)",
};

bool Take_Whole(const Value& value)
{
    Pool_Strings& strings = Get_Value_Pools().strings[value.slot];
    if (!strings.Reserve(value.handle, This_Unit, 1, "V_Str[cc]") ||
        !strings.Set(value.handle, This_Unit, 0, value.bytes, "(V_Str[cc][tag->vm])")) {
        return false;
    }
    value.tag.vm = 1;
    return true;
}

struct Str_Rule {
    unsigned short vr;
    bool splits;
    bool current_only = false;
};

constexpr Str_Rule Str_Rules[] = {
    {VR_AE, true},  {VR_CS, true},       {VR_LO, true},        {VR_SH, true},  {VR_UI, true},
    {VR_AS, false}, {VR_LT, false},      {VR_OB, false},       {VR_ST, false}, {VR_UN, false},
    {VR_UT, false}, {VR_UC, true, true}, {VR_UR, false, true},
};

struct Hex_Rule {
    unsigned short vr;
    bool current_only = false;
};

constexpr Hex_Rule Hex_Rules[] = {
    {VR_OB}, {VR_OW}, {VR_OX}, {VR_UN}, {VR_OD, true}, {VR_OF, true}, {VR_OL, true}, {VR_OV, true},
};

}  // namespace

char** NEMA_Value_Str(HWND handle, DICOM_List* tag, unsigned short vr)
{
    return Extract<char*>(handle, tag, vr, Str_Extractor, [](const Value& value) {
        using Strings = Outcome<char*>;
        const Str_Rule* const rule = Find_Rule(Str_Rules, value.vr);
        if (rule == nullptr) {
            return Refuse_VR<char*>(value, This_Unit);
        }
        if (!(rule->splits ? Split(value) : Take_Whole(value))) {
            return Strings{};
        }
        return Strings{Get_Value_Pools().strings[value.slot].Data(),
                       rule->splits ? "VR_AE..." : "VR_AS..."};
    });
}

unsigned char* NEMA_Value_Hex(HWND handle, DICOM_List* tag, unsigned short vr)
{
    return Extract<unsigned char>(handle, tag, vr, Hex_Extractor, [](const Value& value) {
        using Bytes = Outcome<unsigned char>;
        if (Find_Rule(Hex_Rules, value.vr) == nullptr) {
            return Refuse_VR<unsigned char>(value, This_Unit);
        }
        Pool_Array<unsigned char>& buffer = Get_Value_Pools().buffers[value.slot];
        if (!buffer.Reserve(value.handle, This_Unit, value.bytes.size(), "Buffer[cc]")) {
            return Bytes{};
        }
        std::copy(value.bytes.begin(), value.bytes.end(), buffer.Data());
        value.tag.vm = 1;
        return Bytes{buffer.Data(), "VR_OB..."};
    });
}
