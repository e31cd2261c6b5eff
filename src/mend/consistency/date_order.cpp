// Dates that come one after the other: nobody is examined before birth, and a series is part of a study
// that has begun.
#include "mend/consistency/rules.h"
#include "mend/healing/dates.h"

#include <algorithm>
#include <array>

namespace lib_mend {

namespace {

constexpr Tag Birth = {0x0010, 0x0030};
constexpr Tag Study = {0x0008, 0x0020};
constexpr Tag Series = {0x0008, 0x0021};
constexpr Tag Acquisition = {0x0008, 0x0022};
constexpr Tag Content = {0x0008, 0x0023};

constexpr std::array Tags = {Birth, Study, Series, Acquisition, Content};

struct Order_Row {
    Tag earlier;
    Tag later;
    Fault fault;
    Level level;
    const char* text;
    const char* clause;
};

/** What is acquired may be older than the study that uses it: a film, or an image of another study. */
constexpr Order_Row Rows[] = {
    {Birth, Study, Fault::Date_Order, Level::Kept, "is after the date of the study",
     "PS3.3 C.7.1.1"},
    {Birth, Series, Fault::Date_Order, Level::Kept, "is after the date of the series",
     "PS3.3 C.7.1.1"},
    {Birth, Acquisition, Fault::Date_Order, Level::Kept, "is after the date of the acquisition",
     "PS3.3 C.7.1.1"},
    {Birth, Content, Fault::Date_Order, Level::Kept, "is after the date of the content",
     "PS3.3 C.7.1.1"},
    {Study, Series, Fault::Date_Order, Level::Kept, "is before the date of the study",
     "PS3.3 C.7.3.1"},
    {Study, Content, Fault::Date_Order, Level::Kept, "is before the date of the study",
     "PS3.3 C.7.6.1"},
    {Study, Acquisition, Fault::Unlikely, Level::Info, "is before the date of the study",
     "PS3.3 C.7.10.1"},
};

void Check(Subject_Set& subject)
{
    bool is_born_late = false;
    for (const Order_Row& row : Rows) {
        const std::string_view earlier = subject.Top_Text(row.earlier);
        const std::string_view later = subject.Top_Text(row.later);
        // Digits in this form are in the order of the days; nearly all are in order.
        const bool is_wrong = later < earlier && Is_Date(earlier) && Is_Date(later);
        const bool is_birth = row.earlier == Birth;
        if (!is_wrong || (is_birth && is_born_late)) {
            continue;
        }
        is_born_late |= is_birth;
        const Tag told = is_birth ? row.earlier : row.later;
        subject.doubts.push_back({subject.Top(told), row.fault, row.level, row.text, row.clause,
                                  std::string(is_birth ? earlier : later)});
    }
}

}  // namespace

constinit const Rule Date_Rule = {Tags, Check};

}  // namespace lib_mend
