// Encapsulated pixel data: streams without fragments, offset tables, numbers of frames.
#include "support/mend_in_memory.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

constexpr std::string_view JPEG_UID = "1.2.840.10008.1.2.4.50";
constexpr std::string_view RLE_UID = "1.2.840.10008.1.2.5";

/** A JPEG stream of 2 rows and 3 columns, as far as its head goes; of 24 bytes or as many more. */
std::string JPEG(std::size_t more = 0)
{
    return "\xFF\xD8\xFF\xC0\x00\x0B\x08\x00\x02\x00\x03\x01\x01\x11\x00\xFF\xDA\x00\x04"s + "ab" +
           std::string(more, 'x') + "\xFF\xD9\x00"s;
}

Stream_Builder Start(std::string_view syntax, const char* frames = nullptr)
{
    Stream_Builder s;
    s.Raw(Part10_Head(syntax)).Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    if (frames != nullptr) {
        s.Element(0x0028, 0x0008, "IS", frames);
    }
    return s;
}

/** A table of offsets, -1 for no entry. */
struct Pixels {
    const char* frames;
    std::vector<int> table;
    std::vector<std::string> fragments;
};

std::string File_Of(const Pixels& pixels, std::string_view syntax = JPEG_UID)
{
    Stream_Builder s = Start(syntax, pixels.frames);
    s.Header(0x7FE0, 0x0010, "OB", -1).Item(4 * static_cast<int>(pixels.table.size()));
    for (const int offset : pixels.table) {
        s.Int(offset);
    }
    for (const std::string& fragment : pixels.fragments) {
        s.Item(static_cast<int>(fragment.size())).Raw(fragment);
    }
    return s.Sequence_End().Bytes();
}

struct Fragment_Case {
    const char* name;
    Pixels before;
    Pixels after;
    const char* findings;
};

std::vector<Fragment_Case> Fragment_Cases()
{
    const std::string a = JPEG();
    const std::string part = "more";
    const std::string odd = JPEG(1);
    const std::string padded = odd + '\0';
    const char* const wrong = "change offset-table (7fe0,0010[0]/fffe,e000) the offset table is "
                              "wrong; it is made anew from the fragments\n";
    const char* const unknown = "kept offset-table (7fe0,0010[0]/fffe,e000) the offset table is "
                                "wrong, and the fragments do not tell the frames\n";
    const char* const frames = "kept frames (0028,0008) the number of frames does not fit the "
                               "fragments\n";
    return {
        {"no table", {"2 ", {}, {a, a}}, {"2 ", {}, {a, a}}, ""},
        {"right", {"2 ", {0, 32}, {a, a}}, {"2 ", {0, 32}, {a, a}}, ""},
        {"right, two fragments a frame",
         {"2 ", {0, 44}, {a, part, a, part}},
         {"2 ", {0, 44}, {a, part, a, part}},
         ""},
        {"one frame in fragments", {"1 ", {0}, {a, part}}, {"1 ", {0}, {a, part}}, ""},
        {"wrong", {"2 ", {0, 31}, {a, a}}, {"2 ", {0, 32}, {a, a}}, wrong},
        {"not from 0", {"2 ", {32, 0}, {a, a}}, {"2 ", {0, 32}, {a, a}}, wrong},
        {"too short", {"2 ", {0}, {a, a}}, {"2 ", {0, 32}, {a, a}}, wrong},
        {"wrong, two fragments a frame",
         {"2 ", {0, 32, 64}, {a, part, a, part}},
         {"2 ", {0, 44}, {a, part, a, part}},
         wrong},
        {"wrong, and nothing tells",
         {"2 ", {0, 7}, {part, part, part}},
         {"2 ", {0, 7}, {part, part, part}},
         unknown},
        {"too many frames", {"3 ", {}, {a, a}}, {"3 ", {}, {a, a}}, frames},
        {"too few frames", {"1 ", {}, {a, a}}, {"1 ", {}, {a, a}}, frames},
        {"frames of the table", {"1 ", {0, 32}, {a, a}}, {"1 ", {0, 32}, {a, a}}, frames},
        {"none",
         {nullptr, {}, {}},
         {nullptr, {}, {}},
         "kept fragments (7fe0,0010) encapsulated pixel data without any fragment\n"},
        {"odd fragments",
         {"2 ", {0, 33}, {odd, a}},
         {"2 ", {0, 34}, {padded, a}},
         "change fragments (7fe0,0010[1]/fffe,e000) fragment of odd length is padded to an even "
         "one\n"},
    };
}

TEST(Offset_Table, FollowsTheFragments)
{
    for (const Fragment_Case& row : Fragment_Cases()) {
        SCOPED_TRACE(row.name);
        const Mended_File mended = Mend_In_Memory(File_Of(row.before));
        EXPECT_EQ(mended.bytes, File_Of(row.after));
        EXPECT_TRUE(mended.Lines().ends_with(row.findings)) << mended.Lines();
        EXPECT_EQ(mended.Lines().empty(), std::string_view(row.findings).empty());
        EXPECT_EQ(Check_In_Memory(File_Of(row.before)).Lines(), mended.Lines());
        EXPECT_EQ(Mend_In_Memory(mended.bytes).bytes, mended.bytes);
    }
}

TEST(Offset_Table, IsSuppliedWhereItsItemIsMissing)
{
    Stream_Builder s = Start(JPEG_UID, "2 ");
    s.Header(0x7FE0, 0x0010, "OW", -1).Item(24).Raw(JPEG()).Item(24).Raw(JPEG()).Sequence_End();
    const Mended_File mended = Mend_In_Memory(s.Bytes());
    EXPECT_EQ(mended.bytes, File_Of({"2 ", {}, {JPEG(), JPEG()}}));
    EXPECT_EQ(mended.Lines(), "change offset-table (7fe0,0010) the item of the offset table is "
                              "missing; an empty one is supplied\n"
                              "change pixel-vr (7fe0,0010) VR of encapsulated pixel data is not "
                              "OB; it is changed\n");
}

TEST(Offset_Table, IsMadeAnewWhereItIsCut)
{
    Stream_Builder s = Start(JPEG_UID, "1 ");
    s.Header(0x7FE0, 0x0010, "OB", -1).Item(6).Raw("\0\0\0\0\x20\0"s);
    s.Item(24).Raw(JPEG()).Sequence_End();
    const Mended_File mended = Mend_In_Memory(s.Bytes());
    EXPECT_EQ(mended.bytes, File_Of({"1 ", {0}, {JPEG()}}));
    EXPECT_EQ(mended.Lines(), "change offset-table (7fe0,0010[0]/fffe,e000) the offset table is "
                              "wrong; it is made anew from the fragments\n");
}

TEST(Offset_Table, IsNotAskedOfVideo)
{
    const std::string video = File_Of({"90", {}, {"video stream"}}, "1.2.840.10008.1.2.4.102");
    EXPECT_EQ(Mend_In_Memory(video).Lines(), "");
    const std::string other = File_Of({"90", {}, {"video stream"}}, "1.2.840.10008.1.2.4.110");
    EXPECT_EQ(Mend_In_Memory(other).Lines(),
              "kept frames (0028,0008) the number of frames does not fit the fragments\n");
}

TEST(Offset_Table, MayBeExtended)
{
    const auto file = [](int second, const std::string& fragment) {
        Stream_Builder s = Start(JPEG_UID, "2 ");
        s.Header(0x7FE0, 0x0001, "OV", 16).Int(0).Int(0).Int(second).Int(0);
        s.Header(0x7FE0, 0x0010, "OB", -1).Item(0).Item(static_cast<int>(fragment.size()));
        return s.Raw(fragment).Item(24).Raw(JPEG()).Sequence_End().Bytes();
    };
    EXPECT_EQ(Mend_In_Memory(file(32, JPEG())).Lines(), "");
    EXPECT_EQ(Mend_In_Memory(file(33, JPEG(1))).bytes, file(34, JPEG(1) + '\0'));
    const Mended_File wrong = Mend_In_Memory(file(31, JPEG()));
    EXPECT_EQ(wrong.bytes, file(31, JPEG()));
    EXPECT_EQ(wrong.Lines(), "kept offset-table (7fe0,0001) the extended offset table does not fit "
                             "the fragments\n");
}

// ---- streams of defined length ----

std::string Encapsulated(Stream_Builder start, const std::string& stream)
{
    start.Header(0x7FE0, 0x0010, "OB", -1).Item(0);
    if (!stream.empty()) {
        start.Item(static_cast<int>(stream.size())).Raw(stream);
    }
    return start.Sequence_End().Bytes();
}

TEST(Pixel_Stream, BecomesAFragment)
{
    const std::string rle = "\1\0\0\0\x40\0\0\0"s + std::string(60, '\0');
    const struct {
        std::string_view syntax;
        std::string stream;
        const char* findings;
    } cases[] = {
        {JPEG_UID, JPEG(), "change fragments (7fe0,0010) compressed pixel data is encapsulated\n"},
        {RLE_UID, rle, "change fragments (7fe0,0010) compressed pixel data is encapsulated\n"},
        {JPEG_UID, "",
         "change fragments (7fe0,0010) empty pixel data is encapsulated\n"
         "kept fragments (7fe0,0010) encapsulated pixel data without any fragment\n"},
    };
    for (const auto& row : cases) {
        Stream_Builder s = Start(row.syntax);
        s.Element(0x7FE0, 0x0010, "OB", row.stream);
        const Mended_File mended = Mend_In_Memory(s.Bytes());
        EXPECT_EQ(mended.Lines(), row.findings);
        EXPECT_EQ(mended.bytes, Encapsulated(Start(row.syntax), row.stream));
        const std::string_view said = row.findings;
        EXPECT_EQ(Mend_In_Memory(mended.bytes).Lines(), said.substr(said.find('\n') + 1));
    }
}

TEST(Pixel_Stream, IsDeclaredWhenItsHeadGivesTheImage)
{
    const auto start = [](std::string_view syntax, unsigned int rows) {
        return Start(syntax).US(0x0028, 0x0010, rows).US(0x0028, 0x0011, 3).US(0x0028, 0x0100, 16);
    };
    // Bytes that are enough for the image may be anything.
    const std::string native =
        start(Explicit_Little_UID, 2).Element(0x7FE0, 0x0010, "OW", JPEG()).Bytes();
    EXPECT_EQ(Mend_In_Memory(native).Lines(),
              "kept pixel-excess (7fe0,0010) 12 bytes more than the image has\n");
    for (const unsigned int rows : {20U, 2U}) {
        Stream_Builder image = Start(Explicit_Little_UID, "5 ");
        image.US(0x0028, 0x0010, rows).US(0x0028, 0x0011, 3).US(0x0028, 0x0100, 16);
        image.Element(0x7FE0, 0x0010, "OW", JPEG());
        const Mended_File mended = Mend_In_Memory(image.Bytes());
        EXPECT_EQ(mended.Lines().find("change fragments (7fe0,0010) compressed pixel data is "
                                      "encapsulated, and its transfer syntax declared") !=
                      std::string::npos,
                  rows == 2)
            << mended.Lines();
        EXPECT_EQ(
            mended.Lines().find("kept fragments (7fe0,0010) looks like compressed pixel data, "
                                "though none is declared\n") != std::string::npos,
            rows == 20);
        EXPECT_EQ(mended.bytes.find(JPEG_UID) != std::string::npos, rows == 2);
        EXPECT_EQ(Mend_In_Memory(mended.bytes).bytes, mended.bytes);
    }
}

}  // namespace
