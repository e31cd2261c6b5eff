// What dicom-mend shows on a terminal.
#include "tools/dicom_mend/terminal.h"

#include <gtest/gtest.h>

namespace {

using namespace dicom_mend;

TEST(Terminal, CutsAtItsColumnsAndShowsMarkup)
{
    struct Case {
        const char* line;
        std::size_t width;
        const char* plain;
    };
    const Case cases[] = {
        {"\001abc\002def", 6, "abcdef"},
        {"\001abc\002defg", 6, "abc..."},
        {"ab\xE5\xB1\xB1\xE7\x94\xB0", 6, "ab\xE5\xB1\xB1\xE7\x94\xB0"},
        {"ab\xE5\xB1\xB1\xE7\x94\xB0", 5, "ab..."},
        {"\xE5\xB1\xB1\xE7\x94\xB0\xE5\xB1\xB1", 5, "\xE5\xB1\xB1..."},
        {"e\xCC\x81"
         "e\xCC\x81",
         2,
         "e\xCC\x81"
         "e\xCC\x81"},
        {"\x1B[2J\xF6\xC2\x9B", 99, "\\x1B[2J\\xF6\\xC2\\x9B"},
    };
    for (const Case& each : cases) {
        const Terminal terminal = {.width = each.width};
        EXPECT_EQ(Rendered(each.line, terminal), each.plain);
    }
    const Terminal coloured = {.is_terminal = true, .colours = true, .width = 4};
    EXPECT_EQ(Rendered("\001a\002bcde", coloured), "\033[36ma\033[39m...\033[0m");
}

}  // namespace
