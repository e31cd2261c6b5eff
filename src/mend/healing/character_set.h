// Text values by the character sets that a data set declares: where they may be split, how long they
// are, what is no character of theirs, and how they read in UTF-8.
#ifndef LIB_MEND_CHARACTER_SET_H
#define LIB_MEND_CHARACTER_SET_H

#include "mend/healing/inherited.h"
#include "mend/healing/text_scanner.h"
#include "mend/reading/data_set.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lib_mend {

inline constexpr Tag Character_Set_Tag = {0x0008, 0x0005};

/**
 * The character sets of a value of (0008,0005), PS3.3 section C.12.1.1.2 and PS3.5 section 6.1.
 * Values of VRs that do not follow it (CS, UI, ...) are taken as text in the default repertoire, so
 * that every function may be asked about any text.
 */
class Character_Set {
public:
    /** The default repertoire. */
    Character_Set() : Character_Set(std::string_view())
    {
    }
    /**
     * @param terms  the value of (0008,0005), padding and misspellings included; terms that are not
     *               known count as the default repertoire
     */
    explicit Character_Set(std::string_view terms);

    /** The text is in ASCII, every byte of it stands for itself, and nothing else is to know of it. */
    bool Is_Plain(std::string_view text) const;

    /**
     * The parts of a value between separators, the empty ones included; one part when the VR knows no
     * such separator. A byte that looks like one and is half of a character, or stands in an escape
     * sequence, separates nothing. Each part begins with the declared sets, and can be split again.
     *
     * @param separator  '\\' between values; '^' and '=' between the parts of a name (VR PN)
     */
    std::vector<std::string_view> Split(std::string_view value, char separator,
                                        unsigned short vr) const;

    /** Number of characters; escape sequences are none, a byte that is no character is one. */
    std::size_t Count(std::string_view value, unsigned short vr) const;

    /**
     * Place of the first byte that is no character of the declared sets, of an escape sequence to a
     * set that is not declared, or of an ESC that begins none; npos when there is none. Control
     * characters are not looked at.
     */
    std::size_t First_Invalid(std::string_view value, unsigned short vr) const;

    /**
     * Converts a whole value, its separators included. Escape sequences that designate a known
     * character set are taken out, whether the set is declared or not. Every other byte that does
     * not convert, an ESC included, becomes "\xHH"; nothing is dropped. Control characters stay.
     */
    std::string To_UTF_8(std::string_view value, unsigned short vr) const;

    /**
     * Converts a whole value, provided that nothing is lost: each character converts to one that
     * converts back to the same bytes, and none becomes a separator or a control character.
     */
    std::optional<std::string> To_UTF_8_Without_Loss(std::string_view value,
                                                     unsigned short vr) const;

private:
    friend class Text_Check;

    void Declare(const Repertoire& set, bool is_first, bool may_extend);
    bool Is_Declared(const Repertoire& set) const;
    /** @param converted  room for a character */
    bool Is_Valid(const Text_Piece& piece, std::string& converted) const;

    /** What G0 and G1 hold at the start of a value, and again behind each separator. */
    Code_Table start_;
    /** The same without the sets of later terms, whose escape sequence some equipment leaves out. */
    Code_Table declared_start_;
    std::vector<const Repertoire*> declared_;
    /** The terms provide for escape sequences. */
    bool extends_ = false;
};

/** Tells whether all of a text is in a character set, of which piece after piece comes. */
class Text_Check {
public:
    Text_Check(const Character_Set& set, unsigned short vr)
        : set_(set), scanner_(set.declared_start_, {}, vr)
    {
    }
    Text_Check(const Text_Check&) = delete;
    Text_Check& operator=(const Text_Check&) = delete;

    /** False when something in it is not. */
    bool Take(std::string_view piece);
    /** The same for the last bytes, which may be a half of something. */
    bool Finish();

private:
    bool Go_On(std::size_t left);

    const Character_Set& set_;
    Text_Scanner scanner_;
    std::string rest_;
    std::string converted_;
};

/**
 * The character sets of the lists of a tree: an item without (0008,0005) has that of the list around
 * it.
 */
class Character_Sets_Of_Lists {
public:
    /** @param any  false when nothing declares character sets */
    explicit Character_Sets_Of_Lists(const Data_Set& set, bool any = true)
        : set_(set), lists_(Character_Set()), any_(any)
    {
    }

    /**
     * The set for the elements of the list that a record is in. To be asked about the elements of the
     * whole tree in the order of a walk, For_Each_Element's.
     */
    const Character_Set& Of(DICOM_List& record, const Path& way);

private:
    const Data_Set& set_;
    Inherited<Character_Set> lists_;
    Character_Set none_;
    bool any_;
};

}  // namespace lib_mend

#endif
