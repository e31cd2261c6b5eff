// The character sets that (0008,0005) may name: their terms, escape sequences and encodings.
#ifndef LIB_MEND_REPERTOIRES_H
#define LIB_MEND_REPERTOIRES_H

#include <span>
#include <string>
#include <string_view>

namespace lib_mend {

enum class Character_Kind {
    Single_94,  ///< one byte a character, without space and delete
    Single_96,  ///< one byte a character
    Double,     ///< two bytes a character, of 94 places each
    UTF_8,
    GBK,
    GB18030
};

/** Half of the code table: where a declared set stands before the first escape sequence. */
enum class Side { G0, G1, Nowhere };

/** What a converter wants of the high bits, which stand for the side and not for the character. */
enum class High_Bits { Keep, Clear, Set };

/** A character set: its defined term, its escape sequence, and how its characters convert. */
struct Repertoire {
    /** What tells its defined terms apart: the number behind "IR". */
    std::string_view term;
    Character_Kind kind;
    /** Last byte of the escape sequences that designate it; 0 when there are none. */
    char final;
    Side side;
    const char* encoding;
    High_Bits high_bits;
    /** Byte that goes in front of each character for the converter, 0 for none. */
    char prefix = 0;

    bool Is_Single_Byte() const
    {
        return kind == Character_Kind::Single_94 || kind == Character_Kind::Single_96;
    }
    /** It has no escape sequence: no other set may be declared beside it. */
    bool Stands_Alone() const
    {
        return final == 0;
    }
};

inline constexpr char Escape_Byte = 0x1B;

std::span<const Repertoire> Repertoires();

/** ISO 646, the default repertoire. */
const Repertoire& Default_Repertoire();

/**
 * Small letters and digits of a term, without "iso", "2022" and "ir" in front, which tell nothing
 * apart: the key of every spelling that equipment writes.
 */
std::string Term_Key(std::string_view term);

/** Tells whether a key is that of a set's defined terms, or of the usual name of its encoding. */
bool Is_Key_Of(const std::string& key, const Repertoire& set);

/** A set that an escape sequence brings to one side. */
struct Designation {
    const Repertoire* set = nullptr;
    Side side = Side::Nowhere;
    /** Bytes of the sequence. */
    std::size_t size = 0;
};

/** Reads the escape sequence at the front of a text; no set when it designates none that is known. */
Designation Designation_At(std::string_view text);

/** Size of the character at the front of a text; 0 when its bytes are none of that kind. */
std::size_t Character_Size(Character_Kind kind, std::string_view text);

}  // namespace lib_mend

#endif
