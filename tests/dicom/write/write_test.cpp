// Writing: the bytes of elements, sequences, groups and the Part 10 head.
#include "support/case_page.h"
#include "support/message_log.h"
#include "support/record_builder.h"

#include <Lib_DICOM/Lib_DICOM.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <utility>

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
    std::free(buffer);  // without a trace
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

constexpr char Write_Page[] = "dicom/write/write.cases";

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
    For_Each_Case(Write_Page, "elements", 6, [this](const Case_Row& row) {
        const unsigned short vr = row.VR(0);
        DICOM_List* const record = row[1].starts_with("size ")
                                       ? Empty(0x00280010, vr, std::stoi(row[1].substr(5)))
                                       : Record(0x00280010, vr, row[1]);
        DICOM_Flag_Current_Standard = static_cast<char>(row.Number(2));
        EXPECT_EQ(Stream(0, record), "28001000" + row[3]);
        EXPECT_EQ(Stream(8, record), "28001000" + row[4]);
        EXPECT_EQ(Stream(9, record), "00280010" + row[5]);
    });
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

    const std::map<std::string, DICOM_List*> lists = {
        {"two", two},         {"nested", nested}, {"empty", Empty(0x00081140, VR_SQ, -1)},
        {"unknown", unknown}, {"pixels", pixels}, {"icon", icon}};
    For_Each_Case(Write_Page, "sequences", 5, [&](const Case_Row& row) {
        DICOM_Flag_Seq_Size = static_cast<char>(row.Number(2));
        DICOM_Flag_Current_Standard = static_cast<char>(row.Number(3));
        EXPECT_EQ(Stream(static_cast<char>(row.Number(1)), lists.at(row[0])), row[4]);
    });
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
    std::vector<int> known = {
        0x0008, 0x0010, 0x0012, 0x0018, 0x0020, 0x0024, 0x0028, 0x0032, 0x0038, 0x003A, 0x0040,
        0x0050, 0x0054, 0x0060, 0x0062, 0x0066, 0x0070, 0x0088, 0x0100, 0x0400, 0x2000, 0x2010,
        0x2020, 0x2030, 0x2040, 0x2050, 0x2100, 0x2110, 0x2120, 0x2130, 0x2200, 0x3002, 0x3004,
        0x3006, 0x3008, 0x300A, 0x300C, 0x300E, 0x4000, 0x4008, 0x5200, 0x5400, 0x5600};
    for (const int repeated : {0x5000, 0x6000}) {
        for (int group = repeated; group <= repeated + 0xFE; group += 2) {
            known.push_back(group);
        }
    }
    std::sort(known.begin(), known.end());
    const auto every_group = [](int first, int last, int step) {
        std::vector<int> groups;
        for (int group = first; group <= last; group += step) {
            groups.push_back(group);
        }
        return groups;
    };
    const auto with_private = [&](std::vector<int> groups, int first, int last) {
        for (const int group : every_group(first, last, 2)) {
            groups.push_back(group);
        }
        std::sort(groups.begin(), groups.end());
        return groups;
    };
    std::vector<int> current = every_group(0x0004, 0x7FDE, 2);
    const std::vector<int> after = every_group(0x7FF0, 0x7FFE, 2);

    Records records;
    for (unsigned int group = 0; group <= 0xFFFD; ++group) {
        records.push_back(Empty(group << 16 | 0x0010, VR_LO, 0));
    }
    DICOM_List* const list = Linked(records);
    const struct {
        char current, with_private;
        std::vector<int> before, after;
    } rows[] = {{0, 0, known, after},
                {0, 1, with_private(known, 0x0009, 0x7EFF), with_private(after, 0x7FF1, 0x7FFF)},
                {1, 0, current, after},
                {1, 1, with_private(current, 0x0001, 0x7FDF), with_private(after, 0x7FF1, 0x7FFF)}};
    for (const auto& row : rows) {
        DICOM_Flag_Current_Standard = row.current;
        Flag_DICOM_Propriatery = row.with_private;
        EXPECT_EQ(Groups(Written(&DICOM_Write_Buffer_A, 0, list, nullptr)), row.before);
        EXPECT_EQ(Groups(Written(&DICOM_Write_Buffer_C, 0, list, nullptr)), row.after);
    }
    EXPECT_EQ(Groups(Stream(0, list)).size(), records.size());
}

TEST_F(Write, LeavesOutWhatStandsBehindAHigherGroup)
{
    DICOM_List* const list = Linked({Empty(0x00080010, VR_LO, 0), Empty(0x00180010, VR_LO, 0),
                                     Empty(0x00100010, VR_LO, 0), Empty(0x00180020, VR_LO, 0),
                                     Empty(0x00200010, VR_LO, 0), Empty(0x00180030, VR_LO, 0)});
    EXPECT_EQ(Groups(Written(&DICOM_Write_Buffer_A, 0, list, nullptr)),
              (std::vector<int>{0x0008, 0x0018, 0x0018, 0x0020}));
}

/** The traces of a call, with what tables of the page have between them. */
std::string Traces(const std::string& call, std::initializer_list<const char*> tables)
{
    std::string lines = "90002009 >>> in  Lib_DICOM: " + call + "\n";
    for (const char* const table : tables) {
        For_Each_Case(Write_Page, table, 1, [&](const Case_Row& row) { lines += row[0] + "\n"; });
    }
    return lines + "90002009 <<< out Lib_DICOM: " + call + "\n";
}

TEST_F(Write, TracesGroupsAndElements)
{
    DICOM_List* const inner =
        Linked({Record(0x7FF00018, VR_UI, "1.2 "), Empty(0x7FF01140, VR_SQ, 0)});
    DICOM_List* const list =
        Linked({Empty(0x7FF01140, VR_SQ, 0, {inner}), Empty(0x7FF20010, VR_LO, 2)});
    Message_Log log(9);
    Written(&DICOM_Write_Buffer_C, 8, list, nullptr);
    EXPECT_EQ(log.Lines(),
              Traces("DICOM_Write_Buffer_C()",
                     {"sizes", "first group", "first", "second group", "second", "other groups"}));
    log.Clear();
    Stream(8, list);
    EXPECT_EQ(log.Lines(), Traces("DICOM_List2Stream()", {"sizes", "first", "second"}));
    log.Clear();
    Written(&DICOM_Write_Part10, 8, Record(0x00020010, VR_UI, "ab"));
    EXPECT_EQ(log.Lines(), Traces("DICOM_Write_Part10()", {"head"}));
    log.Clear();
    DICOM_Flag_Current_Standard = 1;
    Stream(8, Empty(0xFFFEE000, VR_Item, 4));
    EXPECT_EQ(log.Lines(), Traces("DICOM_List2Stream()", {"item"}));
    DICOM_Flag_Current_Standard = 0;
    log.Clear();
    EXPECT_EQ(DICOM_Write_Image_Fct(nullptr) + DICOM_Write_Image_B_Fct(nullptr), 2);
    EXPECT_EQ(log.Lines(),
              Traces("DICOM_Write_Image_Fct()", {}) + Traces("DICOM_Write_Image_B_Fct()", {}));
}

TEST_F(Write, ListsOfAnyDepth)
{
    constexpr int Levels = 100'000;
    Deep_List deep(Levels, "0010,0010:LO=ab");
    const Message_Log log;
    char* buffer = nullptr;
    DICOM_Flag_Seq_Size = 1;
    const int size = DICOM_List2Stream(nullptr, 8, deep.head, &buffer);
    EXPECT_EQ(size, Levels * 20 + 10);
    ASSERT_NE(buffer, nullptr);
    for (int level = 0; level < Levels; level += 9'999) {
        int length = 0;
        std::memcpy(&length, buffer + 20 * level + 8, sizeof length);
        EXPECT_EQ(length, size - 20 * level - 12);
    }
    DICOM_Lib_Free(&buffer);
    DICOM_Write_Image_Fct([](HWND, char, unsigned int, char**, void*) { return 0; });
    EXPECT_EQ(DICOM_Write_Buffer(nullptr, 8, deep.head, &buffer, nullptr),
              static_cast<unsigned int>(size));
    EXPECT_EQ(log.Text(), "");
    DICOM_Lib_Free(&buffer);
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
    EXPECT_EQ(log.Lines(),
              Error_Lines("NEMA_Write_Fct", "The writer of the pixel data failed and returned -5"));
    log.Clear();
    count = INT_MAX - 31;  // in front of it stand 32 bytes
    EXPECT_EQ(Written(&DICOM_Write_Buffer, 9, list, &count), "");
    EXPECT_EQ(
        log.Lines(),
        Error_Lines(
            "NEMA_Write_Buffer",
            "2147483648 bytes are too many to be written into one buffer (limit 2147483647)"));
    log.Clear();
    count = INT_MAX - 32;  // behind it stand 22 more
    EXPECT_EQ(Written(&DICOM_Write_Buffer, 9, list, &count), "");
    EXPECT_EQ(
        log.Lines(),
        Error_Lines(
            "NEMA_Write_Buffer",
            "2147483669 bytes are too many to be written into one buffer (limit 2147483647)"));
    log.Clear();
    DICOM_Write_Image_Fct([](HWND, char, unsigned int, char**, void*) -> int { throw 1; });
    EXPECT_EQ(Written(&DICOM_Write_Buffer, 9, list, nullptr), "");
    EXPECT_EQ(log.Lines(), "1 Error: file:NEMA_Write_Fct line:N\n" +
                               Error_Lines("NEMA_Write_Fct",
                                           "The writer of the pixel data failed and returned -1"));
}

TEST_F(Write, MissingPixelWriters)
{
    const Message_Log log;
    Flag_Error_Warning = 5;
    char* buffer = nullptr;
    DICOM_List* const record = Record(0x00080005, VR_CS, "ab");
    EXPECT_EQ(DICOM_Write_Buffer(nullptr, 8, record, &buffer, nullptr), 0U);
    EXPECT_EQ(std::string(buffer, 10), std::string("\x08\0\x05\0CS\x02\0ab", 10));
    DICOM_Lib_Free(&buffer);
    int last = 4;
    EXPECT_EQ(DICOM_Write_Buffer_B(nullptr, 8, &buffer, 2, 3, &last), 0U);
    Flag_Error_Warning = 0;
    EXPECT_EQ(log.Lines(), "5 \361\005Warning:\002 Write Image call back undefined!\n"
                           "5 \361\005Warning:\002 Write Image call back undefined!\n");

    DICOM_Write_Image_B_Fct([](HWND, char code, char**, int first, int second, void* param) {
        return 1000 * code + 100 * first + 10 * second + *static_cast<int*>(param);
    });
    EXPECT_EQ(DICOM_Write_Buffer_B(nullptr, 8, &buffer, 2, 3, &last), 8234U);
    Message_Log trace(9);
    last = 0;
    EXPECT_EQ(DICOM_Write_Buffer_B(nullptr, 0, &buffer, 0, 0, &last), 0U);
    EXPECT_EQ(trace.Lines(), "90002009 >>> in  Lib_DICOM: DICOM_Write_Buffer_B(0,0)\n"
                             "90002009 <<< out Lib_DICOM: DICOM_Write_Buffer_B()\n");
    trace.Clear();
    last = -1;
    EXPECT_EQ(DICOM_Write_Buffer_B(nullptr, 0, &buffer, 0, 0, &last), 0U);
    EXPECT_EQ(trace.Count("The writer of the pixel data failed and returned -1"), 1);
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
    constexpr char Too_Many[] =
        " bytes are too many to be written into one buffer (limit 2147483647)";
    EXPECT_EQ(log.Lines(), Error_Lines("NEMA_Write_Buffer", std::string("4294967318") + Too_Many));
    log.Clear();
    EXPECT_EQ(DICOM_List2Stream(nullptr, 0, Empty(0x00080005, VR_OB, INT_MAX - 7), &buffer), 0);
    EXPECT_EQ(log.Lines(), Error_Lines("NEMA_Write_Buffer", std::string("2147483648") + Too_Many));
    log.Clear();
    DICOM_List* const meta = Empty(0x00020010, VR_OB, INT_MAX - 155);
    EXPECT_EQ(DICOM_Write_Part10(nullptr, 8, meta, &buffer), 0U);
    EXPECT_EQ(log.Lines(), Error_Lines("NEMA_Write_Buffer", std::string("2147483648") + Too_Many));
    log.Clear();
    EXPECT_EQ(DICOM_Write_Buffer_A(nullptr, 8, list, &buffer, nullptr), 0U);
    DICOM_Write_Image_Fct(&Append_Pixels);
    EXPECT_EQ(DICOM_Write_Buffer(nullptr, 8, list, &buffer, nullptr), 0U);
    list->group = list->next->group = 0x7FF0;
    EXPECT_EQ(DICOM_Write_Buffer_C(nullptr, 8, list, &buffer, nullptr), 0U);
    EXPECT_EQ(log.Count(std::string("4294967318") + Too_Many), 3);
}

TEST_F(Write, TracesTheReasonOfAFailure)
{
    DICOM_List* const large = Empty(0x00080005, VR_OB, INT_MAX);
    DICOM_List* const behind = Empty(0x7FF00005, VR_OB, INT_MAX);
    DICOM_List* const meta = Empty(0x00020010, VR_OB, INT_MAX);
    int failure = -1;
    char* buffer = nullptr;
    const struct {
        DICOM_Image_Writer writer;
        std::function<unsigned int()> write;
        const char* reason;
    } rows[] = {
        {nullptr, [&] { return DICOM_Write_Buffer(nullptr, 8, large, &buffer, nullptr); },
         "DICOM_Write_Buffer(! groups before the pixel data)"},
        {nullptr, [&] { return DICOM_Write_Buffer(nullptr, 8, nullptr, &buffer, nullptr); },
         "DICOM_Write_Buffer(! image writer)"},
        {&Append_Pixels, [&] { return DICOM_Write_Buffer(nullptr, 8, nullptr, &buffer, &failure); },
         "DICOM_Write_Buffer(! pixel data)"},
        {&Append_Pixels, [&] { return DICOM_Write_Buffer(nullptr, 8, behind, &buffer, nullptr); },
         "DICOM_Write_Buffer(! groups after the pixel data)"},
        {nullptr, [&] { return DICOM_Write_Buffer_A(nullptr, 8, large, &buffer, nullptr); },
         "DICOM_Write_Buffer_A(! *buffer)"},
        {nullptr, [&] { return DICOM_Write_Buffer_B(nullptr, 8, &buffer, 0, 0, nullptr); },
         "DICOM_Write_Buffer_B(! image writer)"},
        {nullptr, [&] { return DICOM_Write_Buffer_C(nullptr, 8, behind, &buffer, nullptr); },
         "DICOM_Write_Buffer_C(! *buffer)"},
        {nullptr, [&] { return DICOM_Write_Part10(nullptr, 8, meta, &buffer); },
         "DICOM_Write_Part10(! size)"},
        {nullptr,
         [&] { return static_cast<unsigned int>(DICOM_List2Stream(nullptr, 8, large, &buffer)); },
         "DICOM_List2Stream(! *buffer)"},
    };
    for (const auto& row : rows) {
        DICOM_Write_Image_Fct(row.writer);
        const Message_Log log(9);
        EXPECT_EQ(row.write(), 0U) << row.reason;
        EXPECT_EQ(log.All().back().text, std::string("<<< out Lib_DICOM: ") + row.reason);
        std::free(std::exchange(buffer, nullptr));
    }
}

}  // namespace
