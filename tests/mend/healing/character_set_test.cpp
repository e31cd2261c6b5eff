// Text values in all character sets, in sound and in broken form.
#include "mend/healing/character_set.h"

#include <Lib_DICOM/Lib_DICOM.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace {

using lib_mend::Character_Set;
using namespace std::string_literals;

TEST(Character_Sets, ConvertEveryTermAndKeepWhatIsBroken)
{
    struct Case {
        std::string terms;
        unsigned short vr;
        std::string value;
        std::string expected;
    };
    const Case cases[] = {
        // Single-byte sets.
        {"", VR_LO, "A^B\\C~\xE4", "A^B\\C~\\xE4"},
        {"ISO_IR 6", VR_LO, "\x7F\t\n", "\x7F\t\n"},
        {"ISO_IR 100", VR_PN, "Buc^J\xE9r\xF4me", "Buc^Jérôme"},
        {"ISO_IR 101", VR_LO, "Wa\xB3\xEAsa", "Wałęsa"},
        {"ISO_IR 109", VR_LO, "\xA1u", "Ħu"},
        {"ISO_IR 110", VR_LO, "\xB3", "ŗ"},
        {"ISO_IR 144", VR_PN, "\xBB\xEE\xDA\x63\x65\xDC\xD1yp\xD3", "Люкceмбypг"},
        {"ISO_IR 127", VR_LO, "\xE2\xC8\xC7\xA1", "قبا\\xA1"},
        {"ISO_IR 126", VR_LO, "\xC4\xE9\xEF", "Διο"},
        {"ISO_IR 138", VR_LO, "\xF9\xF8\xE5\xEF", "שרון"},
        {"ISO_IR 148", VR_LO, "\xDE\xFD", "Şı"},
        {"ISO_IR 203", VR_LO, "\xA4", "€"},
        {"ISO_IR 166", VR_LO, "\xA1\xD2", "กา"},
        {"ISO_IR 13", VR_PN, "\xD4\xCF\xC0\xDE^\xC0\xDB\xB3", "ﾔﾏﾀﾞ^ﾀﾛｳ"},
        // Yen stands at the place of the backslash, which separates values where there are any.
        {"ISO_IR 13", VR_LT, "\\~", "¥‾"},
        {"ISO_IR 13", VR_LO, "a\\~", "a\\‾"},
        {"ISO_IR 100", VR_LO, "\x80\x9F\xA0", "\\x80\\x9F\u00A0"},
        // Sets that stand alone; bytes that look like separators are parts of characters.
        {"ISO_IR 192", VR_PN, "Wang=王^小东", "Wang=王^小东"},
        {"ISO_IR 192", VR_LO, "\xC0\xAF\xE2\x82|\xED\xA0\x80\xF0\x9F",
         "\\xC0\\xAF\\xE2\\x82|\\xED\\xA0\\x80\\xF0\\x9F"},
        {"GB18030", VR_PN, "=\xCD\xF5^\xD0\xA1\xB6\xAB", "=王^小东"},
        {"GB18030", VR_LO, "\x81\x5C\\\x95\x32\x82\x36\x95\x32", "乗\\𠀀\\x952"},
        {"GBK", VR_LO, "\xD5\x5C\\\x81\xFF\xD5", "誠\\\\x81\\xFF\\xD5"},
        // Code extensions: the examples of PS3.5 annexes H, I and K, and several G1 sets.
        {"\\ISO 2022 IR 87", VR_PN,
         "Yamada^Tarou=\033$B;3ED\033(B^\033$BB@O:\033(B=\033$B$d$^$@\033(B^\033$B$?$m$&\033(B",
         "Yamada^Tarou=山田^太郎=やまだ^たろう"},
        {"ISO 2022 IR 13\\ISO 2022 IR 87", VR_PN,
         "\xD4\xCF\xC0\xDE^\xC0\xDB\xB3=\033$B;3ED\033(J^\033$BB@O:\033(J", "ﾔﾏﾀﾞ^ﾀﾛｳ=山田^太郎"},
        {"\\ISO 2022 IR 149", VR_PN, "Hong=\033$)C\xFB\xF3^\033$)C\xD1\xCE\xD4\xD7=\033$)C\xC8\xAB",
         "Hong=洪^吉洞=홍"},
        {"\\ISO 2022 IR 58", VR_LO, "\033$)A\xCD\xF5 a\\\033$)A\xD0\xA1", "王 a\\小"},
        {"\\ISO 2022 IR 159", VR_LO, "\033$(D0!\033(B!", "丂!"},
        {"ISO 2022 IR 100\\ISO 2022 IR 144\\ISO 2022 IR 126", VR_LO,
         "\xE9\033-L\xBB\033-F\xC4\\\xE9", "éЛΔ\\é"},
        // The sets of the first term are back behind line ends and separators only.
        {"ISO 2022 IR 100\\ISO 2022 IR 144", VR_LT, "\033-L\xBB\\^\xBB\n\xBB", "Л\\^Л\n»"},
        {"ISO 2022 IR 100\\ISO 2022 IR 144", VR_PN, "\033-L\xBB\\\xBB\033-L^\xBB\033-L=\xBB",
         "Л\\»^»=»"},
        {"\\ISO 2022 IR 87", VR_LT, "\033$B;3\r\n;3\033$B\\\\\\\\", "山\r\n;3樛樛"},
        // Known sequences of undeclared sets; unknown ones.
        {"ISO_IR 100", VR_LO, "\033$B;3\033(B\xE9\033(I6\033)I\xB6\033$@;3", "山éｶｶ山"},
        {"ISO_IR 100", VR_LO, "\033(Z\033", "\\x1B(Z\\x1B"},
        // Halves of characters, and places without one.
        {"\\ISO 2022 IR 87", VR_PN, "\033$B;3;", "山\\x3B"},
        {"\\ISO 2022 IR 87", VR_PN, "\033$B;3^\033(B1", "山^1"},
        {"\\ISO 2022 IR 87", VR_LO, "\033$B)!;3", "\\x29\\x21山"},
        {"\\ISO 2022 IR 149", VR_LO, "\033$)C\xFB^\xFB", "\\xFB^\\xFB"},
        // Terms as equipment writes them, and text without the escape sequences it needs.
        {"iso-ir 100 ", VR_LO, "\xE9", "é"},
        {"ISO_IR_101"s + '\0', VR_LO, "\xEA", "ę"},
        {"ISO IR 144", VR_LO, "\xBB", "Л"},
        {"ISO-8859-1", VR_LO, "\xE9", "é"},
        {"utf-8", VR_LO, "é", "é"},
        {"ISO 2022 GBK", VR_LO, "\xD5\x5C", "誠"},
        {"\\ISO 2022 GB18030", VR_LO, "\xD5\x5C", "誠"},
        {"\\ISO 2022 IR 149", VR_PN, "=\xFB\xF3", "=洪"},
        {"NONE", VR_LO, "\xE9", "\\xE9"},
        // What follows the character set, and what does not.
        {"ISO_IR 192", VR_UN, "é", "é"},
        {"ISO_IR 192", VR_CS, "é\033", "\\xC3\\xA9\\x1B"},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(Character_Set(each.terms).To_UTF_8(each.value, each.vr), each.expected)
            << each.terms;
    }
}

TEST(Character_Sets, SplitAtSeparatorsThatAreCharactersOfTheirOwn)
{
    struct Case {
        std::string terms;
        unsigned short vr;
        char separator;
        std::string value;
        std::vector<std::string> expected;
    };
    const Case cases[] = {
        {"", VR_LO, '\\', "", {""}},
        {"", VR_LO, '\\', "a\\\\b\\", {"a", "", "b", ""}},
        {"", VR_CS, '\\', "A\\B^C", {"A", "B^C"}},
        {"", VR_CS, '^', "A\\B^C", {"A\\B^C"}},
        {"", VR_ST, '\\', "a\\b", {"a\\b"}},
        {"", VR_PN, '^', "A^B=C^D", {"A", "B=C", "D"}},
        {"", VR_PN, '=', "A^B=C^D", {"A^B", "C^D"}},
        // Second bytes that look like separators, also behind a byte that begins no character.
        {"GBK", VR_PN, '^', "\xD5\x5E^\xD5\x5C", {"\xD5\x5E", "\xD5\x5C"}},
        {"GBK", VR_PN, '\\', "\xD5\x5E^\xD5\x5C\\\xFF\\", {"\xD5\x5E^\xD5\x5C", "\xFF", ""}},
        {"GB18030", VR_LO, '\\', "\x81\x5C\\\x95\x32\x82\x36", {"\x81\x5C", "\x95\x32\x82\x36"}},
        {"GB18030", VR_CS, '\\', "\x81\x5C", {"\x81", ""}},
        // A set of two bytes in G0, until the escape sequence or the separator behind it.
        {"\\ISO 2022 IR 87",
         VR_LO,
         '\\',
         "\033$B\\\\\033(B\\\033$B\\\\\033(B",
         {"\033$B\\\\\033(B", "\033$B\\\\\033(B"}},
        {"\\ISO 2022 IR 87", VR_PN, '^', "\033$B;3^\\\\", {"\033$B;3^\\\\"}},
        {"\\ISO 2022 IR 87", VR_PN, '^', "\033$B;3\033(B^\\\\", {"\033$B;3\033(B", "\\\\"}},
        // Sets that the value does not follow, and the place of yen.
        {"\\ISO 2022 IR 87", VR_DS, '\\', "\033$B\\\\1", {"\033$B", "", "1"}},
        {"ISO_IR 13", VR_LO, '\\', "\xB1\\\xB2", {"\xB1", "\xB2"}},
    };
    for (const Case& each : cases) {
        std::vector<std::string> parts;
        for (const std::string_view part :
             Character_Set(each.terms).Split(each.value, each.separator, each.vr)) {
            parts.emplace_back(part);
        }
        EXPECT_EQ(parts, each.expected) << each.terms << " " << each.value;
    }
}

TEST(Character_Sets, CountCharactersAndTellWhichBytesAreNone)
{
    constexpr std::size_t All_Valid = std::string_view::npos;
    struct Case {
        std::string terms;
        unsigned short vr;
        std::string value;
        std::size_t characters;
        std::size_t first_invalid;
    };
    const Case cases[] = {
        {"", VR_LO, "", 0, All_Valid},
        {"", VR_LO, "a\\b\t\x7F", 5, All_Valid},
        {"", VR_LO, "a\x80", 2, 1},
        {"ISO_IR 100", VR_LO, "\xA0\xFF\x9F", 3, 2},
        {"ISO_IR 100", VR_CS, "A\xE4", 2, 1},
        {"ISO_IR 127", VR_LO, "\xE2\xA1", 2, 1},
        {"ISO_IR 13", VR_PN, "\xB1^\\~", 4, All_Valid},
        {"ISO_IR 192", VR_LO, "é\xF4\x8F\xBF\xBF", 2, All_Valid},
        {"ISO_IR 192", VR_LO, "a\xF4\x90\x80\x80", 5, 1},
        {"ISO_IR 192", VR_LO, "\xE0\x9F\xBF", 3, 0},
        {"ISO_IR 192", VR_LO, "\xED\x9F\xBF\xED\xA0\x80", 4, 3},
        {"ISO_IR 192", VR_LO, "\xF0\x8F\xBF\xBF", 4, 0},
        {"GB18030", VR_LO, "\x95\x32\x82\x36\x81", 2, 4},
        {"GBK", VR_LO, "\xD5\x5C\xD5", 2, 2},
        // Escape sequences count nothing, and have to be of a declared set.
        {"\\ISO 2022 IR 87", VR_PN, "A=\033$B;3ED\033(B^B", 6, All_Valid},
        {"\\ISO 2022 IR 87", VR_LO, "\033$@;3\033(B", 1, All_Valid},
        {"\\ISO 2022 IR 87", VR_LO, "\033$(D0!", 1, 0},
        {"\\ISO 2022 IR 87", VR_LO, "a\033$B)!", 2, 4},
        {"ISO 2022 IR 87", VR_LO, "\033$B;3\033(B", 1, All_Valid},
        {"ISO_IR 100", VR_LO, "a\033(B", 1, 1},
        {"ISO_IR 100", VR_LO, "a\033Z", 3, 1},
        {"\\ISO 2022 IR 149", VR_PN, "=\033$)C\xFB\xF3", 2, All_Valid},
        // Characters that an escape sequence was left out for are counted as such.
        {"\\ISO 2022 IR 149", VR_PN, "=\xFB\xF3", 2, 1},
        {"ISO 2022 IR 149", VR_PN, "=\xFB\xF3", 2, All_Valid},
        {"NONE", VR_LO, "\xE9", 1, 0},
    };
    for (const Case& each : cases) {
        const Character_Set characters(each.terms);
        EXPECT_EQ(characters.Count(each.value, each.vr), each.characters) << each.value;
        EXPECT_EQ(characters.First_Invalid(each.value, each.vr), each.first_invalid) << each.value;
    }
}

TEST(Character_Sets, ConvertWithoutLossOrNotAtAll)
{
    struct Case {
        std::string terms;
        unsigned short vr;
        std::string value;
        std::optional<std::string> expected;
    };
    const Case cases[] = {
        {"ISO_IR 100", VR_PN, "J\xE9^\xF4\\a", "Jé^ô\\a"},
        {"ISO_IR 100", VR_LO, "\xE9\x80", std::nullopt},
        {"ISO_IR 13", VR_LT, "\\~\xB1", "¥‾ｱ"},
        {"\\ISO 2022 IR 87", VR_PN, "A=\033$B;3ED\033(B", "A=山田"},
        {"\\ISO 2022 IR 87", VR_PN, "\033$B)!", std::nullopt},
        {"\\ISO 2022 IR 87", VR_PN, "\033Z", std::nullopt},
        {"GB18030", VR_LO, "\x81\x5C\x95\x32\x82\x36", "乗𠀀"},
        {"ISO_IR 192", VR_LO, "é", "é"},
        {"ISO_IR 192", VR_LO, "\xE9", std::nullopt},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(Character_Set(each.terms).To_UTF_8_Without_Loss(each.value, each.vr),
                  each.expected)
            << each.value;
    }
}

}  // namespace
