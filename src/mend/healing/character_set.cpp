#include "mend/healing/character_set.h"

#include "mend/findings/letters.h"
#include "mend/healing/converter.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace lib_mend {

namespace {

void Append_Escaped(std::string& out, std::string_view bytes)
{
    for (const char byte : bytes) {
        char text[8];
        std::snprintf(text, sizeof text, "\\x%02X", static_cast<unsigned char>(byte));
        out += text;
    }
}

/** The bytes of a character as the converter of its set wants them. */
std::string For_Converter(const Repertoire& set, std::string_view bytes)
{
    std::string character;
    if (set.prefix != 0) {
        character += set.prefix;
    }
    for (const char byte : bytes) {
        character += set.high_bits == High_Bits::Keep  ? byte
                     : set.high_bits == High_Bits::Set ? static_cast<char>(byte | 0x80)
                                                       : static_cast<char>(byte & 0x7F);
    }
    return character;
}

/** The converters of the character sets that were used so far; they keep no state between characters. */
class Converters {
public:
    bool Append(std::string& out, const Text_Piece& piece)
    {
        return Of(to_, *piece.set, true).Append(out, For_Converter(*piece.set, piece.bytes));
    }

    /** Tells whether a character in UTF-8 is that of a piece again when it is converted back. */
    bool Comes_Back(const Text_Piece& piece, std::string_view character)
    {
        std::string back;
        return Of(from_, *piece.set, false).Append(back, character) &&
               back == For_Converter(*piece.set, piece.bytes);
    }

private:
    using Table = std::vector<std::unique_ptr<Converter>>;

    static const Converter& Of(Table& table, const Repertoire& set, bool to_utf_8)
    {
        table.resize(Repertoires().size());
        std::unique_ptr<Converter>& converter =
            table[static_cast<std::size_t>(&set - Repertoires().data())];
        if (converter == nullptr) {
            converter = to_utf_8 ? std::make_unique<Converter>("UTF-8", set.encoding)
                                 : std::make_unique<Converter>(set.encoding, "UTF-8");
        }
        return *converter;
    }

    Table to_;
    Table from_;
};

/** To open a converter costs far more than to convert a text. */
Converters& The_Converters()
{
    thread_local Converters converters;
    return converters;
}

/** The parts of a plain text. */
std::vector<std::string_view> Parts_Of(std::string_view text, char separator, unsigned short vr)
{
    std::vector<std::string_view> parts;
    const bool separates = Separators_Of(vr).find(separator) != std::string_view::npos;
    std::size_t end = separates ? text.find(separator) : std::string_view::npos;
    while (end != std::string_view::npos) {
        parts.push_back(text.substr(0, end));
        text.remove_prefix(end + 1);
        end = text.find(separator);
    }
    parts.push_back(text);
    return parts;
}

std::string_view Between(const char* start, const char* end)
{
    return {start, static_cast<std::size_t>(end - start)};
}

}  // namespace

Character_Set::Character_Set(std::string_view terms)
    : start_{&Default_Repertoire(), nullptr}, declared_start_(start_)
{
    for (bool is_first = true;; is_first = false) {
        const std::size_t end = std::min(terms.find('\\'), terms.size());
        const std::string_view term = terms.substr(0, end);
        const std::string key = Term_Key(term);
        for (const Repertoire& set : Repertoires()) {
            // Some equipment writes the name of the encoding, "UTF-8" or "ISO-8859-1".
            if (Is_Key_Of(key, set)) {
                Declare(set, is_first, !is_first || term.find("2022") != std::string_view::npos);
            }
        }
        if (end == terms.size()) {
            return;
        }
        terms.remove_prefix(end + 1);
    }
}

void Character_Set::Declare(const Repertoire& set, bool is_first, bool may_extend)
{
    declared_.push_back(&set);
    extends_ = extends_ || may_extend;
    if (set.side == Side::G0 && is_first) {
        start_.g0 = declared_start_.g0 = &set;
    }
    // Some equipment leaves the escape sequence to a later term's set out. Sets without escape
    // sequences stand alone, so they come before any other.
    if (set.side == Side::G1 && (set.Stands_Alone() || start_.g1 == nullptr)) {
        start_.g1 = &set;
    }
    if (set.side == Side::G1 && (set.Stands_Alone() || is_first)) {
        declared_start_.g1 = &set;
    }
}

bool Character_Set::Is_Declared(const Repertoire& set) const
{
    // Text may always return to the default repertoire.
    return extends_ &&
           (&set == &Default_Repertoire() ||
            std::any_of(declared_.begin(), declared_.end(),
                        [&set](const Repertoire* each) { return each->term == set.term; }));
}

bool Character_Set::Is_Plain(std::string_view text) const
{
    return start_.g0 == &Default_Repertoire() && Is_Plain_ASCII(text);
}

std::vector<std::string_view> Character_Set::Split(std::string_view value, char separator,
                                                   unsigned short vr) const
{
    if (Is_Plain(value)) {
        return Parts_Of(value, separator, vr);
    }
    std::vector<std::string_view> parts;
    const char* start = value.data();
    const char* const end = value.data() + value.size();
    Text_Scanner scanner(start_, value, vr);
    for (Text_Piece piece; scanner.Next(piece);) {
        if (piece.kind == Text_Piece::Kind::Separator && piece.bytes[0] == separator) {
            parts.push_back(Between(start, piece.bytes.data()));
            start = piece.bytes.data() + 1;
        }
    }
    parts.push_back(Between(start, end));
    return parts;
}

std::size_t Character_Set::Count(std::string_view value, unsigned short vr) const
{
    if (Is_Plain(value)) {
        return value.size();
    }
    std::size_t count = 0;
    Text_Scanner scanner(start_, value, vr);
    for (Text_Piece piece; scanner.Next(piece);) {
        count += piece.kind != Text_Piece::Kind::Escape ? 1 : 0;
    }
    return count;
}

bool Character_Set::Is_Valid(const Text_Piece& piece, std::string& converted) const
{
    switch (piece.kind) {
    case Text_Piece::Kind::Bad:
        return false;
    case Text_Piece::Kind::Character:
        converted.clear();
        return The_Converters().Append(converted, piece);
    case Text_Piece::Kind::Escape:
        return Is_Declared(*piece.set);
    case Text_Piece::Kind::Plain:
    case Text_Piece::Kind::Separator:
        break;
    }
    return true;
}

std::size_t Character_Set::First_Invalid(std::string_view value, unsigned short vr) const
{
    if (Is_Plain(value)) {
        return std::string_view::npos;
    }
    std::string converted;
    Text_Scanner scanner(declared_start_, value, vr);
    for (Text_Piece piece; scanner.Next(piece);) {
        if (!Is_Valid(piece, converted)) {
            return static_cast<std::size_t>(piece.bytes.data() - value.data());
        }
    }
    return std::string_view::npos;
}

std::string Character_Set::To_UTF_8(std::string_view value, unsigned short vr) const
{
    if (Is_Plain(value)) {
        return std::string(value);
    }
    std::string out;
    out.reserve(value.size());
    Text_Scanner scanner(start_, value, vr);
    for (Text_Piece piece; scanner.Next(piece);) {
        switch (piece.kind) {
        case Text_Piece::Kind::Plain:
        case Text_Piece::Kind::Separator:
            out += piece.bytes;
            break;
        case Text_Piece::Kind::Character:
            if (!The_Converters().Append(out, piece)) {
                Append_Escaped(out, piece.bytes);
            }
            break;
        case Text_Piece::Kind::Escape:
            break;
        case Text_Piece::Kind::Bad:
            Append_Escaped(out, piece.bytes);
            break;
        }
    }
    return out;
}

std::optional<std::string> Character_Set::To_UTF_8_Without_Loss(std::string_view value,
                                                                unsigned short vr) const
{
    if (Is_Plain(value)) {
        return std::string(value);
    }
    const std::string_view separators = Separators_Of(vr);
    std::string out;
    std::string character;
    Text_Scanner scanner(start_, value, vr);
    for (Text_Piece piece; scanner.Next(piece);) {
        if (piece.kind == Text_Piece::Kind::Bad) {
            return std::nullopt;
        }
        if (piece.kind == Text_Piece::Kind::Escape) {
            continue;
        }
        if (piece.kind != Text_Piece::Kind::Character) {
            out += piece.bytes;
            continue;
        }
        character.clear();
        const bool is_sound = The_Converters().Append(character, piece) &&
                              The_Converters().Comes_Back(piece, character) &&
                              static_cast<unsigned char>(character[0]) >= 0x20 &&
                              separators.find(character[0]) == std::string_view::npos;
        if (!is_sound) {
            return std::nullopt;
        }
        out += character;
    }
    return out;
}

bool Text_Check::Take(std::string_view piece)
{
    // More than any character and any escape sequence has.
    constexpr std::size_t Longest = 32;
    if (rest_.empty() && scanner_.Reads_ASCII() && Is_Plain_ASCII(piece)) {
        return true;
    }
    rest_ += piece;
    return Go_On(Longest);
}

bool Text_Check::Finish()
{
    return Go_On(0);
}

bool Text_Check::Go_On(std::size_t left)
{
    scanner_.Go_On(rest_);
    for (Text_Piece piece; scanner_.Left() > left && scanner_.Next(piece);) {
        if (!set_.Is_Valid(piece, converted_)) {
            return false;
        }
    }
    rest_.erase(0, rest_.size() - scanner_.Left());
    return true;
}

const Character_Set& Character_Sets_Of_Lists::Of(DICOM_List& record, const Path& way)
{
    if (!any_) {
        return none_;
    }
    return lists_.At(record, way, [this](DICOM_List& first, const Character_Set& around) {
        constexpr std::size_t Enough = 1024;
        const DICOM_List* const terms = Find_Record(&first, Character_Set_Tag);
        return terms != nullptr ? Character_Set(Trimmed(set_.Value(*terms, Enough))) : around;
    });
}

}  // namespace lib_mend
