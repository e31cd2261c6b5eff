// Makes the files whose times scripts/bench measures. All but those for the growth of the worst cases
// are sound, so that what is timed is the work on a file and not the talk about it.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include <zlib.h>

namespace {

/** Elements in explicit VR little endian. */
class Stream {
public:
    Stream& Add(unsigned short group, unsigned short element, std::string_view vr,
                std::string_view value)
    {
        Tag(group, element);
        bytes_ += vr;
        // Every length is even (PS3.5 section 7.1.1).
        const std::string odd(value.size() % 2, vr == "UI" ? '\0' : ' ');
        const auto size = static_cast<unsigned int>(value.size() + odd.size());
        const bool is_long = vr == "OB" || vr == "OW" || vr == "UN";
        if (is_long) {
            Number<unsigned short>(0);
            Number(size);
        } else {
            Number(static_cast<unsigned short>(size));
        }
        bytes_ += value;
        bytes_ += odd;
        return *this;
    }
    Stream& Short(unsigned short group, unsigned short element, unsigned short value)
    {
        Tag(group, element);
        bytes_ += "US";
        Number<unsigned short>(2);
        Number(value);
        return *this;
    }
    /** A header whose length is given, for values that are written apart or not defined. */
    Stream& Open(unsigned short group, unsigned short element, std::string_view vr,
                 unsigned int length)
    {
        Tag(group, element);
        bytes_ += vr;
        Number<unsigned short>(0);
        Number(length);
        return *this;
    }
    Stream& Item(unsigned short element, unsigned int length)
    {
        Tag(0xFFFE, element);
        Number(length);
        return *this;
    }
    const std::string& Bytes() const
    {
        return bytes_;
    }

private:
    template <class Integer>
    void Number(Integer value)
    {
        for (std::size_t i = 0; i < sizeof value; ++i) {
            bytes_ += static_cast<char>(value >> (8 * i) & 0xFF);
        }
    }
    void Tag(unsigned short group, unsigned short element)
    {
        Number(group);
        Number(element);
    }

    std::string bytes_;
};

constexpr unsigned int Undefined = 0xFFFFFFFF;
constexpr char CT_Storage[] = "1.2.840.10008.5.1.4.1.1.2";

std::string Instance_UID(int number)
{
    return "1.2.999.3.1." + std::to_string(number);
}

std::string Head(int number, const char* syntax = "1.2.840.10008.1.2.1")
{
    Stream rest;
    rest.Add(0x0002, 0x0001, "OB", std::string_view("\0\1", 2))
        .Add(0x0002, 0x0002, "UI", CT_Storage)
        .Add(0x0002, 0x0003, "UI", Instance_UID(number))
        .Add(0x0002, 0x0010, "UI", syntax)
        .Add(0x0002, 0x0012, "UI", "1.2.999.3");
    const auto size = static_cast<unsigned int>(rest.Bytes().size());
    std::string length;
    for (int shift = 0; shift < 32; shift += 8) {
        length += static_cast<char>(size >> shift & 0xFF);
    }
    return std::string(128, '\0') + "DICM" + Stream().Add(0x0002, 0x0000, "UL", length).Bytes() +
           rest.Bytes();
}

/** What every image says of itself, up to the group of acquisition. */
void Add_Study(Stream& stream, int number)
{
    stream.Add(0x0008, 0x0005, "CS", "ISO_IR 100")
        .Add(0x0008, 0x0008, "CS", "ORIGINAL\\PRIMARY\\AXIAL")
        .Add(0x0008, 0x0016, "UI", CT_Storage)
        .Add(0x0008, 0x0018, "UI", Instance_UID(number))
        .Add(0x0008, 0x0020, "DA", "20210131")
        .Add(0x0008, 0x0023, "DA", "20210131")
        .Add(0x0008, 0x0030, "TM", "101112")
        .Add(0x0008, 0x0033, "TM", "101112.5")
        .Add(0x0008, 0x0050, "SH", "A4400321")
        .Add(0x0008, 0x0060, "CS", "CT")
        .Add(0x0008, 0x0070, "LO", "ACME IMAGING")
        .Add(0x0008, 0x0080, "LO", "GENERAL HOSPITAL")
        .Add(0x0008, 0x0090, "PN", "Curie^Marie");
}

void Add_Patient(Stream& stream, int number)
{
    stream.Add(0x0010, 0x0010, "PN", "Doe^Jane")
        .Add(0x0010, 0x0020, "LO", std::to_string(number))
        .Add(0x0010, 0x0030, "DA", "19680229")
        .Add(0x0010, 0x0040, "CS", "F")
        .Add(0x0018, 0x0050, "DS", "1.25")
        .Add(0x0018, 0x0060, "DS", "120")
        .Add(0x0020, 0x000D, "UI", Instance_UID(0))
        .Add(0x0020, 0x000E, "UI", Instance_UID(1))
        .Add(0x0020, 0x0010, "SH", "1")
        .Add(0x0020, 0x0011, "IS", "2")
        .Add(0x0020, 0x0013, "IS", std::to_string(number))
        .Add(0x0020, 0x0032, "DS", "-125.5\\-118.25\\40.125")
        .Add(0x0020, 0x0037, "DS", "1\\0\\0\\0\\1\\0");
}

/** A file of blocks of private elements, the only ones that there can be any number of. */
std::string Flat(int elements)
{
    constexpr int First_Block = 0x10;
    constexpr int Blocks = 0xF0;
    constexpr int Block_Size = 0x100;
    Stream stream;
    Add_Study(stream, 1);
    for (unsigned short group = 0x0009; elements > 0;
         group = static_cast<unsigned short>(group + 2)) {
        const int blocks = std::min(Blocks, (elements + Block_Size - 1) / Block_Size);
        for (int block = First_Block; block < First_Block + blocks; ++block) {
            stream.Add(group, static_cast<unsigned short>(block), "LO", "ACME 1.0");
        }
        for (int i = 0; i < blocks * Block_Size && elements > 0; ++i, --elements) {
            const auto element = static_cast<unsigned short>(First_Block * Block_Size + i);
            static constexpr std::pair<const char*, const char*> Values[] = {
                {"LO", "ACME IMAGING 7"},
                {"DS", "-118.25\\40.125"},
                {"CS", "DERIVED\\AXIAL"},
                {"IS", "512\\512\\-1024"},
                {"UI", "1.2.999.3.1.44"}};
            const auto& [vr, value] = Values[static_cast<std::size_t>(i) % std::size(Values)];
            stream.Add(group, element, vr, value);
        }
    }
    return Head(1) + stream.Bytes();
}

/** The elements of a file of private ones from the last to the first, so that all are out of order. */
std::string Reversed(int elements)
{
    std::string bytes;
    for (int element = elements - 1; element >= 0; --element) {
        Stream stream;
        // Two blocks a group, of which the creators stand behind their elements.
        constexpr int Of_A_Group = 0x200;
        const auto group = static_cast<unsigned short>(0x0009 + 2 * (element / Of_A_Group));
        const auto number = static_cast<unsigned short>(0x1000 + element % Of_A_Group);
        stream.Add(group, number, "LO", "ACME IMAGING 7");
        if (element % Of_A_Group == 0) {
            stream.Add(group, 0x0011, "LO", "ACME 1.0").Add(group, 0x0010, "LO", "ACME 1.0");
        }
        bytes += stream.Bytes();
    }
    return Head(1) + bytes;
}

std::string Duplicates(int elements)
{
    Stream stream;
    Add_Study(stream, 1);
    for (int i = 0; i < elements; ++i) {
        stream.Add(0x0010, 0x0010, "PN", "Doe^Jane " + std::to_string(i));
    }
    return Head(1) + stream.Bytes();
}

std::string Items(int items)
{
    Stream stream;
    Add_Study(stream, 1);
    stream.Open(0x0008, 0x1140, "SQ", Undefined);
    for (int i = 0; i < items; ++i) {
        stream.Item(0xE000, Undefined)
            .Add(0x0008, 0x0022, "DA", "20210131")
            .Add(0x0008, 0x0032, "TM", "101112")
            .Add(0x0008, 0x1150, "UI", CT_Storage)
            .Add(0x0008, 0x1155, "UI", Instance_UID(i))
            .Add(0x0008, 0x1160, "IS", "1")
            .Add(0x0018, 0x0050, "DS", "1.25")
            .Add(0x0018, 0x0060, "DS", "120")
            .Add(0x0020, 0x0013, "IS", std::to_string(i))
            .Add(0x0020, 0x0032, "DS", "-125.5\\-118.25\\40.125")
            .Add(0x0020, 0x4000, "LT", "no comment")
            .Item(0xE00D, 0);
    }
    stream.Item(0xE0DD, 0);
    Add_Patient(stream, 1);
    return Head(1) + stream.Bytes();
}

/** An image up to its pixels. */
std::string Image(int number, unsigned short rows, unsigned short columns, int frames)
{
    Stream stream;
    Add_Study(stream, number);
    Add_Patient(stream, number);
    stream.Short(0x0028, 0x0002, 1).Add(0x0028, 0x0004, "CS", "MONOCHROME2");
    stream.Add(0x0028, 0x0008, "IS", std::to_string(frames));
    stream.Short(0x0028, 0x0010, rows)
        .Short(0x0028, 0x0011, columns)
        .Add(0x0028, 0x0030, "DS", "0.48828125\\0.48828125")
        .Short(0x0028, 0x0100, 16)
        .Short(0x0028, 0x0101, 12)
        .Short(0x0028, 0x0102, 11)
        .Short(0x0028, 0x0103, 0);
    const unsigned int size = 2U * rows * columns * static_cast<unsigned int>(frames);
    stream.Open(0x7FE0, 0x0010, "OW", size);
    return stream.Bytes();
}

/** A mebibyte of pixels. */
std::string Pixels()
{
    std::string block(std::size_t{1} << 20, '\0');
    for (std::size_t i = 0; i < block.size(); ++i) {
        block[i] = static_cast<char>(i % 2 == 0 ? i * i / 64 : i / 64 % 16);
    }
    return block;
}

bool Write(const std::filesystem::path& path, const std::string& front, std::size_t pixels = 0)
{
    std::ofstream file(path, std::ios::binary);
    file << front;
    const std::string block = Pixels();
    for (std::size_t done = 0; done < pixels; done += block.size()) {
        file.write(block.data(),
                   static_cast<std::streamsize>(std::min(block.size(), pixels - done)));
    }
    return file.flush().good();
}

/** The same with what follows `front` deflated: a raw stream, or one in the wrapper of gzip. */
bool Write_Deflated(const std::filesystem::path& path, const std::string& front,
                    const std::string& data_set, std::size_t mebibytes, bool in_gzip)
{
    constexpr int Raw_Window = -15;
    constexpr int Gzip_Window = 31;
    std::ofstream file(path, std::ios::binary);
    file << front;
    z_stream stream = {};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, in_gzip ? Gzip_Window : Raw_Window,
                     8, Z_DEFAULT_STRATEGY) != Z_OK) {
        return false;
    }
    std::string out(std::size_t{1} << 21, '\0');
    const auto put = [&](std::string piece, int flush) {
        stream.next_in = reinterpret_cast<Bytef*>(piece.data());
        stream.avail_in = static_cast<uInt>(piece.size());
        stream.next_out = reinterpret_cast<Bytef*>(out.data());
        stream.avail_out = static_cast<uInt>(out.size());
        deflate(&stream, flush);
        file.write(out.data(), static_cast<std::streamsize>(out.size() - stream.avail_out));
    };
    put(data_set, Z_NO_FLUSH);
    const std::string block = Pixels();
    for (std::size_t i = 0; i < mebibytes; ++i) {
        put(block, Z_NO_FLUSH);
    }
    put({}, Z_FINISH);
    file.write("", !in_gzip && stream.total_out % 2 != 0 ? 1 : 0);
    deflateEnd(&stream);
    return file.flush().good();
}

bool Make_Large_Images(const std::filesystem::path& folder)
{
    constexpr std::size_t Mebibytes = 500;
    const std::string image = Image(1, 1024, 1024, 250);
    const std::string plain = Head(1) + image;
    return Write(folder / "image.dcm", plain, Mebibytes << 20) &&
           Write_Deflated(folder / "image_deflated.dcm", Head(1, "1.2.840.10008.1.2.1.99"), image,
                          Mebibytes, false) &&
           Write_Deflated(folder / "image.dcm.gz", "", plain, Mebibytes, true);
}

bool Make_All(const std::filesystem::path& folder)
{
    constexpr int Small_Files = 2000;
    std::filesystem::create_directories(folder / "small");
    bool good = Make_Large_Images(folder);
    for (const int size : {10'000, 100'000, 200'000, 1'000'000}) {
        const std::string name = std::to_string(size) + ".dcm";
        good = good && Write(folder / ("flat" + name), Flat(size)) &&
               Write(folder / ("items" + name), Items(size / 10)) &&
               Write(folder / ("reversed" + name), Reversed(size)) &&
               Write(folder / ("duplicates" + name), Duplicates(size));
    }
    for (int i = 0; good && i < Small_Files; ++i) {
        char name[16];
        std::snprintf(name, sizeof name, "%04d.dcm", i);
        good = Write(folder / "small" / name, Head(i + 2) + Image(i + 2, 16, 16, 1), 512);
    }
    return good;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fputs("usage: make_bench_inputs FOLDER\n", stderr);
        return EXIT_FAILURE;
    }
    return Make_All(argv[1]) ? EXIT_SUCCESS : EXIT_FAILURE;
}
