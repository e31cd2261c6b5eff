#include "mend/healing/repertoires.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace lib_mend {

namespace {

using enum Character_Kind;

constexpr Repertoire All[] = {
    {"6", Single_94, 'B', Side::G0, "ASCII", High_Bits::Clear},
    {"100", Single_96, 'A', Side::G1, "ISO-8859-1", High_Bits::Set},
    {"101", Single_96, 'B', Side::G1, "ISO-8859-2", High_Bits::Set},
    {"109", Single_96, 'C', Side::G1, "ISO-8859-3", High_Bits::Set},
    {"110", Single_96, 'D', Side::G1, "ISO-8859-4", High_Bits::Set},
    {"144", Single_96, 'L', Side::G1, "ISO-8859-5", High_Bits::Set},
    {"127", Single_96, 'G', Side::G1, "ISO-8859-6", High_Bits::Set},
    {"126", Single_96, 'F', Side::G1, "ISO-8859-7", High_Bits::Set},
    {"138", Single_96, 'H', Side::G1, "ISO-8859-8", High_Bits::Set},
    {"148", Single_96, 'M', Side::G1, "ISO-8859-9", High_Bits::Set},
    {"203", Single_96, 'b', Side::G1, "ISO-8859-15", High_Bits::Set},
    {"166", Single_96, 'T', Side::G1, "TIS-620", High_Bits::Set},
    // The halves of JIS X 0201: Latin with yen and overline, and katakana.
    {"13", Single_94, 'J', Side::G0, "ISO646-JP", High_Bits::Clear},
    {"13", Single_94, 'I', Side::G1, "EUC-JP", High_Bits::Set, '\x8E'},
    // JIS X 0208, of today and of 1978, is designated to G0 by escape sequences only.
    {"87", Double, 'B', Side::Nowhere, "EUC-JP", High_Bits::Set},
    {"87", Double, '@', Side::Nowhere, "EUC-JP", High_Bits::Set},
    {"159", Double, 'D', Side::Nowhere, "EUC-JP", High_Bits::Set, '\x8F'},
    {"149", Double, 'C', Side::G1, "EUC-KR", High_Bits::Set},
    {"58", Double, 'A', Side::G1, "GB2312", High_Bits::Set},
    {"192", UTF_8, 0, Side::G1, "UTF-8", High_Bits::Keep},
    {"GB18030", GB18030, 0, Side::G1, "GB18030", High_Bits::Keep},
    {"GBK", GBK, 0, Side::G1, "GBK", High_Bits::Keep},
};

unsigned char Byte_At(std::string_view text, std::size_t at)
{
    return static_cast<unsigned char>(text[at]);
}

bool In(unsigned char byte, unsigned char first, unsigned char last)
{
    return byte >= first && byte <= last;
}

/** Number of bytes that follow the first of a character in UTF-8. */
std::size_t Trail_Of_UTF_8(unsigned char first)
{
    return In(first, 0xC2, 0xDF) ? 1 : In(first, 0xE0, 0xEF) ? 2 : In(first, 0xF0, 0xF4) ? 3 : 0;
}

/**
 * Forms that are too long, halves of surrogate pairs and numbers beyond the last are told by the
 * second byte.
 */
bool Is_Second_Of_UTF_8(unsigned char first, unsigned char second)
{
    const unsigned char least = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    const unsigned char most = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    return In(second, least, most);
}

std::size_t Size_In_UTF_8(std::string_view text)
{
    const std::size_t size = 1 + Trail_Of_UTF_8(Byte_At(text, 0));
    const std::string_view trail = text.substr(1, size - 1);
    const bool whole = size > 1 && trail.size() == size - 1 &&
                       Is_Second_Of_UTF_8(Byte_At(text, 0), Byte_At(text, 1)) &&
                       std::all_of(trail.begin(), trail.end(), [](char letter) {
                           return In(static_cast<unsigned char>(letter), 0x80, 0xBF);
                       });
    return whole ? size : 0;
}

std::size_t Size_In_GBK(std::string_view text)
{
    const unsigned char second = text.size() > 1 ? Byte_At(text, 1) : 0;
    return In(Byte_At(text, 0), 0x81, 0xFE) && In(second, 0x40, 0xFE) && second != 0x7F ? 2 : 0;
}

std::size_t Size_In_GB18030(std::string_view text)
{
    const bool four = text.size() >= 4 && In(Byte_At(text, 0), 0x81, 0xFE) &&
                      In(Byte_At(text, 1), '0', '9') && In(Byte_At(text, 2), 0x81, 0xFE) &&
                      In(Byte_At(text, 3), '0', '9');
    return four ? 4 : Size_In_GBK(text);
}

}  // namespace

std::span<const Repertoire> Repertoires()
{
    return All;
}

const Repertoire& Default_Repertoire()
{
    return All[0];
}

std::string Term_Key(std::string_view term)
{
    std::string key;
    for (const char letter : term) {
        const char small = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
        if ((small >= 'a' && small <= 'z') || (small >= '0' && small <= '9')) {
            key += small;
        }
    }
    for (const std::string_view prefix : {"iso", "2022", "ir"}) {
        if (key.starts_with(prefix)) {
            key.erase(0, prefix.size());
        }
    }
    return key;
}

bool Is_Key_Of(const std::string& key, const Repertoire& set)
{
    struct Keys {
        std::string term;
        std::string encoding;
    };
    // Every data set asks for its character sets several times.
    static const std::vector<Keys> all = [] {
        std::vector<Keys> keys;
        for (const Repertoire& each : Repertoires()) {
            keys.push_back({Term_Key(each.term), Term_Key(each.encoding)});
        }
        return keys;
    }();
    const Keys& keys = all[static_cast<std::size_t>(&set - Repertoires().data())];
    return !key.empty() && (key == keys.term || key == keys.encoding);
}

Designation Designation_At(std::string_view text)
{
    // The bytes between ESC and the last one (ISO 2022); "$" without a second one is for G0.
    struct Form {
        std::string_view intermediate;
        Character_Kind kind;
        Side side;
    };
    static constexpr Form Forms[] = {
        {"(", Single_94, Side::G0}, {")", Single_94, Side::G1}, {"-", Single_96, Side::G1},
        {"$(", Double, Side::G0},   {"$)", Double, Side::G1},   {"$", Double, Side::G0},
    };
    for (const Form& form : Forms) {
        const std::size_t last = 1 + form.intermediate.size();
        if (text.size() <= last || text.substr(1, last - 1) != form.intermediate) {
            continue;
        }
        const char final = text[last];
        const auto* const found =
            std::find_if(std::begin(All), std::end(All), [&form, final](const Repertoire& set) {
                return set.kind == form.kind && set.final == final;
            });
        if (found != std::end(All)) {
            return {found, form.side, last + 1};
        }
    }
    return {};
}

std::size_t Character_Size(Character_Kind kind, std::string_view text)
{
    const unsigned char first = Byte_At(text, 0);
    const unsigned char side = first & 0x80;
    const auto is_place = [side](unsigned char byte) {
        return (byte & 0x80) == side && In(byte & 0x7F, 0x21, 0x7E);
    };
    switch (kind) {
    case Single_94:
        return is_place(first) ? 1 : 0;
    case Single_96:
        return (first & 0x7F) >= 0x20 ? 1 : 0;
    case Double:
        return text.size() > 1 && is_place(first) && is_place(Byte_At(text, 1)) ? 2 : 0;
    case UTF_8:
        return Size_In_UTF_8(text);
    case GBK:
        return Size_In_GBK(text);
    case GB18030:
        return Size_In_GB18030(text);
    }
    return 0;
}

}  // namespace lib_mend
