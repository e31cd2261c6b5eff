#include "write/record_form.h"

#include "frame/vr_rules.h"

#include <algorithm>

namespace lib_dicom {

namespace {

constexpr int Short_Header_Size = 8;
constexpr int Long_Header_Size = 12;
/** Longest even value that a 2-byte length can tell. */
constexpr int Max_Short_Length = 0xFFFE;

}  // namespace

Form Form_Of(const DICOM_List& record)
{
    const unsigned short vr = Effective_VR(record);
    if (vr == VR_SQ) {
        return Form::Sequence;
    }
    if (record.size != DICOM_Undefined_Length || record.nb_item <= 0) {
        return Form::Value;
    }
    return vr == VR_UN || vr == 0 ? Form::Sequence : Form::Fragments;
}

bool Is_Left_Out(const DICOM_List& record)
{
    return record.group == Item_Group && DICOM_Flag_Current_Standard != 0;
}

unsigned short Header_VR(const DICOM_List& record, Form form)
{
    if (form == Form::Sequence) {
        return VR_SQ;
    }
    const unsigned short vr = Effective_VR(record);
    if (form == Form::Fragments || DICOM_Flag_Current_Standard == 0) {
        return vr;
    }
    const bool is_too_long = record.size > Max_Short_Length && !Writes_Long_Header(vr);
    return vr == 0 || is_too_long ? VR_UN : vr;
}

bool Has_Long_Header(const DICOM_List& record, Form form)
{
    return form != Form::Value || Writes_Long_Header(Header_VR(record, form));
}

int Header_Size(char code, const DICOM_List& record, Form form)
{
    const bool is_long =
        Is_Explicit(code) && record.group != Item_Group && Has_Long_Header(record, form);
    return is_long ? Long_Header_Size : Short_Header_Size;
}

long long Stored_Size(const DICOM_List& record)
{
    // The length of an item tag left in a list counts the records behind it, not bytes of its own.
    const bool holds_none = record.group == Item_Group && record.data == nullptr;
    return holds_none ? 0 : std::max(record.size, 0);
}

long long Fragment_Size(const DICOM_List& fragment)
{
    return std::max(fragment.size, 0);
}

long long Value_Size(const DICOM_List& record)
{
    const long long size = Stored_Size(record);
    return DICOM_Flag_Current_Standard != 0 ? Even(size) : size;
}

std::span<DICOM_List* const> Items(const DICOM_List& record)
{
    const int slots = record.item != nullptr ? std::max(record.nb_item, 0) : 0;
    const std::span<DICOM_List* const> all(record.item, static_cast<std::size_t>(slots));
    const auto used = std::find(all.begin(), all.end(), nullptr) - all.begin();
    return all.first(static_cast<std::size_t>(used));
}

}  // namespace lib_dicom
