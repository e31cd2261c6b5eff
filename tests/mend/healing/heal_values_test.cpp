// Values that were left in the source. What becomes of values in their data set is in examples.md.
#include "mend/healing/values.h"
#include "support/mend_in_memory.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

TEST(Values, StayInTheSourceUnlessTheyChange)
{
    const std::string sound(2000, 'x');
    const std::string padded = sound + "\0\0"s;
    Stream_Builder s;
    s.Raw(Part10_Head(Explicit_Little_UID)).Element(0x0010, 0x4000, "LT", sound);
    s.Element(0x0020, 0x4000, "LT", padded).Element(0x0029, 0x1000, "OB", sound);
    Findings findings;
    const Library_Session session(findings);
    Data_Set set = Read_Data_Set(Source_Of(s.Bytes()), findings);
    Heal_Values(set, set.records, {}, findings);
    EXPECT_EQ(Find_Record(set.records.Head(), {0x0010, 0x4000})->data, nullptr);
    EXPECT_EQ(Find_Record(set.records.Head(), {0x0029, 0x1000})->data, nullptr);
    const DICOM_List* const healed = Find_Record(set.records.Head(), {0x0020, 0x4000});
    ASSERT_NE(healed->data, nullptr);
    EXPECT_EQ(healed->size, 2000);
}

}  // namespace
