// Dates and times that come one after the other: nobody is examined before birth, and a series is part
// of a study that has begun.
#include "mend/consistency/rules.h"
#include "mend/healing/dates.h"

#include <algorithm>
#include <array>

namespace lib_mend {

namespace {

/** A date with its time of day, in two elements or in one of VR DT. */
struct Moment_Tags {
    Tag date;
    /** (0000,0000) for none, or for one that stands behind the date. */
    Tag time = {};
};

constexpr Moment_Tags Birth = {{0x0010, 0x0030}};
constexpr Moment_Tags Study = {{0x0008, 0x0020}, {0x0008, 0x0030}};
constexpr Moment_Tags Series = {{0x0008, 0x0021}, {0x0008, 0x0031}};
constexpr Moment_Tags Acquisition = {{0x0008, 0x0022}, {0x0008, 0x0032}};
constexpr Moment_Tags Acquisition_Time = {{0x0008, 0x002A}};
constexpr Moment_Tags Content = {{0x0008, 0x0023}, {0x0008, 0x0033}};

constexpr std::array Tags = {Birth.date,   Study.date,           Study.time,       Series.date,
                             Series.time,  Acquisition.date,     Acquisition.time, Content.date,
                             Content.time, Acquisition_Time.date};

struct Order_Row {
    Moment_Tags earlier;
    Moment_Tags later;
    Level level;
    const char* text;
    const char* clause;
};

constexpr char Before_Study[] = "is before the date of the study";

/** What is acquired may be older than the study that uses it: a film, or an image of another study. */
constexpr Order_Row Rows[] = {
    {Birth, Study, Level::Kept, "is after the date of the study", "PS3.3 C.7.1.1"},
    {Birth, Series, Level::Kept, "is after the date of the series", "PS3.3 C.7.1.1"},
    {Birth, Acquisition, Level::Kept, "is after the date of the acquisition", "PS3.3 C.7.1.1"},
    {Birth, Acquisition_Time, Level::Kept, "is after the date of the acquisition", "PS3.3 C.7.1.1"},
    {Birth, Content, Level::Kept, "is after the date of the content", "PS3.3 C.7.1.1"},
    {Study, Series, Level::Kept, Before_Study, "PS3.3 C.7.3.1"},
    {Study, Content, Level::Kept, Before_Study, "PS3.3 C.7.6.1"},
    {Study, Acquisition, Level::Info, Before_Study, "PS3.3 C.7.10.1"},
    {Study, Acquisition_Time, Level::Info, Before_Study, "PS3.3 C.7.10.1"},
};

struct Moment {
    std::string_view date;
    /** Digits of hours, minutes and seconds, as many as are given. */
    std::string_view time = {};
};

std::string_view Clock_Of(std::string_view text)
{
    const std::string_view clock = text.substr(0, text.find('.'));
    return Is_Clock(clock) ? clock : std::string_view();
}

/** Without a date where there is none, or one whose day depends on a time zone. */
Moment Moment_Of(const Subject_Set& subject, const Moment_Tags& tags)
{
    constexpr std::size_t Digits_Of_Date = 8;
    const std::string_view text = subject.Top_Text(tags.date);
    if (text.find_first_of("+-") != text.npos || !Is_Date(text.substr(0, Digits_Of_Date))) {
        return {};
    }
    const std::string_view rest = text.substr(Digits_Of_Date);
    if (tags.time == Tag{}) {
        return {text.substr(0, Digits_Of_Date), Clock_Of(rest)};
    }
    return rest.empty() ? Moment{text, Clock_Of(subject.Top_Text(tags.time))} : Moment{};
}

/** Digits in this form are in the order of time, as far as both are given. */
bool Is_Before(std::string_view a, std::string_view b)
{
    const std::size_t digits = std::min(a.size(), b.size());
    return a.substr(0, digits) < b.substr(0, digits);
}

void Check(Subject_Set& subject)
{
    bool is_born_late = false;
    for (const Order_Row& row : Rows) {
        const Moment earlier = Moment_Of(subject, row.earlier);
        const Moment later = Moment_Of(subject, row.later);
        const bool is_birth = row.earlier.date == Birth.date;
        const bool is_wrong_day = Is_Before(later.date, earlier.date);
        // The clocks of an archive and of a device that begins within the minute are not the same.
        const bool is_wrong_time =
            later.date == earlier.date && Is_Before(later.time, earlier.time);
        if ((!is_wrong_day && !is_wrong_time) || (is_birth && is_born_late)) {
            continue;
        }
        is_born_late |= is_birth;
        const bool is_unlikely = is_wrong_time || row.level == Level::Info;
        const bool has_time = is_wrong_time && row.later.time != Tag{};
        const Tag told = is_birth ? row.earlier.date : has_time ? row.later.time : row.later.date;
        subject.doubts.push_back(
            {subject.Top(told), is_unlikely ? Fault::Unlikely : Fault::Date_Order,
             is_unlikely ? Level::Info : Level::Kept,
             is_wrong_time ? "is earlier on the day of the study than the study" : row.text,
             row.clause, std::string(subject.Top_Text(told))});
    }
}

}  // namespace

constinit const Rule Date_Rule = {Tags, Check};

}  // namespace lib_mend
