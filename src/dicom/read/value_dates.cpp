// Values as dates and as times of day.
#include "read/number_text.h"
#include "read/value_extractor.h"
#include "values/date_text.h"

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Read_Value";

constexpr Extractor Date_Extractor = {
    .id = Extractor_Id::Date,
    .call = "NEMA_Value_Date()",
    .fetches = false,
    .bad_vr = "(%04x,%04x): bad VR value (%c%c) != DA,DT)",
};
constexpr Extractor Time_Extractor = {
    .id = Extractor_Id::Time,
    .call = "NEMA_Value_Time()",
    .fetches = false,
    .bad_vr = "(%04x,%04x): bad VR value (%c%c) != DT,TM)",
};

/** The start of a value as a text; dates and times are no longer than 10 characters. */
using Date_Text = std::array<char, 20>;

Date_Text Copy_Text(std::string_view bytes)
{
    Date_Text text = {};
    bytes.copy(text.data(), 10);
    return text;
}

/** Tells the old form of dates, "yyyy.mm.dd". */
bool Has_Dots(const Date_Text& text)
{
    return text[4] == '.';
}

/** The UTC offset of a DT behind its six decimals, "+hhmm"; it ends the time part. */
struct UTC_Offset {
    int hours = 0;
    int minutes = 0;
};

UTC_Offset Take_Offset(Date_Text& time)
{
    const int sign = time[13] == '-' ? -1 : 1;
    UTC_Offset offset;
    offset.minutes = sign * Parse_Integer(&time[16]);
    time[16] = '\0';
    offset.hours = sign * Parse_Integer(&time[14]);
    return offset;
}

/** Makes the time of a DT value, "yyyymmddhhmmss.ffffff+hhmm". False when it is too long. */
bool Make_Time_Of_DT(std::string_view bytes, OrisWare_Time& result)
{
    constexpr std::size_t Date_Size = 8;
    constexpr std::size_t Longest_Without_Offset = 21;

    Date_Text time = {};
    const std::string_view part = bytes.substr(std::min(Date_Size, bytes.size()));
    if (part.size() >= time.size()) {
        return false;
    }
    part.copy(time.data(), part.size());
    const UTC_Offset offset =
        bytes.size() > Longest_Without_Offset ? Take_Offset(time) : UTC_Offset();
    time[13] = '\0';
    const double seconds = Parse_Double(&time[4]);
    time[4] = '\0';
    const int minutes = Parse_Integer(&time[2]);
    time[2] = '\0';
    const int hours = Parse_Integer(&time[0]);
    // The offset is added on purpose; a sum below zero travels as its 16-bit complement.
    Make_Oris_Time(&result, static_cast<unsigned short>(hours + offset.hours),
                   static_cast<unsigned short>(minutes + offset.minutes),
                   static_cast<float>(seconds));
    return true;
}

/** False without memory. */
bool Make_Time_Of_TM(std::string_view bytes, OrisWare_Time& result)
{
    const Date_Text text = Copy_Text(bytes);
    const char* const time_template = DICOM_Time_Template(text.data(), 4);
    return Make_Oris_Time(&result, text.data(), time_template) != 0 ||
           !Parse_Time(text.data(), time_template);
}

}  // namespace

OrisWare_Date* NEMA_Value_Date(HWND handle, DICOM_List* tag, unsigned short vr)
{
    return Extract<OrisWare_Date>(handle, tag, vr, Date_Extractor, [](const Value& value) {
        if (value.vr != VR_DA && value.vr != VR_DT) {
            return Refuse_VR<OrisWare_Date>(value, This_Unit);
        }
        Date_Text text = Copy_Text(value.bytes);
        const char* date_template = DICOM_Date_Template(value.bytes.size());
        if (value.vr == VR_DT) {
            const std::size_t size = Has_Dots(text) ? 10 : 8;
            text[size] = '\0';
            date_template = DICOM_Date_Template(size);
        }
        if (date_template == nullptr) {
            return Outcome<OrisWare_Date>{nullptr, "VR_DA"};
        }
        OrisWare_Date* const date = &Get_Value_Pools().dates[value.slot];
        if (Make_Oris_Date(date, text.data(), date_template) == 0 &&
            Parse_Date(text.data(), date_template)) {
            return Outcome<OrisWare_Date>{nullptr, "! memory"};
        }
        value.tag.vm = 1;
        return Outcome<OrisWare_Date>{date, ""};
    });
}

OrisWare_Time* NEMA_Value_Time(HWND handle, DICOM_List* tag, unsigned short vr)
{
    return Extract<OrisWare_Time>(handle, tag, vr, Time_Extractor, [](const Value& value) {
        if (value.vr != VR_TM && value.vr != VR_DT) {
            return Refuse_VR<OrisWare_Time>(value, This_Unit);
        }
        OrisWare_Time* const time = &Get_Value_Pools().times[value.slot];
        if (value.vr == VR_TM && !Make_Time_Of_TM(value.bytes, *time)) {
            return Outcome<OrisWare_Time>{nullptr, "! memory"};
        }
        if (value.vr == VR_DT && !Has_Dots(Copy_Text(value.bytes)) &&
            !Make_Time_Of_DT(value.bytes, *time)) {
            return Outcome<OrisWare_Time>{nullptr, "VR_DT"};
        }
        value.tag.vm = 1;
        return Outcome<OrisWare_Time>{time, ""};
    });
}
