// Text values in all character sets, in sound and in broken form.
#include "mend/healing/character_set.h"
#include "support/case_page.h"

#include <gtest/gtest.h>

#ifdef _WIN32
#include <windows.h>
#endif

namespace {

using lib_mend::Character_Set;

constexpr char Page[] = "mend/healing/character_set.cases";

/** Calls `test(row)` for the rows of a table whose character set the system has: Wine lacks GB 18030. */
template <class Test>
void For_Each_Known(const char* table, std::size_t columns, Test&& test)
{
    For_Each_Case(Page, table, columns, [&](const Case_Row& row) {
#ifdef _WIN32
        constexpr UINT GB_18030 = 54936;
        const bool is_asked_for = row[0].find("GB18030") != row[0].npos;
        if (is_asked_for && IsValidCodePage(GB_18030) == 0) {
            return;
        }
#endif
        test(row);
    });
}

TEST(Character_Sets, ConvertEveryTermAndKeepWhatIsBroken)
{
    For_Each_Known("converted", 4, [](const Case_Row& row) {
        EXPECT_EQ(Character_Set(row[0]).To_UTF_8(row[2], row.VR(1)), row[3]);
    });
    For_Each_Known("without loss", 4, [](const Case_Row& row) {
        const auto text = Character_Set(row[0]).To_UTF_8_Without_Loss(row[2], row.VR(1));
        EXPECT_EQ(text.value_or("null"), row[3]);
    });
}

TEST(Character_Sets, SplitAtSeparatorsThatAreCharactersOfTheirOwn)
{
    For_Each_Case(Page, "split", 8, [](const Case_Row& row) {
        std::vector<std::string> expected;
        for (std::size_t i = 4; i < row.Size(); ++i) {
            expected.push_back(row[i]);
        }
        std::vector<std::string> parts;
        for (const std::string_view part :
             Character_Set(row[0]).Split(row[3], row[2][0], row.VR(1))) {
            parts.emplace_back(part);
        }
        EXPECT_EQ(parts, expected);
    });
}

TEST(Character_Sets, CountCharactersAndTellWhichBytesAreNone)
{
    For_Each_Known("counted", 5, [](const Case_Row& row) {
        const Character_Set characters(row[0]);
        EXPECT_EQ(characters.Count(row[2], row.VR(1)), static_cast<std::size_t>(row.Number(3)));
        const std::size_t invalid = characters.First_Invalid(row[2], row.VR(1));
        EXPECT_EQ(invalid == row[2].npos ? "-" : std::to_string(invalid), row[4]);
    });
}

}  // namespace
