// Native pixel data against the attributes of its image.
#include "mend/healing/image.h"
#include "support/mend_in_memory.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

/** An image of explicit VR little endian with one attribute after the other. */
class Image_Builder {
public:
    Image_Builder()
    {
        stream_.Raw(Part10_Head(Explicit_Little_UID));
        stream_.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    }
    Image_Builder& US(unsigned int element, unsigned int value)
    {
        stream_.US(0x0028, element, value);
        return *this;
    }
    Image_Builder& Text(unsigned int element, const char* vr, const char* value)
    {
        stream_.Element(0x0028, element, vr, value);
        return *this;
    }
    std::string Pixels(std::size_t size, const char* vr = "OW") const
    {
        Stream_Builder file = stream_;
        return file.Element(0x7FE0, 0x0010, vr, std::string(size, 'x')).Bytes();
    }

private:
    Stream_Builder stream_;
};

struct Size_Case {
    const char* name;
    Image_Builder image;
    const char* vr;
    /** Of pixel data that is right. */
    std::size_t size;
};

std::vector<Size_Case> Size_Cases()
{
    const auto grey = [](unsigned int rows, unsigned int columns, unsigned int bits) {
        return Image_Builder().US(2, 1).US(0x10, rows).US(0x11, columns).US(0x100, bits);
    };
    const auto colour = [](const char* photometric) {
        return Image_Builder()
            .US(2, 3)
            .Text(4, "CS", photometric)
            .US(6, 0)
            .US(0x10, 2)
            .US(0x11, 4)
            .US(0x100, 8);
    };
    const auto frames = [](const char* count, unsigned int bits) {
        return Image_Builder()
            .US(2, 1)
            .Text(8, "IS", count)
            .US(0x10, 3)
            .US(0x11, 3)
            .US(0x100, bits);
    };
    return {
        {"one bit", grey(4, 9, 1), "OB", 6},
        {"8 bits", grey(2, 3, 8), "OB", 6},
        {"12 bits", grey(2, 4, 12), "OW", 12},
        {"16 bits", grey(2, 3, 16), "OW", 12},
        {"32 bits", grey(2, 3, 32), "OW", 24},
        {"colours", colour("RGB "), "OB", 24},
        {"half of the colours", colour("YBR_FULL_422"), "OB", 16},
        {"frames", frames("4 ", 16), "OW", 72},
        {"frames of one bit", frames("4 ", 1), "OB", 6},
    };
}

TEST(Pixel_Size, IsThatOfTheImage)
{
    for (const Size_Case& row : Size_Cases()) {
        SCOPED_TRACE(row.name);
        const std::string right = row.image.Pixels(row.size, row.vr);
        EXPECT_EQ(Mend_In_Memory(right).Lines(), "");
        EXPECT_EQ(Mend_In_Memory(right).bytes, right);
        const std::string less = row.image.Pixels(row.size - 2, row.vr);
        const Mended_File kept = Mend_In_Memory(less);
        EXPECT_EQ(kept.bytes, less);
        EXPECT_TRUE(kept.Lines().starts_with("kept pixel-size (7fe0,0010) ")) << kept.Lines();
        EXPECT_TRUE(kept.Lines().ends_with(" of the image are missing\n")) << kept.Lines();
        EXPECT_EQ(Check_In_Memory(less).Lines(), kept.Lines());
        const std::string more = row.image.Pixels(row.size + 2, row.vr);
        EXPECT_EQ(Mend_In_Memory(more).bytes, more);
        EXPECT_TRUE(Mend_In_Memory(more).Lines().starts_with("kept pixel-excess (7fe0,0010) "));
    }
}

TEST(Pixel_Size, CountsWhatIsMissingAndFillsItOnRequest)
{
    Image_Builder image;
    image.US(2, 1).US(0x10, 2).US(0x11, 3).US(0x100, 16);
    Mend_Options options;
    EXPECT_EQ(Mend_In_Memory(image.Pixels(8)).Lines(),
              "kept pixel-size (7fe0,0010) 4 bytes of the image are missing\n");
    EXPECT_EQ(Mend_In_Memory(image.Pixels(15 * 2)).Lines(),
              "kept pixel-excess (7fe0,0010) 18 bytes more than the image has\n");
    options.heal.pad_pixels = true;
    const Mended_File mended = Mend_In_Memory(image.Pixels(8), options);
    EXPECT_EQ(mended.Lines(),
              "change pixel-size (7fe0,0010) 4 bytes of the image are missing; they "
              "are filled with zeros\n");
    Stream_Builder end;
    end.Element(0x7FE0, 0x0010, "OW", "xxxxxxxx\0\0\0\0"s);
    EXPECT_TRUE(mended.bytes.ends_with(end.Bytes()));
    EXPECT_EQ(Mend_In_Memory(mended.bytes, options).Lines(), "");
}

TEST(Pixel_Size, MayBeBeyondAllNumbers)
{
    Image_Builder image;
    image.US(2, 0xFFFF)
        .Text(8, "IS", "2147483646")
        .US(0x10, 0xFFFF)
        .US(0x11, 0xFFFF)
        .US(0x100, 0xFFF8);
    Mend_Options options;
    options.heal.pad_pixels = true;
    const Mended_File mended = Mend_In_Memory(image.Pixels(8), options);
    EXPECT_TRUE(mended.done);
    EXPECT_NE(
        mended.Lines().find("kept pixel-size (7fe0,0010) the image has more bytes than a file "
                            "can have\n"),
        std::string::npos)
        << mended.Lines();
    EXPECT_EQ(Product({0xFFFFFFFF, 0x100000001}), 0xFFFFFFFFFFFFFFFF);
    EXPECT_EQ(Product({0x100000000, 0x100000000}), Image::Too_Large);
}

// ---- attributes ----

struct Attribute_Case {
    const char* name;
    Image_Builder image;
    const char* findings;
};

std::vector<Attribute_Case> Attribute_Cases()
{
    const auto bits = [](unsigned int stored, unsigned int high, unsigned int sign) {
        return Image_Builder()
            .US(2, 1)
            .Text(4, "CS", "MONOCHROME2 ")
            .US(0x10, 2)
            .US(0x11, 3)
            .US(0x100, 16)
            .US(0x101, stored)
            .US(0x102, high)
            .US(0x103, sign);
    };
    const auto colour = [](unsigned int samples, const char* photometric, unsigned int columns,
                           int planar = -1) {
        Image_Builder image = Image_Builder().US(2, samples).Text(4, "CS", photometric);
        if (planar >= 0) {
            image.US(6, static_cast<unsigned int>(planar));
        }
        return image.US(0x10, 2).US(0x11, columns).US(0x100, 16);
    };
    return {
        {"right", bits(16, 15, 1), ""},
        {"Bits Stored", bits(17, 16, 0),
         "kept pixel-attributes (0028,0101) Bits Stored is above Bits Allocated\n"},
        {"High Bit", bits(12, 15, 0),
         "kept pixel-attributes (0028,0102) High Bit is not Bits Stored less one\n"},
        {"Pixel Representation", bits(16, 15, 2),
         "kept pixel-attributes (0028,0103) Pixel Representation is neither 0 nor 1\n"},
        {"no Planar Configuration", colour(3, "RGB ", 1),
         "kept pixel-attributes (0028,0002) Planar Configuration is missing\n"},
        {"Planar Configuration", colour(3, "RGB ", 1, 2),
         "kept pixel-attributes (0028,0006) Planar Configuration is neither 0 nor 1\n"},
        {"no palettes", colour(1, "PALETTE COLOR ", 3),
         "kept pixel-attributes (0028,0004) a palette of PALETTE COLOR is missing\n"},
        {"no rows", Image_Builder().US(0x10, 0).US(0x11, 3).US(0x100, 16),
         "kept pixel-attributes (0028,0010) Rows is 0\n"},
        {"no Rows", Image_Builder().US(0x11, 3).US(0x100, 16),
         "kept pixel-attributes (7fe0,0010) Rows is missing\n"},
        {"neither Columns nor bits", Image_Builder().US(0x10, 2),
         "kept pixel-attributes (7fe0,0010) Columns is missing\n"
         "kept pixel-attributes (7fe0,0010) Bits Allocated is missing\n"},
        {"frames", Image_Builder().Text(8, "IS", "0 ").US(0x10, 2).US(0x11, 3).US(0x100, 16),
         "kept pixel-attributes (0028,0008) Number of Frames is below 1\n"},
        {"samples", colour(1, "RGB ", 3),
         "kept pixel-attributes (0028,0002) Samples per Pixel does not fit the Photometric "
         "Interpretation\n"},
    };
}

TEST(Pixel_Attributes, ThatContradictEachOtherAreSaidAndStay)
{
    for (const Attribute_Case& row : Attribute_Cases()) {
        SCOPED_TRACE(row.name);
        const std::string file = row.image.Pixels(12);
        const Mended_File mended = Mend_In_Memory(file);
        EXPECT_EQ(mended.Lines(), row.findings);
        EXPECT_EQ(mended.bytes, file);
    }
}

TEST(Pixel_Attributes, GiveTheSizeOfAPalette)
{
    const struct {
        unsigned int entries;
        unsigned int bits;
        std::size_t size;
        bool is_short;
    } cases[] = {{4, 16, 8, false}, {4, 16, 6, true},       {4, 8, 4, false},     {4, 8, 2, true},
                 {0, 16, 8, true},  {0, 16, 131072, false}, {0, 16, 131070, true}};
    for (const auto& row : cases) {
        Stream_Builder s;
        s.Raw(Part10_Head(Explicit_Little_UID))
            .Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
        s.US(0x0028, 0x0010, 2).US(0x0028, 0x0011, 3).US(0x0028, 0x0100, 8);
        s.Header(0x0028, 0x1101, "US", 6).Short(row.entries).Short(0).Short(row.bits);
        s.Element(0x0028, 0x1201, "OW", std::string(row.size, 'p'));
        s.Element(0x7FE0, 0x0010, "OB", "pixels");
        EXPECT_EQ(Mend_In_Memory(s.Bytes()).Lines(),
                  row.is_short
                      ? "kept pixel-attributes (0028,1201) the palette is shorter than its "
                        "descriptor says\n"
                      : "")
            << row.entries << " " << row.size;
    }
}

TEST(Overlays, ThatReachBeyondTheirDataAreSaid)
{
    const auto file = [](unsigned int rows, unsigned int origin, int position, const char* data) {
        Stream_Builder s;
        s.Raw(Part10_Head(Explicit_Little_UID))
            .Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
        s.US(0x0028, 0x0010, 2).US(0x0028, 0x0011, 3).US(0x0028, 0x0100, 8);
        s.US(0x6002, 0x0010, rows).US(0x6002, 0x0011, 8).US(0x6002, 0x0051, origin);
        s.US(0x6002, 0x0102, static_cast<unsigned int>(position));
        if (data != nullptr) {
            s.Element(0x6002, 0x3000, "OW", data);
        }
        return s.Element(0x7FE0, 0x0010, "OB", "pixels").Bytes();
    };
    const struct {
        std::string file;
        const char* findings;
    } cases[] = {
        {file(2, 1, 0, "ab"), ""},
        {file(3, 1, 0, "ab"),
         "kept overlay (6002,3000) the overlay is shorter than its rows and columns\n"},
        {file(2, 1, 7, nullptr), ""},
        {file(2, 1, 8, nullptr),
         "kept overlay (6002,0010) the overlay stands beyond the bits of the pixel data\n"},
        {file(2, 2, 0, "ab"),
         "kept overlay (6002,3000) the overlay has frames beyond those of the image\n"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(Mend_In_Memory(row.file).Lines(), row.findings);
        EXPECT_EQ(Mend_In_Memory(row.file).bytes, row.file);
    }
}

}  // namespace
