// Groups that do not belong in a data set, and lengths of groups.
#include "support/mend_in_memory.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

std::string File_Of(const std::string& elements)
{
    Stream_Builder s;
    s.Raw(Part10_Head(Implicit_Little_UID)).Raw(elements);
    return s.Bytes();
}

Stream_Builder Instance()
{
    Stream_Builder s(0);
    s.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    return s;
}

std::string Length(unsigned int group, int length)
{
    return Stream_Builder(0).Header(group, 0x0000, "UL", 4).Int(length).Bytes();
}

TEST(Groups, KeepTheirLengthsAndGetThemRight)
{
    const std::string instance = Instance().Bytes();
    const std::string patient = Stream_Builder(0).Element(0x0010, 0x0010, "PN", "DOE ").Bytes();
    const auto file = [&](int first, int second, int inside) {
        Stream_Builder s(0);
        s.Raw(Length(0x0008, first)).Raw(instance).Sequence(0x0008, 0x1140).Item();
        s.Raw(Length(0x0010, inside)).Raw(patient).Item_End().Sequence_End();
        s.Raw(Length(0x0010, second)).Raw(patient);
        return File_Of(s.Bytes());
    };
    const std::string right = file(16 + 8 + 8 + 12 + 12 + 8 + 8, 12, 12);
    EXPECT_EQ(Mend_In_Memory(right).Lines(), "");
    EXPECT_EQ(Mend_In_Memory(right).bytes, right);
    const struct {
        std::string bytes;
        const char* findings;
    } cases[] = {
        {file(72, 13, 12), "change group-length (0010,0000) the group length is not that of its "
                           "group\n"},
        {file(71, -1, 0), "change group-length (0008,0000) the group length is not that of its "
                          "group, nor are 2 others\n"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(Mend_In_Memory(row.bytes).Lines(), row.findings);
        EXPECT_EQ(Mend_In_Memory(row.bytes).bytes, right);
        EXPECT_EQ(Check_In_Memory(row.bytes).Lines(), row.findings);
    }
}

TEST(Groups, ThatDoNotBelongInADataSetAreSaid)
{
    Stream_Builder s(0);
    s.Element(0x0001, 0x0010, "LO", "AB")
        .Element(0x0004, 0x1130, "CS", "CD")
        .Raw(Instance().Bytes());
    s.Element(0x8001, 0x0010, "LO", "EF").Element(0xFFFC, 0xFFFC, "OB", "\0\0"s);
    const Mended_File mended = Mend_In_Memory(File_Of(s.Bytes()));
    EXPECT_EQ(mended.Lines(),
              "kept foreign-group (0001,0010) the group does not belong in a data set\n"
              "kept foreign-group (0004,1130) the group does not belong in a data "
              "set\n");
    EXPECT_EQ(mended.bytes, File_Of(s.Bytes()));
}

TEST(Groups, OfPrivateElementsAreLeftOutOnRequest)
{
    Stream_Builder s = Instance();
    const std::string kept = s.Bytes();
    s.Element(0x0009, 0x0010, "LO", "AB").Element(0x0009, 0x1001, "LO", "CD");
    Mend_Options options;
    options.drop_private = true;
    const Mended_File mended = Mend_In_Memory(File_Of(s.Bytes()), options);
    EXPECT_EQ(mended.bytes, File_Of(kept));
    EXPECT_EQ(mended.Lines(), "change removed (0009,0010) private element is left out\n"
                              "change removed (0009,1001) private element is left out\n");
}

}  // namespace
