#include "support/fault_generator.h"

#include "support/case_rows.h"
#include "support/stream_builder.h"

#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string_view>

namespace {

using namespace std::string_literals;

constexpr std::string_view Implicit_UID = "1.2.840.10008.1.2";
constexpr std::string_view Explicit_UID = "1.2.840.10008.1.2.1";
constexpr std::string_view Big_UID = "1.2.840.10008.1.2.2";
constexpr std::string_view JPEG_UID = "1.2.840.10008.1.2.4.50";

// ---- Sound files

std::string Even(std::string text)
{
    text.append(text.size() % 2, ' ');
    return text;
}

void Code(Stream_Builder& s, const char* value, const char* scheme, const char* meaning)
{
    s.Element(0x0008, 0x0100, "SH", Even(value));
    s.Element(0x0008, 0x0102, "SH", Even(scheme));
    s.Element(0x0008, 0x0104, "LO", Even(meaning));
}

/** A sequence of items of defined lengths. */
void Defined(Stream_Builder& s, unsigned char code, unsigned int group, unsigned int element,
             const std::vector<std::string>& items)
{
    Stream_Builder inner(code);
    for (const std::string& item : items) {
        inner.Item(static_cast<int>(item.size())).Raw(item);
    }
    s.Sequence(group, element, static_cast<int>(inner.Bytes().size())).Raw(inner.Bytes());
}

std::string Reference(unsigned char code, const char* instance)
{
    Stream_Builder s(code);
    s.Element(0x0008, 0x1150, "UI", Padded_UID("1.2.840.10008.5.1.4.1.1.4"));
    s.Element(0x0008, 0x1155, "UI", Padded_UID(instance));
    return s.Bytes();
}

std::string Request(unsigned char code)
{
    Stream_Builder s(code);
    s.Element(0x0032, 0x1060, "LO", "Knee left ");
    s.Sequence(0x0040, 0x0008).Item();
    Code(s, "T-15460", "SRT", "Knee joint");
    s.Item_End().Item();
    Code(s, "T-D9200", "SRT", "Knee");
    s.Item_End().Sequence_End();
    s.Element(0x0040, 0x0009, "SH", "S4711 ");
    return s.Bytes();
}

void Frames(Stream_Builder& s)
{
    s.Header(0x7FE0, 0x0010, "OB", DICOM_Undefined_Length);
    s.Item(8).Int(0).Int(0x208);
    for (const char fill : {'a', 'b'}) {
        std::string frame = "\xFF\xD8\xFF\xE0\x00\x10JFIF"s + std::string(500, fill) + "\xFF\xD9";
        frame.resize(512, '\0');
        s.Item(static_cast<int>(frame.size())).Raw(frame);
    }
    s.Sequence_End();
}

/** Appends the elements of a table. */
void Add(Stream_Builder& s, const std::string& table)
{
    Case_Page page("support/fault_generator.cases");
    std::vector<std::string> fields;
    while (page.Next(table, fields)) {
        const Case_Row row(fields);
        const unsigned int tag = row.Tag(0);
        if (row[1] == "US") {
            s.US(tag >> 16, tag & 0xFFFF, static_cast<unsigned int>(row.Number(2)));
        } else {
            s.Element(tag >> 16, tag & 0xFFFF, row[1], Padded_UID(row[2]));
        }
    }
}

std::string Data_Set_Of(unsigned char code, bool encapsulated)
{
    Stream_Builder s(code);
    Add(s, "instance");
    Defined(s, code, 0x0008, 0x1111, {Reference(code, "1.2.3.77")});
    s.Sequence(0x0008, 0x1140).Item().Raw(Reference(code, "1.2.3.5")).Item_End();
    s.Item().Raw(Reference(code, "1.2.3.6")).Item_End().Sequence_End();
    Add(s, "patient and image");
    Add(s, encapsulated ? "encapsulated image" : "native image");
    Add(s, "display");
    s.Sequence(0x0040, 0x0275).Item().Raw(Request(code)).Item_End();
    s.Item().Raw(Request(code)).Item_End().Sequence_End();
    Defined(s, code, 0x0040, 0x0555, {Request(code)});
    s.Element(0x0040, 0xA160, "UT", Even(std::string(70001, 't')));
    s.Element(0x0088, 0x0140, "UI", Padded_UID("1.2.3.13"));
    if (encapsulated) {
        Frames(s);
    } else {
        s.Header(0x7FE0, 0x0010, "OW", 64 * 64 * 2);
        for (int i = 0; i < 64 * 64; ++i) {
            s.Short(static_cast<unsigned int>(i * 7 % 4001));
        }
    }
    return s.Bytes();
}

Sound_File Made(std::string name, std::string_view uid, unsigned char code, bool encapsulated)
{
    std::string head = Part10_Head(uid);
    const std::string placeholder = Padded_UID("1.2.840.10008.5.1.4.1.1.7");
    head.replace(head.find(placeholder), placeholder.size(),
                 Padded_UID("1.2.840.10008.5.1.4.1.1.4"));
    return As_Sound_File(std::move(name), head + Data_Set_Of(code, encapsulated));
}

// ---- Faults

/** A file that is being damaged, and the element that the fault is put into. */
class Damage {
public:
    Damage(const Sound_File& sound, const Plain_Element& element, unsigned int seed)
        : file(sound.bytes), plain(sound.plain), at(element), random(seed)
    {
    }

    bool Is_In_Meta_Group() const
    {
        return at.path.compare(0, 4, "0002") == 0;
    }
    bool Is_Explicit() const
    {
        return plain.is_explicit || Is_In_Meta_Group();
    }
    bool Is_Big() const
    {
        return plain.is_big && !Is_In_Meta_Group();
    }
    bool Is_Long() const
    {
        return Is_Explicit() && at.value_start - at.start == 12;
    }
    std::size_t Length_Place() const
    {
        return Is_Explicit() && !Is_Long() ? at.start + 6 : at.value_start - 4;
    }
    std::size_t Length_Size() const
    {
        return Is_Explicit() && !Is_Long() ? 2 : 4;
    }
    std::uint32_t Value_Size() const
    {
        return static_cast<std::uint32_t>(at.end - at.value_start);
    }
    void Set_VR(std::string_view vr)
    {
        file.replace(at.start + 4, 2, vr);
    }
    void Set_Number(std::size_t place, std::uint32_t number, std::size_t size)
    {
        for (std::size_t i = 0; i < size; ++i) {
            const std::size_t shift = 8 * (Is_Big() ? size - 1 - i : i);
            file[place + i] = static_cast<char>(number >> shift);
        }
    }
    void Set_Length(std::uint32_t length)
    {
        Set_Number(Length_Place(), length, Length_Size());
    }
    char Any_Byte()
    {
        return static_cast<char>(random() & 0xFF);
    }
    char Any_Capital()
    {
        return static_cast<char>('A' + random() % 26);
    }
    std::string Noise(std::size_t size)
    {
        std::string bytes;
        while (bytes.size() < size) {
            bytes += Any_Byte();
        }
        return bytes;
    }

    std::string file;
    const Plain_File& plain;
    const Plain_Element& at;
    std::mt19937 random;
};

enum Scope : unsigned int {
    Plain = 1,          ///< an element with a value, in the data set
    Explicit = 2,       ///< with a VR of its own
    Short_Form = 4,     ///< 2-byte length
    Long_Form = 8,      ///< 4-byte length in explicit VR
    Sequence = 16,      ///< a sequence
    Undefined = 32,     ///< of undefined length
    Top = 64,           ///< at the top level
    Meta = 128,         ///< an element of group 0002
    File = 256,         ///< the file as a whole, once
    Implicit = 512,     ///< in a file of implicit VR
    Long_Value = 1024,  ///< a value above 65,535 bytes
    Fragmented = 2048,  ///< encapsulated pixel data
    Native = 4096,      ///< a file without encapsulated pixel data
    Defined_Length = 8192
};

using Inject = std::function<void(Damage&)>;

struct Fault_Kind {
    const char* name;
    unsigned int scope;
    /** Puts the fault in. */
    Inject inject;
    /** The element is as good as before when its bytes are read rightly: it has to be there. */
    bool whole = false;
};

/** @param place  nowhere, and nothing is dropped, where there is no such thing */
void Drop(Damage& d, std::size_t place, std::size_t count)
{
    if (place != std::string::npos) {
        d.file.erase(place, count);
    }
}

void In_Small_Letters(Damage& d)
{
    for (const std::size_t i : {std::size_t{4}, std::size_t{5}}) {
        d.file[d.at.start + i] =
            static_cast<char>(std::tolower(static_cast<unsigned char>(d.file[d.at.start + i])));
    }
}

/** Explicit header of the other form: the reserved field and four bytes, or two bytes only. */
void Other_Form(Damage& d)
{
    if (d.Is_Long()) {
        const std::uint32_t size = d.Value_Size();
        d.file.erase(d.at.start + 8, 4);
        d.Set_Number(d.at.start + 6, size, 2);
    } else {
        const std::uint32_t size = d.Value_Size();
        d.file.insert(d.at.start + 8, 4, '\0');
        d.Set_Number(d.at.start + 6, 0, 2);
        d.Set_Number(d.at.start + 8, size, 4);
    }
}

/** An element as it would stand in a file of the other VR form. */
void Explicit_In_Implicit(Damage& d)
{
    const auto* const tag = reinterpret_cast<const unsigned char*>(&d.file[d.at.start]);
    const unsigned int group = Get_UShort(0, tag);
    const unsigned int element = Get_UShort(0, tag + 2);
    const TAG_db_Elems* const entry =
        NEMA_db_Locate(static_cast<unsigned short>(group), static_cast<unsigned short>(element));
    const unsigned short vr = entry != nullptr ? entry->vr[0] : static_cast<unsigned short>(VR_UN);
    const std::string letters = {static_cast<char>(vr >> 8), static_cast<char>(vr & 0xFF)};
    Stream_Builder header;
    header.Header(group, element, letters, static_cast<int>(d.Value_Size()));
    d.file.replace(d.at.start, 8, header.Bytes());
}

void Implicit_In_Explicit(Damage& d)
{
    const std::uint32_t size = d.Value_Size();
    d.file.erase(d.at.start + 4, d.at.value_start - d.at.start - 4);
    d.file.insert(d.at.start + 4, 4, '\0');
    d.Set_Number(d.at.start + 4, size, 4);
}

/** The whole file in a wrapper of zlib's. */
void Wrap(Damage& d, int window)
{
    z_stream stream = {};
    deflateInit2(&stream, 6, Z_DEFLATED, window, 8, Z_DEFAULT_STRATEGY);
    std::string out(d.file.size() + 1024, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(d.file.data());
    stream.avail_in = static_cast<uInt>(d.file.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    d.file = out;
}

void Swap_Numbers(std::string& bytes, std::size_t place, std::size_t size)
{
    std::reverse(bytes.begin() + static_cast<std::ptrdiff_t>(place),
                 bytes.begin() + static_cast<std::ptrdiff_t>(place + size));
}

/** The headers of a sequence's contents in the other byte order; their values are texts. */
void Other_Byte_Order(Damage& d)
{
    const auto swap_header = [&](std::size_t start, std::size_t value_start, bool is_explicit) {
        Swap_Numbers(d.file, start, 2);
        Swap_Numbers(d.file, start + 2, 2);
        const std::size_t size = is_explicit && value_start - start == 8 ? 2 : 4;
        Swap_Numbers(d.file, value_start - size, size);
    };
    for (const Plain_Element& inner : d.plain.elements) {
        const bool is_inside = inner.start >= d.at.value_start && inner.end <= d.at.end;
        if (is_inside && inner.start != d.at.start) {
            swap_header(inner.start, inner.value_start, d.plain.is_explicit);
        }
    }
    // Items and delimiters: what lies between the elements.
    for (std::size_t at = d.at.value_start; at + 8 <= d.at.end;) {
        const std::string tag = d.file.substr(at, 4);
        if (tag == "\xFE\xFF\x00\xE0"s || tag == "\xFE\xFF\x0D\xE0"s ||
            tag == "\xFE\xFF\xDD\xE0"s || tag == "\xFF\xFE\xE0\x00"s ||
            tag == "\xFF\xFE\xE0\x0D"s || tag == "\xFF\xFE\xE0\xDD"s) {
            swap_header(at, at + 8, false);
            at += 8;
        } else {
            ++at;
        }
    }
}

/** Where the first delimitation of a kind stands inside an element of undefined length. */
std::size_t Delimiter_In(const Damage& d, unsigned int element, bool last)
{
    Stream_Builder tag(d.plain.is_big ? 9 : 8);
    tag.Short(0xFFFE).Short(element).Int(0);
    const std::size_t found =
        last ? d.file.rfind(tag.Bytes(), d.at.end - 8) : d.file.find(tag.Bytes(), d.at.value_start);
    // Items of defined length have none.
    return found < d.at.end ? found : std::string::npos;
}

void Exchange_Delimiters(Damage& d)
{
    const std::size_t item = Delimiter_In(d, 0xE00D, false);
    if (item == std::string::npos) {
        return;
    }
    const std::size_t sequence = d.at.end - 8;
    d.Set_Number(item + 2, 0xE0DD, 2);
    d.Set_Number(sequence + 2, 0xE00D, 2);
}

void Fragments_As_Value(Damage& d)
{
    const std::string frames = d.plain.Find("7fe0,0010[1]")->value;
    Stream_Builder s;
    s.Element(0x7FE0, 0x0010, "OB", frames);
    d.file.replace(d.at.start, d.at.end - d.at.start, s.Bytes());
}

Inject VR_Is(std::string_view vr)
{
    return [=](Damage& d) {
        d.Set_VR(vr);
    };
}

Inject Length_Is(std::uint32_t length)
{
    return [=](Damage& d) {
        d.Set_Length(length);
    };
}

Inject Length_By(int difference)
{
    return [=](Damage& d) {
        d.Set_Length(d.Value_Size() + static_cast<std::uint32_t>(difference));
    };
}

Inject Without(std::size_t place, std::size_t count)
{
    return [=](Damage& d) {
        Drop(d, place, count);
    };
}

Inject Noise_In_Front(std::size_t size)
{
    return [=](Damage& d) {
        d.file.insert(d.at.start, d.Noise(size));
    };
}

Inject Wrapped(int window)
{
    return [=](Damage& d) {
        Wrap(d, window);
    };
}

const Fault_Kind Kinds[] = {
    // VRs.
    {"VR in small letters", Plain | Explicit, In_Small_Letters, true},
    {"VR of NULs", Plain | Explicit, VR_Is({"\0\0", 2}), true},
    {"VR of blanks", Plain | Explicit, VR_Is("  "), true},
    {"VR ??", Plain | Explicit, VR_Is("??"), true},
    {"VR --", Plain | Explicit, VR_Is("--"), true},
    {"VR OX", Plain | Explicit, VR_Is("OX"), true},
    {"VR of random letters", Plain | Explicit,
     [](Damage& d) {
         const char letters[] = {'Q', d.Any_Capital()};
         d.Set_VR({letters, 2});
     },
     true},
    {"VR of random bytes", Plain | Explicit, [](Damage& d) { d.Set_VR(d.Noise(2)); }, true},
    {"VR UN with its length in two bytes", Plain | Short_Form, VR_Is("UN"), true},
    {"VR OB with its length in two bytes", Plain | Short_Form, VR_Is("OB"), true},
    {"VR of a text for a long one", Plain | Long_Form, VR_Is("LO"), true},
    {"sequence without a VR", Sequence | Explicit, VR_Is({"\0\0", 2}), true},
    {"sequence as UN with explicit items", Sequence | Explicit, VR_Is("UN"), true},
    {"sequence as OB", Sequence | Explicit, VR_Is("OB"), true},
    {"sequence as OW", Sequence | Explicit, VR_Is("OW"), true},
    {"sequence as LO", Sequence | Explicit, VR_Is("LO"), true},
    // Form of the header.
    {"other form of the length", Plain | Explicit, Other_Form, true},
    {"explicit element in implicit VR", Plain | Implicit, Explicit_In_Implicit, true},
    {"implicit element in explicit VR", Plain | Explicit, Implicit_In_Explicit, true},
    {"sequence in the other byte order", Sequence, Other_Byte_Order},
    // Lengths.
    {"length too long by 1", Plain, Length_By(1)},
    {"length too long by 2", Plain, Length_By(2)},
    {"length too long by 8", Plain, Length_By(8)},
    {"length too short by 1", Plain, Length_By(-1)},
    {"length too short by 2", Plain, Length_By(-2)},
    {"length of zero", Plain, Length_Is(0)},
    {"length far too long", Plain, Length_Is(0x7FF0)},
    {"length of all ones", Plain, Length_Is(0xFFFFFFFFU)},
    {"length from 2 GiB", Plain | Long_Form, Length_Is(0x90000000U)},
    {"length in the other byte order", Plain,
     [](Damage& d) { Swap_Numbers(d.file, d.Length_Place(), d.Length_Size()); }, false},
    {"length cut to 16 bits", Plain | Long_Value,
     [](Damage& d) { d.Set_Length(d.Value_Size() & 0xFFFF); }, false},
    {"sequence too long by 8", Sequence | Defined_Length, Length_By(8), true},
    {"sequence too short by 8", Sequence | Defined_Length, Length_By(-8), true},
    {"sequence of length zero", Sequence | Defined_Length, Length_Is(0), true},
    {"sequence far too long", Sequence | Defined_Length, Length_Is(0x00FFFFF0), true},
    {"item too long by 4", Sequence,
     [](Damage& d) { d.Set_Number(d.at.value_start + 4, d.Value_Size() - 8 + 4, 4); }, true},
    {"item of length zero", Sequence, [](Damage& d) { d.Set_Number(d.at.value_start + 4, 0, 4); },
     true},
    // Items and delimiters.
    {"item and sequence delimiters exchanged", Sequence | Undefined, Exchange_Delimiters, true},
    {"item delimiter missing", Sequence | Undefined,
     [](Damage& d) { Drop(d, Delimiter_In(d, 0xE00D, false), 8); }, true},
    {"sequence delimiter missing", Sequence | Undefined,
     [](Damage& d) { Drop(d, d.at.end - 8, 8); }, true},
    {"sequence delimiter doubled", Sequence | Undefined,
     [](Damage& d) { d.file.insert(d.at.end, d.file.substr(d.at.end - 8, 8)); }, true},
    {"item tag missing", Sequence, [](Damage& d) { Drop(d, d.at.value_start, 8); }, true},
    // Bytes.
    {"a byte of the tag overwritten", Plain,
     [](Damage& d) { d.file[d.at.start + d.random() % 4] = d.Any_Byte(); }, false},
    {"a byte of the header overwritten", Plain,
     [](Damage& d) { d.file[d.at.start + 4 + d.random() % 4] = d.Any_Byte(); }, false},
    {"four bytes of the header overwritten", Plain,
     [](Damage& d) { d.file.replace(d.at.start + 2, 4, d.Noise(4)); }, false},
    {"header overwritten", Plain, [](Damage& d) { d.file.replace(d.at.start, 8, d.Noise(8)); },
     false},
    {"a byte dropped from the header", Plain,
     [](Damage& d) { Drop(d, d.at.start + d.random() % 8, 1); }, false},
    {"a byte dropped from the value", Plain,
     [](Damage& d) { Drop(d, d.at.value_start + d.random() % d.Value_Size(), 1); }, false},
    {"a byte inserted into the header", Plain,
     [](Damage& d) { d.file.insert(d.at.start + d.random() % 8, 1, d.Any_Byte()); }, false},
    {"a byte inserted into the value", Plain,
     [](Damage& d) {
         d.file.insert(d.at.value_start + d.random() % d.Value_Size(), 1, d.Any_Byte());
     },
     false},
    {"eight bytes inserted in front", Plain, Noise_In_Front(8), true},
    {"a hundred zeros inserted in front", Plain,
     [](Damage& d) { d.file.insert(d.at.start, 100, '\0'); }, true},
    {"a kilobyte of noise inserted in front", Plain | Top, Noise_In_Front(1024), true},
    // Pixel data.
    {"compressed stream of defined length", Fragmented, Fragments_As_Value},
    {"offset table item missing", Fragmented, [](Damage& d) { Drop(d, d.at.value_start, 16); },
     true},
    {"wrong offset table", Fragmented,
     [](Damage& d) { d.Set_Number(d.at.value_start + 12, 77, 4); }, true},
    {"fragments without end", Fragmented, [](Damage& d) { Drop(d, d.at.end - 8, 8); }, true},
    {"length of native pixel data from 2 GiB", Native | Top, Length_Is(0x90000000U), true},
    // Around the data set.
    {"a byte of group 0002 overwritten", Meta,
     [](Damage& d) { d.file[d.at.start + d.random() % 8] = d.Any_Byte(); }, false},
    {"VR of NULs in group 0002", Meta, VR_Is({"\0\0", 2})},
    {"length in group 0002 too long by 2", Meta, Length_By(2)},
    {"one stray byte in front", File, [](Damage& d) { d.file.insert(0, 1, '\n'); }, false},
    {"junk in front", File, [](Damage& d) { d.file.insert(0, d.Noise(700)); }, false},
    {"DICM misspelt", File, [](Damage& d) { d.file[129] = 'J'; }, false},
    {"zeros without DICM", File, Without(128, 4)},
    {"no preamble", File, Without(0, 128)},
    {"no preamble, no DICM", File, Without(0, 132)},
    {"no preamble, no group 0002", File, [](Damage& d) { d.file.erase(0, d.plain.data_set); },
     false},
    {"gzip wrapper", File, Wrapped(15 + 16)},
    {"zlib wrapper", File, Wrapped(15)},
    {"noise behind the data set", File, [](Damage& d) { d.file += d.Noise(300); }, false},
};

bool Applies(const Fault_Kind& kind, const Sound_File& sound, const Plain_Element& element)
{
    const Damage probe(sound, element, 0);
    const unsigned int scope = kind.scope;
    const bool is_meta = element.path.compare(0, 4, "0002") == 0;
    const bool is_pixels = element.path.compare(0, 9, "7fe0,0010") == 0;
    const bool is_fragmented = is_pixels && element.undefined_length;
    const bool is_fragment = is_pixels && element.path.size() > 9;
    const bool is_sequence = element.vr == "SQ";
    if ((scope & File) != 0) {
        return false;
    }
    if ((scope & Meta) != 0) {
        return is_meta && element.path != "0002,0000";
    }
    if ((scope & Fragmented) != 0) {
        return is_fragmented && element.vr == "OB";
    }
    if ((scope & Native) != 0) {
        return element.path == "7fe0,0010" && !is_fragmented;
    }
    const bool wants_sequence = (scope & Sequence) != 0;
    const bool fits = !is_meta && !is_fragmented && !is_fragment && is_sequence == wants_sequence &&
                      (wants_sequence || probe.Value_Size() >= 2);
    return fits && ((scope & Explicit) == 0 || sound.plain.is_explicit) &&
           ((scope & Implicit) == 0 || !sound.plain.is_explicit) &&
           ((scope & Short_Form) == 0 || (sound.plain.is_explicit && !probe.Is_Long())) &&
           ((scope & Long_Form) == 0 || (sound.plain.is_explicit && probe.Is_Long())) &&
           ((scope & Undefined) == 0 || element.undefined_length) &&
           ((scope & Defined_Length) == 0 || !element.undefined_length) &&
           ((scope & Top) == 0 || element.depth == 0) &&
           ((scope & Long_Value) == 0 || (probe.Value_Size() > 0xFFFF && probe.Length_Size() == 4));
}

}  // namespace

Sound_File As_Sound_File(std::string name, std::string bytes)
{
    Sound_File sound = {std::move(name), std::move(bytes), {}};
    sound.plain = Read_Plain(sound.bytes);
    return sound;
}

const std::vector<Sound_File>& Made_Sound_Files()
{
    static const std::vector<Sound_File> files = {
        Made("explicit little endian", Explicit_UID, 8, false),
        Made("implicit little endian", Implicit_UID, 0, false),
        Made("explicit big endian", Big_UID, 9, false),
        Made("encapsulated", JPEG_UID, 8, true),
    };
    return files;
}

std::vector<std::string> Fault_Kinds()
{
    std::vector<std::string> names;
    for (const Fault_Kind& kind : Kinds) {
        names.emplace_back(kind.name);
    }
    return names;
}

void For_Each_Fault(const Sound_File& sound, int places,
                    const std::function<void(const Fault_Case&)>& visit)
{
    unsigned int seed = 0;
    for (const Fault_Kind& kind : Kinds) {
        std::vector<const Plain_Element*> candidates;
        for (const Plain_Element& element : sound.plain.elements) {
            if (Applies(kind, sound, element)) {
                candidates.push_back(&element);
            }
        }
        if ((kind.scope & File) != 0) {
            candidates = {&sound.plain.elements.front()};
        }
        const std::size_t count = std::min(candidates.size(), static_cast<std::size_t>(places));
        for (std::size_t i = 0; i < count; ++i) {
            // Spread over the file, another element for another kind.
            const std::size_t index = (i * candidates.size() / count + seed) % candidates.size();
            const Plain_Element& element = *candidates[index];
            Damage damage(sound, element, ++seed);
            kind.inject(damage);
            if (damage.file == sound.bytes) {
                continue;
            }
            visit({kind.name, &sound, std::move(damage.file),
                   kind.whole || (kind.scope & File) != 0 ? "" : element.path});
        }
    }
}
