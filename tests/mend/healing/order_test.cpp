// Order of elements, and elements that occur again.
#include "mend/healing/order.h"
#include "mend/healing/record_building.h"
#include "mend/writing/encoder.h"
#include "support/mend_in_memory.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

struct Order_Case {
    const char* name;
    std::string elements;
    std::string expected;
    std::string findings;
};

std::string Values(const std::string& first, const std::string& second)
{
    return Stream_Builder()
        .Element(0x0018, 0x1030, "LO", first)
        .Element(0x0018, 0x1030, "LO", second)
        .Bytes();
}

std::string One(const std::string& value)
{
    return Stream_Builder().Element(0x0018, 0x1030, "LO", value).Bytes();
}

std::string Code_Sequence(const std::string& inside)
{
    return Stream_Builder()
        .Sequence(0x0008, 0x1140)
        .Item()
        .Raw(inside)
        .Item_End()
        .Sequence_End()
        .Bytes();
}

std::vector<Order_Case> Order_Cases()
{
    const std::string low = Stream_Builder().Element(0x0018, 0x0015, "CS", "HEAD").Bytes();
    const std::string high = Stream_Builder().Element(0x0028, 0x0004, "CS", "RGB ").Bytes();
    const std::string lost = "occurs twice with different values; the first one is kept, and this "
                             "one of 4 bytes is lost\n";
    return {
        {"in order", low + high, low + high, ""},
        {"out of order", high + low + high, low + high,
         "change order (0018,0015) stands out of order; the elements are sorted by their tags\n"
         "change duplicate (0028,0004) occurs twice with the same value; the first one is kept\n"},
        {"the same again", Values("ABCD", "ABCD"), One("ABCD"),
         "change duplicate (0018,1030) occurs twice with the same value; the first one is kept\n"},
        {"another value", Values("ABCD", "ABCE"), One("ABCD"),
         "error duplicate (0018,1030) " + lost},
        {"an empty one first", Values("", "ABCD"), One("ABCD"),
         "change duplicate (0018,1030) occurs twice; one without a value is left out\n"},
        {"an empty one last", Values("ABCD", ""), One("ABCD"),
         "change duplicate (0018,1030) occurs twice; one without a value is left out\n"},
        {"another VR with the same bytes",
         One("ABCD") + Stream_Builder().Element(0x0018, 0x1030, "UN", "ABCD").Bytes(), One("ABCD"),
         "error duplicate (0018,1030) " + lost},
        {"sequences that are the same", Code_Sequence(low) + Code_Sequence(low), Code_Sequence(low),
         "change duplicate (0008,1140) occurs twice with the same value; the first one is kept\n"},
        {"sequences that are not", Code_Sequence(low) + Code_Sequence(high), Code_Sequence(low),
         "error duplicate (0008,1140) occurs twice with different values; the first one is kept, "
         "and this one of -1 bytes is lost\n"},
    };
}

std::string File_Of(const std::string& elements)
{
    Stream_Builder s;
    s.Raw(Part10_Head(Explicit_Little_UID));
    s.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    return s.Raw(elements).Bytes();
}

/** Puts a file in order without anything else; encodes its data set. */
Mended_File In_Order(const std::string& elements)
{
    Findings of_reading;
    const Library_Session session(of_reading);
    const std::string file = File_Of(elements);
    Data_Set set = Read_Data_Set(Source_Of(file), of_reading);
    Findings findings;
    Heal_Order(set, set.records, findings);
    Encoded_File out;
    Encode_List(set.source, set.records.Head(), {Encoding_Of(Explicit_Little_UID)}, out);
    const Bytes joined = out.Joined();
    return {true, {joined.begin(), joined.end()}, findings.All()};
}

TEST(Order, SortsAndKeepsOneOfEach)
{
    for (const Order_Case& row : Order_Cases()) {
        SCOPED_TRACE(row.name);
        const Mended_File ordered = In_Order(row.elements);
        EXPECT_EQ(ordered.bytes, In_Order(row.expected).bytes);
        EXPECT_EQ(ordered.Lines(), row.findings);
    }
}

/** Long values stay in the source, and are compared there to their last byte. */
TEST(Order, ComparesValuesThatWereLeftInTheSource)
{
    const std::string value(5000, 'x');
    for (const std::size_t other : {0U, 4095U, 4096U, 4999U}) {
        Stream_Builder s;
        std::string changed = value;
        changed[other] = 'y';
        s.Element(0x0018, 0x4000, "LT", value).Element(0x0018, 0x4000, "LT", changed);
        EXPECT_EQ(In_Order(s.Bytes()).findings.front().level, Level::Error) << other;
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
