// What holds for every value, whatever it is: healing is stable, leaves sound values alone, keeps what
// they say, and tells of everything else. Judged by rules written down again from PS3.5 section 6.2.
#include "mend/healing/sound_values.h"
#include "mend/healing/value.h"
#include "mend/reading/header.h"
#include "support/case_page.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <map>
#include <random>
#include <regex>
#include <string>
#include <vector>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

constexpr char Day[] = "(\\d{4}(0[1-9]|1[0-2])(0[1-9]|[12]\\d|3[01]))";
constexpr char Clock[] = "(([01]\\d|2[0-3])([0-5]\\d(([0-5]\\d|60)(\\.\\d{1,6})?)?)?)";

/** One value of each VR without its padding. */
const std::map<unsigned short, std::regex>& Forms()
{
    const std::string offset =
        "(\\+((0\\d|1[0-3])[0-5]\\d|1400)|-(?!0000)((0\\d|1[01])[0-5]\\d|1200))?";
    static const std::map<unsigned short, std::regex> forms = {
        {VR_AE, std::regex("|[ -~]{1,16}")},
        {VR_AS, std::regex("|\\d{3}[DWMY]")},
        {VR_CS, std::regex("[A-Z0-9 _]{0,16}")},
        {VR_DA, std::regex("|"s + Day)},
        {VR_DS, std::regex(" *([+-]?(\\d+\\.?\\d*|\\.\\d+)([Ee][+-]?\\d+)?)? *")},
        {VR_DT, std::regex(" *|(\\d{4}(0[1-9]|1[0-2])?|"s + Day + Clock + "?)" + offset + " *")},
        {VR_IS, std::regex(" *([+-]?\\d+)? *")},
        {VR_LO, std::regex("[^\\x00-\\x1F\\x7F]{0,64}")},
        {VR_SH, std::regex("[^\\x00-\\x1F\\x7F]{0,16}")},
        {VR_LT, std::regex("[^\\x00-\\x08\\x0B\\x0E-\\x1F\\x7F]*")},
        {VR_TM, std::regex(" *|"s + Clock + " *")},
        {VR_UI, std::regex("|(0|[1-9]\\d*)(\\.(0|[1-9]\\d*))*")},
    };
    return forms;
}

std::vector<std::string> Split(const std::string& text, unsigned short vr)
{
    std::vector<std::string> parts(1);
    for (const char letter : text) {
        if (letter == '\\' && vr != VR_LT) {
            parts.emplace_back();
        } else {
            parts.back() += letter;
        }
    }
    return parts;
}

/** The value without the one character that makes its length even. */
std::string Bare(const std::string& value, unsigned short vr)
{
    const char padding = vr == VR_UI ? '\0' : ' ';
    const bool padded = value.size() % 2 == 0 && value.ends_with(padding);
    return padded ? value.substr(0, value.size() - 1) : value;
}

bool Is_Sound(const std::string& value, unsigned short vr)
{
    const std::vector<std::string> parts = Split(Bare(value, vr), vr);
    return std::all_of(parts.begin(), parts.end(), [vr](const std::string& part) {
        const std::size_t longest = vr == VR_DS   ? 16
                                    : vr == VR_IS ? 12
                                    : vr == VR_TM ? 14
                                    : vr == VR_DT ? 26
                                                  : 64;
        const bool blank = part.find_first_not_of(' ') == part.npos;
        return (vr == VR_LT || part.size() <= longest) && std::regex_match(part, Forms().at(vr)) &&
               (vr != VR_AE || !blank || part.empty()) &&
               (vr != VR_IS || blank ||
                std::fabs(std::strtod(part.c_str(), nullptr)) < 2147483648.0);
    });
}

/** Capitals and digits: what no healing takes away but rounding and zeros. */
std::string Letters_Of(const std::string& value)
{
    std::string letters;
    for (const char letter : value) {
        if (letter >= 'a' && letter <= 'z') {
            letters += static_cast<char>(letter - 32);
        } else if ((letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9') ||
                   letter < 0) {
            letters += letter;
        }
    }
    return letters;
}

std::string Without_Padding(std::string value)
{
    value.erase(value.find_last_not_of(" \0"s) + 1);
    return value.substr(std::min(value.find_first_not_of(' '), value.size()));
}

/** Tells whether numbers differ by no more than 16 characters make them. */
bool Is_Near(const std::string& before, const std::string& after)
{
    constexpr double Nine_Digits = 1e-9;
    std::string point = before;
    std::replace(point.begin(), point.end(), ',', '.');
    std::replace(point.begin(), point.end(), 'D', 'E');
    const double a = std::strtod(point.c_str(), nullptr);
    const double b = std::strtod(after.c_str(), nullptr);
    return a == b || std::fabs(a - b) <= Nine_Digits * std::fabs(a);
}

/** Tells whether clocks differ by no more than the rounding of microseconds. */
bool Is_Near_In_Time(const std::string& before, const std::string& after, unsigned short vr)
{
    const std::size_t seconds = vr == VR_TM ? 6 : 14;
    const auto digits = [](const std::string& text) {
        std::string found;
        std::copy_if(text.begin(), text.end(), std::back_inserter(found),
                     [](char letter) { return letter >= '0' && letter <= '9'; });
        return found;
    };
    const std::string a = digits(before);
    const std::string b = digits(after);
    return b.starts_with(a) ||
           (a.size() > seconds && b.size() > seconds &&
            std::fabs(std::stod(a.substr(0, seconds)) - std::stod(b.substr(0, seconds))) <= 1);
}

bool Part_Means_The_Same(const std::string& before, const std::string& after, unsigned short vr)
{
    if (Letters_Of(before) == Letters_Of(after)) {
        return true;
    }
    switch (vr) {
    case VR_DS:
    case VR_IS:
        return Is_Near(before, after);
    case VR_AS:
        return std::strtod(before.c_str(), nullptr) == std::strtod(after.c_str(), nullptr);
    case VR_TM:
    case VR_DT:
        return Is_Near_In_Time(before, after, vr);
    default:
        return false;
    }
}

bool Means_The_Same(const std::string& before, const std::string& after, unsigned short vr)
{
    const std::vector<std::string> old_parts = Split(before, vr);
    const std::vector<std::string> new_parts = Split(after, vr);
    bool same = old_parts.size() == new_parts.size();
    for (std::size_t i = 0; same && i < old_parts.size(); ++i) {
        same = Part_Means_The_Same(old_parts[i], new_parts[i], vr);
    }
    return same;
}

std::vector<std::string> Rows_Of(const std::string& table)
{
    std::vector<std::string> texts;
    For_Each_Case("mend/healing/value_properties.cases", table, 1,
                  [&](const Case_Row& row) { texts.push_back(row[0]); });
    return texts;
}

/** A value put together from pieces that are in values, and in broken ones. */
class Generator {
public:
    std::string Next()
    {
        std::string value;
        for (auto count = random_() % 5; count > 0; --count) {
            value += pieces_[random_() % pieces_.size()];
        }
        constexpr unsigned int One_In = 4;
        if (random_() % One_In == 0) {
            value += random_() % 2 == 0 ? " " : "\0"s;
        }
        return value;
    }

private:
    std::vector<std::string> pieces_ = Rows_Of("pieces");
    std::mt19937 random_{20240102};
};

TEST(Every_Value, KeepsWhatItSays)
{
    constexpr int Values_Of_A_VR = 4000;
    const Character_Set characters("ISO_IR 100");
    Generator generator;
    for (const auto& [vr, form] : Forms()) {
        int sound = 0;
        int healed = 0;
        for (int i = 0; i < Values_Of_A_VR; ++i) {
            const std::string before = generator.Next();
            SCOPED_TRACE(testing::PrintToString(before) + " of " + static_cast<char>(vr >> 8) +
                         static_cast<char>(vr & 0xFF));
            const Healed_Value once = Heal_Value({before, vr, characters});
            const Healed_Value twice = Heal_Value({once.bytes, vr, characters});
            ASSERT_EQ(twice.bytes, once.bytes);
            ASSERT_FALSE(Has_Level(twice.notes, Level::Change));
            ASSERT_EQ(once.bytes.size() % 2, 0U);
            ASSERT_EQ(once.notes.empty(), once.bytes == before && Is_Sound(before, vr))
                << (once.notes.empty() ? "" : once.notes.front().text);
            if (before.size() % 2 == 0 && Is_Sound(before, vr)) {
                ASSERT_EQ(once.bytes, before);
                ++sound;
            }
            ASSERT_TRUE(Means_The_Same(Without_Padding(before), Without_Padding(once.bytes), vr))
                << testing::PrintToString(once.bytes);
            // A change leads to a sound value, unless another fault stays.
            if (!Has_Level(once.notes, Level::Kept)) {
                ASSERT_TRUE(Is_Sound(once.bytes, vr)) << testing::PrintToString(once.bytes);
                healed += once.bytes != before ? 1 : 0;
            }
        }
        EXPECT_GT(sound, Values_Of_A_VR / 100);
        EXPECT_GT(healed, Values_Of_A_VR / 100);
    }
}

/** Values in plain letters are told to be sound at a glance, those in another repertoire are not. */
TEST(Every_Value, IsJudgedAlikeAtAGlanceAndByItsRule)
{
    const std::vector<std::string> tokens = Rows_Of("tokens");
    const Character_Set plain("");
    const Character_Set other("ISO_IR 13");
    int sound = 0;
    for (const unsigned short vr :
         {VR_AE, VR_AS, VR_CS, VR_DA, VR_DS, VR_IS, VR_PN, VR_TM, VR_UI}) {
        for (const std::string& first : tokens) {
            for (const std::string& second : tokens) {
                for (const std::string& third : tokens) {
                    const std::string bytes = first + second + third;
                    const Healed_Value quick = Heal_Value({bytes, vr, plain});
                    const Healed_Value slow = Heal_Value({bytes, vr, other});
                    sound += Count_Sound_Values({bytes, vr, plain}) > 0 ? 1 : 0;
                    ASSERT_EQ(Count_Sound_Values({bytes, vr, other}), 0U);
                    ASSERT_TRUE(quick.bytes == slow.bytes && quick.notes == slow.notes &&
                                quick.count == slow.count)
                        << VR_Text(vr) << " " << testing::PrintToString(bytes);
                }
            }
        }
    }
    EXPECT_GT(sound, 1000);
}

}  // namespace
