// Encoding of trees, byte by byte.
#include "mend/healing/record_building.h"
#include "mend/writing/encoder.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

constexpr Tag Item_Tag = {0xFFFE, 0xE000};
constexpr unsigned char Codes[] = {0, 8, 9};
constexpr Encoding Implicit = {false, false, false, false};
constexpr Encoding Explicit = {true, false, false, false};
constexpr Encoding Big = {true, true, false, false};

std::span<const unsigned char> As_Bytes(std::string_view text)
{
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

std::string Encoded(const DICOM_List* list, const Encoder_Options& options,
                    const std::shared_ptr<Source>& source = nullptr)
{
    Encoded_File out;
    Encode_List(source, list, options, out);
    const Bytes joined = out.Joined();
    EXPECT_EQ(out.Size(), std::ssize(joined));
    return {joined.begin(), joined.end()};
}

DICOM_List* Record(unsigned int group, unsigned int element, unsigned short vr,
                   std::string_view value)
{
    DICOM_List* const record =
        New_Record({static_cast<unsigned short>(group), static_cast<unsigned short>(element)}, vr);
    Set_Bytes(*record, As_Bytes(value));
    return record;
}

/** Links records to a list. */
DICOM_List* List(const std::vector<DICOM_List*>& records)
{
    for (std::size_t i = 1; i < records.size(); ++i) {
        records[i - 1]->next = records[i];
    }
    records.front()->last = records.back();
    return records.front();
}

DICOM_List* Item(std::vector<DICOM_List*> records)
{
    records.insert(records.begin(), New_Record(Item_Tag, 0));
    return List(records);
}

DICOM_List* Sequence(unsigned int group, unsigned int element,
                     const std::vector<DICOM_List*>& items, unsigned short vr = VR_SQ)
{
    DICOM_List* const record = Record(group, element, vr, "");
    Set_Items(*record, items);
    return record;
}

// ---- headers and values ----

struct VR_Case {
    const char* vr;
    /** "0123456789abcdef" in big endian. */
    const char* big;
    /** What makes "ab3" even; the last unit of numbers is reversed with it or not at all. */
    char padding;
};

constexpr char Plain[] = "0123456789abcdef";
constexpr char By_2[] = "1032547698badcfe";
constexpr char By_4[] = "32107654ba98fedc";
constexpr char By_8[] = "76543210fedcba98";

constexpr VR_Case VR_Cases[] = {
    {"AE", Plain, ' '}, {"AS", Plain, ' '}, {"AT", By_2, 0},    {"CS", Plain, ' '},
    {"DA", Plain, ' '}, {"DS", Plain, ' '}, {"DT", Plain, ' '}, {"FD", By_8, 0},
    {"FL", By_4, 0},    {"IS", Plain, ' '}, {"LO", Plain, ' '}, {"LT", Plain, ' '},
    {"OB", Plain, 0},   {"OD", By_8, 0},    {"OF", By_4, 0},    {"OL", By_4, 0},
    {"OV", By_8, 0},    {"OW", By_2, 0},    {"PN", Plain, ' '}, {"SH", Plain, ' '},
    {"SL", By_4, 0},    {"SS", By_2, 0},    {"ST", Plain, ' '}, {"SV", By_8, 0},
    {"TM", Plain, ' '}, {"UC", Plain, ' '}, {"UI", Plain, 0},   {"UL", By_4, 0},
    {"UN", Plain, 0},   {"UR", Plain, ' '}, {"US", By_2, 0},    {"UT", Plain, ' '},
    {"UV", By_8, 0},
};

TEST(Encoder, WritesEveryVRInEverySyntax)
{
    for (const VR_Case& row : VR_Cases) {
        SCOPED_TRACE(row.vr);
        const Record_List whole(Record(0x0009, 0x1001, DICOM_VR(row.vr[0], row.vr[1]), Plain));
        const Record_List odd(Record(0x0009, 0x1001, DICOM_VR(row.vr[0], row.vr[1]), "ab3"));
        for (const unsigned char code : Codes) {
            const Encoding encoding = {code != 0, code == 9, false, false};
            Stream_Builder expected(code);
            expected.Element(0x0009, 0x1001, row.vr, code == 9 ? row.big : Plain);
            EXPECT_EQ(Encoded(whole.Head(), {encoding}), expected.Bytes());
            if (code != 9) {
                Stream_Builder padded(code);
                padded.Element(0x0009, 0x1001, row.vr, "ab3"s + row.padding);
                EXPECT_EQ(Encoded(odd.Head(), {encoding}), padded.Bytes());
            }
        }
        // A value that was read in big endian; those of UN are little endian everywhere.
        whole.Head()->byte_order = DICOM_Order_Big_Endian;
        Stream_Builder expected;
        expected.Element(0x0009, 0x1001, row.vr, row.big);
        EXPECT_EQ(Encoded(whole.Head(), {Explicit}), expected.Bytes());
    }
}

TEST(Encoder, TakesWhatHasNoVRForUnknown)
{
    for (const unsigned short vr : {static_cast<unsigned short>(0), VR_OX, VR_UH}) {
        const Record_List list(Record(0x0009, 0x1001, vr, "abcd"));
        EXPECT_EQ(Encoded(list.Head(), {Big}),
                  Stream_Builder(9).Element(0x0009, 0x1001, "UN", "abcd").Bytes());
    }
    // Bytes under SQ that hold no items.
    const Record_List list(Record(0x0008, 0x1140, VR_SQ, "text"));
    EXPECT_EQ(Encoded(list.Head(), {Explicit}),
              Stream_Builder().Element(0x0008, 0x1140, "UN", "text").Bytes());
}

TEST(Encoder, WritesValuesThatNeedALongLengthAsUN)
{
    constexpr std::pair<std::size_t, const char*> Sizes[] = {
        {65533, "DS"}, {65534, "DS"}, {65535, "UN"}, {65536, "UN"}};
    for (const auto& [size, vr] : Sizes) {
        const std::string value(size, '1');
        const Record_List list(Record(0x3006, 0x0050, VR_DS, value));
        const std::string padded = value + std::string(size % 2, ' ');
        EXPECT_EQ(Encoded(list.Head(), {Explicit}),
                  Stream_Builder().Element(0x3006, 0x0050, vr, padded).Bytes());
        EXPECT_EQ(Encoded(list.Head(), {Implicit}),
                  Stream_Builder(0).Element(0x3006, 0x0050, "", padded).Bytes());
    }
    // As UN it is little endian.
    const Record_List list(Record(0x0009, 0x1001, VR_US, std::string(65536, '\1') + "\2\3"));
    EXPECT_TRUE(Encoded(list.Head(), {Big}).ends_with("\1\2\3"));
}

TEST(Encoder, HandsOnPlacesOfValuesInTheSource)
{
    std::string image = "head";
    for (int i = 0; i < 300'001; ++i) {
        image += static_cast<char>(i % 251);
    }
    const auto source = Source::From_Image(As_Bytes(image), "test");
    const Record_List list(Record(0x7FE0, 0x0010, VR_OW, ""));
    list.Head()->data_pos = 4;
    list.Head()->size = 300'001;
    Stream_Builder expected(9);
    std::string swapped = image.substr(4);
    for (std::size_t i = 0; i + 1 < swapped.size(); i += 2) {
        std::swap(swapped[i], swapped[i + 1]);
    }
    expected.Element(0x7FE0, 0x0010, "OW", swapped + '\0');
    EXPECT_TRUE(Encoded(list.Head(), {Big}, source) == expected.Bytes());

    list.Head()->size = 300'002;
    Encoded_File out;
    Encode_List(source, list.Head(), {Explicit}, out);
    EXPECT_FALSE(out.Give([](std::span<const unsigned char>) { return true; }));
}

// ---- items ----

/** A sequence in a sequence, an item without elements, a group length inside, a sequence of none. */
Record_List Tree()
{
    DICOM_List* const inner = Sequence(
        0x0040, 0xA730,
        {Item({Record(0x0008, 0x0000, VR_UL, "xxxx"), Record(0x0008, 0x0060, VR_CS, "CT"),
               Record(0x0008, 0x0070, VR_LO, "AB"), Record(0x0010, 0x0010, VR_PN, "CD")})});
    return Record_List(
        List({Record(0x0008, 0x0005, VR_CS, "AB"),
              Sequence(0x0008, 0x1140, {Item({inner}), Item({})}, VR_UN),
              Sequence(0x0008, 0x1199, {}), Record(0x0200, 0x0010, VR_US, "ab"),
              Record(0x8001, 0x0010, VR_LO, "EF"), Record(0xFFFC, 0xFFFC, VR_OB, "gh")}));
}

TEST(Encoder, ClosesItemsOfUndefinedLength)
{
    for (const unsigned char code : Codes) {
        Stream_Builder s(code);
        s.Element(0x0008, 0x0005, "CS", "AB").Sequence(0x0008, 0x1140);
        s.Item().Sequence(0x0040, 0xA730).Item();
        s.Header(0x0008, 0x0000, "UL", 4).Int(20);
        s.Element(0x0008, 0x0060, "CS", "CT").Element(0x0008, 0x0070, "LO", "AB");
        s.Element(0x0010, 0x0010, "PN", "CD").Item_End().Sequence_End().Item_End();
        s.Item().Item_End().Sequence_End().Sequence(0x0008, 0x1199).Sequence_End();
        s.Element(0x0200, 0x0010, "US", code == 9 ? "ba" : "ab");
        s.Element(0x8001, 0x0010, "LO", "EF").Element(0xFFFC, 0xFFFC, "OB", "gh");
        EXPECT_EQ(Encoded(Tree().Head(), {{code != 0, code == 9, false, false}}), s.Bytes());
    }
}

TEST(Encoder, DefinesLengthsAndCountsGroups)
{
    Stream_Builder item;
    item.Header(0x0008, 0x0000, "UL", 4).Int(20);
    item.Element(0x0008, 0x0060, "CS", "CT").Element(0x0008, 0x0070, "LO", "AB");
    item.Element(0x0010, 0x0010, "PN", "CD");
    const int size = static_cast<int>(item.Bytes().size());
    Stream_Builder s;
    s.Header(0x0008, 0x0000, "UL", 4).Int(10 + 12 + 8 + 12 + 8 + size + 8 + 12);
    s.Element(0x0008, 0x0005, "CS", "AB").Sequence(0x0008, 0x1140, 8 + 12 + 8 + size + 8);
    s.Item(12 + 8 + size).Sequence(0x0040, 0xA730, 8 + size).Item(size).Raw(item.Bytes());
    s.Item(0).Sequence(0x0008, 0x1199, 0);
    s.Header(0x0200, 0x0000, "UL", 4).Int(10).Element(0x0200, 0x0010, "US", "ab");
    s.Header(0x8001, 0x0000, "UL", 4).Int(10).Element(0x8001, 0x0010, "LO", "EF");
    s.Element(0xFFFC, 0xFFFC, "OB", "gh");
    EXPECT_EQ(Encoded(Tree().Head(), {Explicit, true, true}), s.Bytes());
}

TEST(Encoder, WritesFragments)
{
    const auto tree = [](unsigned short vr) {
        return Record_List(Sequence(0x7FE0, 0x0010,
                                    {Record(Item_Tag.group, Item_Tag.element, VR_OB, ""),
                                     Record(Item_Tag.group, Item_Tag.element, VR_OB, "abc")},
                                    vr));
    };
    Stream_Builder s;
    s.Header(0x7FE0, 0x0010, "OB", -1).Item(0).Item(4).Raw("abc\0"s).Sequence_End();
    for (const bool defined : {false, true}) {
        EXPECT_EQ(Encoded(tree(VR_OB).Head(), {Explicit, defined}), s.Bytes());
        EXPECT_EQ(Encoded(tree(VR_UN).Head(), {Explicit, defined}), s.Bytes());
    }
    const Record_List none(Sequence(0x7FE0, 0x0010, {}, VR_OB));
    EXPECT_EQ(Encoded(none.Head(), {Explicit, true}),
              Stream_Builder().Header(0x7FE0, 0x0010, "OB", -1).Sequence_End().Bytes());
}

TEST(Encoder, FindsThePlacesOfItems)
{
    const Record_List tree = Tree();
    const DICOM_List& sequence = *tree.Head()->next;
    for (const bool defined : {false, true}) {
        const Encoder_Options options = {Explicit, defined, true};
        const std::string bytes = Encoded(tree.Head(), options);
        const Item_Places places = Places_Of_Items(tree.Head(), options);
        ASSERT_EQ(places.size(), 2U);
        for (int i = 0; i < 2; ++i) {
            const auto place = static_cast<std::size_t>(places.at(sequence.item[i]));
            EXPECT_EQ(bytes.substr(place, 4), "\xFE\xFF\x00\xE0"s);
        }
        EXPECT_EQ(places.at(sequence.item[0]), 12 + 10 + 12);
    }
}

TEST(Encoder, NestsAsDeepAsMemoryAllows)
{
    constexpr int Levels = 20'000;
    DICOM_List* innermost = Record(0x0008, 0x0060, VR_CS, "CT");
    for (int i = 0; i < Levels; ++i) {
        innermost = Sequence(0x0008, 0x1140, {Item({innermost})});
    }
    const Record_List list(innermost);
    const std::string open = Encoded(list.Head(), {Explicit});
    EXPECT_EQ(open.size(), 10U + Levels * (12U + 8 + 8 + 8));
    const std::string defined = Encoded(list.Head(), {Explicit, true});
    ASSERT_EQ(defined.size(), 10U + Levels * (12U + 8));
    EXPECT_EQ(Get_Int(0, defined.data() + 8), std::ssize(defined) - 12);
}

}  // namespace
