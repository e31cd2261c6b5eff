// The encoding of a data set, by what is declared and by the bytes.
#include "support/read_in_memory.h"

#include <gtest/gtest.h>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

constexpr unsigned char Codes[] = {0, 8, 1, 9};
constexpr unsigned char Declared_Codes[] = {0, 8, 9};

std::string_view Declared(unsigned char code)
{
    return code == 0 ? Implicit_Little_UID : code == 8 ? Explicit_Little_UID : Explicit_Big_UID;
}

Encoding Form_Of(unsigned char code)
{
    return {(code & 8) != 0, (code & 1) != 0, false, false};
}

TEST(Encoding, IsThatOfTheBytesWhateverIsDeclared)
{
    for (const unsigned char declared : Declared_Codes) {
        for (const unsigned char code : Codes) {
            SCOPED_TRACE(std::to_string(declared) + " " + std::to_string(code));
            const Read_File read =
                Read_In_Memory(Part10_Head(Declared(declared)) + Small_Data_Set(code));
            EXPECT_EQ(read.elements, Small_Elements);
            const std::string expected =
                declared == code ? ""
                                 : "change transfer-syntax (0002,0010) another transfer syntax is "
                                   "declared, but the data set is in " +
                                       Encoding_Text(Form_Of(code)) + ": " +
                                       std::string(Declared(declared)) + " > " + read.syntax + "\n";
            EXPECT_EQ(read.findings, expected);
        }
    }
}

TEST(Encoding, IsGuessedByWhatIsKnownOfTheTags)
{
    struct Case {
        const char* name;
        unsigned char code;
        std::string bytes;
        bool is_likely;
    };
    Stream_Builder high(0);
    high.Element(0x0100, 0x0410, "CS", "LOCKED").Element(0x0100, 0x0420, "SH", "AB");
    Stream_Builder private_only;
    for (unsigned int element = 0x1001; element < 0x1008; ++element) {
        private_only.Element(0x0029, element, "LO", "AB");
    }
    Stream_Builder implicit_first(0);
    implicit_first.Element(0x0008, 0x0018, "UI", "1.2.3.45");
    Stream_Builder damaged;
    damaged.Element(0x0008, 0x0016, "--", "1.23").Raw(Small_Data_Set().substr(34));
    const Case cases[] = {
        {"high group", 0, high.Bytes(), true},
        {"private elements", 8, private_only.Bytes(), true},
        {"one element", 0, implicit_first.Bytes(), true},
        {"damaged first header", 8, damaged.Bytes(), true},
        {"zeros", 8, std::string(100, '\0'), false},
        {"text", 8, "root:x:0:0:root:/root:/bin/bash", false},
        {"seven bytes", 8, Small_Data_Set().substr(0, 7), false},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const auto* const bytes = reinterpret_cast<const unsigned char*>(each.bytes.data());
        const auto source = Source::From_Image({bytes, each.bytes.size()}, "test");
        Encoding guess;
        EXPECT_EQ(Guess_Encoding(*source, 0, nullptr, guess), each.is_likely);
        if (each.is_likely) {
            EXPECT_EQ(guess.Code(), each.code);
        }
    }
}

TEST(Encoding, StaysAsDeclaredWhereTheBytesDoNotTell)
{
    // One private element says nothing against what is declared, nor does a damaged first header.
    const std::string one = Stream_Builder(0).Element(0x0029, 0x1001, "UN", "ABCD").Bytes();
    for (const unsigned char declared : Declared_Codes) {
        const Encoding expected = Form_Of(declared);
        const auto* const bytes = reinterpret_cast<const unsigned char*>(one.data());
        const auto source = Source::From_Image({bytes, one.size()}, "test");
        Encoding guess;
        Guess_Encoding(*source, 0, &expected, guess);
        EXPECT_EQ(guess.Code(), declared);
    }
}

}  // namespace
