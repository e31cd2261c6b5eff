// Makes examples/damaged.dcm: a small image data set with the faults that old equipment writes.
//
//   make_damaged FILE
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>

namespace {

/** Appends elements in explicit VR little endian, and faults on purpose. */
class Stream {
public:
    void Short(unsigned int value)
    {
        bytes_ += static_cast<char>(value & 0xFF);
        bytes_ += static_cast<char>(value >> 8 & 0xFF);
    }
    void Int(std::uint32_t value)
    {
        Short(value & 0xFFFF);
        Short(value >> 16);
    }
    void Element(unsigned int group, unsigned int element, const std::string& vr,
                 const std::string& value)
    {
        Short(group);
        Short(element);
        bytes_ += vr;
        if (vr == "OB" || vr == "OW" || vr == "SQ" || vr == "UN" || vr == "UT") {
            Short(0);
            Int(static_cast<std::uint32_t>(value.size()));
        } else {
            Short(static_cast<unsigned int>(value.size()));
        }
        bytes_ += value;
    }
    void Open_Sequence(unsigned int group, unsigned int element)
    {
        Short(group);
        Short(element);
        bytes_ += "SQ";
        Short(0);
        Int(Undefined);
    }
    void Delimiter(unsigned int element, std::uint32_t length)
    {
        Short(0xFFFE);
        Short(element);
        Int(length);
    }
    const std::string& Bytes() const
    {
        return bytes_;
    }

    static constexpr std::uint32_t Undefined = 0xFFFFFFFF;

private:
    std::string bytes_;
};

std::string US(unsigned int value)
{
    return {static_cast<char>(value & 0xFF), static_cast<char>(value >> 8)};
}

std::string Damaged_File()
{
    constexpr unsigned int Item = 0xE000;
    constexpr unsigned int Item_End = 0xE00D;
    Stream s;
    // No preamble and no file meta information; a group length from before the values grew.
    s.Element(0x0008, 0x0000, "UL", std::string("\x10\0\0\0", 4));
    s.Element(0x0008, 0x0016, "UI", std::string("1.2.840.10008.5.1.4.1.1.7\0", 26));
    // A UID padded with a blank.
    s.Element(0x0008, 0x0018, "UI", "1.2.999.0.1.4400321.7.512.9.1 ");
    // Dates and times of the old syntax.
    s.Element(0x0008, 0x0020, "DA", "1997.06.24");
    s.Element(0x0008, 0x0030, "TM", "10:42:07");
    // Small letters and a dash in a code string.
    s.Element(0x0008, 0x0060, "CS", "OT-x");
    // Text padded with NUL, and an odd length.
    s.Element(0x0008, 0x0070, "LO", std::string("ACME IMAGING\0\0", 14));
    // A sequence that is never closed.
    s.Open_Sequence(0x0008, 0x1140);
    s.Delimiter(Item, Stream::Undefined);
    s.Element(0x0008, 0x1150, "UI", std::string("1.2.840.10008.5.1.4.1.1.7\0", 26));
    s.Element(0x0008, 0x1155, "UI", "1.2.999.0.1.4400321.7.512.9.2 ");
    s.Delimiter(Item_End, 0);
    // Out of order, and an age of three characters, which is an odd length.
    s.Element(0x0010, 0x1010, "AS", "45Y");
    s.Element(0x0010, 0x0010, "PN", "DOE^JANE");
    // A decimal where an integer belongs, with a backslash too many.
    s.Element(0x0020, 0x0013, "IS", "7.0\\");
    s.Element(0x0028, 0x0002, "US", US(1));
    s.Element(0x0028, 0x0004, "CS", "MONOCHROME2 ");
    s.Element(0x0028, 0x0010, "US", US(3));
    s.Element(0x0028, 0x0011, "US", US(3));
    s.Element(0x0028, 0x0100, "US", US(8));
    s.Element(0x0028, 0x0101, "US", US(8));
    s.Element(0x0028, 0x0102, "US", US(7));
    s.Element(0x0028, 0x0103, "US", US(0));
    // Nine pixels: an odd length.
    s.Element(0x7FE0, 0x0010, "OB", std::string("\x10\x20\x30\x40\x50\x60\x70\x80\x90", 9));
    return s.Bytes();
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_damaged FILE\n");
        return 2;
    }
    std::ofstream file(argv[1], std::ios::binary);
    file << Damaged_File();
    return file.flush() ? 0 : 2;
}
