#include "attributes/complete/vr_completion.h"

#include "frame/report.h"
#include "frame/vr_rules.h"

#include <Lib_DICOM/dictionary.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace lib_dicom {

namespace {

/** Values above this size are not looked at. */
constexpr int Longest_Guessed = 1024;

bool Is_Either(unsigned short vr, unsigned short other, unsigned short first, unsigned short second)
{
    return (vr == first && other == second) || (vr == second && other == first);
}

/** An explicit VR that the dictionary allows. UN says only that the writer did not know it. */
bool Is_Alternative(const TAG_db_Elems& entry, unsigned short vr)
{
    const int count = std::abs(entry.nb_vr);
    return vr == VR_UN || std::any_of(entry.vr, entry.vr + count, [vr](unsigned short allowed) {
               const bool interchange =
                   DICOM_Flag_Current_Standard != 0 && Is_Either(vr, allowed, VR_OB, VR_OW);
               return vr == allowed || interchange;
           });
}

void Report_Difference(HWND handle, const DICOM_List& record)
{
    char prefix[32];
    std::snprintf(prefix, sizeof prefix, "\002    (\001%04x\002,\001%04x\002)", record.group,
                  record.element);
    char expected[32];
    std::size_t used = 0;
    for (int i = 0; i < std::abs(record.dict->nb_vr); ++i) {
        const unsigned short vr = record.dict->vr[i];
        used += static_cast<std::size_t>(std::snprintf(expected + used, sizeof expected - used,
                                                       "%s%c%c", i == 0 ? "" : " or ", vr >> 8,
                                                       vr & 0xFF));
    }
    Report_Note(handle, "%hs Explicit VR (=%c%c) differs from the dictionary's (%hs)",
                static_cast<const char*>(prefix), record.vr >> 8, record.vr & 0xFF,
                static_cast<const char*>(expected));
}

void Settle_Explicit_VR(HWND handle, DICOM_List& record)
{
    if (record.vr == VR_OX) {
        record.vr = VR_OW;
        record.flags |= DICOM_Mark_Changed;
        Report_Warning(handle,
                       "    \361\005WARNING:\002 (\001%04x\002,\001%04x\002) Explicit VR=OX is "
                       "invalid!",
                       record.group, record.element);
    } else if (Find_VR_Rule(record.vr) == nullptr) {
        record.vr = 0;
    }
}

/** The VR of an entry without one, which the dictionary marks by a placeholder. */
unsigned short VR_By_Size(int size)
{
    return size == 2 ? VR_US : size == 4 ? VR_UL : VR_OB;
}

bool Holds_Only(std::string_view text, std::string_view set)
{
    return text.find_first_not_of(set) == std::string_view::npos;
}

std::size_t Longest_Piece(std::string_view text)
{
    std::size_t longest = 0;
    while (true) {
        const std::size_t end = std::min(text.find('\\'), text.size());
        longest = std::max(longest, end);
        if (end == text.size()) {
            return longest;
        }
        text.remove_prefix(end + 1);
    }
}

std::string_view Stripped(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string_view::npos
               ? std::string_view()
               : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

unsigned short Guess_Text_VR(std::string_view text, int size)
{
    const std::size_t longest = Longest_Piece(text);
    const bool ends_in_one_nul = text.size() + 1 == static_cast<std::size_t>(size);
    if ((ends_in_one_nul || (longest >= 17 && longest <= 64)) && Holds_Only(text, "0123456789./")) {
        return VR_UI;
    }
    const std::string_view stripped = Stripped(text);
    if (longest < 13 && Holds_Only(stripped, "0123456789+-/")) {
        return VR_IS;
    }
    if (longest <= 16 && Holds_Only(stripped, "0123456789.+-eE/")) {
        return VR_DS;
    }
    if (longest <= 16 && Holds_Only(stripped, "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_ /")) {
        return VR_CS;
    }
    return text.find('\\') == std::string_view::npos || longest > 16 ? VR_ST : VR_SH;
}

/** A number of likely size; 0 when the bytes give none. */
unsigned short Guess_Binary_VR(const DICOM_List& record)
{
    constexpr int Likely_Integer = 999999;
    constexpr float Likely_Float = 100000.0F;
    if (record.size == 4) {
        const int integer = Get_Int(record.byte_order, record.data);
        if (integer >= -Likely_Integer && integer <= Likely_Integer) {
            return VR_SL;
        }
        const float number = Get_Float(record.byte_order, record.data);
        if (number > -Likely_Float && number < Likely_Float && number != 0.0F) {
            return VR_FL;
        }
    }
    return record.size == 2 ? VR_SS : static_cast<unsigned short>(0);
}

unsigned short Guess_VR(const DICOM_List& record)
{
    if (record.data == nullptr || record.size < 0) {
        return 0;
    }
    if (record.size > Longest_Guessed) {
        return VR_OB;
    }
    if (record.element == 0x0000) {
        return VR_UL;
    }
    if (record.group % 2 != 0 && record.element >= 0x0010 && record.element <= 0x00FF) {
        return VR_LO;
    }
    const std::string_view value(reinterpret_cast<const char*>(record.data),
                                 static_cast<std::size_t>(record.size));
    const std::string_view text = value.substr(0, value.find('\0'));
    const bool printable = std::all_of(text.begin(), text.end(),
                                       [](char letter) { return letter >= ' ' && letter <= '~'; });
    return printable ? Guess_Text_VR(text, record.size) : Guess_Binary_VR(record);
}

}  // namespace

bool Complete_VR(HWND handle, DICOM_List& record)
{
    if (record.vr != 0) {
        Settle_Explicit_VR(handle, record);
    }
    if (record.vr != 0 && record.dict != nullptr && record.dict->nb_vr != 0 &&
        !Is_Alternative(*record.dict, record.vr)) {
        Report_Difference(handle, record);
        return false;
    }
    if (record.vr_default == VR_RT) {
        record.vr_default = VR_By_Size(record.size);
    }
    if (Effective_VR(record) == 0) {
        record.flags |= DICOM_Mark_Unknown_VR;
        record.vr_default = Guess_VR(record);
    }
    return Effective_VR(record) != 0;
}

}  // namespace lib_dicom
