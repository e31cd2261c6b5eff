// Names that are longer than Windows takes in their plain form.
#include "util/windows_names.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace lib_util;

TEST(Windows_Names, LoseAndGetTheirLimit)
{
    const std::pair<std::wstring, std::wstring> cases[] = {
        {L"C:\\a\\b", L"\\\\?\\C:\\a\\b"},
        {L"\\\\server\\share\\a", L"\\\\?\\UNC\\server\\share\\a"},
    };
    for (const auto& [plain, unlimited] : cases) {
        EXPECT_EQ(Without_Limit(plain), unlimited);
        EXPECT_EQ(Without_Limit(unlimited), unlimited);
        EXPECT_EQ(With_Limit(unlimited), plain);
        EXPECT_EQ(With_Limit(plain), plain);
    }
    EXPECT_EQ(Without_Limit(L"\\\\.\\NUL"), L"\\\\.\\NUL");
}

TEST(Windows_Names, AreWholeWhereTheyAreTooLong)
{
    // 238 characters are the most.
    const std::wstring longest = L"C:\\" + std::wstring(235, L'a');
    EXPECT_EQ(Long_Name(longest), longest);
    EXPECT_EQ(Long_Name(longest + L"a"), L"\\\\?\\" + longest + L"a");
    EXPECT_EQ(Long_Name(L"C:/b/../" + longest.substr(3) + L"a"), L"\\\\?\\" + longest + L"a");
    EXPECT_EQ(Long_Name(L"//server/share/" + longest.substr(3)),
              L"\\\\?\\UNC\\server\\share\\" + longest.substr(3));
    EXPECT_EQ(Long_Name(L"\\\\?\\" + longest + L"a"), L"\\\\?\\" + longest + L"a");
    EXPECT_EQ(Long_Name(L"a/b"), L"a/b");
}

}  // namespace
