// What becomes of VRs and values in another transfer syntax than that of the file.
#include "support/mend_in_memory.h"
#include "support/promises.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

Mend_Options To(Output_Syntax syntax)
{
    Mend_Options options;
    options.syntax = syntax;
    return options;
}

/** A number of another VR than the registry's is turned round by the VR that it has. */
TEST(Output_Syntax, TurnsForeignNumbersRoundByTheirOwnVR)
{
    Stream_Builder big(9);
    big.Raw(Part10_Head(Explicit_Big_UID)).Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    big.Element(0x0028, 0x0009, "FD", "\x01\x02\x03\x04\x05\x06\x07\x08"s);
    const Mended_File mended = Mend_In_Memory(big.Bytes(), To(Output_Syntax::Implicit_Little));
    Stream_Builder end(0);
    end.Element(0x0028, 0x0009, "", "\x08\x07\x06\x05\x04\x03\x02\x01"s);
    EXPECT_TRUE(mended.bytes.ends_with(end.Bytes()));
    EXPECT_NE(mended.Lines().find("kept vr-other (0028,0009) implicit VR does not tell VR=FD; "
                                  "readers take VR=AT\n"),
              std::string::npos)
        << mended.Lines();
}

/** Private values of every kind, as the file has them and as their definitions do not. */
TEST(Output_Syntax, LosesNothingOfPrivateElements)
{
    Stream_Builder s;
    s.Raw(Part10_Head(Explicit_Little_UID)).Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    s.Element(0x0009, 0x0010, "LO", "GEMS_IDEN_01")
        .Element(0x0009, 0x1001, "UN", std::string(100, 'n'));
    s.Element(0x0009, 0x1027, "LO", "7,IMAGE_TYPE,TEXT ").Element(0x0009, 0x10FF, "US", "\1\2"s);
    s.Element(0x0009, 0x10FE, "UT", std::string(70000, 't'));
    s.Header(0x0009, 0x10FD, "SQ", 26).Item(18).Element(0x0009, 0x0010, "LO", "OTHER BLK ");
    s.Element(0x8001, 0x0010, "LO", "EF");
    for (const Mend_Options& options : All_Output_Options()) {
        EXPECT_EQ(Broken_Promises(s.Bytes(), options), "") << Options_Text(options);
    }
}

TEST(Output_Syntax, IsRefusedForCompressedPixelData)
{
    Stream_Builder s;
    s.Raw(Part10_Head("1.2.840.10008.1.2.4.50"));
    s.Header(0x7FE0, 0x0010, "OB", -1).Item(0).Item(2).Raw("ab").Sequence_End();
    EXPECT_TRUE(Mend_In_Memory(s.Bytes()).done);
    for (const Output_Syntax syntax :
         {Output_Syntax::Implicit_Little, Output_Syntax::Explicit_Big}) {
        EXPECT_FALSE(Mend_In_Memory(s.Bytes(), To(syntax)).done);
    }
}

}  // namespace
