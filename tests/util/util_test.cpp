// Lib_Util: message formatting and delivery, byte order, text helpers.
#include "support/case_page.h"
#include "support/message_log.h"

#include <Lib_Util/Lib_Util.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cerrno>
#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

/** The text that the sink receives for a message. */
template <class Char, class... Args>
std::string Formatted(const Char* format, Args... args)
{
    const Message_Log log;
    EXPECT_EQ(Error_Fct(nullptr, 2, format, args...), 1);
    return log.All().empty() ? "no message" : log.All()[0].text;
}

TEST(Message_Format, NumbersFollowPrintf)
{
    const struct {
        std::string got, expected;
    } cases[] = {
        {Formatted("%04x|%08X|%#o|%-6d|%+i|% d|%u", 0x8, 0xBEEFU, 8, -42, 7, 7, -1),
         "0008|0000BEEF|010|-42   |+7| 7|4294967295"},
        {Formatted("%hhd|%hx|%ld|%lld|%zu|%jd|%td", 0x1FF, 0x12345, -1L, INT64_MIN, SIZE_MAX,
                   std::intmax_t{-5}, std::ptrdiff_t{-6}),
         "-1|2345|-1|-9223372036854775808|18446744073709551615|-5|-6"},
        {Formatted("%*d|%-*d|%*d|%.*d|%.*d", 4, 1, 4, 2, -4, 3, 3, 4, -1, 5),
         "   1|2   |3   |004|5"},
        {Formatted("%.2f|%e|%g|%G|%8.3Lf|%a", 1.005, 1.0, 1e-5, 1e20, 2.5L, 1.0),
         "1.00|1.000000e+00|1e-05|1E+20|   2.500|0x1p+0"},
        {Formatted(L"%5u%%|%x|%.1f", 12U, 0xABCU, 0.25), "   12%|abc|0.2"},
        {Formatted("%p", reinterpret_cast<void*>(0x10)), "0x10"},
    };
    for (const auto& item : cases) {
        EXPECT_EQ(item.got, item.expected);
    }
}

TEST(Message_Format, TextsOfEitherWidth)
{
    const char* const none = nullptr;
    const wchar_t* const wide_none = nullptr;
    const char unterminated[] = {'a', 'b', 'c'};
    const struct {
        std::string got, expected;
    } cases[] = {
        {Formatted("%s %hs %ls", "a", "b", L"\u00e9\u20ac\U0001F600"), "a b é€😀"},
        {Formatted(L"%s %hs %ls \u00fc", L"\u00e9", "b", L"c"), "é b c ü"},
        {Formatted("%c%hc%lc", 'a', 'b', L'\u20ac'), "ab€"},
        {Formatted(L"%c%hc%lc", L'\u20ac', 'b', L'c'), "€bc"},
        {Formatted("%s|%hs|%ls", none, none, wide_none), "(null)|(null)|(null)"},
        {Formatted(L"%s|%hs|%.2ls", wide_none, none, L"\u20ac\u20ac\u20ac"), "(null)|(null)|€€"},
        {Formatted("%5hs|%-5hs|%5.1ls|%-3c|", "ab", "ab", L"\u20acx", 'c'),
         "   ab|ab   |    €|c  |"},
        {Formatted("%.3hs|%.*hs|%.hs", unterminated, 2, unterminated, unterminated), "abc|ab|"},
        {Formatted("VR:%c%c end", 0, 0), "VR:   end"},
        {Formatted(L"%ls", L"\xD83D\xDE00|\xD83D|\xF1"), "😀|\xEF\xBF\xBD|ñ"},
        {Formatted(L"\xF1\x05WARNING:\x02 \xF0"), "\361\005WARNING:\002 \360"},
    };
    for (const auto& item : cases) {
        EXPECT_EQ(item.got, item.expected);
    }
}

TEST(Message_Format, UnknownConversionsEndTheFormatting)
{
    int count = 7;
    EXPECT_EQ(Formatted("%d %n %s", 1, &count), "1 %n %s");
    EXPECT_EQ(count, 7);
    EXPECT_EQ(Formatted(L"%y %d", 1), "%y %d");
    EXPECT_EQ(Formatted("100%"), "100%");
    EXPECT_EQ(Formatted("%-08.3l"), "%-08.3l");
}

TEST(Message_Format, BytesPassWholeInEveryLocale)
{
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
    }
    const std::string saved = std::setlocale(LC_ALL, nullptr);
#ifdef _WIN32
    const std::vector<const char*> locales = {"C"};
#else
    const std::vector<const char*> locales = {"C", "C.UTF-8"};
#endif
    for (const char* const locale : locales) {
        ASSERT_NE(std::setlocale(LC_ALL, locale), nullptr) << locale;
        EXPECT_EQ(Formatted("%hs", bytes.c_str()), bytes) << locale;
        EXPECT_EQ(Formatted(L"%hs%ls", bytes.c_str(), L"\u65e5"), bytes + "日") << locale;
        EXPECT_EQ(Formatted("\351 %.1hs", "\311t"), "\351 \311") << locale;
    }
    std::setlocale(LC_ALL, saved.c_str());

    const std::string huge(1 << 20, '\351');
    EXPECT_EQ(Formatted("<%hs>", huge.c_str()), "<" + huge + ">");
}

TEST(Reporting, FilterAndSink)
{
    const struct {
        unsigned int severity;
        int trace_level;
        int delivered;
    } cases[] = {{0x90002001U, 0, 0}, {0x90002001U, 1, 1}, {0x90002005U, 4, 0},
                 {0x90002009U, 9, 1}, {0x80000001U, 0, 1}, {0, 0, 1},
                 {1, 0, 1},           {2, 0, 1},           {77, 0, 1}};
    for (const auto& item : cases) {
        const Message_Log log(item.trace_level);
        EXPECT_EQ(Error_Fct(nullptr, item.severity, "text"), item.delivered) << item.severity;
        EXPECT_EQ(log.Count("text"), item.delivered) << item.severity;
    }

    const Error_Sink throwing = [](HWND, unsigned int, const char*, void*) {
        throw std::runtime_error("sink");
    };
    EXPECT_EQ(Error_Sink_Set(throwing, nullptr), nullptr);
    EXPECT_EQ(Error_Fct(nullptr, 2, "text"), 0);
    EXPECT_EQ(Error_Sink_Set(nullptr, nullptr), throwing);

    errno = ENOENT;
    testing::internal::CaptureStderr();
    Error_Fct(nullptr, 2, "text");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "text\n");
    EXPECT_EQ(errno, ENOENT) << "callers name the system error in their next message";
    EXPECT_NE(Error_Perror(ENOENT), std::wstring());
}

#ifndef _WIN32
/** What a terminal on standard error receives for a message. */
std::string Shown_On_Terminal(const char* text)
{
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    EXPECT_EQ(grantpt(master) + unlockpt(master), 0);
    const int terminal = open(ptsname(master), O_RDWR | O_NOCTTY);
    const int saved = dup(STDERR_FILENO);
    dup2(terminal, STDERR_FILENO);
    Error_Fct(nullptr, 2, "%hs", text);
    dup2(saved, STDERR_FILENO);
    char shown[512];
    const ssize_t size = read(master, shown, sizeof shown);
    for (const int file : {saved, terminal, master}) {
        close(file);
    }
    return std::string(shown, size < 0 ? 0 : static_cast<std::size_t>(size));
}
#endif

TEST(Reporting, DefaultSinkShowsMarkupAndNoControlBytes)
{
    const char* const text =
        "\361\005W:\002\360 a\tb\033[2J\r\177 \363\240\200\201 \361\200\200\200 "
        "\302\233 \233 \351";
    testing::internal::CaptureStderr();
    Error_Fct(nullptr, 2, "%hs", text);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "W: a\tb\\x1B[2J\\x0D\\x7F \363\240\200\201 \361\200\200\200 \302\233 \233 \351\n");
#ifndef _WIN32
    const char* const plain = "W: a\tb\\x1B[2J\\x0D\\x7F \363\240\200\201 \361\200\200\200 "
                              "\\xC2\\x9B \\x9B \351";
    setenv("NO_COLOR", "1", 1);
    EXPECT_EQ(Shown_On_Terminal(text), plain + std::string("\r\n"));
    unsetenv("NO_COLOR");
    EXPECT_EQ(Shown_On_Terminal("\361\005W:\002\360\033"),
              "\033[1m\033[33mW:\033[39m\033[22m\\x1B\033[0m\r\n");
#endif
}

TEST(Lock, IsRecursiveAndSharedByThreads)
{
    int sum = 0;
    const auto add = [&] {
        for (int i = 0; i < 2000; ++i) {
            Critical_Util_In();
            Critical_Util_In();
            const int read = sum;
            std::this_thread::yield();
            sum = read + 1;
            Critical_Util_Out();
            Critical_Util_Out();
        }
    };
    std::thread other(add);
    add();
    other.join();
    EXPECT_EQ(sum, 4000);
}

TEST(Byte_Order, AccessorsOfEveryWidthAndCode)
{
    const struct {
        unsigned char code;
        std::vector<unsigned char> two, four, eight;
    } cases[] = {
        {0, {2, 1}, {4, 3, 2, 1}, {8, 7, 6, 5, 4, 3, 2, 1}},
        {1, {1, 2}, {1, 2, 3, 4}, {1, 2, 3, 4, 5, 6, 7, 8}},
        {2, {1, 2}, {3, 4, 1, 2}, {7, 8, 5, 6, 3, 4, 1, 2}},
        {3, {2, 1}, {2, 1, 4, 3}, {2, 1, 4, 3, 6, 5, 8, 7}},
        {0xF8, {2, 1}, {4, 3, 2, 1}, {8, 7, 6, 5, 4, 3, 2, 1}},
    };
    const auto real = std::bit_cast<float>(0x01020304);
    const auto large = std::bit_cast<double>(0x0102030405060708);
    const auto expect = [](const unsigned char* bytes, const std::vector<unsigned char>& expected) {
        EXPECT_EQ(std::vector<unsigned char>(bytes, bytes + expected.size()), expected);
    };
    for (const auto& item : cases) {
        SCOPED_TRACE(int{item.code});
        EXPECT_EQ(Get_Short(item.code, item.two.data()), 0x0102);
        EXPECT_EQ(Get_UShort(item.code, item.two.data()), 0x0102);
        EXPECT_EQ(Get_Int(item.code, item.four.data()), 0x01020304);
        EXPECT_EQ(Get_Float(item.code, item.four.data()), real);
        EXPECT_EQ(Get_Double(item.code, item.eight.data()), large);
        expect(Put_Short(item.code, 0x0102), item.two);
        expect(Put_UShort(item.code, 0x0102), item.two);
        expect(Put_Int(item.code, 0x01020304), item.four);
        expect(Put_Float(item.code, real), item.four);
        expect(Put_Double(item.code, large), item.eight);
    }
}

TEST(Text, Tokens)
{
    char text[] = ",,a,;b;";
    EXPECT_STREQ(Str_Strtok(text, ",;"), "a");
    EXPECT_STREQ(Str_Strtok(nullptr, ",;"), "b");
    EXPECT_EQ(Str_Strtok(nullptr, ",;"), nullptr);
    EXPECT_EQ(Str_Strtok(nullptr, ",;"), nullptr) << "the end stays the end";
}

TEST(Text, Match)
{
    For_Each_Case("util/util.cases", "match", 3, [](const Case_Row& row) {
        EXPECT_EQ(Str_Match(row.Text(0), row.Text(1)) != 0, row[2] == "yes");
    });
    std::string stars;
    for (int i = 0; i < 50; ++i) {
        stars += "*a";
    }
    EXPECT_EQ(Str_Match((stars + "b").c_str(), std::string(5000, 'a').c_str()), 0)
        << "and returns within the time limit";
}

TEST(Text, EditsInPlace)
{
    char quotes[] = "\"a\"b\"";
    char spaces[] = "  a b  ";
    char blank[] = "   ";
    char letters[] = "A[Z\311";
    EXPECT_STREQ(Str_Strip_Quotes(quotes), "ab");
    EXPECT_STREQ(Str_Strip_Spaces(spaces), "a b");
    EXPECT_STREQ(Str_Strip_Spaces(blank), "");
    EXPECT_STREQ(Str_To_Lower(letters), "a[z\311");
    EXPECT_EQ(Str_To_Lower(Str_Strip_Spaces(Str_Strip_Quotes(nullptr))), nullptr);
}

TEST(Text, WideCopiesKeepBytesThatAreNotUtf8)
{
    const struct {
        const char* text;
        std::wstring expected;
    } cases[] = {{"a\303\251\342\202\254", L"a\u00e9\u20ac"},
                 {"\360\237\230\200", L"\U0001F600"},
                 {"\351t\303", L"\xDCE9t\xDCC3"},
                 {"\300\257", L"\xDCC0\xDCAF"},            // overlong
                 {"\355\240\200", L"\xDCED\xDCA0\xDC80"},  // surrogate
                 {"\355\262\251", L"\xDCED\xDCB2\xDCA9"},  // what stands for a byte
                 {"\364\220\200\200", L"\xDCF4\xDC90\xDC80\xDC80"},
                 {"", L""}};
    for (const auto& item : cases) {
        wchar_t* const wide = Char_2_Wchar(item.text);
        ASSERT_NE(wide, nullptr);
        EXPECT_EQ(wide, item.expected);
        char* const narrow = Wchar_2_Char(wide);
        EXPECT_STREQ(narrow, item.text);
        std::free(narrow);
        std::free(wide);
    }
    EXPECT_EQ(Char_2_Wchar(nullptr), nullptr);
    EXPECT_EQ(Wchar_2_Char(nullptr), nullptr);
    std::vector<std::wstring> formless = {L"\xD800", L"\xDC7F", L"\xDD00"};
    if constexpr (sizeof(wchar_t) > 2) {
        formless.emplace_back(1, static_cast<wchar_t>(0x110000));
    }
    for (const std::wstring& text : formless) {
        EXPECT_EQ(Wchar_2_Char(text.c_str()), nullptr) << "no text has this form";
    }
    const Message_Log log;
    Error_Fct(nullptr, 0, "%ls", L"\xDCE9\xDD00");
    EXPECT_EQ(log.Text(), "\303\251\357\277\275\n") << "shown as a letter of ISO 8859-1";
}

TEST(Text, Paths)
{
    For_Each_Case("util/util.cases", "paths", 4, [](const Case_Row& row) {
        char directory[32], base[32], extension[32];
        EXPECT_EQ(Get_Generic_Name(row.Text(0), directory, base, extension), base);
        EXPECT_EQ(directory, row[1]);
        EXPECT_EQ(base, row[2]);
        EXPECT_EQ(extension, row[3]);
        EXPECT_EQ(Get_Generic_Name(row.Text(0), nullptr, nullptr, nullptr), row[2]);
    });
}

}  // namespace
