// Makes the seeds of the fuzz targets: small files in all encodings, nested, encapsulated and
// damaged in known ways, and values of every VR.
//
//   make_seeds FOLDER [FILE...]     FOLDER/TARGET/NAME; each FILE becomes a seed as well
#include "fuzz_target.h"
#include "mend/io/deflate.h"
#include "mend/reading/encoding.h"
#include "support/stream_builder.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace lib_mend;
using namespace std::string_literals;

constexpr unsigned char Codes[] = {0, 8, 9};

struct Seed {
    std::string name;
    std::string bytes;
};
using Seeds = std::vector<Seed>;

std::string Code_Name(unsigned char code)
{
    return code == 0 ? "implicit" : code == 8 ? "explicit" : "big";
}

std::string_view Syntax_Of(unsigned char code)
{
    return code == 0 ? Implicit_Little_UID : code == 8 ? Explicit_Little_UID : Explicit_Big_UID;
}

/** An element of one VR with a value that is sound, or nearly so. */
struct Sample {
    unsigned short vr;
    unsigned short group;
    unsigned short element;
    std::string value;
};

const Sample Samples[] = {
    {VR_UI, 0x0008, 0x0016, "1.2.840.10008.5.1.4.1.1.7\0"s},
    {VR_UI, 0x0008, 0x0018, "1.2.3.4 "},
    {VR_DA, 0x0008, 0x0020, "1998.05.17"},
    {VR_DA, 0x0008, 0x0021, "19980517"},
    {VR_DT, 0x0008, 0x002A, "20200101123000.000000+0130"},
    {VR_TM, 0x0008, 0x0030, "12:30:45.5"},
    {VR_AE, 0x0008, 0x0054, "STORE\\ARCHIVE"},
    {VR_CS, 0x0008, 0x0060, "OT-x"},
    {VR_UT, 0x0008, 0x0120, "http://x"},
    {VR_SH, 0x0008, 0x0100, "A\\\\ \\"},
    {VR_AT, 0x0008, 0x2110, "\x18\0\x63\x10"s},
    {VR_LO, 0x0010, 0x0020, "  4711\0"s},
    {VR_PN, 0x0010, 0x0010, "DOE^JANE^A^DR^MD=X^Y\\SMITH"},
    {VR_AS, 0x0010, 0x1010, "45Y"},
    {VR_LT, 0x0010, 0x4000, "line\r\nline"},
    {VR_DS, 0x0018, 0x0050, "1.5\\-2.25e3\\"},
    {VR_FD, 0x0018, 0x6020, "\0\0\0\0\0\0\xF8\x3F"s},
    {VR_SL, 0x0018, 0x6020, "\1\0\0\0"s},
    {VR_FL, 0x0018, 0x9089, "\0\0\x80\x3F\0\0\0\x40\0\0\0\0"s},
    {VR_IS, 0x0020, 0x0013, "7.0\\"},
    {VR_US, 0x0028, 0x0010, "\3\0"s},
    {VR_SS, 0x0028, 0x0106, "\xFF\xFF"},
    {VR_OW, 0x0028, 0x1201, "\1\2\3\4"},
    {VR_ST, 0x0040, 0x0280, "text "},
    {VR_UC, 0x0018, 0x9908, "a\\b"},
    {VR_UR, 0x0008, 0x1190, "http://x "},
    {VR_UL, 0x0040, 0xA132, "\1\0\0\0"s},
    {VR_OF, 0x5600, 0x0020, "\0\0\x80\x3F"s},
    {VR_OD, 0x0070, 0x150D, std::string(8, '\1')},
    {VR_OL, 0x0066, 0x0040, std::string(8, '\1')},
    {VR_OV, 0x7FE0, 0x0001, std::string(8, '\1')},
    {VR_SV, 0x0072, 0x0082, std::string(8, '\xFF')},
    {VR_UV, 0x0072, 0x0083, std::string(8, '\2')},
    {VR_OB, 0x7FE0, 0x0010, "odd"},
    {VR_UN, 0x0009, 0x1001, "?"},
};

std::string VR_Text(unsigned short vr)
{
    return {static_cast<char>(vr >> 8), static_cast<char>(vr & 0xFF)};
}

std::string Every_VR(unsigned char code)
{
    Stream_Builder s(code);
    for (const Sample& sample : Samples) {
        s.Element(sample.group, sample.element, VR_Text(sample.vr), sample.value);
    }
    return s.Bytes();
}

/** A sound data set with nesting, private elements and pixel data. */
std::string Sound(unsigned char code)
{
    Stream_Builder s(code);
    s.Element(0x0008, 0x0005, "CS", "ISO_IR 192");
    s.Element(0x0008, 0x0016, "UI", Padded_UID("1.2.840.10008.5.1.4.1.1.7"));
    s.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    s.Sequence(0x0008, 0x1140).Item();
    s.Element(0x0008, 0x1155, "UI", Padded_UID("1.2.3.5")).Item_End().Item();
    s.Element(0x0008, 0x1155, "UI", Padded_UID("1.2.3.6")).Item_End().Sequence_End();
    s.Element(0x0009, 0x0010, "LO", "ACME").Element(0x0009, 0x1001, "UN", "xx");
    s.Element(0x0010, 0x0010, "PN", "DOE^JANE");
    s.US(0x0028, 0x0100, 16).US(0x0028, 0x0103, 0).US(0x0028, 0x0106, 7);
    s.Header(0x7FE0, 0x0010, "OW", 4).Short(1).Short(2);
    return s.Bytes();
}

std::string Defined_Lengths(unsigned char code)
{
    const std::string us = Stream_Builder(code).US(0x0028, 0x0010, 1).Bytes();
    const std::string item = Stream_Builder(code).Item(static_cast<int>(us.size())).Raw(us).Bytes();
    return Stream_Builder(code)
        .Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"))
        .Sequence(0x0008, 0x1140, static_cast<int>(2 * item.size()))
        .Raw(item + item)
        .US(0x0028, 0x0011, 2)
        .Bytes();
}

std::string Deep(unsigned char code, int levels)
{
    Stream_Builder s(code);
    for (int i = 0; i < levels; ++i) {
        s.Sequence(0x0008, 0x1140).Item();
    }
    s.US(0x0028, 0x0010, 1);
    for (int i = 0; i < levels; ++i) {
        s.Item_End().Sequence_End();
    }
    return s.Bytes();
}

std::string Multi_Frame(unsigned char code)
{
    Stream_Builder s(code);
    s.Element(0x0020, 0x0010, "SH", "1 ").Sequence(0x5200, 0x9229).Item();
    s.Sequence(0x0028, 0x9110).Item().Element(0x0028, 0x0030, "DS", "1\\1 ");
    s.Item_End().Sequence_End().Item_End().Sequence_End();
    return s.Element(0x5400, 0x0100, "SQ", "").Element(0x60FE, 0x3000, "OW", "ab").Bytes();
}

std::string Fragments()
{
    return Stream_Builder()
        .Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"))
        .Header(0x7FE0, 0x0010, "OB", -1)
        .Item(8)
        .Int(0)
        .Int(12)
        .Item(3)
        .Raw("abc")
        .Item(4)
        .Raw("\xFF\xD8\xFF\xC0")
        .Sequence_End()
        .Bytes();
}

std::string Directory(int start)
{
    const int first = start + 12 + 12 + 12;
    Stream_Builder s;
    s.Header(0x0004, 0x1200, "UL", 4).Int(first);
    s.Header(0x0004, 0x1202, "UL", 4).Int(first + 31);
    s.Sequence(0x0004, 0x1220, 8 + 12 + 11 + 8 + 12);
    s.Item(12 + 11).Header(0x0004, 0x1400, "UL", 4).Int(first + 31);
    s.Element(0x0004, 0x1430, "CS", "IMG");
    return s.Item(12).Header(0x0004, 0x1400, "UL", 4).Int(0).Bytes();
}

/** Data sets with one fault each, in explicit VR little endian. */
Seeds Faults()
{
    const std::string inside =
        Stream_Builder(0).Item().US(0x0028, 0x0010, 1).Item_End().Sequence_End().Bytes();
    const std::string item = Stream_Builder(0).Item(10).US(0x0028, 0x0010, 1).Bytes();
    const auto start = [] {
        return Stream_Builder().Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    };
    return {
        {"unknown_vr", start().Element(0x0010, 0x0010, "FU", "DOE ").Bytes()},
        {"blank_vr", start().Raw("\x28\0\x20\x01  \2\0\7\0"s).Bytes()},
        {"stray_item", start().Item(10).US(0x0018, 0x6012, 1).Bytes()},
        {"stray_ends", start().Item_End().Sequence_End().US(0x0028, 0x0010, 1).Bytes()},
        {"open_item", start().Sequence(8, 0x1140).Item().US(0x28, 0x10, 1).Sequence_End().Bytes()},
        {"open_sequence", start().Sequence(8, 0x1140).Item().US(0x28, 0x10, 1).Bytes()},
        {"open_in_the_middle",
         start().Sequence(8, 0x1140).Item().Item_End().US(0x28, 0x11, 1).Bytes()},
        {"open_fragments", start().Header(0x7FE0, 0x10, "OB", -1).Item(0).Bytes()},
        {"end_in_length", start().Sequence(8, 0x1140, 18).Item(10).Sequence_End().Bytes()},
        {"zeros_behind", start().Raw(std::string(37, '\0')).Bytes()},
        {"bytes_behind", start().Raw("abc").Bytes()},
        {"cut_pixels", start().Header(0x7FE0, 0x10, "OW", 100000).Raw("ab").Bytes()},
        {"cut_text", start().Header(0x0010, 0x0010, "PN", 100).Raw("DOE").Bytes()},
        {"swapped_item", start().Raw("\xFF\xFE\xE0\0\0\0\0\0"s).Bytes()},
        {"un_undefined", start().Header(9, 0x1001, "UN", -1).Raw(inside).Bytes()},
        {"un_defined", start().Element(0x0008, 0x1140, "UN", item).Bytes()},
        {"text_with_items", start().Header(8, 0x70, "LO", -1).Raw(inside).Bytes()},
        {"unsorted", start().US(0x0028, 0x0011, 1).US(0x0028, 0x0010, 1).Bytes()},
        {"twice", start().US(0x0028, 0x0010, 1).US(0x0028, 0x0010, 2).Bytes()},
        {"length_13", start().Header(0x0008, 0x0070, "LO", 13).Raw("0123456789").Bytes()},
        {"long_value", start().Element(0x0009, 0x1001, "UN", std::string(1500, 'x')).Bytes()},
        {"group_length", start().Header(0x0028, 0, "UL", 4).Int(8).US(0x28, 0x10, 1).Bytes()},
        {"beyond_7fff", start().Element(0x8001, 0x0010, "LO", "ACME").Bytes()},
    };
}

/** Data sets without a head, each in its encoding. */
Seeds Streams(unsigned char code)
{
    Seeds seeds = {
        {"sound", Sound(code)},  {"every_vr", Every_VR(code)}, {"lengths", Defined_Lengths(code)},
        {"deep", Deep(code, 4)}, {"too_deep", Deep(code, 12)}, {"multi_frame", Multi_Frame(code)}};
    for (Seed& seed : seeds) {
        seed.name += "_" + Code_Name(code);
    }
    return seeds;
}

Seeds Files()
{
    Seeds files;
    for (const unsigned char code : Codes) {
        for (const Seed& stream : Streams(code)) {
            files.push_back({stream.name, Part10_Head(Syntax_Of(code)) + stream.bytes});
        }
        files.push_back({"bare_" + Code_Name(code), Sound(code)});
    }
    const std::string head = Part10_Head(Explicit_Little_UID);
    for (const Seed& fault : Faults()) {
        files.push_back({fault.name, head + fault.bytes});
    }
    files.push_back({"wrong_syntax", Part10_Head(Implicit_Little_UID) + Sound(8)});
    files.push_back({"fragments", Part10_Head("1.2.840.10008.1.2.4.50") + Fragments()});
    files.push_back({"fragments_undeclared", head + Fragments()});
    files.push_back({"not_encapsulated", Part10_Head("1.2.840.10008.1.2.4.50") + Sound(8)});
    files.push_back({"directory", head + Directory(static_cast<int>(head.size()))});
    const std::string sound = Sound(8);
    const Bytes deflated =
        Deflated({reinterpret_cast<const unsigned char*>(sound.data()), sound.size()});
    files.push_back({"deflated", Part10_Head(Deflated_Little_UID) +
                                     std::string(deflated.begin(), deflated.end())});
    return files;
}

class Folder {
public:
    explicit Folder(fs::path path) : path_(std::move(path))
    {
    }
    /** @param options  the bytes in front, that select what the target does */
    void Add(const std::string& target, const std::string& name, const std::string& options,
             const std::string& bytes)
    {
        fs::create_directories(path_ / target);
        std::ofstream file(path_ / target / name, std::ios::binary);
        file << options << bytes;
        complete_ = complete_ && file.flush();
    }
    bool Complete() const
    {
        return complete_;
    }

private:
    fs::path path_;
    bool complete_ = true;
};

std::string Byte(int value)
{
    return std::string(1, static_cast<char>(value));
}

void Add_Files(Folder& folder)
{
    for (const Seed& file : Files()) {
        // The target of the C interface sets an empty name three times.
        folder.Add("interface", file.name, std::string(14, '\0'), file.bytes);
        folder.Add("mend", file.name, Byte(0) + Byte(0), file.bytes);
        folder.Add("json", file.name, Byte(1), file.bytes);
    }
    folder.Add(
        "json", "text", Byte(0),
        R"([{"00080005":{"vr":"CS","Value":["ISO_IR 192"]},)"
        R"("00081140":{"vr":"SQ","Value":[{"00081150":{"vr":"UI","Value":["1.2"]}},{}]},)"
        R"("00100010":{"Value":[{"Alphabetic":"A","Phonetic":"P"},null],"vr":"PN"},)"
        R"("00200013":{"vr":"IS","Value":[1,"01"]},"00280009":{"vr":"AT","Value":["00181063"]},)"
        R"("00181114":{"vr":"FD","Value":[1.5,"NaN",-0.0]},)"
        R"("7FE00010":{"vr":"OB","InlineBinary":"/v8A4AAAAAD+/wDgAgAAAP/Y/v/d4AAAAAA="}}])");
    const std::string sound = Part10_Head(Explicit_Little_UID) + Sound(8);
    for (int options = 1; options < 64; ++options) {
        const std::string name = "options_" + std::to_string(options);
        folder.Add("mend", name, Byte(options) + Byte(options), sound);
        folder.Add("interface", name,
                   Byte(options) + Byte(options & 3) + Byte(options) + Byte(options / 8) +
                       Byte(options / 6) + Byte(options) + std::string(8, '\5'),
                   sound);
    }
}

void Add_Streams(Folder& folder)
{
    for (const unsigned char code : Codes) {
        for (const Seed& stream : Streams(code)) {
            folder.Add("elements", stream.name, Byte(code) + Byte(0), stream.bytes);
            folder.Add("steps", stream.name, Byte(code) + Byte(code % 4), stream.bytes);
            folder.Add("lists", stream.name, Byte(code) + Byte(0x2A) + "\x28\0\x10\0"s,
                       stream.bytes);
        }
    }
    for (const Seed& stream : Faults()) {
        folder.Add("elements", stream.name, Byte(0x38) + Byte(2), stream.bytes);
        folder.Add("steps", stream.name, Byte(8) + Byte(1), stream.bytes);
        folder.Add("lists", stream.name, Byte(8) + Byte(0x1F) + "\x08\0\x40\x11"s, stream.bytes);
    }
    for (int mode = 0; mode < 64; ++mode) {
        folder.Add("elements", "mode_" + std::to_string(mode), Byte(mode) + Byte(mode % 4),
                   Sound(static_cast<unsigned char>(mode & 0x0B)));
    }
}

int Place_Of(unsigned short vr)
{
    return static_cast<int>(std::find(std::begin(fuzz::VRs), std::end(fuzz::VRs), vr) -
                            std::begin(fuzz::VRs));
}

std::string Tag_Bytes(const Sample& sample)
{
    return Stream_Builder(0).Short(sample.group).Short(sample.element).Bytes();
}

void Add_Values(Folder& folder)
{
    for (const Sample& sample : Samples) {
        const std::string name = VR_Text(sample.vr) + "_" + std::to_string(sample.element);
        const std::string place = Byte(Place_Of(sample.vr));
        folder.Add("cleanup", name, place + Byte(1) + Tag_Bytes(sample), sample.value);
        folder.Add("cleanup", name + "_old", place + Byte(0) + Tag_Bytes(sample), sample.value);
        folder.Add("values", name, place + place + Byte(1), sample.value);
        std::string text;
        while (text.size() < 2100) {
            text += sample.value + "\\";
        }
        folder.Add("values", name + "_image", place + place + Byte(0x11), text);
        folder.Add("values", name + "_file", place + place + Byte(0x21), text);
        folder.Add("cleanup", name + "_long", place + Byte(1) + Tag_Bytes(sample), text);
    }
}

void Add_Definitions(Folder& folder)
{
    const std::string lines = "include modules/m C\n(0008,0060) 1 CS = \"CT\"  # Modality\n"
                              "(0008,1140) 3 SQ\n>include macros/m\n>(0040,A170) 1C SQ\n"
                              ">>(0008,0104) 2 LO + \"a\"\"b\\c\"\n(0028,0010) - -- ! \"512\"\n"
                              "(0009,1001) 3 FD = \"1.5\\-2\"\n(0020,4000) - -- x\n"
                              "(0028,0009) 1 AT = \"0018,1063\"\n(0042,0011) 1 OB = \"00 01\"\n";
    folder.Add("definitions", "iod", Byte(0), lines);
    folder.Add("definitions", "override", Byte(1), lines);
    folder.Add("definitions", "lines", Byte(4), lines);
    folder.Add("definitions", "cycle", Byte(0), "include modules/m\n>>(0008,0060) 1 CS\n");
    folder.Add("definitions", "index", Byte(2),
               "CT CT 1.2.840.10008.5.1.4.1.1.2|1.2.3 \"CT Image\"\nX - - \"Other\"\n");
    folder.Add("definitions", "private", Byte(3),
               "creator \"ACME\"\n(0029,xx08) CS 1 \"Header Type\"  # text\n"
               "(0029,1010) OB 1-n \"Unknown\"\n\"ACME\" f\n");
    for (const Sample& sample : Samples) {
        folder.Add("definitions", "value_" + VR_Text(sample.vr),
                   Byte(5) + Byte(Place_Of(sample.vr)),
                   sample.vr == VR_AT   ? "0018,1063\\0018,1064"
                   : sample.vr == VR_OB ? "00 01 fF"
                                        : "1.5\\-2");
    }
    const std::string table = "# comment\nSCT 69536005 Head and neck\nDCM 121406 Head first\n"
                              "99X 1 Abdomen\nSRT T-D1100 Head\n";
    folder.Add("codes", "head", Byte(4), "Head" + table);
    folder.Add("codes", "words", Byte(17), "head neck abdomen" + table);
    folder.Add("codes", "tracer", Byte(6), "Tc-99m" + table);
}

void Add_Character_Sets(Folder& folder)
{
    const Seed sets[] = {
        {"ISO_IR 100", "J\xE4ger"},
        {"ISO_IR 192", "J\xC3\xA4ger \xE5\xB1\xB1"},
        {"\\ISO 2022 IR 87", "Yamada^Tarou=\033$B;3ED\033(B^\033$BB@O:\033(B"},
        {"ISO 2022 IR 13\\ISO 2022 IR 87", "\xD4\xCF\xC0\xDE^\xC0\xDB\xB3=\033$B;3ED\033(J"},
        {"\\ISO 2022 IR 149", "Hong^Gildong=\033$)C\xFB\xF3^\033$)C\xD1\xCE\xD4\xD7"},
        {"GB18030", "Wang^XiaoDong=\xCD\xF5^\xD0\xA1\xB6\xAB\x81\x30\x81\x30"},
        {"GBK", "\xCD\xF5\\\x81\x5C"},
        {"\\ISO 2022 IR 58", "\033$)A\xD0\xA1\r\n\xB6\xAB"},
        {"ISO 2022 IR 6\\ISO 2022 IR 144", "Lj\033-L\xDB\xEE\xDA"},
        {"ISO_IR 166", "\xA1\xD2\xA3"},
    };
    for (const Seed& set : sets) {
        folder.Add("character_set", set.name.substr(set.name.find_last_of(' ') + 1),
                   Byte(Place_Of(VR_PN)) + Byte(static_cast<int>(set.name.size())) + set.name,
                   set.bytes);
    }
}

/** Seeds of the targets whose input is a text. */
void Add_Texts(Folder& folder)
{
    const auto add = [&](const char* name, int kind, const std::string& form,
                         const std::string& text) {
        folder.Add("components", name, Byte(kind) + Byte(static_cast<int>(form.size())),
                   form + text);
    };
    add("date", 0, "dd-mmm-yyyy", "17-May-1998");
    add("date_numbers", 0, "yyyy.mm.dd", "1998.05.17");
    add("date_short", 0, "yymmdd", "980517");
    add("date_words", 0, "mmmm dd, yyyy", "January 31, 2024");
    add("time", 1, "hh:mm:ss.ffff", "12:30:45.5");
    add("time_plain", 1, "hhmmss.ffffff", "235959.999999");
    add("time_cut", 1, "hh:mm", "12");
    add("name", 2, "", "Doe^Jane^A^Dr^MD=X^Y=Z");
    add("name_blank", 2, "", "  ^^ =^Yamada^");
    Add_Definitions(folder);
    Add_Character_Sets(folder);
    folder.Add("dictionary", "lines", "",
               "(0008,0001) A LO 1-3 RET\n(0008,0002) B US 10\n(0008,0003) C FD 3-3n\n"
               "(60xx,0010) D (US 1) or (SS 1) or (OW 1)\n(0x18,1x2x) E US 1\n"
               "(0008,0002) Again LO 1-n\n(0006,0001) F LO 1 RET\n");
    folder.Add("dictionary", "faults", "",
               "(0008,0001) A LO n\n(0008,0002) B US 1) or (SS 1)\n(\n(0008,xx\n\n)\n");
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: make_seeds FOLDER [FILE...]\n");
        return 2;
    }
    Folder folder(argv[1]);
    Add_Files(folder);
    Add_Streams(folder);
    Add_Values(folder);
    Add_Texts(folder);
    for (int i = 2; i < argc; ++i) {
        std::ifstream file(argv[i], std::ios::binary);
        std::string bytes(static_cast<std::size_t>(fs::file_size(argv[i])), '\0');
        file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        folder.Add("mend", fs::path(argv[i]).filename(), Byte(0) + Byte(0), bytes);
        folder.Add("interface", fs::path(argv[i]).filename(), std::string(14, '\0'), bytes);
        folder.Add("json", fs::path(argv[i]).filename(), Byte(1), bytes);
    }
    return folder.Complete() ? 0 : 1;
}
