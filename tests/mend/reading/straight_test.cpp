// What is unusual and no fault: nothing is said of it and not a byte of it changes.
#include "support/mend_in_memory.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

std::string File_Of(unsigned char code, const std::string& elements)
{
    Stream_Builder s(code);
    s.Element(0x0008, 0x0016, "UI", Padded_UID("1.2.840.10008.5.1.4.1.1.7"));
    s.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    s.Element(0x0008, 0x0060, "CS", "OT").Raw(elements);
    const bool is_explicit = (code & DICOM_Order_Explicit_VR) != 0;
    return Part10_Head(is_explicit ? Explicit_Little_UID : Implicit_Little_UID) + s.Bytes();
}

/** Elements of even groups that no registry knows. */
Stream_Builder Unknown(unsigned char code, int count)
{
    Stream_Builder s(code);
    for (int i = 0; i < count; ++i) {
        s.Element(0x0014, 0x7F00U + static_cast<unsigned int>(i), "LO", "later edition ");
    }
    return s;
}

TEST(Straight, WhatNothingContradictsIsReadAsItStands)
{
    constexpr unsigned char Implicit = 0;
    constexpr unsigned char Explicit = DICOM_Order_Explicit_VR;
    const std::string item = Stream_Builder(Explicit).Item(6).Raw("no ele").Bytes();
    const std::string nested = Stream_Builder(Implicit)
                                   .Sequence(0x0014, 0x7E00)
                                   .Item()
                                   .Raw(Unknown(Implicit, 2).Bytes())
                                   .Item_End()
                                   .Item()
                                   .Raw(Unknown(Implicit, 2).Bytes())
                                   .Item_End()
                                   .Sequence_End()
                                   .Bytes();
    const struct {
        const char* name;
        std::string file;
    } cases[] = {
        {"unknown to the end", File_Of(Implicit, Unknown(Implicit, 5).Bytes())},
        {"unknown, then known",
         File_Of(Implicit,
                 Unknown(Implicit, 2).Element(0x0028, 0x0004, "CS", "MONOCHROME2 ").Bytes())},
        {"unknown in items", File_Of(Implicit, nested)},
        {"unknown, explicit", File_Of(Explicit, Unknown(Explicit, 5).Bytes())},
        {"OB that begins like an item",
         File_Of(
             Explicit,
             Stream_Builder(Explicit).Element(0x0042, 0x0011, "OB", item + "goes on ").Bytes())},
        {"OW with an item of undefined length",
         File_Of(Explicit, Stream_Builder(Explicit)
                               .Element(0x0066, 0x0023, "OW",
                                        Stream_Builder(Explicit).Item().Raw("no elements!").Bytes())
                               .Bytes())},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        const Mended_File mended = Mend_In_Memory(row.file);
        EXPECT_EQ(mended.Faults(), "");
        EXPECT_EQ(mended.bytes, row.file);
    }
}

}  // namespace
