// Offsets of a DICOMDIR.
#include "support/mend_in_memory.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

/** A directory of one record; `offset` is the element (0004,1200) with its header. */
std::string Directory(const std::string& offset)
{
    Stream_Builder s;
    s.Raw(Part10_Head(Explicit_Little_UID)).Raw(offset);
    s.Sequence(0x0004, 0x1220).Item().Element(0x0004, 0x1430, "CS", "PATIENT ");
    return s.Item_End().Sequence_End().Bytes();
}

Stream_Builder Offset(const char* vr, int length)
{
    return Stream_Builder().Header(0x0004, 0x1200, vr, length);
}

TEST(Directory, OffsetsBecomeULAndStayWhenTheyLeadNowhere)
{
    const int head = static_cast<int>(Part10_Head(Explicit_Little_UID).size());
    const std::string right = Directory(Offset("UL", 4).Int(head + 12 + 12).Bytes());
    const std::string text = std::to_string(head + 8 + 4 + 12);
    const struct {
        const char* name;
        std::string file;
        std::string expected;
        const char* findings;
    } cases[] = {
        {"right", right, right, ""},
        {"none", Directory(Offset("UL", 4).Int(0).Bytes()),
         Directory(Offset("UL", 4).Int(0).Bytes()), ""},
        {"leads nowhere", Directory(Offset("UL", 4).Int(head).Bytes()),
         Directory(Offset("UL", 4).Int(head).Bytes()),
         "kept directory (0004,1200) the offset leads to no directory record\n"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        const Mended_File mended = Mend_In_Memory(row.file);
        EXPECT_EQ(mended.Lines(), row.findings);
        EXPECT_EQ(mended.bytes, row.expected);
    }
    // Of another VR they are numbers all the same, and follow their records.
    for (const std::string& offset :
         {Offset("OB", 4).Int(head + 16 + 12).Bytes(), Offset("SL", 4).Int(head + 12 + 12).Bytes(),
          Offset("IS", 4).Raw(text + std::string(4 - text.size(), ' ')).Bytes()}) {
        const Mended_File mended = Mend_In_Memory(Directory(offset));
        EXPECT_EQ(mended.bytes, right) << mended.Lines();
        EXPECT_EQ(Mend_In_Memory(mended.bytes).Lines(), "");
    }
}

}  // namespace
