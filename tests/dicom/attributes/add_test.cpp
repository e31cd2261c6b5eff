// Creating attributes: the bytes that every VR stores, in the three argument forms.
#include "support/case_page.h"
#include "support/message_log.h"

#include <Lib_DICOM/Lib_DICOM.h>
#include <Lib_DICOM/add.h>

#include <gmock/gmock.h>

#include <array>
#include <bit>
#include <cmath>
#include <functional>
#include <map>
#include <string>

using namespace std::string_literals;
using testing::HasSubstr;

namespace {

/** A private tag has no dictionary entry, so that any number of values is right. */
constexpr unsigned short Group = 0x0009;
constexpr unsigned short Element = 0x1001;

constexpr char Add_Page[] = "dicom/attributes/add.cases";

struct List {
    DICOM_Root root = {};
    DICOM_List* head = nullptr;

    List() = default;
    List(const List&) = delete;
    List& operator=(const List&) = delete;
    ~List()
    {
        while (head != nullptr) {
            DICOM_List* const next = head->next;
            DICOM_Attribute_Free(nullptr, head);
            head = next;
        }
    }
    DICOM_Builder Builder()
    {
        return {nullptr, &root, &head};
    }
    template <class... Values>
    DICOM_List* Add(unsigned short vr, int count, Values... values)
    {
        return DICOM_Attribute_Add(nullptr, &root, &head, Group, Element, vr, count, values...);
    }
    std::string Value() const
    {
        return head->data == nullptr ? ""
                                     : std::string(reinterpret_cast<const char*>(head->data),
                                                   static_cast<std::size_t>(head->size));
    }
};

class Add : public testing::Test {
protected:
    ~Add() override
    {
        DICOM_Flag_Current_Standard = 0;
    }
    static void Expect(const std::string& bytes, const std::function<void(List&)>& add)
    {
        Expect(bytes, "", add);
    }
    static void Expect(const std::string& bytes, const std::string& message,
                       const std::function<void(List&)>& add)
    {
        List list;
        const Message_Log log;
        add(list);
        EXPECT_EQ(list.Value(), bytes);
        EXPECT_EQ(list.head->flags & 0xF, DICOM_Origin_Library);
        EXPECT_EQ(list.head->byte_order, DICOM_Order_Explicit_VR);
        EXPECT_EQ(log.Text(), message.empty() ? "" : message + "\n");
    }
};

TEST_F(Add, StoresTextsOfEachForm)
{
    const char* const texts[] = {"A", "", "BC"};
    Expect("A\\\\BC ", [](List& l) { l.Add(VR_LO, 3, "A", "", "BC"); });
    Expect("A\\\\BC ", [&](List& l) { l.Add(VR_LO, -3, texts); });
    Expect("A\\\\BC ", [](List& l) { l.Builder().Texts<VR_LO>(Group, Element, {"A", "", "BC"}); });
    Expect("one ", "VR=Text: only 1 value accepted (nb_arg=2 != 1)",
           [](List& l) { l.Add(VR_ST, 2, "one", "two"); });
    Expect("one ", "VR=Text: vector fct not implemented (nb_arg=-1)",
           [](List& l) { l.Add(VR_ST, -1, "one"); });
    Expect("1.2.3\0"s, [](List& l) { l.Add(VR_UI, 1, "1.2.3"); });
    Expect("1.2\0"s, "VR=UI: vector fct not implemented (nb_arg=-1)",
           [](List& l) { l.Add(VR_UI, -1, "1.2"); });
    Expect("1.23.4", [](List& l) { l.Add(VR_UI, 2, "1.2", "3.4"); });
    Expect("1.2\\3.4\0"s, [](List& l) {
        l.Builder().Texts<VR_UI>(Group, Element, {"1.2", "3.4"});
    });
    Expect("A^B\\C ", "VR=PN: vector fct not implemented (nb_arg=-2)",
           [](List& l) { l.Add(VR_PN, -2, "A^B", "C"); });
    Expect("", [](List& l) { l.Add(VR_CS, 0); });
}

TEST_F(Add, StoresNumbersAsTexts)
{
    const float floats[] = {1.5F, 2.25F};
    const float below_one = 0.99999994F;
    const float minus_below_one = -0.9999999F;
    const float minus_zero = -0.0F;
    const int ints[] = {-7, 12};
    Expect("1.5\\2.25", [&](List& l) { l.Add(VR_DS, -2, floats); });
    Expect("1.5\\2.25", [&](List& l) { l.Add(VR_DS, 2, &floats[0], &floats[1]); });
    Expect("1 ", [&](List& l) { l.Add(VR_DS, 1, &below_one); });
    Expect("-0.9999999", [&](List& l) { l.Add(VR_DS, 1, &minus_below_one); });
    Expect("0 ", [&](List& l) { l.Add(VR_DS, 1, &minus_zero); });
    Expect("-7\\12 ", [&](List& l) { l.Builder().Ints<VR_IS>(Group, Element, ints); });
    Expect("-7\\12 ", [](List& l) { l.Add(VR_IS, 2, -7, 12); });
}

TEST_F(Add, StoresBinaryNumbers)
{
    const float one = 1.0F;
    const unsigned char bytes[] = {1, 2, 3};
    Expect("\1\2\3\0"s, [&](List& l) { l.Builder().Bytes(Group, Element, bytes); });
    Expect("\1\2"s, [](List& l) { l.Add(VR_OB, 2, 1, 2); });
    Expect("\xFF\xFF\2\0"s, [](List& l) { l.Add(VR_SS, 2, -1, 2); });
    Expect("\xFE\xFF"s, [](List& l) { l.Add(VR_US, 1, 0xFFFE); });
    Expect("\2\1"s, [](List& l) { l.Add(VR_OW, 1, 0x0102); });
    Expect("\4\3\2\1"s, [](List& l) { l.Add(VR_UL, 1, 0x01020304); });
    Expect("\xFF\xFF\xFF\xFF"s, [](List& l) { l.Add(VR_SL, 1, -1); });
    Expect("\0\0\x80\x3F"s, [&](List& l) { l.Add(VR_FL, 1, std::bit_cast<unsigned int>(one)); });
    Expect("\0\0\x80\x3F"s, [&](List& l) { l.Builder().Floats<VR_FL>(Group, Element, {&one, 1}); });
    Expect("\0\0\0\0\0\0\xF0\x3F"s, [](List& l) { l.Add(VR_FD, 1, 1.0); });
    Expect("\x10\0\x20\0"s, [](List& l) { l.Builder().Tag(Group, Element, 0x0010, 0x0020); });
    Expect("\x10\0\x20\0"s, "VR=AT: only multiple of 2 accepted (nb_arg=3 != 2*n)",
           [](List& l) { l.Add(VR_AT, 3, 0x0010, 0x0020, 0x0030); });
    Expect("\x10\0\x20\0"s, "VR=AT: vector fct not implemented (nb_arg=-2)",
           [](List& l) { l.Add(VR_AT, -2, 0x0010, 0x0020); });
    List lone;
    const Message_Log log;
    lone.Add(VR_AT, 1, 0x0010, 0x0020);
    EXPECT_EQ(lone.Value(), "\x10\0\x20\0"s);
    EXPECT_EQ(log.Text(), "VR=AT: only multiple of 2 accepted (nb_arg=1 != 2*n)\n");
    DICOM_Flag_Current_Standard = 1;
    const std::int64_t wide = -2;
    Expect("\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s, [&](List& l) {
        l.Builder().Longs<VR_SV>(Group, Element, {&wide, 1});
    });
}

TEST_F(Add, StoresDatesAndTimes)
{
    std::array<OrisWare_Date, 2> dates = {};
    std::array<OrisWare_Time, 2> times = {};
    Make_Oris_Date(&dates[0], 1998, 5, 17);
    Make_Oris_Date(&dates[1], 2024, 2, 29);
    Make_Oris_Time(&times[0], 10, 5, 59.9995F);
    Make_Oris_Time(&times[1], 10, 5, 7.25F);
    Expect("19980517", [&](List& l) { l.Add(VR_DA, 1, &dates[0]); });
    Expect("100560", [&](List& l) { l.Add(VR_TM, 1, &times[0]); });
    Expect("100507.250", [&](List& l) { l.Builder().Times(Group, Element, {&times[1], 1}); });
    Expect("100560\\100507.250 ", [&](List& l) { l.Add(VR_TM, 2, &times[0], &times[1]); });
    Expect("20240229100507.250",
           [&](List& l) { l.Builder().Date_Time(Group, Element, dates[1], times[1]); });
    Expect("19980517100560\\20240229100507.250 ",
           [&](List& l) { l.Add(VR_DT, -2, dates.data(), times.data()); });
    // The fields as they are, with decimals rounded to the nearest, of two to the even one.
    For_Each_Case(Add_Page, "times", 3, [](const Case_Row& row) {
        OrisWare_Time time = {};
        int state = 0;
        ASSERT_EQ(std::sscanf(row[0].c_str(), "%d %hhu %hhu %f", &state, &time.hour, &time.minute,
                              &time.seconds),
                  4);
        time.state = static_cast<decltype(time.state)>(state);
        Expect(row[1], row[2], [&](List& l) { l.Add(VR_TM, 1, &time); });
    });
    OrisWare_Time text = {};
    Make_Oris_Time(&text, "10:11:12", "hh:mm:ss");
    Expect("101112", [&](List& l) { l.Add(VR_TM, 1, &text); });
    text.time_str[0] = 'x';
    Expect("101112", "VR=TM: no time, 101112 is stored", [&](List& l) { l.Add(VR_TM, 1, &text); });
    Time_Free(&text);
    const OrisWare_Date none = {Oris_State_Numeric, 2023, 2, 29, nullptr, nullptr};
    Expect("00000000", "VR=DA: no date (2023,2,29), 00000000 is stored",
           [&](List& l) { l.Add(VR_DA, 1, &none); });
}

TEST_F(Add, RefusesWhatIsMissingOrUnknown)
{
    const char* const texts[] = {"A", nullptr};
    const OrisWare_Date date = {};
    const OrisWare_Time time = {};
    const std::map<std::string, const void*> arguments = {
        {"", nullptr}, {"texts", texts}, {"date", &date}, {"time", &time}};
    For_Each_Case(Add_Page, "refused", 5, [&](const Case_Row& row) {
        List list;
        const Message_Log log(9);
        list.Add(row.VR(0), row.Number(1), arguments.at(row[2]), arguments.at(row[3]));
        EXPECT_EQ(list.head->data, nullptr);
        EXPECT_EQ(log.Count(row[4]), 1);
    });
}

TEST_F(Add, LeavesAnExistingValueAndOpensSequences)
{
    List list;
    list.Add(VR_LO, 1, "old");
    EXPECT_EQ(list.Add(VR_SH, 1, "new"), list.head);
    EXPECT_EQ(list.head->vr, VR_LO);
    EXPECT_EQ(list.Value(), "old ");
    list.head->flags = 0;
    list.Add(VR_SH, 1, "new");
    EXPECT_EQ(list.Value(), "new ");
    DICOM_Builder builder = list.Builder();
    builder.Open_Sequence(0x0008, 0x1140);
    builder.Text<VR_UI>(0x0008, 0x1155, "1.2");
    builder.Next_Item();
    builder.Text<VR_UI>(0x0008, 0x1155, "1.3");
    builder.Close_Sequence();
    ASSERT_EQ(list.head->element, 0x1140);
    ASSERT_EQ(list.head->nb_item, 2);
    EXPECT_EQ(list.head->item[1]->element, 0x1155);
    EXPECT_EQ(list.root.Sequence_Depth, 0);
    const unsigned short mark = DICOM_Mark_Append;
    List marked;
    marked.Add(VR_SQ, 1, mark);
    EXPECT_EQ(marked.head->flags, DICOM_Origin_Library | DICOM_Mark_Append);
}

}  // namespace
