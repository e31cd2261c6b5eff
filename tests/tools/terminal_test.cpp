// What dicom-mend shows on a terminal.
#include "mend/findings/letters.h"
#include "tools/dicom_mend/terminal.h"

#include <gtest/gtest.h>

namespace {

using namespace dicom_mend;
using lib_mend::Printable;

TEST(Terminal, CutsAtItsColumns)
{
    struct Case {
        const char* text;
        std::size_t width;
        std::size_t columns;
        const char* fitted;
    };
    const Case cases[] = {
        {"abcdef", 6, 6, "abcdef"},
        {"abcdefg", 6, 7, "abc..."},
        {"ab\xE5\xB1\xB1\xE7\x94\xB0", 6, 6, "ab\xE5\xB1\xB1\xE7\x94\xB0"},
        {"ab\xE5\xB1\xB1\xE7\x94\xB0", 5, 6, "ab..."},
        {"\xE5\xB1\xB1\xE7\x94\xB0\xE5\xB1\xB1", 5, 6, "\xE5\xB1\xB1..."},
        {"e\xCC\x81"
         "e\xCC\x81",
         2, 2,
         "e\xCC\x81"
         "e\xCC\x81"},
        {"\033[36ma\033[39mbcd", 4, 4, "\033[36ma\033[39mbcd"},
        {"\033[36ma\033[39mbcde", 4, 5, "\033[36ma\033[39m...\033[0m"},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(Columns_Of(each.text), each.columns) << each.text;
        EXPECT_EQ(Fitted(each.text, each.width), each.fitted);
    }
}

TEST(Terminal, ShowsLettersThatAreNotSeenByTheirCodes)
{
    // The first and the last of each range, and what stands next to them.
    const std::pair<const char*, const char*> cases[] = {
        {"\x7F", "\\x7F"},
        {"\xC2\x9F", "\\xC2\\x9F"},
        {"\xC2\xA0", "\xC2\xA0"},
        {"\xE2\x80\x8A", "\xE2\x80\x8A"},
        {"\xE2\x80\x8B", "\\u{200B}"},
        {"\xE2\x80\x8F", "\\u{200F}"},
        {"\xE2\x80\x90", "\xE2\x80\x90"},
        {"\xE2\x80\xA8", "\\u{2028}"},
        {"\xE2\x80\xAE", "\\u{202E}"},
        {"\xE2\x80\xAF", "\xE2\x80\xAF"},
        {"\xE2\x81\xA6", "\\u{2066}"},
        {"\xE2\x81\xA9", "\\u{2069}"},
        {"\xE2\x81\xB0", "\xE2\x81\xB0"},
        {"\xEF\xBB\xBF", "\\u{FEFF}"},
        {"\xF3\xA0\x80\x80", "\\u{E0000}"},
        {"\xF3\xA0\x81\xBF", "\\u{E007F}"},
        {"\xF3\xA0\x82\x80", "\xF3\xA0\x82\x80"},
    };
    for (const auto& [text, shown] : cases) {
        EXPECT_EQ(Printable(text), shown);
    }
}

}  // namespace
