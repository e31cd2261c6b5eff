// Files of a size of choice that are made to hurt: each asks for more time or memory than its bytes
// are worth wherever a step looks at an element, a value or a level more often than once.
#ifndef TESTS_HOSTILE_INPUTS_H
#define TESTS_HOSTILE_INPUTS_H

#include "support/stream_builder.h"

#include <functional>
#include <string>
#include <vector>

struct Hostile_Input {
    std::string name;
    std::string file;
};

namespace hostile {

inline constexpr std::size_t Megabyte = 1U << 20;
inline constexpr int Implicit = 0;

using Append = std::function<void(Stream_Builder&, unsigned int)>;

/** Calls `append` with 0, 1, 2, ... until the stream has its size. */
inline std::string Fill(std::size_t size, Stream_Builder& stream, const Append& append)
{
    for (unsigned int i = 0; stream.Bytes().size() < size; ++i) {
        append(stream, i);
    }
    return stream.Bytes();
}

inline std::string Filled(std::size_t size, const Append& append)
{
    Stream_Builder stream;
    stream.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    return Fill(size, stream, append);
}

inline std::string Repeated(std::string_view piece, std::size_t size)
{
    std::string text;
    while (text.size() < size) {
        text += piece;
    }
    return text;
}

/** Sequences one inside the other, none of them closed. */
inline std::string Nested(int levels)
{
    Stream_Builder stream;
    for (int i = 0; i < levels; ++i) {
        stream.Sequence(0x0008, 0x1140).Item();
    }
    return stream.Bytes();
}

/** An element that only an implicit header can give so long a value. */
inline Hostile_Input Long_Value(const char* name, unsigned int group, unsigned int element,
                                std::string_view piece, std::size_t size)
{
    Stream_Builder stream(Implicit);
    stream.Element(0x0008, 0x0005, "CS", std::string_view("\\ISO 2022 IR 87 ", 16));
    stream.Element(group, element, "", Repeated(piece, size));
    return {name, Part10_Head("1.2.840.10008.1.2") + stream.Bytes()};
}

/** Many small values of one VR, each of them in need of a repair. */
inline std::string Faulty_Values(std::size_t size, std::string_view vr, std::string_view value)
{
    return Filled(size, [=](Stream_Builder& stream, unsigned int i) {
        stream.Element(0x0011 + 2 * (i >> 15U), 0x1000 + (i & 0x7FFFU), vr, value);
    });
}

inline std::string Offset_Table(std::size_t entries, std::size_t fragments)
{
    Stream_Builder stream;
    stream.Header(0x7FE0, 0x0010, "OB", DICOM_Undefined_Length);
    stream.Item(static_cast<int>(4 * entries));
    for (std::size_t i = 0; i < entries; ++i) {
        stream.Int(static_cast<int>(9 * (i % 1000)));
    }
    for (std::size_t i = 0; i < fragments; ++i) {
        stream.Item(1).Raw("x");
    }
    return Part10_Head("1.2.840.10008.1.2.4.50") + stream.Sequence_End().Bytes();
}

/** A DICOMDIR whose records name each other by places that do not exist. */
inline std::string Directory(std::size_t records)
{
    Stream_Builder stream;
    stream.Sequence(0x0004, 0x1220);
    for (std::size_t i = 0; i < records; ++i) {
        stream.Item();
        stream.Header(0x0004, 0x1400, "UL", 4).Int(static_cast<int>(i * 7 + 1));
        stream.Header(0x0004, 0x1420, "UL", 4).Int(static_cast<int>(i * 11 + 1));
        stream.Element(0x0004, 0x1430, "CS", "IMAGE ");
        stream.Item_End();
    }
    return stream.Sequence_End().Bytes();
}

/** Takes inputs by their names. */
struct Inputs {
    void Add(const char* name, std::string file)
    {
        all.push_back({name, std::move(file)});
    }
    void Fill_With(const char* name, const Append& append)
    {
        Add(name, Filled(size, append));
    }
    void Sequence_Of(const char* name, const Append& items)
    {
        Stream_Builder stream;
        stream.Sequence(0x0008, 0x1140);
        Add(name, Fill(size, stream, items));
    }

    std::size_t size;
    std::vector<Hostile_Input> all = {};
};

inline std::vector<Hostile_Input> Structures(std::size_t size)
{
    Inputs in = {size};
    in.Sequence_Of("empty items", [](auto& s, auto) { s.Item(0); });
    in.Sequence_Of("unclosed items", [](auto& s, auto) { s.Item(); });
    in.Sequence_Of("items of one element",
                   [](auto& s, auto) { s.Item().Element(0x0008, 0x0060, "CS", "").Item_End(); });
    in.Fill_With("stray delimiters",
                 [](auto& s, auto i) { i % 2 == 0 ? s.Item_End() : s.Sequence_End(); });
    in.Add("nested sequences", Nested(static_cast<int>(size / 20)));
    in.Fill_With("unclosed sequences",
                 [](auto& s, auto i) { s.Sequence(0x0008 + 2 * (i & 0xFFFU), 0x1140); });
    in.Fill_With("many sequences", [](auto& s, auto i) {
        s.Sequence(0x0009 + 2 * (i >> 12U), 0x1000 + (i & 0xFFFU)).Item();
        s.Element(0x0008, 0x1155, "UI", "").Item_End().Sequence_End();
    });
    in.Fill_With("empty elements", [](auto& s, auto i) {
        s.Element(0x0011 + 2 * (i >> 15U), 0x1000 + (i & 0x7FFFU), "LO", "");
    });
    in.Add("odd lengths", Faulty_Values(size, "LO", "odd"));
    in.Fill_With("descending tags", [](auto& s, auto i) {
        s.Element(0x6001 - 2 * (i >> 12U), 0x2000 - (i & 0xFFFU), "SH", "A ");
    });
    in.Fill_With("equal tags", [](auto& s, auto) { s.Element(0x0010, 0x0020, "LO", "AB"); });
    in.Fill_With("private creators", [](auto& s, auto i) {
        s.Element(0x0009 + 2 * (i / 0xF0U), 0x0010 + i % 0xF0U, "LO", "AB");
    });
    in.Add("private elements without creators", Faulty_Values(size, "LO", "A "));
    in.Add("unknown VRs", Faulty_Values(size, "ZZ", "A "));
    in.Add("offset table", Offset_Table(size / 4, 1000));
    in.Add("odd fragments", Offset_Table(1000, size / 9));
    in.Add("directory", Directory(size / 52));
    in.Add("zeros", std::string(size, '\0'));
    in.Add("parentheses", Faulty_Values(size, "DA", Repeated("((((", 60000).substr(0, 60000)));
    return in.all;
}

/** Faults of structure, one in every element: each asks for a guess what is meant. */
inline std::vector<Hostile_Input> Faulty_Headers(std::size_t size)
{
    const auto tag_of = [](Stream_Builder& s, unsigned int i) -> Stream_Builder& {
        return s.Short(0x0011 + 2 * (i >> 15U)).Short(0x1000 + (i & 0x7FFFU));
    };
    const auto noise = [](unsigned int i, std::size_t count) {
        std::string bytes;
        for (; bytes.size() < count; i = i * 1664525U + 1013904223U) {
            bytes += static_cast<char>(i >> 24U);
        }
        return bytes;
    };
    Inputs in = {size};
    in.Add("noise", Part10_Head("1.2.840.10008.1.2.1") + noise(1, size));
    in.Fill_With("noise between elements", [&](auto& s, auto i) {
        tag_of(s, i).Raw("LO").Short(2).Raw("AB").Raw(noise(i, 7));
    });
    in.Fill_With("lengths too long",
                 [&](auto& s, auto i) { tag_of(s, i).Raw("LO").Short(4).Raw("AB"); });
    in.Fill_With("lengths too short",
                 [&](auto& s, auto i) { tag_of(s, i).Raw("LO").Short(2).Raw("ABCD"); });
    in.Fill_With("VRs of NULs", [&](auto& s, auto i) {
        tag_of(s, i).Raw({"\0\0", 2}).Short(2).Raw("AB");
    });
    Stream_Builder alternating;
    in.Add("alternating VR forms", Fill(size, alternating, [&](auto& s, auto i) {
               tag_of(s, i).Raw(i % 2 == 0 ? "LO" : "\2");
               i % 2 == 0 ? s.Short(2) : s.Raw({"\0\0", 2});
               s.Raw("AB");
           }));
    in.Fill_With("sequences as OW", [&](auto& s, auto i) {
        tag_of(s, i).Raw("OW").Short(0).Int(18).Item(10).Element(0x0008, 0x0060, "CS", "MR");
    });
    Stream_Builder nested;
    in.Add("nested UN of undefined length", Fill(size, nested, [](auto& s, auto) {
               s.Header(0x0009, 0x1001, "UN", DICOM_Undefined_Length).Item();
           }));
    in.Fill_With("sequences far too long", [](auto& s, auto) {
        s.Sequence(0x0040, 0xA730, 0x30000000).Item(12).Element(0x0040, 0xA040, "CS", "TEXT");
    });
    in.Fill_With("items too long", [&](auto& s, auto i) {
        tag_of(s, i).Raw("SQ").Short(0).Int(18).Item(1000).Element(0x0008, 0x0060, "CS", "MR");
    });
    const std::string overwritten(12, '\xFF');
    in.Fill_With("sequences overwritten", [&](auto& s, auto) {
        s.Raw(overwritten).Item().Element(0x0008, 0x0060, "CS", "MR").Item_End().Sequence_End();
    });
    in.Fill_With("items overwritten", [&](auto& s, auto i) {
        tag_of(s, i).Raw("SQ").Short(0).Int(DICOM_Undefined_Length).Raw(overwritten.substr(4));
        s.Element(0x0008, 0x0060, "CS", "MR").Item_End().Sequence_End();
    });
    in.Fill_With("ends overwritten", [&](auto& s, auto i) {
        tag_of(s, i).Raw("SQ").Short(0).Int(DICOM_Undefined_Length).Item();
        s.Element(0x0008, 0x0060, "CS", "MR").Item_End().Raw(overwritten.substr(4));
    });
    in.Fill_With("torn headers of sequences", [&](auto& s, auto i) {
        tag_of(s, i).Raw("SQ").Short(0).Short(0).Item(10).Element(0x0008, 0x0060, "CS", "MR");
    });
    in.Fill_With("torn headers of items", [&](auto& s, auto i) {
        tag_of(s, i).Raw("SQ").Short(0).Int(DICOM_Undefined_Length).Short(0xFFFE).Int(0);
        s.Element(0x0008, 0x0060, "CS", "MR").Item_End().Sequence_End();
    });
    in.Fill_With("torn tags", [](auto& s, auto) {
        s.Element(0x0008, 0x0060, "CS", "MR").Raw({"\x20\0\x0D", 3}).Raw("UI").Short(2).Raw("1.");
    });
    in.Fill_With("fragments under unknown tags", [](auto& s, auto i) {
        s.Header(0x7FE0, 0x0018 + i % 0xF000U, "OB", DICOM_Undefined_Length).Item(0).Item(2);
        s.Raw("AB").Sequence_End();
    });
    return in.all;
}

inline std::vector<Hostile_Input> Values(std::size_t size)
{
    std::vector<Hostile_Input> inputs = {
        {"old dates", Faulty_Values(size, "DA", "1997.06.24")},
        {"old times", Faulty_Values(size, "TM", "10:11:12")},
        {"texts too long", Faulty_Values(size, "SH", "twenty letters or so")},
        {"decimals in IS", Faulty_Values(size, "IS", "1.5 ")},
        {"values of UN", Faulty_Values(size, "UN", "A ")},
    };
    struct Element {
        const char* vr;
        unsigned int group;
        unsigned int element;
    };
    constexpr Element One_Of_Each[] = {
        {"AE", 0x0008, 0x0054}, {"AS", 0x0010, 0x1010}, {"CS", 0x0008, 0x0008},
        {"DA", 0x0008, 0x0022}, {"DS", 0x0028, 0x0030}, {"DT", 0x0008, 0x002A},
        {"IS", 0x0020, 0x0013}, {"LO", 0x0010, 0x0020}, {"LT", 0x0010, 0x21B0},
        {"PN", 0x0010, 0x0010}, {"SH", 0x0008, 0x0050}, {"ST", 0x0008, 0x0081},
        {"TM", 0x0008, 0x0030}, {"UI", 0x0008, 0x001A}, {"UT", 0x0040, 0xA160},
    };
    constexpr const char* Pieces[] = {"\\", "\\ ", "1.5\\", "\033$B\\\033(B\\", "a^b\\"};
    for (const Element& element : One_Of_Each) {
        for (const char* const piece : Pieces) {
            Hostile_Input input =
                Long_Value(element.vr, element.group, element.element, piece, size);
            input.name += std::string(" of ") + (piece[0] == '\033' ? "escapes" : piece);
            inputs.push_back(std::move(input));
        }
    }
    return inputs;
}

inline std::vector<Hostile_Input> All(std::size_t size)
{
    std::vector<Hostile_Input> inputs = Structures(size);
    for (Hostile_Input& input : Faulty_Headers(size)) {
        inputs.push_back(std::move(input));
    }
    for (Hostile_Input& input : Values(size)) {
        inputs.push_back(std::move(input));
    }
    return inputs;
}

}  // namespace hostile

#endif
