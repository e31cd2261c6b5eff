// Single values of every VR: what becomes of them, and what is said.
#include "mend/findings/faults.h"
#include "mend/healing/forms.h"
#include "mend/healing/sha256.h"
#include "mend/healing/value.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

struct Case {
    unsigned short vr;
    std::string before;
    std::string after;
    /** "change KIND: TEXT" or "kept KIND: TEXT", one a line; empty for a sound value. */
    std::string said;
    const char* terms = "";
};

std::string Said(const Notes& notes)
{
    std::string said;
    for (const Note& note : notes) {
        Finding finding;
        finding.fault = note.fault;
        said += (said.empty() ? "" : "\n") +
                std::string(note.level == Level::Change ? "change " : "kept ") +
                Kind_Of(finding).name + ": " + note.text;
    }
    return said;
}

/** Heals each value, and what came out of it again: only what is kept is said twice. */
void Expect_Healed(const std::vector<Case>& cases)
{
    for (const Case& each : cases) {
        const std::string vr = {static_cast<char>(each.vr >> 8), static_cast<char>(each.vr)};
        SCOPED_TRACE(vr + " \"" + each.before + "\"");
        const Character_Set characters(each.terms);
        const Healed_Value once = Heal_Value({each.before, each.vr, characters});
        EXPECT_EQ(once.bytes, each.after);
        EXPECT_EQ(Said(once.notes), each.said);
        const Healed_Value twice = Heal_Value({once.bytes, each.vr, characters});
        EXPECT_EQ(twice.bytes, once.bytes);
        EXPECT_FALSE(Has_Level(twice.notes, Level::Change)) << Said(twice.notes);
        for (const Note& note : twice.notes) {
            EXPECT_NE(std::find(once.notes.begin(), once.notes.end(), note), once.notes.end())
                << note.text;
        }
    }
}

constexpr char Padding_Said[] = "change padding: wrong padding, put right";
constexpr char Odd_Said[] = "change odd-length: odd length, padded to an even one";
constexpr char Long_Said[] = "kept length: longer than its VR allows";
constexpr char Control_Said[] = "kept control-characters: control characters";

TEST(Dates, BecomeDigitsWhereTheDayIsCertain)
{
    const std::string separated = "change old-syntax: date in another form";
    const std::string none = "kept date: no date that there is";
    Expect_Healed({
        {VR_DA, "", "", ""},
        {VR_DA, "19980517", "19980517", ""},
        {VR_DA, "20240229", "20240229", ""},
        {VR_DA, "20000229\\00010101 ", "20000229\\00010101 ", ""},
        {VR_DA, "20000229\\00010101", "20000229\\00010101 ", Odd_Said},
        {VR_DA, "\\20000229", "\\20000229 ", Odd_Said},
        {VR_DA, "1998.05.17", "19980517", separated},
        {VR_DA, "2024-01-02", "20240102", separated},
        {VR_DA, "2024/12/31", "20241231", separated},
        {VR_DA, "2024-01/02", "2024-01/02", none},
        {VR_DA, "2024.13.01", "2024.13.01", none},
        {VR_DA, "19230229", "19230229", none},
        {VR_DA, "19000229", "19000229", none},
        {VR_DA, "20240431", "20240431", none},
        {VR_DA, "20241301", "20241301", none},
        {VR_DA, "20240100", "20240100", none},
        {VR_DA, "00000000", "00000000", none},
        {VR_DA, "000000", "000000", none},
        {VR_DA, "980517", "980517", none},
        {VR_DA, "202401", "202401", none},
        {VR_DA, "11.11.11", "11.11.11", none},
        {VR_DA, "1990/01/", "1990/01/", none},
        {VR_DA, "19790101-20300101", "19790101-20300101 ",
         "kept date: range of dates, which belongs in a query\n"s + Odd_Said},
        {VR_DA, "-20300101 ", "-20300101 ", "kept date: range of dates, which belongs in a query"},
        {VR_DA, "20240102  ", "20240102", Padding_Said},
        {VR_DA, " 20240102 ", "20240102", Padding_Said},
        {VR_DA, "20240102\0\0"s, "20240102", Padding_Said},
        {VR_DA, "        ", "", Padding_Said},
        {VR_DA,
         "2024\0"
         "0102 "s,
         "2024\0"
         "0102 "s,
         Control_Said},
    });
}

TEST(Times, BecomeDigitsWhereTheSecondIsCertain)
{
    const std::string separated = "change old-syntax: time in another form";
    const std::string rounded = "change length: fraction of a second is rounded to six digits";
    const std::string none = "kept date: no time that there is";
    Expect_Healed({
        {VR_TM, "10", "10", ""},
        {VR_TM, "1011", "1011", ""},
        {VR_TM, "235960", "235960", ""},
        {VR_TM, "101112.1  ", "101112.1  ", ""},
        {VR_TM, "101112.123456 ", "101112.123456 ", ""},
        {VR_TM, " 1011 ", "1011  ", Padding_Said},
        {VR_TM, "1011            ", "1011", Padding_Said},
        {VR_TM, "10:11:12", "101112", separated},
        {VR_TM, "10:11 ", "1011", separated},
        {VR_TM, "10.11.12", "101112", separated},
        {VR_TM, "10:11:12.25 ", "101112.25 ", separated},
        {VR_TM, "10.11.12.25 ", "101112.25 ", separated},
        {VR_TM, "120102. ", "120102", separated},
        {VR_TM, "120102.1234567", "120102.123457 ", rounded},
        {VR_TM, "120102.1234564", "120102.123456 ", rounded},
        {VR_TM, "120102.9999995", "120103.000000 ", rounded},
        {VR_TM, "120109.9999995", "120110.000000 ", rounded},
        {VR_TM, "120158.9999996", "120159.000000 ", rounded},
        {VR_TM, "120159.9999996", "120159.9999996", none},
        {VR_TM, "10:11:12.1234567", "101112.123457 ", rounded},
        {VR_TM, "10.11.12:13 ", "10.11.12:13 ", none},
        {VR_TM, "10:11.12", "10:11.12", none},
        {VR_TM, "10.11 ", "10.11 ", none},
        {VR_TM, "12.5", "12.5", none},
        {VR_TM, " 12.5 ", " 12.5 ", none},
        {VR_TM, "1012.5", "1012.5", none},
        {VR_TM, "240000", "240000", none},
        {VR_TM, "250000", "250000", none},
        {VR_TM, "256100", "256100", none},
        {VR_TM, "126000", "126000", none},
        {VR_TM, "125961", "125961", none},
        {VR_TM, "101", "101 ", none + "\n" + Odd_Said},
        {VR_TM, "120102+0100 ", "120102+0100 ", none},
        {VR_TM, "01:02 PM", "01:02 PM", none},
        {VR_TM, "1011\\10:12 ", "1011\\1012 ", separated},
    });
}

TEST(Date_Times, KeepTheirOffset)
{
    const std::string form = "change old-syntax: date and time in another form";
    const std::string none = "kept date: no date and time that there is";
    Expect_Healed({
        {VR_DT, "2024", "2024", ""},
        {VR_DT, "202402", "202402", ""},
        {VR_DT, "20240229", "20240229", ""},
        {VR_DT, "2024022912", "2024022912", ""},
        {VR_DT, "20240229121314.123456-1200", "20240229121314.123456-1200", ""},
        {VR_DT, "20240229+1400 ", "20240229+1400 ", ""},
        {VR_DT, "20240229121314Z ", "20240229121314+0000 ", form},
        {VR_DT, "2024-02-29T12:13:14+01:00 ", "20240229121314+0100 ", form},
        {VR_DT, "2024-02-29T12:13:14.5Z", "20240229121314.5+0000 ", form},
        {VR_DT, "2024-02-29 12:13", "202402291213", form},
        {VR_DT, "2024-02-29", "20240229", form},
        {VR_DT, "2024.02.29", "20240229", form},
        {VR_DT, "2024-02-30", "2024-02-30", none},
        {VR_DT, "20240229T1213 ", "202402291213", form},
        {VR_DT, "20240229T121314.5+0100", "20240229121314.5+0100 ", form},
        {VR_DT, "20240229T ", "20240229T ", none},
        {VR_DT, "202402T12 ", "202402T12 ", none},
        {VR_DT, "20240229121314.1234567+0100 ", "20240229121314.123457+0100",
         "change length: fraction of a second is rounded to six digits"},
        {VR_DT, "20240229-0000 ", "20240229-0000 ", none},
        {VR_DT, "20240229+1401 ", "20240229+1401 ", none},
        {VR_DT, "20240229-1201 ", "20240229-1201 ", none},
        {VR_DT, "20240229+0160 ", "20240229+0160 ", none},
        {VR_DT, "20240230", "20240230", none},
        {VR_DT, "20240229 1213 ", "20240229 1213 ", none},
        {VR_DT, "2024022 ", "2024022 ", none},
        {VR_DT, "20240229121", "20240229121 ", none + "\n" + Odd_Said},
        {VR_DT, "20240101-20240131 ", "20240101-20240131 ", none},
    });
}

TEST(Ages, GainTheirUnitWhereTheNumberIsWhole)
{
    const std::string form = "change form: age without its four characters";
    const std::string none = "kept form: no age";
    Expect_Healed({
        {VR_AS, "045Y", "045Y", ""},
        {VR_AS, "000D", "000D", ""},
        {VR_AS, "999M", "999M", ""},
        {VR_AS, "45", "045Y", form},
        {VR_AS, "9.0", "009Y", form},
        {VR_AS, "9.00W ", "009W", form},
        {VR_AS, "45Y", "045Y", form},
        {VR_AS, "045y", "045Y", form},
        {VR_AS, "6m", "006M", form},
        {VR_AS, "0045", "045Y", form},
        {VR_AS, "999 ", "999Y", form},
        {VR_AS, "1000", "1000", none},
        {VR_AS, "45.5", "45.5", none},
        {VR_AS, "045X", "045X", none},
        {VR_AS, "Y ", "Y ", none},
        {VR_AS, "-5Y ", "-5Y ", none},
        {VR_AS, "45 Y", "45 Y", none},
    });
}

TEST(Decimal_Strings, AreRoundedToTheNearestNumber)
{
    const std::string rounded = "change length: rounded to the nearest number of 16 characters";
    const std::string form = "change number: decimal number in another form";
    const std::string none = "kept number: no decimal number";
    Expect_Healed({
        {VR_DS, " 1.5\\ +2", " 1.5\\ +2", ""},
        {VR_DS, ".5\\5.\\1e5\\-1.E-05 ", ".5\\5.\\1e5\\-1.E-05 ", ""},
        {VR_DS, "9d\\6L3\\", "9d\\6L3\\ ", none + "\n" + Odd_Said},
        {VR_DS, "9\\6\\", "9\\6\\", ""},
        {VR_DS, "1234567890.12345", "1234567890.12345", ""},
        {VR_DS, "1234567890.123456 ", "1234567890.12346", rounded},
        {VR_DS, "3.05171124637127E-05", "3.05171124637E-5", rounded},
        {VR_DS, "-3.05171124637127E-05 ", "-3.0517112464E-5", rounded},
        {VR_DS, "-1.2345678901234E+005 ", "-123456.78901234", rounded},
        {VR_DS, "0.333333333333333333", ".333333333333333", rounded},
        {VR_DS, "0.99999999999999999 ", "1 ", rounded},
        {VR_DS, "999999999999999999", "1E18", rounded},
        {VR_DS, "123456789012345678", "12345678901235E4", rounded},
        {VR_DS, "0.00000000000000000 ", "0 ", rounded},
        {VR_DS, "100000.00000000000", "100000", rounded},
        {VR_DS, "0.12345678901234550", ".123456789012346", rounded},
        {VR_DS, "0.12345678901234450", ".123456789012344", rounded},
        {VR_DS, "0.123456789012344501", ".123456789012345", rounded},
        {VR_DS, "1.0000000000000000E9999999", "1.0000000000000000E9999999",
         "kept length: decimal number that 16 characters do not hold"},
        {VR_DS, "1E9999999 ", "1E9999999 ", ""},
        {VR_DS, "     1.5             ", "1.5 ", Padding_Said},
        {VR_DS, "1,5 ", "1.5 ", form},
        {VR_DS, "1,5\\-2,25E1 ", "1.5\\-2.25E1 ", form},
        {VR_DS, "0,3333333333333333333 ", ".333333333333333", form + "\n" + rounded},
        {VR_DS, "1.5D-3", "1.5E-3", form},
        {VR_DS, "1,5,2 ", "1,5,2 ", none},
        {VR_DS, "1,", "1,", none},
        {VR_DS, "1.5,2 ", "1.5,2 ", none},
        {VR_DS, "NaN ", "NaN ", none},
        {VR_DS, "inf ", "inf ", none},
        {VR_DS, "1.2.3 ", "1.2.3 ", none},
        {VR_DS, "--5 ", "--5 ", none},
        {VR_DS, "1/2 ", "1/2 ", none},
        {VR_DS, "1.5;2.5 ", "1.5;2.5 ", none},
        {VR_DS, "1 2 ", "1 2 ", none},
        {VR_DS, ".", ". ", none + "\n" + Odd_Said},
        {VR_DS, "1E", "1E", none},
        {VR_DS, "1.5\n", "1.5\n", Control_Said},
        {VR_DS, "1.5\0\0\0"s, "1.5 ", Padding_Said},
    });
}

TEST(Integer_Strings, StayWhereTheyAreNoIntegers)
{
    const std::string none = "kept number: no whole number";
    Expect_Healed({
        {VR_IS, " 12 ", " 12 ", ""},
        {VR_IS, "+12\\-07", "+12\\-07 ", Odd_Said},
        {VR_IS, "2147483647\\-2147483648", "2147483647\\-2147483648", ""},
        {VR_IS, "2147483647\\-2147483648 ", "2147483647\\-2147483648", Padding_Said},
        {VR_IS, "2147483648", "2147483648", "kept range: beyond 32 bits"},
        {VR_IS, "-2147483649 ", "-2147483649 ", "kept range: beyond 32 bits"},
        {VR_IS, "99999999999999999999", "99999999999999999999", "kept range: beyond 32 bits"},
        {VR_IS, "12.0", "12", "change integer: decimals of a whole number, all zero"},
        {VR_IS, "-0.", "-0", "change integer: decimals of a whole number, all zero"},
        {VR_IS, "000000000012", "000000000012", ""},
        {VR_IS, "0000000000012 ", "12", "change length: zeros in front beyond 12 characters"},
        {VR_IS, "12.7", "12.7", "kept integer: decimals in a whole number"},
        {VR_IS, "1E3 ", "1E3 ", none},
        {VR_IS, "1,5 ", "1,5 ", none},
        {VR_IS, "- ", "- ", none},
        {VR_IS, "\x8C\1\0\0"s, "\x8C\1\0\0"s, Control_Said},
        {VR_IS, "A\0\0\0"s, "A\0\0\0"s, none},
        {VR_IS, "A\0\0"s, "A\0\0 "s, none + "\n" + Odd_Said},
        {VR_IS, "GPIIBBB49 ", "GPIIBBB49 ", none},
    });
}

TEST(Code_Strings, BecomeCapitalsAndNothingElse)
{
    const std::string small = "change characters: small letters in a code";
    const std::string other = "kept characters: characters that a code does not hold";
    Expect_Healed({
        {VR_CS, " ORIGINAL \\PRIMARY ", " ORIGINAL \\PRIMARY  ", Odd_Said},
        {VR_CS, "A_1\\ ", "A_1\\  ", Odd_Said},
        {VR_CS, "original\\primary", "ORIGINAL\\PRIMARY", small},
        {VR_CS, "male", "MALE", small},
        {VR_CS, "OT-x", "OT-x", other},
        {VR_CS, "abcdefghijklmnop", "ABCDEFGHIJKLMNOP", small},
        {VR_CS, "Abcdefghijklmnopq ", "Abcdefghijklmnopq ",
         "kept characters: small letters in what is too long for a code"},
        {VR_CS, "-2", "-2", other},
        {VR_CS, "\xC4pfel ", "\xC4pfel ", other},
        {VR_CS, "ABCDEFGHIJKLMNOP", "ABCDEFGHIJKLMNOP", ""},
        {VR_CS, "ABCDEFGHIJKLMNOPQ ", "ABCDEFGHIJKLMNOPQ ", Long_Said},
        {VR_CS, "  ABCDEFGHIJKLMNOP  ", "ABCDEFGHIJKLMNOP", Padding_Said},
        {VR_CS, "A\\ABCDEFGHIJKLMNO ", "A\\ABCDEFGHIJKLMNO ", ""},
        {VR_CS, "AB\0\0"s, "AB", Padding_Said},
        {VR_CS, "ABC\0"s, "ABC ", Padding_Said},
        {VR_CS, "\0\0"s, "", Padding_Said},
    });
}

TEST(Texts, StayAsTheyAre)
{
    const std::string sixteen(16, 'x');
    const std::string sixty_four(64, 'x');
    Expect_Healed({
        {VR_AE, " STORE SCP ", " STORE SCP  ", Odd_Said},
        {VR_AE, "    ", "    ", "kept characters: nothing but blanks"},
        {VR_AE,
         "\xC4"
         "B",
         "\xC4"
         "B",
         "kept characters: characters outside the default repertoire"},
        {VR_AE, sixteen, sixteen, ""},
        {VR_AE, sixteen + "y ", sixteen + "y ", Long_Said},
        {VR_AE, "A\nB ", "A\nB ", Control_Said},
        {VR_SH, "  a  b  ", "  a  b  ", ""},
        {VR_SH, sixteen + "    ", sixteen, Padding_Said},
        {VR_SH, sixteen + "xx", sixteen + "xx", Long_Said},
        {VR_LO, sixty_four + "\\" + sixty_four + " ", sixty_four + "\\" + sixty_four + " ", ""},
        {VR_LO, sixty_four + "xx", sixty_four + "xx", Long_Said},
        {VR_LO, "A\\B\\", "A\\B\\", ""},
        {VR_LO, "AB\0C"s, "AB\0C"s, Control_Said},
        {VR_LO, "AB\x7F ", "AB\x7F ", Control_Said},
        {VR_LO, "AB\tC", "AB\tC", Control_Said},
        {VR_LO, "ABC \0"s, "ABC ", Padding_Said},
        {VR_LO, "ABC\0 "s, "ABC ", Padding_Said},
        {VR_ST, " A\\B\r\n\t\f", " A\\B\r\n\t\f", ""},
        {VR_ST, "A\x01", "A\x01", Control_Said},
        {VR_ST, std::string(1024, 'x'), std::string(1024, 'x'), ""},
        {VR_ST, std::string(1026, 'x'), std::string(1026, 'x'), Long_Said},
        {VR_LT, std::string(10240, 'x'), std::string(10240, 'x'), ""},
        {VR_LT, std::string(10242, 'x'), std::string(10242, 'x'), Long_Said},
        {VR_UT, std::string(10242, 'x'), std::string(10242, 'x'), ""},
        {VR_UC, std::string(99, 'x') + "\\ ", std::string(99, 'x') + "\\  ", Odd_Said},
        {VR_UR, "http://a.b/c?d=e ", "http://a.b/c?d=e  ", Odd_Said},
        {VR_UR, " http://a.b", "http://a.b", Padding_Said},
        {VR_UR, "http://a b", "http://a b", "kept characters: characters that a URI does not hold"},
        {VR_UR, "a\\bc", "a\\bc", "kept characters: characters that a URI does not hold"},
    });
}

TEST(Texts, AreCountedAndSplitByTheirCharacterSet)
{
    std::string umlauts;
    for (int i = 0; i < 16; ++i) {
        umlauts += "\xC3\xA4";
    }
    Expect_Healed({
        {VR_SH, umlauts, umlauts, "", "ISO_IR 192"},
        {VR_SH, umlauts + "ab", umlauts + "ab", Long_Said, "ISO_IR 192"},
        {VR_SH, umlauts, umlauts, Long_Said, "ISO_IR 100"},
        {VR_SH, "\xD5\\\xD5\\\xD5\\\xD5\\\xD5\\\xD5\\\xD5\\\xD5\\",
         "\xD5\\\xD5\\\xD5\\\xD5\\\xD5\\\xD5\\\xD5\\\xD5\\", "", "GBK"},
        {VR_PN, "\xD5^\xD5^\xD5^\xD5^\xD5^\xD5^", "\xD5^\xD5^\xD5^\xD5^\xD5^\xD5^", "", "GBK"},
        {VR_PN, "Yamada=\033$B;3ED\033(B^\033$BB@O:\033(B",
         "Yamada=\033$B;3ED\033(B^\033$BB@O:\033(B", "", "\\ISO 2022 IR 87"},
    });
}

TEST(Names, StayWhereTheirPartsCannotBeTold)
{
    const std::string sixty_four(64, 'x');
    Expect_Healed({
        {VR_PN, "A^B^C^D^E=A=B\\C ", "A^B^C^D^E=A=B\\C ", ""},
        {VR_PN, sixty_four + "=" + sixty_four + " ", sixty_four + "=" + sixty_four + " ", ""},
        {VR_PN, sixty_four + "x ", sixty_four + "x ", "kept length: longer than 64 characters"},
        {VR_PN, "A^B^C^D^E^", "A^B^C^D^E^", "kept name: name of more than five components"},
        {VR_PN, "A=B=C=", "A=B=C=", "kept name: name of more than three groups"},
        {VR_PN, "Doe, Jane ", "Doe, Jane ", "kept name: comma in a name without components"},
        {VR_PN, "\033$B,!;3\033(B", "\033$B,!;3\033(B", "", "\\ISO 2022 IR 87"},
        {VR_PN, "Doe^Jane, MD", "Doe^Jane, MD", ""},
        {VR_PN, "Doe\1Jane", "Doe\1Jane", Control_Said},
        {VR_PN, "DOE^JANE\0\0"s, "DOE^JANE", Padding_Said},
    });
}

TEST(UIDs, StayUnlessTheyAreToBeReplaced)
{
    const std::string none = "kept uid: no valid UID";
    const std::string longest = "1." + std::string(62, '2');
    Expect_Healed({
        {VR_UI, "1.2.0.3\0"s, "1.2.0.3\0"s, ""},
        {VR_UI, "0\0"s, "0\0"s, ""},
        {VR_UI, longest, longest, ""},
        {VR_UI, longest + "22", longest + "22", none},
        {VR_UI, "1.2.3\\4.5\0"s, "1.2.3\\4.5\0"s, ""},
        {VR_UI, "1.2.3 ", "1.2.3\0"s, Padding_Said},
        {VR_UI, "1.2.34\0\0"s, "1.2.34", Padding_Said},
        {VR_UI, "1.2.3\0 \0"s, "1.2.3\0"s, Padding_Said},
        {VR_UI, "1.2.3", "1.2.3\0"s, Odd_Said},
        {VR_UI, "\0\0"s, "", Padding_Said},
        {VR_UI, "1.2.a\0"s, "1.2.a\0"s, none},
        {VR_UI, "1..2", "1..2", none},
        {VR_UI, "1.02", "1.02", none},
        {VR_UI, ".1.2", ".1.2", none},
        {VR_UI, "1.2.", "1.2.", none},
        {VR_UI, "1. 2\0\0"s, "1. 2", none + "\n" + Padding_Said},
        {VR_UI, "8a147110-7650-0096-a66a-1", "8a147110-7650-0096-a66a-1\0"s,
         none + "\n" + Odd_Said},
    });
    const Character_Set characters;
    const Healed_Value replaced = Heal_Value({"1.2.3\\1.2.a \\1.2.a"s, VR_UI, characters, true});
    EXPECT_EQ(Said(replaced.notes),
              "change uid-replaced: no valid UID; one made from it takes its place");
    // The first 16 bytes of the hash of "1.2.a", with version 8 and variant 2.
    const std::string uid = Replacement_UID("1.2.a");
    EXPECT_EQ(uid, "2.25.192827484366458540330219900809050661940");
    EXPECT_EQ(replaced.bytes.substr(0, replaced.bytes.find('\0')), "1.2.3\\" + uid + "\\" + uid);
    EXPECT_TRUE(Is_Fit_UID(uid));
    EXPECT_NE(Replacement_UID("1.2.b"), uid);
}

TEST(Hash, IsSHA256)
{
    const auto text = [](const SHA256_Digest& digest) {
        std::string hex;
        for (const unsigned char byte : digest) {
            constexpr char Digits[] = "0123456789abcdef";
            hex += {Digits[byte >> 4], Digits[byte & 15]};
        }
        return hex;
    };
    // FIPS 180-4, and the lengths around the padding of a block.
    EXPECT_EQ(text(SHA256("")), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(text(SHA256("abc")),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(text(SHA256("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq")),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(text(SHA256(std::string(55, 'a'))),
              "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318");
    EXPECT_EQ(text(SHA256(std::string(64, 'a'))),
              "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb");
}

TEST(Binary_Values, KeepWhatDoesNotFit)
{
    const std::string size = "kept size: length that is no multiple of its VR's width";
    Expect_Healed({
        {VR_US, "abcd", "abcd", ""},
        {VR_US, "abc", "abc\0"s, size + "\n" + Odd_Said},
        {VR_UL, "abcdef", "abcdef", size},
        {VR_FD, "abcd", "abcd", size},
        {VR_AT, "abcdefgh", "abcdefgh", ""},
        {VR_OB, "abc", "abc\0"s, Odd_Said},
        {VR_OW, "abcdef", "abcdef", ""},
        {VR_UN, "abc", "abc\0"s, Odd_Said},
        {VR_UN, "a\0\\c"s, "a\0\\c"s, ""},
    });
    const Character_Set characters;
    const auto count = [&](unsigned short vr, std::string_view bytes) {
        return Heal_Value({bytes, vr, characters}).count;
    };
    EXPECT_EQ(count(VR_US, "abcd"), 2U);
    EXPECT_EQ(count(VR_OW, "abcd"), 1U);
    EXPECT_EQ(count(VR_US, ""), 0U);
    EXPECT_EQ(count(VR_DS, "9\\6\\"), 3U);
    EXPECT_EQ(count(VR_LT, "9\\6\\"), 1U);
    EXPECT_EQ(count(VR_LO, ""), 0U);
}

}  // namespace
