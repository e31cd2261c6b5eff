// Elements that occur again, where values are long and many. More of them are in examples.md.
#include "mend/healing/order.h"
#include "mend/healing/record_building.h"
#include "support/mend_in_memory.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

/** Long values stay in the source, and are compared there to their last byte. */
TEST(Order, ComparesValuesThatWereLeftInTheSource)
{
    const std::string value(5000, 'x');
    for (const std::size_t other : {0U, 4095U, 4096U, 4999U}) {
        Stream_Builder s;
        std::string changed = value;
        changed[other] = 'y';
        s.Raw(Part10_Head(Explicit_Little_UID)).Element(0x0020, 0x4000, "LT", value);
        s.Element(0x0020, 0x4000, "LT", changed);
        EXPECT_EQ(
            Mend_In_Memory(s.Bytes()).Lines(),
            "error duplicate (0020,4000) occurs twice with different values; the first one is "
            "kept, and this one of 5000 bytes is lost\n")
            << other;
    }
}

TEST(Order, KeepsTheHeaderOfAnItemInFront)
{
    DICOM_List* const header = New_Record({0xFFFE, 0xE000}, 0);
    header->next = New_Record({0x0018, 0x0015}, VR_CS);
    header->next->next = New_Record({0x0008, 0x0060}, VR_CS);
    Record_List list(New_Record({0x0008, 0x1140}, VR_SQ));
    Set_Items(*list.Head(), {header});
    Findings findings;
    Heal_Order({}, list, findings);
    const DICOM_List* const item = Item_Of(*list.Head(), 0);
    EXPECT_EQ(item, header);
    EXPECT_EQ(Tag_Of(*item->next), (Tag{0x0008, 0x0060}));
    EXPECT_EQ(item->last, item->next->next);
    EXPECT_EQ(item->last->next, nullptr);
}

/** Quadratic work would take minutes. */
TEST(Order, TakesLinearTimeForDuplicates)
{
    constexpr int Count = 200'000;
    Record_List list(New_Record({0x0008, 0x0060}, VR_CS));
    DICOM_List* last = list.Head();
    for (int i = 1; i < Count; ++i) {
        last->next = New_Record({0x0008, 0x0060}, VR_CS);
        last = last->next;
        Set_Bytes(*last, {reinterpret_cast<const unsigned char*>("MR"), 2});
    }
    Findings findings;
    Heal_Order({}, list, findings);
    EXPECT_EQ(list.Head()->next, nullptr);
    EXPECT_EQ(list.Head()->size, 2);
    EXPECT_EQ(findings.Count(), static_cast<std::size_t>(Count - 1));
}

}  // namespace
