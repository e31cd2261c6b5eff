// Lengths that are wrong beside lengths that are right: one fault costs one element, and is said.
#include "support/mend_in_memory.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

constexpr unsigned char Explicit = DICOM_Order_Explicit_VR;

/** A data set with a sequence in a sequence, both of defined length, a private block and pixels. */
std::string File_Of(unsigned char code)
{
    const std::string code_value = Stream_Builder(code)
                                       .Element(0x0008, 0x0100, "SH", "121311")
                                       .Element(0x0008, 0x0102, "SH", "DCM ")
                                       .Bytes();
    const int size = static_cast<int>(code_value.size());
    const std::string reference = Stream_Builder(code)
                                      .Element(0x0008, 0x1155, "UI", Padded_UID("1.2.3.44"))
                                      .Sequence(0x0040, 0xA170, size + 8)
                                      .Item(size)
                                      .Raw(code_value)
                                      .Bytes();
    Stream_Builder s(code);
    s.Element(0x0008, 0x0016, "UI", Padded_UID("1.2.840.10008.5.1.4.1.1.7"));
    s.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    s.Element(0x0008, 0x0060, "CS", "OT");
    s.Sequence(0x0008, 0x1111, static_cast<int>(reference.size()) + 8);
    s.Item(static_cast<int>(reference.size())).Raw(reference);
    s.Element(0x0009, 0x0010, "LO", "ACME MEASURES ");
    s.Element(0x0009, 0x1001, "LT", "some words");
    s.Element(0x0009, 0x1002, "LT", "more words");
    s.Element(0x0010, 0x0010, "PN", "Doe^Jane");
    s.Element(0x0010, 0x0020, "LO", "PAT001");
    s.US(0x0028, 0x0002, 1).Element(0x0028, 0x0004, "CS", "MONOCHROME2 ");
    s.US(0x0028, 0x0010, 16).US(0x0028, 0x0011, 16).US(0x0028, 0x0100, 8).US(0x0028, 0x0101, 8);
    s.US(0x0028, 0x0102, 7).US(0x0028, 0x0103, 0);
    s.Element(0x2050, 0x0020, "CS", "IDENTITY");
    s.Element(0x7FE0, 0x0010, "OW", std::string(256, 'p'));
    return Part10_Head(code == Explicit ? Explicit_Little_UID : Implicit_Little_UID) + s.Bytes();
}

/** The file with other bytes at a distance from the header of an element. */
std::string With(std::string file, const std::string& tag, std::size_t distance,
                 const std::string& bytes)
{
    const std::size_t at = file.find(tag, 300);
    return file.replace(at + distance, bytes.size(), bytes);
}

/** The file with `bytes` in the place of `size` bytes at a distance from the header of an element. */
std::string With_Other(std::string file, const std::string& tag, std::size_t distance,
                       std::size_t size, const std::string& bytes)
{
    return file.replace(file.find(tag, 300) + distance, size, bytes);
}

TEST(Lengths, AWrongOneIsFoundByThoseAroundIt)
{
    const std::string implicit = File_Of(0);
    const std::string with_vr = File_Of(Explicit);
    const std::string inner("\x40\x00\x70\xA1", 4);
    const std::string creator("\x09\x00\x10\x00", 4);
    const std::string last("\x50\x20\x20\x00", 4);
    constexpr const char* Nested =
        "change value-length (0008,1111[0]/0040,a170) the length 44 does not fit what it holds; it "
        "ends after 34 bytes\n";
    const struct {
        const char* name;
        const std::string& sound;
        std::string damaged;
        const char* findings;
    } cases[] = {
        {"a nested sequence is too long by 10", implicit, With(implicit, inner, 4, "\x2C"), Nested},
        {"in explicit VR too", with_vr, With(with_vr, inner, 8, "\x2C"), Nested},
        {"the creator has no length", implicit, With(implicit, creator, 4, "\0"s),
         "change value-length (0009,0010) the length is 0, but 14 bytes fit what follows\n"},
        {"that in front of the pixels is too long by 2", implicit, With(implicit, last, 4, "\x0A"),
         "change value-length (2050,0020) the length is 10, but 8 bytes fit what follows\n"},
        {"by 8 in explicit VR", with_vr, With(with_vr, last, 6, "\x10"),
         "change value-length (2050,0020) the length is 16, but 8 bytes fit what follows\n"},
        {"bytes are put into the outer item", implicit,
         With_Other(implicit, inner, 0, 0, std::string(100, '\0')),
         "error garbage (0000,0000) 100 bytes from 340 on are no elements; they are skipped\n"},
        {"in explicit VR too", with_vr, With_Other(with_vr, inner, 0, 0, std::string(100, '\0')),
         "error garbage (0000,0000) 100 bytes from 346 on are no elements; they are skipped\n"},
        {"the header of the inner item is missing", with_vr, With_Other(with_vr, inner, 12, 8, ""),
         "change nesting (0008,1111[0]/0040,a170) its elements stand in no item; one is "
         "supplied\n"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        ASSERT_EQ(Mend_In_Memory(row.sound).Lines(), "");
        const Mended_File mended = Mend_In_Memory(row.damaged);
        EXPECT_EQ(mended.Lines(), row.findings);
        EXPECT_EQ(mended.bytes, Mend_In_Memory(row.sound).bytes);
    }
}

TEST(Lengths, WhatHoldsItemsAndIsNoSequenceIsSaid)
{
    const std::string file = File_Of(Explicit);
    const std::string outer("\x08\x00\x11\x11", 4);
    std::string as_US = With(file, outer, 4, "US");
    const std::size_t at = as_US.find(outer + "US");
    as_US.replace(at + 6, 6, as_US.substr(at + 8, 2));
    const Mended_File mended = Mend_In_Memory(as_US);
    EXPECT_EQ(mended.Lines(), "change vr (0008,1111) sequence stored as US\n");
    EXPECT_EQ(mended.bytes, Mend_In_Memory(file).bytes);

    const auto implicit = [](const Stream_Builder& elements) {
        return Part10_Head(Implicit_Little_UID) +
               Stream_Builder(0)
                   .Element(0x0008, 0x0016, "UI", Padded_UID("1.2.840.10008.5.1.4.1.1.7"))
                   .Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"))
                   .Raw(elements.Bytes())
                   .Bytes();
    };
    const Stream_Builder text = Stream_Builder(0)
                                    .Element(0x0008, 0x1111, "LO", "just some text")
                                    .Element(0x0010, 0x0010, "PN", "Doe^Jane");
    EXPECT_EQ(
        Mend_In_Memory(implicit(text)).Lines(),
        "change nesting (0008,1111) a sequence without items; its bytes are kept as UN\n"
        "change transfer-syntax (0008,1111) implicit VR cannot carry these bytes, which would "
        "be taken for items; the data set is written in explicit VR\n");
    // Cut off in front of the first item: no rest is written that would be none.
    const std::string cut =
        implicit(Stream_Builder(0).Sequence(0x0008, 0x1111, 90).Raw("\xFE\xFF"));
    const Mended_File there = Mend_In_Memory(cut);
    EXPECT_EQ(Mend_In_Memory(there.bytes).Lines(), "");
    EXPECT_EQ(Mend_In_Memory(there.bytes).bytes, there.bytes);
}

TEST(Lengths, AnItemBehindATextDoesNotBelongToIt)
{
    // Two bytes of "TEXT" are missing, and the next item stands where a 4-byte length would end.
    const auto item = [](std::string_view type) {
        return Stream_Builder(Explicit)
            .Item(28)
            .Element(0x0010, 0x0020, "LO", "ABCD1234")
            .Header(0x0010, 0x0022, "CS", 4)
            .Raw(type)
            .Bytes();
    };
    const auto file = [&](std::string_view type) {
        return Part10_Head(Explicit_Little_UID) +
               Stream_Builder(Explicit)
                   .Element(0x0008, 0x0016, "UI", Padded_UID("1.2.840.10008.5.1.4.1.1.7"))
                   .Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"))
                   .Sequence(0x0010, 0x1002, 72)
                   .Raw(item(type) + item("TEXT"))
                   .Element(0x0010, 0x1010, "AS", "000Y")
                   .Element(0x0010, 0x1030, "DS", "65.5")
                   .Element(0x0010, 0x21B0, "LT", "none")
                   .Bytes();
    };
    const std::string mended = Mend_In_Memory(file("TT")).bytes;
    const std::string wanted = Mend_In_Memory(file("TEXT")).bytes;
    EXPECT_EQ(mended.substr(mended.rfind("ABCD1234")), wanted.substr(wanted.rfind("ABCD1234")));
    EXPECT_EQ(mended.size(), wanted.size() - 2);
}

TEST(Lengths, EmptyItemsOfWhatIsNoPixelDataAreASequence)
{
    const auto file = [](const char* vr) {
        Stream_Builder s(Explicit);
        s.Element(0x0008, 0x0016, "UI", Padded_UID("1.2.840.10008.5.1.4.1.1.7"));
        s.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
        s.Element(0x0009, 0x0010, "LO", "ACME MEASURES ");
        s.Raw(std::string("\x09\x00\x01\x10", 4) + vr + std::string("\0\0\xFF\xFF\xFF\xFF", 6));
        s.Raw(std::string("\xFE\xFF\x00\xE0\0\0\0\0", 8) + "\xFE\xFF\xDD\xE0\0\0\0\0"s);
        s.Element(0x0010, 0x0020, "LO", "PAT001");
        return Part10_Head(Explicit_Little_UID) + s.Bytes();
    };
    const Mended_File mended = Mend_In_Memory(file("OW"));
    EXPECT_EQ(mended.Lines(),
              "change vr (0009,1001) VR=OW of undefined length holds items; it is a sequence\n");
    EXPECT_EQ(mended.bytes, Mend_In_Memory(file("SQ")).bytes);
    EXPECT_EQ(Mend_In_Memory(file("SQ")).Lines(), "");
}

}  // namespace
