// Person names, dates and times of day.
#include "support/case_page.h"

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

constexpr char Page[] = "dicom/values/values.cases";

template <class Value, class Record>
void Expect_Fit(const std::string& table, const Calls<Record>& calls)
{
    For_Each_Case(Page, table, 3, [&](const Case_Row& row) {
        Value value("010203");
        const bool fits = !row[2].empty();
        EXPECT_EQ(calls.make(&value, row.Text(0), row.Text(1)), fits);
        EXPECT_EQ(value.state, fits ? Oris_State_Text : Oris_State_Unset);
        EXPECT_STREQ(value.*calls.text, fits ? row.Text(0) : nullptr);
        EXPECT_STREQ(calls.to_dicom(&value), row.Text(2));
        EXPECT_EQ(calls.settle(&value), fits);
        EXPECT_EQ(value.state, fits ? Oris_State_Numeric : Oris_State_Unset);
        EXPECT_EQ(value.*calls.text, nullptr);
        EXPECT_STREQ(calls.to_dicom(&value), row.Text(2));
    });
}

TEST(Values, DatesAndTimesFitTheirTemplateOrLeaveTheRecordUnset)
{
    Expect_Fit<Date, OrisWare_Date>(
        "dates", {&Make_Oris_Date, &Oris_Date_Postproc, &Date_2_DICOM, &OrisWare_Date::date_str});
    Expect_Fit<Time, OrisWare_Time>(
        "times", {&Make_Oris_Time, &Oris_Time_Postproc, &Time_2_DICOM, &OrisWare_Time::time_str});
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
    const Date date("980507");
    const Time time("123456.789001");
    For_Each_Case(Page, "templates", 4, [&](const Case_Row& row) {
        Oris_Date_Template = const_cast<char*>(row.Text(0));
        Oris_Time_Template = const_cast<char*>(row.Text(2));
        EXPECT_EQ(Date_2_Str(&date), row[1]);
        EXPECT_EQ(Time_2_Str(&time), row[3]);
        EXPECT_STREQ(Date_2_Str(&date, "yyyy"), "1998");
        EXPECT_STREQ(Time_2_Str(&time, "hh.mm"), "12.34");
    });
    Oris_Date_Template = nullptr;
    Oris_Time_Template = nullptr;
    const Time whole("12:34");
    EXPECT_STREQ(Time_2_Str(&whole), "12:34:00");
    EXPECT_STREQ(Date_2_Str(nullptr), "");
    EXPECT_STREQ(Time_2_Str(nullptr), "");
}

TEST(Values, NamesGoFromAndToTheirForms)
{
    For_Each_Case(Page, "names", 3, [](const Case_Row& row) {
        Name name("earlier");
        EXPECT_EQ(Name_From_DICOM(&name, row.Text(0)), !row[1].empty());
        EXPECT_EQ(name.defined, !row[1].empty());
        EXPECT_EQ(Name_2_DICOM(&name), row[1]);
        EXPECT_EQ(Name_2_Str(&name), row[2]);
    });
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

template <class Value, class Record>
void Expect_Order(const Case_Row& row, int (*compare)(const Record*, const Record*))
{
    const Value first(row.Text(0));
    const Value second(row.Text(1));
    EXPECT_EQ(Sign(compare(&first, &second)), row.Number(2));
    EXPECT_EQ(Sign(compare(&second, &first)), -row.Number(2));
}

TEST(Values, ComparisonOrdersAndPutsUnsetLast)
{
    For_Each_Case(Page, "order of names", 3, [](const Case_Row& row) {
        Expect_Order<Name, OrisWare_Name>(row, &Oris_Name_Cmp);
    });
    For_Each_Case(Page, "order of dates", 3, [](const Case_Row& row) {
        Expect_Order<Date, OrisWare_Date>(row, &Oris_Date_Cmp);
    });
    For_Each_Case(Page, "order of times", 3, [](const Case_Row& row) {
        Expect_Order<Time, OrisWare_Time>(row, &Oris_Time_Cmp);
    });
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
    For_Each_Case(Page, "months", 2, [](const Case_Row& row) {
        EXPECT_EQ(Get_Month_From_Str(row.Text(0)), row.Number(1));
    });
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
