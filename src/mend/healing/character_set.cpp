#include "mend/healing/character_set.h"

#include <Lib_DICOM/Lib_DICOM.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <span>
#include <utility>

#include <iconv.h>

namespace lib_mend {

namespace {

constexpr unsigned char Escape = 0x1B;

enum class Kind {
    Single_94,  ///< one byte a character, without space and delete
    Single_96,  ///< one byte a character
    Double,     ///< two bytes a character, of 94 places each
    UTF_8,
    GBK,
    GB18030
};

/** Where a declared set stands before the first escape sequence. */
enum class Side { G0, G1, Nowhere };

/** What a converter wants of the high bits, which stand for the side and not for the character. */
enum class High_Bits { Keep, Clear, Set };

unsigned char Byte_At(std::string_view text, std::size_t at)
{
    return static_cast<unsigned char>(text[at]);
}

bool In(unsigned char byte, unsigned char first, unsigned char last)
{
    return byte >= first && byte <= last;
}

bool Is_High(unsigned char byte)
{
    return byte >= 0x80;
}

void Append_Escaped(std::string& out, std::string_view bytes)
{
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        char text[8];
        std::snprintf(text, sizeof text, "\\x%02X", Byte_At(bytes, i));
        out += text;
    }
}

/** Small letters and digits of a name, in front of which "iso", "2022" and "ir" say nothing. */
std::string Key_Of(std::string_view name)
{
    std::string key;
    for (const char letter : name) {
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

/** Number of bytes that follow the first of a character in UTF-8. */
std::size_t Trail_Of_UTF_8(unsigned char first)
{
    return In(first, 0xC2, 0xDF) ? 1 : In(first, 0xE0, 0xEF) ? 2 : In(first, 0xF0, 0xF4) ? 3 : 0;
}

std::size_t Size_In_UTF_8(std::string_view text)
{
    const std::size_t size = 1 + Trail_Of_UTF_8(Byte_At(text, 0));
    const std::string_view trail = text.substr(1, size - 1);
    const bool whole = size > 1 && trail.size() == size - 1 &&
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

/** Size of the character at the front of a text; 0 when its bytes are none of that kind. */
std::size_t Character_Size(Kind kind, std::string_view text)
{
    const unsigned char first = Byte_At(text, 0);
    const unsigned char side = first & 0x80;
    const auto is_place = [side](unsigned char byte) {
        return (byte & 0x80) == side && In(byte & 0x7F, 0x21, 0x7E);
    };
    switch (kind) {
    case Kind::Single_94:
        return is_place(first) ? 1 : 0;
    case Kind::Single_96:
        return (first & 0x7F) >= 0x20 ? 1 : 0;
    case Kind::Double:
        return text.size() > 1 && is_place(first) && is_place(Byte_At(text, 1)) ? 2 : 0;
    case Kind::UTF_8:
        return Size_In_UTF_8(text);
    case Kind::GBK:
        return Size_In_GBK(text);
    case Kind::GB18030:
        return Size_In_GB18030(text);
    }
    return 0;
}

/** Characters behind which the sets of the first term are back (PS3.5 section 6.1.2.5.3). */
std::string_view Delimiters_Of(unsigned short vr)
{
    switch (vr) {
    case VR_PN:
        return "\\^=";
    case VR_LO:
    case VR_SH:
    case VR_UC:
    case VR_UN:
        return "\\";
    default:
        return "";
    }
}

bool Follows_Character_Set(unsigned short vr)
{
    constexpr std::array VRs = {VR_SH, VR_LO, VR_ST, VR_LT, VR_UC, VR_UT, VR_PN, VR_UN};
    return std::find(VRs.begin(), VRs.end(), vr) != VRs.end();
}

/** An open conversion to UTF-8; what cannot be opened converts nothing. */
class Converter {
public:
    explicit Converter(const char* encoding) : handle_(iconv_open("UTF-8", encoding))
    {
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    ~Converter()
    {
        if (Is_Open()) {
            iconv_close(handle_);
        }
    }

    /** Appends one character; false when it is none of the encoding. */
    bool Append(std::string& out, std::span<char> character) const
    {
        if (!Is_Open()) {
            return false;
        }
        char* from = character.data();
        std::size_t left = character.size();
        std::array<char, 16> buffer;
        char* to = buffer.data();
        std::size_t room = buffer.size();
        const bool done = iconv(handle_, &from, &left, &to, &room) != Failed && left == 0;
        if (!done) {
            iconv(handle_, nullptr, nullptr, nullptr, nullptr);
            return false;
        }
        out.append(buffer.data(), to);
        return true;
    }

private:
    static constexpr auto Failed = static_cast<std::size_t>(-1);

    bool Is_Open() const
    {
        // The interface tells of a failure by the pointer -1.
        return reinterpret_cast<std::intptr_t>(handle_) != -1;
    }

    iconv_t handle_;
};

}  // namespace

/** A character set: its defined term, its escape sequence, and how its characters convert. */
struct Character_Set::Repertoire {
    /** What tells its defined terms apart: the number behind "IR". */
    std::string_view term;
    Kind kind;
    /** Last byte of the escape sequences that designate it; 0 when there are none. */
    char final;
    Side side;
    const char* encoding;
    High_Bits high_bits;
    /** Byte that goes in front of each character for the converter, 0 for none. */
    char prefix = 0;
};

const Character_Set::Repertoire Character_Set::Repertoires[] = {
    {"6", Kind::Single_94, 'B', Side::G0, "ASCII", High_Bits::Clear},
    {"100", Kind::Single_96, 'A', Side::G1, "ISO-8859-1", High_Bits::Set},
    {"101", Kind::Single_96, 'B', Side::G1, "ISO-8859-2", High_Bits::Set},
    {"109", Kind::Single_96, 'C', Side::G1, "ISO-8859-3", High_Bits::Set},
    {"110", Kind::Single_96, 'D', Side::G1, "ISO-8859-4", High_Bits::Set},
    {"144", Kind::Single_96, 'L', Side::G1, "ISO-8859-5", High_Bits::Set},
    {"127", Kind::Single_96, 'G', Side::G1, "ISO-8859-6", High_Bits::Set},
    {"126", Kind::Single_96, 'F', Side::G1, "ISO-8859-7", High_Bits::Set},
    {"138", Kind::Single_96, 'H', Side::G1, "ISO-8859-8", High_Bits::Set},
    {"148", Kind::Single_96, 'M', Side::G1, "ISO-8859-9", High_Bits::Set},
    {"203", Kind::Single_96, 'b', Side::G1, "ISO-8859-15", High_Bits::Set},
    {"166", Kind::Single_96, 'T', Side::G1, "TIS-620", High_Bits::Set},
    // The halves of JIS X 0201: Latin with yen and overline, and katakana.
    {"13", Kind::Single_94, 'J', Side::G0, "ISO646-JP", High_Bits::Clear},
    {"13", Kind::Single_94, 'I', Side::G1, "EUC-JP", High_Bits::Set, '\x8E'},
    // JIS X 0208, of today and of 1978, is designated to G0 by escape sequences only.
    {"87", Kind::Double, 'B', Side::Nowhere, "EUC-JP", High_Bits::Set},
    {"87", Kind::Double, '@', Side::Nowhere, "EUC-JP", High_Bits::Set},
    {"159", Kind::Double, 'D', Side::Nowhere, "EUC-JP", High_Bits::Set, '\x8F'},
    {"149", Kind::Double, 'C', Side::G1, "EUC-KR", High_Bits::Set},
    {"58", Kind::Double, 'A', Side::G1, "GB2312", High_Bits::Set},
    {"192", Kind::UTF_8, 0, Side::G1, "UTF-8", High_Bits::Keep},
    {"GB18030", Kind::GB18030, 0, Side::G1, "GB18030", High_Bits::Keep},
    {"GBK", Kind::GBK, 0, Side::G1, "GBK", High_Bits::Keep},
};

/** The converters of the character sets that were used so far. */
class Character_Set::Converters {
public:
    const Converter& Of(const Repertoire& set)
    {
        std::unique_ptr<Converter>& converter = all_[static_cast<std::size_t>(&set - Repertoires)];
        if (converter == nullptr) {
            converter = std::make_unique<Converter>(set.encoding);
        }
        return *converter;
    }

private:
    std::array<std::unique_ptr<Converter>, std::size(Repertoires)> all_;
};

/** One value on its way to UTF-8. */
class Character_Set::Decoder {
public:
    Decoder(const Character_Set& set, std::string_view value, std::string_view delimiters)
        : set_(set), rest_(value), delimiters_(delimiters)
    {
        out_.reserve(value.size());
    }

    std::string Run()
    {
        while (!rest_.empty()) {
            Step();
        }
        return std::move(out_);
    }

private:
    void Step()
    {
        const unsigned char byte = Byte_At(rest_, 0);
        const Repertoire* const side = Is_High(byte) ? g1_ : g0_;
        if (byte == Escape) {
            Take_Escape();
        } else if (byte < 0x20) {
            Take_Delimiter();
        } else if (Is_Delimiter(byte) && Is_Apart(*side)) {
            Take_Delimiter();
        } else if (byte == ' ' || byte == 0x7F || (side == Default && !Is_High(byte))) {
            Take_As_It_Is();
        } else {
            Take_Character(side);
        }
    }

    bool Is_Delimiter(unsigned char byte) const
    {
        return delimiters_.find(static_cast<char>(byte)) != std::string_view::npos;
    }

    /** Tells whether the first byte is no half of a character of two bytes. */
    bool Is_Apart(const Repertoire& side) const
    {
        return Character_Size(side.kind, rest_) < 2;
    }

    void Take_As_It_Is()
    {
        out_ += rest_[0];
        rest_.remove_prefix(1);
    }

    void Take_Delimiter()
    {
        g0_ = set_.g0_;
        g1_ = set_.g1_;
        Take_As_It_Is();
    }

    void Take_Character(const Repertoire* side)
    {
        const std::size_t size = side != nullptr ? Character_Size(side->kind, rest_) : 0;
        const std::string_view bytes = rest_.substr(0, std::max<std::size_t>(size, 1));
        if (size == 0 || !Convert(*side, bytes)) {
            Append_Escaped(out_, bytes);
        }
        rest_.remove_prefix(bytes.size());
    }

    bool Convert(const Repertoire& side, std::string_view bytes)
    {
        constexpr std::size_t Most_Bytes = 4;
        std::array<char, 1 + Most_Bytes> character;
        std::size_t used = 0;
        if (side.prefix != 0) {
            character[used++] = side.prefix;
        }
        for (const char byte : bytes) {
            character[used++] = side.high_bits == High_Bits::Keep  ? byte
                                : side.high_bits == High_Bits::Set ? static_cast<char>(byte | 0x80)
                                                                   : static_cast<char>(byte & 0x7F);
        }
        return set_.converters_->Of(side).Append(out_, {character.data(), used});
    }

    /** Follows an escape sequence; the ESC of another one is no more than a byte. */
    void Take_Escape()
    {
        // The bytes between ESC and the last one (ISO 2022); "$" without a second one is for G0.
        struct Form {
            std::string_view intermediate;
            Kind kind;
            Side side;
        };
        static constexpr Form Forms[] = {
            {"(", Kind::Single_94, Side::G0}, {")", Kind::Single_94, Side::G1},
            {"-", Kind::Single_96, Side::G1}, {"$(", Kind::Double, Side::G0},
            {"$)", Kind::Double, Side::G1},   {"$", Kind::Double, Side::G0},
        };
        for (const Form& form : Forms) {
            const std::size_t last = 1 + form.intermediate.size();
            if (rest_.size() <= last || rest_.substr(1, last - 1) != form.intermediate) {
                continue;
            }
            const char final = rest_[last];
            const auto* const found =
                std::find_if(std::begin(Repertoires), std::end(Repertoires),
                             [&form, final](const Repertoire& set) {
                                 return set.kind == form.kind && set.final == final;
                             });
            if (found != std::end(Repertoires)) {
                (form.side == Side::G0 ? g0_ : g1_) = found;
                rest_.remove_prefix(last + 1);
                return;
            }
        }
        Append_Escaped(out_, rest_.substr(0, 1));
        rest_.remove_prefix(1);
    }

    static constexpr const Repertoire* Default = &Repertoires[0];

    const Character_Set& set_;
    std::string_view rest_;
    std::string_view delimiters_;
    const Repertoire* g0_ = set_.g0_;
    const Repertoire* g1_ = set_.g1_;
    std::string out_;
};

Character_Set::Character_Set(std::string_view terms)
    : g0_(&Repertoires[0]), g1_(nullptr), converters_(std::make_shared<Converters>())
{
    for (bool is_first = true;; is_first = false) {
        const std::size_t end = std::min(terms.find('\\'), terms.size());
        const std::string key = Key_Of(terms.substr(0, end));
        for (const Repertoire& set : Repertoires) {
            // Some equipment writes the name of the encoding, "UTF-8" or "ISO-8859-1".
            if (key.empty() || (key != Key_Of(set.term) && key != Key_Of(set.encoding))) {
                continue;
            }
            if (set.side == Side::G0 && is_first) {
                g0_ = &set;
            }
            // Some equipment leaves the escape sequence to a later term's set out. Sets without
            // escape sequences stand alone, so they come before any other.
            const bool stands_alone = set.side == Side::G1 && set.final == 0;
            if (stands_alone || (set.side == Side::G1 && g1_ == nullptr)) {
                g1_ = &set;
            }
        }
        if (end == terms.size()) {
            return;
        }
        terms.remove_prefix(end + 1);
    }
}

std::string Character_Set::To_UTF_8(std::string_view value, unsigned short vr) const
{
    if (!Follows_Character_Set(vr)) {
        std::string out;
        for (const char& byte : value) {
            const auto code = static_cast<unsigned char>(byte);
            if (Is_High(code) || code == Escape) {
                Append_Escaped(out, {&byte, 1});
            } else {
                out += byte;
            }
        }
        return out;
    }
    return Decoder(*this, value, Delimiters_Of(vr)).Run();
}

}  // namespace lib_mend
