// What dicom-mend shows on a terminal.
#include "mend/findings/letters.h"
#include "support/case_page.h"
#include "tools/dicom_mend/terminal.h"

#include <gtest/gtest.h>

namespace {

using namespace dicom_mend;
using lib_mend::Printable;

TEST(Terminal, CutsAtItsColumns)
{
    For_Each_Case("tools/terminal.cases", "cut", 4, [](const Case_Row& row) {
        EXPECT_EQ(Columns_Of(row[0]), static_cast<std::size_t>(row.Number(2)));
        EXPECT_EQ(Fitted(row[0], static_cast<std::size_t>(row.Number(1))), row[3]);
    });
}

TEST(Terminal, ShowsLettersThatAreNotSeenByTheirCodes)
{
    For_Each_Case("tools/terminal.cases", "letters", 2,
                  [](const Case_Row& row) { EXPECT_EQ(Printable(row[0]), row[1]); });
}

}  // namespace
