// Person names, dates and times from text: what was made of a text is made of its DICOM form again.
//
// Input: the kind; the length of a template; the template; the text.
#include "fuzz_target.h"

namespace {

void Check_Date(const char* text, const char* date_template)
{
    OrisWare_Date date = {};
    Make_Oris_Date(&date, text, date_template);
    Date_2_Str(&date, date_template);
    OrisWare_Date again = {};
    if (Date_From_DICOM(&again, Date_2_DICOM(&date)) != 0) {
        fuzz::Require(Oris_Date_Cmp(&date, &again) == 0, "a date comes back");
    } else {
        fuzz::Require(date.state == Oris_State_Unset, "a date has a DICOM form");
    }
    Date_From_DICOM(&date, text);
    Date_Copy(&again, &date);
    fuzz::Require(Oris_Date_Cmp(&date, &again) == 0, "a copy is the same");
    Date_Free(&date);
    Date_Free(&again);
}

void Check_Time(const char* text, const char* time_template)
{
    OrisWare_Time time = {};
    Make_Oris_Time(&time, text, time_template);
    Time_2_Str(&time, time_template);
    OrisWare_Time again = {};
    const bool back = Time_From_DICOM(&again, Time_2_DICOM(&time)) != 0;
    fuzz::Require(back || time.state == Oris_State_Unset, "a time has a DICOM form");
    fuzz::Require(!back || (again.hour == time.hour && again.minute == time.minute),
                  "a time comes back");
    Time_From_DICOM(&time, text);
    Time_Copy(&again, &time);
    fuzz::Require(Oris_Time_Cmp(&time, &again) == 0, "a copy is the same");
    Time_Free(&time);
    Time_Free(&again);
}

void Check_Name(const char* text)
{
    OrisWare_Name name = {};
    Name_From_DICOM(&name, text);
    Name_2_Str(&name);
    const std::string form = Name_2_DICOM(&name);
    OrisWare_Name again = {};
    Name_From_DICOM(&again, form.c_str());
    fuzz::Require(form == Name_2_DICOM(&again), "a name comes back");
    Oris_Name_Postproc(&name);
    Name_Free(&name);
    Name_Free(&again);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const fuzz::Silence silence;
    fuzz::Input input(data, size);
    const std::uint8_t kind = input.Byte();
    const std::uint8_t length = input.Byte();
    const std::string all = input.Text();
    const std::string text_template = all.substr(0, length);
    const std::string text = all.substr(text_template.size());
    if (kind % 3 == 0) {
        Check_Date(text.c_str(), text_template.c_str());
    } else if (kind % 3 == 1) {
        Check_Time(text.c_str(), text_template.c_str());
    } else {
        Check_Name(text.c_str());
    }
    return 0;
}
