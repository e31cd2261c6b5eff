// Writing: the bytes of elements, sequences, groups and the Part 10 head.
#include "support/message_log.h"

#include <Lib_DICOM/Lib_DICOM.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <deque>

namespace {

using Records = std::vector<DICOM_List*>;

template <class Function, class... Param>
std::string Written(Function function, char code, DICOM_List* list, Param... param)
{
    char* buffer = nullptr;
    const auto size = function(nullptr, code, list, &buffer, param...);
    std::string hex;
    for (const char byte : std::string(buffer, static_cast<std::size_t>(size))) {
        hex += "0123456789ABCDEF"[byte >> 4 & 15];
        hex += "0123456789ABCDEF"[byte & 15];
    }
    DICOM_Lib_Free(&buffer);
    return hex;
}

std::string Stream(char code, DICOM_List* list)
{
    return Written(&DICOM_List2Stream, code, list);
}

DICOM_List* Linked(const Records& records)
{
    for (std::size_t i = 1; i < records.size(); ++i) {
        records[i - 1]->next = records[i];
    }
    return records.front();
}

class Write : public testing::Test {
protected:
    ~Write() override
    {
        DICOM_Flag_Current_Standard = DICOM_Flag_Seq_Size = 0;
        DICOM_Flag_Elem_0000 = Flag_DICOM_Propriatery = 0;
        DICOM_Write_Image_Fct(nullptr);
        DICOM_Write_Image_B_Fct(nullptr);
    }

    /** A record without bytes. */
    DICOM_List* Empty(unsigned int tag, unsigned short vr, int size, const Records& items = {})
    {
        DICOM_List& record = records_.emplace_back();
        record.group = static_cast<unsigned short>(tag >> 16);
        record.element = static_cast<unsigned short>(tag & 0xFFFF);
        record.vr = vr;
        record.size = size;
        record.item = slots_.emplace_back(items).data();
        record.nb_item = static_cast<int>(items.size());
        return &record;
    }
    DICOM_List* Record(unsigned int tag, unsigned short vr, const std::string& value)
    {
        DICOM_List* const record = Empty(tag, vr, static_cast<int>(value.size()));
        record->data = reinterpret_cast<unsigned char*>(values_.emplace_back(value).data());
        return record;
    }

private:
    std::deque<DICOM_List> records_;
    std::deque<std::string> values_;
    std::deque<Records> slots_;
};

TEST_F(Write, ElementsInEveryCode)
{
    const auto make = [this](unsigned short vr, const char* value) {
        return Record(0x00280010, vr, value);
    };
    const struct {
        DICOM_List* record;
        char current;
        const char *implicit, *little, *big;  // what follows the tag
    } rows[] = {
        {make(VR_PN, "DOE^J"), 0, "05000000444F455E4A", "504E0500444F455E4A", "504E0005444F455E4A"},
        {make(VR_UT, "ab"), 0, "020000006162", "555402006162", "555400026162"},
        {make(VR_UT, "ab"), 1, "020000006162", "55540000020000006162", "55540000000000026162"},
        {make(VR_OB, "ab"), 0, "020000006162", "4F420000020000006162", "4F420000000000026162"},
        {make(VR_OW, "abc"), 1, "0400000061626300", "4F5700000400000061626300",
         "4F5700000000000462616300"},
        {make(VR_UL, "abcd"), 0, "0400000061626364", "554C040061626364", "554C000464636261"},
        {make(VR_FD, "abcdefgh"), 0, "080000006162636465666768", "464408006162636465666768",
         "464400086867666564636261"},
        {make(VR_AT, "abcd"), 0, "0400000061626364", "4154040061626364", "4154000461626364"},
        {make(VR_AT, "abcd"), 1, "0400000061626364", "4154040061626364", "4154000462616463"},
        {make(VR_LO, "a"), 1, "020000006120", "4C4F02006120", "4C4F00026120"},
        {make(VR_UI, "1"), 1, "020000003100", "554902003100", "554900023100"},
        {make(0, "ab"), 0, "020000006162", "000002006162", "000000026162"},
        {make(0, "ab"), 1, "020000006162", "554E0000020000006162", "554E0000000000026162"},
        {Empty(0x00280010, VR_US, 2), 0, "020000000000", "555302000000", "555300020000"},
        {Empty(0x00280010, VR_LO, INT_MIN), 0, "00000000", "4C4F0000", "4C4F0000"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.little);
        DICOM_Flag_Current_Standard = row.current;
        EXPECT_EQ(Stream(0, row.record), std::string("28001000") + row.implicit);
        EXPECT_EQ(Stream(8, row.record), std::string("28001000") + row.little);
        EXPECT_EQ(Stream(9, row.record), std::string("00280010") + row.big);
    }
    EXPECT_EQ(Stream(8, Empty(0xFFFEE000, VR_Item, 500)), "FEFF00E000000000");

    DICOM_Flag_Current_Standard = 0;
    DICOM_List* const text = Record(0x00400001, VR_LT, std::string(65535, '3'));
    const std::string value = Stream(0, text).substr(16);
    EXPECT_EQ(Stream(8, text), "400001004C54FFFF" + value);
    DICOM_Flag_Current_Standard = 1;
    EXPECT_EQ(Stream(8, text), "40000100554E000000000100" + value + "20");
}

TEST_F(Write, SequencesAndFragments)
{
    DICOM_List* const list = Record(0x00100010, VR_LO, "aaaaaaaaaa");
    DICOM_List* const two = Empty(0x00081140, VR_SQ, 7, {list, list, nullptr, list});
    DICOM_List* const one = Empty(0x00081140, VR_SQ, -1, {list});
    DICOM_List* const nested = Empty(0x00081140, VR_SQ, -1, {one});
    DICOM_List* const unknown = Empty(0x00081140, VR_UN, -1, {list});
    // The delimitation tags that formatting leaves in the lists are not written twice.
    DICOM_List* const fragment =
        Linked({Record(0xFFFEE000, VR_Item, "abc"), Empty(0xFFFEE0DD, VR_Delimiter, 0)});
    DICOM_List* const pixels =
        Empty(0x7FE00010, VR_OB, -1, {Empty(0xFFFEE000, VR_Item, 0), fragment});
    DICOM_List* const icon = Empty(0x00081140, VR_SQ, -1, {pixels});

    const std::string value = "61616161616161616161", tag = "08004011";
    const std::string text = "100010004C4F0A00" + value, plain = "100010000A000000" + value;
    const std::string big = "FFFEE00000000012001000104C4F000A" + value;
    const std::string open = "FEFF00E0FFFFFFFF", next = "FEFF0DE000000000" + open;
    const std::string end = "FEFF0DE000000000FEFFDDE000000000", item = "FEFF00E012000000";
    const std::string start = tag + "53510000FFFFFFFF" + open;
    const std::string bytes = "FEFF00E000000000FEFF00E00400000061626300FEFFDDE000000000";
    const struct {
        DICOM_List* record;
        char code, with_lengths, current;
        std::string expected;
    } rows[] = {
        {two, 8, 0, 0, start + text + next + text + end},
        {two, 8, 1, 0, tag + "5351000034000000" + item + text + item + text},
        {two, 9, 1, 0, "000811405351000000000034" + big + big},
        {two, 0, 1, 0, tag + "07000000" + item + plain + item + plain},
        {two, 0, 1, 1, tag + "34000000" + item + plain + item + plain},
        {two, 0, 0, 1, tag + "FFFFFFFF" + open + plain + next + plain + end},
        {nested, 8, 0, 0, start + start + text + end + end},
        {nested, 8, 1, 0,
         tag + "535100002E000000FEFF00E026000000" + tag + "535100001A000000" + item + text},
        {Empty(0x00081140, VR_SQ, -1), 0, 0, 0, tag + "FFFFFFFFFEFFDDE000000000"},
        {unknown, 0, 0, 1, tag + "FFFFFFFF" + open + plain + end},
        {unknown, 8, 0, 0, start + text + end},
        {pixels, 0, 1, 0, "E07F1000FFFFFFFF" + bytes},
        {icon, 8, 1, 0, tag + "5351000030000000FEFF00E028000000E07F10004F420000FFFFFFFF" + bytes},
    };
    for (const auto& row : rows) {
        DICOM_Flag_Seq_Size = row.with_lengths;
        DICOM_Flag_Current_Standard = row.current;
        EXPECT_EQ(Stream(row.code, row.record), row.expected);
    }
    EXPECT_EQ(unknown->vr, VR_SQ);
}

/** Groups of a stream of empty elements in implicit VR. */
std::vector<int> Groups(const std::string& hex)
{
    std::vector<int> groups;
    for (std::size_t i = 0; i < hex.size(); i += 16) {
        groups.push_back(std::stoi(hex.substr(i + 2, 2) + hex.substr(i, 2), nullptr, 16));
    }
    return groups;
}

TEST_F(Write, SelectsGroups)
{
    // 0010 stands behind a higher group and is left out.
    const unsigned int groups[] = {0x0000, 0x0001, 0x0002, 0x0004, 0x0008, 0x0009, 0x0022,
                                   0x0010, 0x60FE, 0x7F00, 0x7FE0, 0x7FF0, 0x7FF1, 0x8000};
    Records records;
    for (const unsigned int group : groups) {
        records.push_back(Empty(group << 16 | 0x0010, VR_LO, 0));
    }
    DICOM_List* const list = Linked(records);
    const struct {
        char current, with_private;
        std::vector<int> before, after;
    } rows[] = {{0, 0, {0x0008, 0x60FE}, {0x7FF0}},
                {0, 1, {0x0008, 0x0009, 0x60FE}, {0x7FF0, 0x7FF1}},
                {1, 0, {0x0004, 0x0008, 0x0022, 0x60FE, 0x7F00}, {0x7FF0}},
                {1, 1, {0x0001, 0x0004, 0x0008, 0x0009, 0x0022, 0x60FE, 0x7F00}, {0x7FF0, 0x7FF1}}};
    for (const auto& row : rows) {
        DICOM_Flag_Current_Standard = row.current;
        Flag_DICOM_Propriatery = row.with_private;
        EXPECT_EQ(Groups(Written(&DICOM_Write_Buffer_A, 0, list, nullptr)), row.before);
        EXPECT_EQ(Groups(Written(&DICOM_Write_Buffer_C, 0, list, nullptr)), row.after);
    }
    EXPECT_EQ(Groups(Stream(0, list)).size(), records.size());

    Message_Log log(4);  // absent groups are visited for the trace, with the same result
    EXPECT_EQ(Groups(Written(&DICOM_Write_Buffer_C, 0, list, nullptr)).size(), 2U);
    EXPECT_EQ(log.Count("-> DICOM_Write_Buffer_C() group (7ffd) = 16 bytes tot, 0 bytes data"), 1);
    EXPECT_EQ(log.Count("-> DICOM_Write_Buffer_C() group "), 16);
}

/** Appends "PIX", or returns the number that `param` points at. */
int Append_Pixels(HWND, char, unsigned int offset, char** buffer, void* param)
{
    if (param != nullptr) {
        return *static_cast<int*>(param);
    }
    *buffer = static_cast<char*>(std::realloc(*buffer, offset + 3));
    std::memcpy(*buffer + offset, "PIX", 3);
    return 3;
}

TEST_F(Write, GroupLengthsAndPixels)
{
    DICOM_List* const list =
        Linked({Record(0x00080005, VR_CS, "ab"), Record(0x00080008, VR_CS, "cd"),
                Record(0x7FE00010, VR_OW, "xx"), Record(0x7FF00010, VR_LO, "ef")});
    const std::string group_8 = "00080000554C000400000014000800054353000261620008000843530002";
    DICOM_Flag_Elem_0000 = 1;
    DICOM_Write_Image_Fct(&Append_Pixels);
    EXPECT_EQ(Written(&DICOM_Write_Buffer, 9, list, nullptr),
              group_8 + "63645049587FF00000554C00040000000A7FF000104C4F00026566");

    Message_Log log;
    int count = -5;
    EXPECT_EQ(Written(&DICOM_Write_Buffer, 9, list, &count), "");
    count = INT_MAX;
    EXPECT_EQ(Written(&DICOM_Write_Buffer, 9, list, &count), "");
    EXPECT_EQ(log.Count("returned -5") + log.Count("2147483679 bytes are too many"), 2);
}

TEST_F(Write, MissingPixelWriters)
{
    Message_Log log;
    char* buffer = nullptr;
    DICOM_List* const record = Record(0x00080005, VR_CS, "ab");
    EXPECT_EQ(DICOM_Write_Buffer(nullptr, 8, record, &buffer, nullptr), 0U);
    EXPECT_EQ(std::string(buffer, 10), std::string("\x08\0\x05\0CS\x02\0ab", 10));
    DICOM_Lib_Free(&buffer);
    int last = 4;
    EXPECT_EQ(DICOM_Write_Buffer_B(nullptr, 8, &buffer, 2, 3, &last), 0U);
    EXPECT_EQ(log.Count("\361\005Warning:\002 Write Image call back undefined!"), 2);

    DICOM_Write_Image_B_Fct([](HWND, char code, char**, int first, int second, void* param) {
        return 1000 * code + 100 * first + 10 * second + *static_cast<int*>(param);
    });
    EXPECT_EQ(DICOM_Write_Buffer_B(nullptr, 8, &buffer, 2, 3, &last), 8234U);
}

TEST_F(Write, Part10Head)
{
    DICOM_List* const list =
        Linked({Record(0x00020010, VR_UI, "ab"), Record(0x00080005, VR_CS, "ab")});
    const std::string head = std::string(256, '0') + "4449434D", group = "02001000554902006162";
    EXPECT_EQ(Written(&DICOM_Write_Part10, 0, list), head + "02000000040000000A000000" + group);
    EXPECT_EQ(Written(&DICOM_Write_Part10, 9, list), head + "00020000554C00040000000A" + group);
    EXPECT_EQ(Written(&DICOM_Write_Part10, 8, nullptr), head);
}

TEST_F(Write, NothingAndTooMuch)
{
    char* buffer = nullptr;
    EXPECT_EQ(DICOM_List2Stream(nullptr, 8, nullptr, &buffer), 0);
    Message_Log log;
    DICOM_List* const list =
        Linked({Empty(0x00080005, VR_OB, INT_MAX), Empty(0x00080008, VR_OB, INT_MAX)});
    EXPECT_EQ(DICOM_List2Stream(nullptr, 8, list, &buffer), 0);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(log.Count("4294967318 bytes are too many"), 1);
}

}  // namespace
