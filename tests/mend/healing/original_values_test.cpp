// Which values count as changed, whoever changed them.
#include "mend/healing/original_values.h"

#include "mend/healing/list_index.h"
#include "mend/healing/original_attributes.h"
#include "mend/healing/record_building.h"
#include "mend/reading/reader.h"
#include "mend/reading/tree.h"
#include "support/case_page.h"
#include "support/mend_in_memory.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

constexpr char Explicit_Big[] = "1.2.840.10008.1.2.2";

/** "kind path value" of each change, a line each. */
std::string Changes(const Original_Values& originals, const Data_Set& set)
{
    constexpr const char* Kinds[] = {"changed", "added", "gone"};
    std::string lines;
    originals.For_Each_Change(set, [&](const Changed_Value& change) {
        lines += Kinds[static_cast<int>(change.kind)] + " "s + Path_Text(change.path, change.tag) +
                 " " + std::string(change.value.begin(), change.value.end()) + "\n";
    });
    return lines;
}

void Set(Data_Set& set, Tag tag, const std::string& value)
{
    Set_Bytes(*Find_Record(set.records.Head(), tag), Bytes(value.begin(), value.end()));
}

TEST(Original_Values, DifferInMoreThanPadding)
{
    For_Each_Case("mend/healing/original_values.cases", "differences", 4, [](const Case_Row& row) {
        Findings findings;
        const Library_Session session(findings);
        Stream_Builder s;
        s.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3"));
        s.Element(0x0042, 0x0010, row[0], row[1]);
        const std::string file = Part10_Head(Explicit_Little_UID) + s.Bytes();
        Data_Set set = Read_Data_Set(Source_Of(file), findings);
        const Original_Values originals(set);
        Set(set, {0x0042, 0x0010}, row[2]);
        EXPECT_EQ(Changes(originals, set),
                  row[3] == "yes" ? "changed 0042,0010 " + row[1] + "\n" : "");
    });
}

TEST(Original_Values, TellWhatIsGoneAndWhatIsNew)
{
    Findings findings;
    const Library_Session session(findings);
    Stream_Builder s(DICOM_Order_Explicit_VR | DICOM_Order_Big_Endian);
    s.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3"));
    s.Element(0x0008, 0x0060, "CS", "CT");
    s.Element(0x0008, 0x0070, "LO", std::string(2000, 'x'));
    s.Sequence(0x0040, 0x0275).Item();
    s.Header(0x0028, 0x0010, "US", 4).Short(0x4142).Short(0x4344);
    s.Header(0x0028, 0x0011, "US", 2).Short(0x4142);
    s.Item_End().Sequence_End();
    s.Header(0x0028, 0x0009, "AT", 4).Short(0x4142).Short(0x4344);
    s.Header(0x0042, 0x0010, "FD", 8).Raw("abcdefgh");
    s.Header(0x0042, 0x0011, "UL", 4).Raw("abcd");
    s.Header(0x7FE0, 0x0010, "OW", 4).Short(1).Short(2);
    const std::string file = Part10_Head(Explicit_Big) + s.Bytes();
    Data_Set set = Read_Data_Set(Source_Of(file), findings);
    const Original_Values originals(set);
    EXPECT_EQ(Changes(originals, set), "");
    // A bulk value that is only fetched, and numbers that only change their byte order.
    set.Load(*Find_Record(set.records.Head(), {0x0008, 0x0070}));
    Set(set, {0x0028, 0x0009}, "BADC");
    EXPECT_EQ(Changes(originals, set), "");
    EXPECT_FALSE(originals.Pixels_Changed(set));

    Find_Record(set.records.Head(), {0x0008, 0x0060})->flags |= DICOM_Mark_Invalid;
    Set(set, {0x0008, 0x0070}, "y");
    Set(set, {0x0042, 0x0010}, "abcdefgh");
    Set(set, {0x0042, 0x0011}, "abcd");
    Set(set, Pixel_Data_Tag, "abcdef");
    DICOM_List* const item = Item_Of(*Find_Record(set.records.Head(), {0x0040, 0x0275}), 0);
    Set_Bytes(*Find_Record(item, {0x0028, 0x0010}), Bytes{'x', 'y'});
    List_Index(set).Insert(set.records.Address(), Record_List(New_Record({0x0008, 0x0005}, VR_CS)));
    EXPECT_EQ(Changes(originals, set), "added 0008,0005 \n"
                                       "changed 0008,0070 " +
                                           std::string(2000, 'x') +
                                           "\n"
                                           "changed 0040,0275[0]/0028,0010 BADC\n"
                                           "changed 0042,0010 hgfedcba\n"
                                           "changed 0042,0011 dcba\n"
                                           "gone 0008,0060 CT\n");
    EXPECT_TRUE(originals.Pixels_Changed(set));
}

/** A list with an element that stands in so many sequences. */
Record_List Nested(std::size_t depth)
{
    Record_List list(New_Record({0x0008, 0x0104}, VR_LO));
    Set_Bytes(*list.Head(), Bytes{'a', 'b'});
    for (std::size_t i = 0; i < depth; ++i) {
        DICOM_List* const header = New_Record({0xFFFE, 0xE000}, 0);
        header->next = std::exchange(*list.Address(), nullptr);
        header->last = header->next;
        *list.Address() = New_Record({0x0040, 0xA730}, VR_SQ);
        Set_Items(*list.Head(), {header});
    }
    For_Each_Element(list.Head(), [pos = 0U](DICOM_List& record, const Path&) mutable {
        record.flags = 1;
        record.pos = ++pos;
    });
    return list;
}

TEST(Original_Values, AreToldUpToADepth)
{
    for (const std::size_t depth : {Deepest_Change, Deepest_Change + 1}) {
        Findings findings;
        const Library_Session session(findings);
        const std::string file = Part10_Head(Explicit_Little_UID);
        Data_Set set = Read_Data_Set(Source_Of(file), findings);
        set.records = Nested(depth);
        const Original_Values originals(set);
        For_Each_Element(set.records.Head(), [](DICOM_List& record, const Path&) {
            if (record.element == 0x0104) {
                Set_Bytes(record, Bytes{'c', 'd'});
            }
        });
        const std::size_t count = findings.Count();
        Record_Changes(set, originals, "2026", findings);
        ASSERT_EQ(findings.Count(), count + 1);
        const bool is_kept = depth == Deepest_Change;
        EXPECT_EQ(findings.All().back().level, is_kept ? Level::Info : Level::Error);
        EXPECT_EQ(findings.All().back().text,
                  is_kept ? "the former values are kept in Original Attributes"
                          : "it is nested too deeply for its former value to be kept");
        EXPECT_EQ(Undo(set, findings), is_kept);
        EXPECT_EQ(Changes(originals, set).empty(), is_kept);
    }
}

}  // namespace
