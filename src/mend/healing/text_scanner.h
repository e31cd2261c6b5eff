// Takes a text value apart into characters, separators and escape sequences.
#ifndef LIB_MEND_TEXT_SCANNER_H
#define LIB_MEND_TEXT_SCANNER_H

#include "mend/healing/repertoires.h"

#include <string_view>

namespace lib_mend {

/** What G0 and G1 hold. */
struct Code_Table {
    const Repertoire* g0 = nullptr;
    const Repertoire* g1 = nullptr;
};

/** A part of a value that is one thing: in front of it and behind it a value may be cut. */
struct Text_Piece {
    enum class Kind {
        Plain,      ///< one byte that stands for itself
        Separator,  ///< a separator or control character: the sets of the start are back behind it
        Character,  ///< bytes of one character of `set`
        Escape,     ///< an escape sequence that designates `set`
        Bad         ///< one byte that is none of the set on its side
    };
    Kind kind = Kind::Plain;
    std::string_view bytes;
    const Repertoire* set = nullptr;
};

/** Tells whether values of a VR are in the declared character sets, and not in the default one. */
bool Follows_Character_Set(unsigned short vr);

/** The characters that separate values of a VR and their parts. */
std::string_view Separators_Of(unsigned short vr);

class Text_Scanner {
public:
    /** @param start  what is back behind each separator (PS3.5 section 6.1.2.5.3) */
    Text_Scanner(const Code_Table& start, std::string_view value, unsigned short vr)
        : start_(start), now_(start), rest_(value), separators_(Separators_Of(vr))
    {
        if (!Follows_Character_Set(vr)) {
            start_ = now_ = {&Default_Repertoire(), nullptr};
            follows_escapes_ = false;
        }
    }

    /** False at the end of the value. */
    bool Next(Text_Piece& piece);
    /** Goes on with more of the value, the bytes that are left of what was there in front. */
    void Go_On(std::string_view rest)
    {
        rest_ = rest;
    }
    std::size_t Left() const
    {
        return rest_.size();
    }
    /** G0 is the default repertoire at this place. */
    bool Reads_ASCII() const
    {
        return now_.g0 == &Default_Repertoire();
    }

private:
    Text_Piece Take(Text_Piece::Kind kind, std::size_t size, const Repertoire* set = nullptr);
    Text_Piece Take_Separator();
    Text_Piece Take_Escape();
    Text_Piece Take_Character(const Repertoire* set);

    Code_Table start_;
    Code_Table now_;
    std::string_view rest_;
    std::string_view separators_;
    bool follows_escapes_ = true;
};

}  // namespace lib_mend

#endif
