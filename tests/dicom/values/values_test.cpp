// Person names, dates and times of day.
#include <Lib_DICOM/values.h>

#include <array>
#include <ctime>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace {

/** A record that releases what it holds. */
template <class Record, int (*From_DICOM)(Record*, const char*), void (*Free)(Record*)>
struct Owned : Record {
    explicit Owned(const char* text = nullptr) : Record{}
    {
        From_DICOM(this, text);
    }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    ~Owned()
    {
        Free(this);
    }
};

using Name = Owned<OrisWare_Name, Name_From_DICOM, Name_Free>;
using Date = Owned<OrisWare_Date, Date_From_DICOM, Date_Free>;
using Time = Owned<OrisWare_Time, Time_From_DICOM, Time_Free>;

/** The calls that dates and times have alike. */
template <class Record>
struct Calls {
    int (*make)(Record*, const char*, const char*);
    int (*settle)(Record*);
    const char* (*to_dicom)(const Record*);
    char* Record::*text;
};

struct Template_Case {
    const char* text;
    const char* its_template;
    const char* dicom;  // empty: refused
};

template <class Value, class Record>
void Expect_Fit(const std::vector<Template_Case>& cases, const Calls<Record>& calls)
{
    for (const Template_Case& item : cases) {
        SCOPED_TRACE(testing::Message() << item.text << " by " << item.its_template);
        Value value("010203");
        const bool fits = *item.dicom != '\0';
        EXPECT_EQ(calls.make(&value, item.text, item.its_template), fits);
        EXPECT_EQ(value.state, fits ? Oris_State_Text : Oris_State_Unset);
        EXPECT_STREQ(value.*calls.text, fits ? item.text : nullptr);
        EXPECT_STREQ(calls.to_dicom(&value), item.dicom);
        EXPECT_EQ(calls.settle(&value), fits);
        EXPECT_EQ(value.state, fits ? Oris_State_Numeric : Oris_State_Unset);
        EXPECT_EQ(value.*calls.text, nullptr);
        EXPECT_STREQ(calls.to_dicom(&value), item.dicom);
    }
}

TEST(Values, DatesFitTheirTemplateOrLeaveTheRecordUnset)
{
    const std::vector<Template_Case> cases = {
        {"19980517", "yyyymmdd", "19980517"},
        {"1998.05.17", "yyyy.mm.dd", "19980517"},
        {"600101", "yymmdd", "19600101"},
        {"591231", "yymmdd", "20591231"},
        {" 19980517 ", "yyyymmdd", "19980517"},
        {"17-mAy-1998", "dd-mmm-yyyy", "19980517"},
        {"17-December-1998", "DD-MMM-YYYY", "19981217"},
        {"Sep 01 2001", "mmmm dd yyyy", "20010901"},
        {"01juneT98", "ddmmmTyy", "19980601"},
        {"20000229", "yyyymmdd", "20000229"},
        {"19000229", "yyyymmdd", ""},
        {"20010229", "yyyymmdd", ""},
        {"20011301", "yyyymmdd", ""},
        {"20010100", "yyyymmdd", ""},
        {"31012001", "ddmmyyyy", "20010131"},
        {"32012001", "ddmmyyyy", ""},
        {"28022001", "ddmmyyyy", "20010228"},
        {"31032001", "ddmmyyyy", "20010331"},
        {"30042001", "ddmmyyyy", "20010430"},
        {"31042001", "ddmmyyyy", ""},
        {"31052001", "ddmmyyyy", "20010531"},
        {"30062001", "ddmmyyyy", "20010630"},
        {"31062001", "ddmmyyyy", ""},
        {"31072001", "ddmmyyyy", "20010731"},
        {"31082001", "ddmmyyyy", "20010831"},
        {"30092001", "ddmmyyyy", "20010930"},
        {"31092001", "ddmmyyyy", ""},
        {"31102001", "ddmmyyyy", "20011031"},
        {"30112001", "ddmmyyyy", "20011130"},
        {"31112001", "ddmmyyyy", ""},
        {"31122001", "ddmmyyyy", "20011231"},
        {"32122001", "ddmmyyyy", ""},
        {"00000101", "yyyymmdd", ""},
        {"2001-1-01", "yyyy-mm-dd", ""},
        {"2001010", "yyyymmdd", ""},
        {"200101011", "yyyymmdd", ""},
        {"17-Xyz-1998", "dd-mmm-yyyy", ""},
        {"17-Junk-1998", "dd-mmm-yyyy", ""},
        {"199805", "yyyymm", ""},
        {"1998051717", "yyyymmdddd", ""},
        {"1998051718", "yyyymmdd dd", ""},
        {"-1980517", "yyyymmdd", ""},
        {"", "", ""},
        {nullptr, "yyyymmdd", ""},
        {"19980517", nullptr, ""},
    };
    Expect_Fit<Date, OrisWare_Date>(
        cases, {&Make_Oris_Date, &Oris_Date_Postproc, &Date_2_DICOM, &OrisWare_Date::date_str});
}

TEST(Values, TimesFitTheirTemplateOrLeaveTheRecordUnset)
{
    const std::vector<Template_Case> cases = {
        {"123456.789012", "hhmmss.ffffff", "123456.789"},
        {"123456.7", "hhmmss.ffffff", "123456.700"},
        {"123456", "hhmmss.ffffff", "123456"},
        {"1234", "hhmmss.ffffff", "123400"},
        {"12", "hhmmss.ffffff", "120000"},
        {"12:34:56.25", "hh:mm:ss.ffff", "123456.250"},
        {"12.34.56.25", "hh:mm:ss.ffff", "123456.250"},
        {"12:34 ", "hh:mm:ss.ffff", "123400"},
        {"56s 34 12h", "SSs MM HHh", ""},
        {"56/34/12", "ss/mm/hh", "123456"},
        {"235960", "hhmmss", "235960"},
        {"235960.9999999999", "hhmmss.ffffffffff", "235960.999"},
        {"235959.9999999999", "hhmmss.ffffffffff", "235959.999"},
        {"105558.9999", "hhmmss.ffff", "105559"},
        {"235961", "hhmmss", ""},
        {"240000", "hhmmss", ""},
        {"126000", "hhmmss", ""},
        {"12:", "hh:mm:ss", ""},
        {"123", "hhmmss", ""},
        {"123456.", "hhmmss.ff", ""},
        {"123456.789", "hhmmss.ff", ""},
        {"56", "ss/mm/hh", ""},
        {"12 30", "hh ss mm", ""},
        {"", "hhmmss", ""},
        {nullptr, "hhmmss", ""},
        {"123456", nullptr, ""},
    };
    Expect_Fit<Time, OrisWare_Time>(
        cases, {&Make_Oris_Time, &Oris_Time_Postproc, &Time_2_DICOM, &OrisWare_Time::time_str});
}

TEST(Values, NumbersAreCheckedAndGivenBack)
{
    Date date;
    unsigned short year = 0;
    unsigned short month = 0;
    unsigned short day = 0;
    EXPECT_EQ(Make_Oris_Date(&date, 2024, 2, 29), 1);
    EXPECT_EQ(Get_Oris_Date(&date, &year, &month, &day), 1);
    EXPECT_THAT((std::array{year, month, day}), testing::ElementsAre(2024, 2, 29));
    date.month = 13;
    EXPECT_EQ(Get_Oris_Date(&date, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(Make_Oris_Date(&date, 2024, 258, 1), 0);
    EXPECT_EQ(date.state, Oris_State_Unset);

    Time time;
    unsigned short hour = 0;
    unsigned short minute = 0;
    float seconds = 0;
    EXPECT_EQ(Make_Oris_Time(&time, 10, 5, 7.25F), 1);
    EXPECT_EQ(Get_Oris_Time(&time, &hour, &minute, &seconds), 1);
    EXPECT_EQ(hour * 100 + minute, 1005);
    EXPECT_EQ(seconds, 7.25F);
    for (const float refused : {-0.5F, 61.0F, std::numeric_limits<float>::quiet_NaN()}) {
        EXPECT_EQ(Make_Oris_Time(&time, 10, 5, refused), 0) << refused;
    }
    EXPECT_EQ(Make_Oris_Time(&time, 65533, 0, 0), 0);
    EXPECT_EQ(Get_Oris_Time(&time, &hour, &minute, &seconds), 0);
}

TEST(Values, PeopleReadDatesAndTimesByTheApplicationsTemplates)
{
    struct {
        const char* date_template;
        const char* date;
        const char* time_template;
        const char* time;
    } const cases[] = {
        {nullptr, "1998-05-07", nullptr, "12:34:56.789"},
        {"dd. mmm yy", "07. May 98", "hh:mm", "12:34"},
        {"mmmm DD, yyyy", "May 07, 1998", "hh:mm:ss", "12:34:56"},
        {"mm/yyyy (yyyy)", "05/1998 (1998)", "ss.f", "56.8"},
        {"mmmmm", "1998-05-07", "hhh", "12:34:56.789"},
        {"", "1998-05-07", "hh:mm:ss.ffffffff", "12:34:56.78900100"},
    };
    const Date date("980507");
    const Time time("123456.789001");
    for (const auto& item : cases) {
        std::string date_template = item.date_template == nullptr ? "" : item.date_template;
        std::string time_template = item.time_template == nullptr ? "" : item.time_template;
        Oris_Date_Template = item.date_template == nullptr ? nullptr : date_template.data();
        Oris_Time_Template = item.time_template == nullptr ? nullptr : time_template.data();
        EXPECT_STREQ(Date_2_Str(&date), item.date);
        EXPECT_STREQ(Time_2_Str(&time), item.time);
        EXPECT_STREQ(Date_2_Str(&date, "yyyy"), "1998");
        EXPECT_STREQ(Time_2_Str(&time, "hh.mm"), "12.34");
    }
    Oris_Date_Template = nullptr;
    Oris_Time_Template = nullptr;
    const Time whole("12:34");
    EXPECT_STREQ(Time_2_Str(&whole), "12:34:00");
    EXPECT_STREQ(Date_2_Str(nullptr), "");
    EXPECT_STREQ(Time_2_Str(nullptr), "");
}

TEST(Values, NamesGoFromAndToTheirForms)
{
    struct {
        const char* text;
        const char* dicom;
        const char* people;
    } const cases[] = {
        {"Doe^John^Q^Dr.^MD", "Doe^John^Q^Dr.^MD", "Dr. John Q Doe, MD"},
        {"Doe^John^^^", "Doe^John", "John Doe"},
        {"Doe^^^^Jr^dropped", "Doe^^^^Jr", "Doe, Jr"},
        {" Doe ^ John ", "Doe^John", "John Doe"},
        {"^^^^MD", "^^^^MD", "MD"},
        {"Yamada^Tarou=Y^T=y^t", "Yamada^Tarou", "Tarou Yamada"},
        {"=Y^T=y^t", "Y^T", "T Y"},
        {"D\xF6"
         "e^\001\033$B^",
         "D\xF6"
         "e^\001\033$B",
         "\001\033$B D\xF6"
         "e"},
        {"^ ^", "", ""},
        {"==", "", ""},
        {"", "", ""},
        {nullptr, "", ""},
    };
    for (const auto& item : cases) {
        SCOPED_TRACE(testing::Message() << item.text);
        Name name("earlier");
        EXPECT_EQ(Name_From_DICOM(&name, item.text), *item.dicom != '\0');
        EXPECT_EQ(name.defined, *item.dicom != '\0');
        EXPECT_STREQ(Name_2_DICOM(&name), item.dicom);
        EXPECT_STREQ(Name_2_Str(&name), item.people);
    }
}

TEST(Values, NamesAreMadeOfCopiesOfTheirComponents)
{
    Name name;
    EXPECT_EQ(Make_Oris_Name(&name, "Doe", nullptr, "", "Dr.", nullptr), 1);
    EXPECT_EQ(name.given, nullptr);
    EXPECT_STREQ(Name_2_DICOM(&name), "Doe^^^Dr.");

    // The arguments may be the record's own earlier strings.
    EXPECT_EQ(Make_Oris_Name(&name, name.prefix, name.family, " ", nullptr, nullptr), 1);
    EXPECT_STREQ(Name_2_DICOM(&name), "Dr.^Doe^ ");
    EXPECT_EQ(Oris_Name_Postproc(&name), 1);
    EXPECT_STREQ(Name_2_DICOM(&name), "Dr.^Doe");
    EXPECT_EQ(name.middle, nullptr);

    const std::string blanks(100000, ' ');
    EXPECT_EQ(Make_Oris_Name(&name, blanks.c_str(), nullptr, nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(Oris_Name_Postproc(&name), 0);
    EXPECT_EQ(name.defined, 0);
}

int Sign(int number)
{
    return (number > 0) - (number < 0);
}

TEST(Values, ComparisonOrdersAndPutsUnsetLast)
{
    struct {
        const char* first;
        const char* second;
        int order;
    } const names[] = {
        {"Doe^John", "doe^Zoe", -1}, {"Doe^John", "doe^John", -1},
        {"Doe", "Doe^John", -1},     {"Do^Zoe", "Doe^A", -1},
        {"Doe^John", "Doe^John", 0}, {"Doe", "", -1},
        {"Z", "\xC4", -1},           {"", "", 0},
    };
    for (const auto& item : names) {
        const Name first(item.first);
        const Name second(item.second);
        EXPECT_EQ(Sign(Oris_Name_Cmp(&first, &second)), item.order) << item.first;
        EXPECT_EQ(Sign(Oris_Name_Cmp(&second, &first)), -item.order) << item.first;
    }
    struct {
        const char* first_date;
        const char* second_date;
        const char* first_time;
        const char* second_time;
        int order;
    } const moments[] = {
        {"19991231", "20000101", "095959", "100000", -1},
        {"2000.01.01", "20000101", "10:00", "100000.0", 0},
        {"20000101", "20000102", "100000.25", "100000.5", -1},
        {"99991231", "", "235960", "", -1},
        {"", "", "", "", 0},
    };
    for (const auto& item : moments) {
        const Date first(item.first_date);
        const Date second(item.second_date);
        EXPECT_EQ(Sign(Oris_Date_Cmp(&first, &second)), item.order) << item.first_date;
        EXPECT_EQ(Sign(Oris_Date_Cmp(&second, &first)), -item.order) << item.first_date;
        const Time early(item.first_time);
        const Time late(item.second_time);
        EXPECT_EQ(Sign(Oris_Time_Cmp(&early, &late)), item.order) << item.first_time;
        EXPECT_EQ(Sign(Oris_Time_Cmp(&late, &early)), -item.order) << item.first_time;
    }
    EXPECT_EQ(Oris_Name_Cmp(nullptr, nullptr), 0);
}

TEST(Values, CopiesAreIndependentAndSwapsExchange)
{
    Name name("Doe^John");
    Name other_name("earlier");
    EXPECT_EQ(Name_Copy(&other_name, &name), 1);
    EXPECT_EQ(Name_Copy(&name, &name), 1);
    Name_Free(&name);
    Name_Swap(&name, &other_name);
    EXPECT_STREQ(Name_2_DICOM(&name), "Doe^John");
    EXPECT_EQ(other_name.defined, 0);

    Date date;
    Date other_date("20000101");
    EXPECT_EQ(Make_Oris_Date(&date, "17-May-1998", "dd-mmm-yyyy"), 1);
    EXPECT_EQ(Date_Copy(&other_date, &date), 1);
    EXPECT_EQ(Date_Copy(&date, &date), 1);
    Date_Free(&date);
    Date_Swap(&date, &other_date);
    EXPECT_STREQ(date.date_str, "17-May-1998");
    EXPECT_EQ(other_date.state, Oris_State_Unset);

    Time time;
    Time other_time("101010");
    EXPECT_EQ(Make_Oris_Time(&time, "12:34", "hh:mm"), 1);
    EXPECT_EQ(Time_Copy(&other_time, &time), 1);
    EXPECT_EQ(Time_Copy(&time, nullptr), 1);
    Time_Swap(&time, &other_time);
    EXPECT_STREQ(Time_2_DICOM(&time), "123400");
    EXPECT_EQ(other_time.state, Oris_State_Unset);
}

TEST(Values, SixteenFormattedTextsAreKept)
{
    std::vector<const char*> texts;
    for (unsigned short day = 1; day <= 16; ++day) {
        Date date;
        Make_Oris_Date(&date, 2000, 1, day);
        texts.push_back(Date_2_Str(&date, "dd"));
    }
    EXPECT_STREQ(texts.front(), "01");
    EXPECT_STREQ(texts.back(), "16");
    const std::string family(100000, 'x');
    const Name name(family.c_str());
    EXPECT_EQ(Name_2_Str(&name), family);
    DICOM_Lib_Cleanup();
    EXPECT_EQ(Name_2_Str(&name), family);
}

TEST(Values, MonthsHaveNamesAndNumbers)
{
    struct {
        const char* text;
        int month;
    } const cases[] = {{"jan", 1},   {"MAY", 5},   {" August ", 8}, {"12", 12}, {"7", 7},
                       {"07", 7},    {"0", 0},     {"13", 0},       {"007", 0}, {"Ma", 0},
                       {"Janua", 0}, {"Marsh", 0}, {"", 0},         {"+1", 0},  {nullptr, 0}};
    for (const auto& item : cases) {
        EXPECT_EQ(Get_Month_From_Str(item.text), item.month) << item.text;
    }
    for (int month = 1; month <= 12; ++month) {
        EXPECT_EQ(Get_Month_From_Str(Get_Month_From_Number(month)), month);
    }
    EXPECT_EQ(Get_Month_From_Number(0), nullptr);
    EXPECT_EQ(Get_Month_From_Number(13), nullptr);
}

std::string Local_Time()
{
    const std::time_t now = std::time(nullptr);
    char text[32] = "";
    std::strftime(text, sizeof text, "%Y%m%d%H%M%S", std::localtime(&now));
    return text;
}

TEST(Values, NowIsTheLocalTime)
{
    const std::string before = Local_Time();
    Date date;
    Time time;
    ASSERT_EQ(Get_Oris_Now(&date, &time), 1);
    EXPECT_EQ(Get_Oris_Now(nullptr, nullptr), 1);
    const std::string now = std::string(Date_2_DICOM(&date)) + Time_2_Str(&time, "hhmmss");
    EXPECT_LE(before, now);
    EXPECT_LE(now, Local_Time());
}

}  // namespace
