// Values on their way into the form of their VR: what comes in, what comes out, what is said.
//
// A value is healed in three steps, each in a file of its own kind of fault:
//
//     recognise   what stands there can be understood: "1998.05.17" is a date of the old form
//     heal        it becomes what means the same in the form of today: "19980517"
//     say         a note tells what was wrong; what cannot be understood, or not be brought into
//                 form without losing something, stays as it was read, and a note says so too
//
// Healing is stable: what comes out of it comes out again unchanged, with the same notes about what
// stays wrong and none about changes.
#ifndef LIB_MEND_VALUE_H
#define LIB_MEND_VALUE_H

#include "mend/findings/findings.h"
#include "mend/healing/character_set.h"
#include "mend/reading/vr_forms.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lib_mend {

/** What was found in a value; the text is a clause for a finding. */
struct Note {
    Fault fault;
    /** Change or Kept. */
    Level level;
    const char* text;

    bool operator==(const Note&) const = default;
};

/** Notes about one element: the same fault in many of its values is one fault. */
using Notes = std::vector<Note>;

void Add_Note(Notes& notes, const Note& note);
bool Has_Level(const Notes& notes, Level level);

/** One of the values between backslashes, or the only one. */
class Piece {
public:
    Piece(std::string_view text, const Character_Set& characters, Notes& notes,
          bool replaces_uids = false)
        : text_(text), characters_(characters), notes_(notes), replaces_uids_(replaces_uids)
    {
    }
    Piece(const Piece&) = delete;
    Piece& operator=(const Piece&) = delete;

    std::string_view Text() const
    {
        return text_;
    }
    const Character_Set& Characters() const
    {
        return characters_;
    }
    bool Stays_Wrong() const
    {
        return stays_wrong_;
    }
    bool Replaces_UIDs() const
    {
        return replaces_uids_;
    }
    /** Another text that means the same. */
    void Becomes(std::string text, Fault fault, const char* what)
    {
        healed_ = std::move(text);
        text_ = healed_;
        Add_Note(notes_, {fault, Level::Change, what});
    }
    /** It is wrong, and nobody can tell what would be right. */
    void Stays(Fault fault, const char* what)
    {
        stays_wrong_ = true;
        Add_Note(notes_, {fault, Level::Kept, what});
    }

private:
    /** The text as it was read, or the healed one. */
    std::string_view text_;
    std::string healed_;
    const Character_Set& characters_;
    Notes& notes_;
    bool replaces_uids_;
    bool stays_wrong_ = false;
};

/** The bytes of an element's value, and what is needed to understand them. */
struct Value {
    std::string_view bytes;
    unsigned short vr = 0;
    const Character_Set& characters;
    /** UIDs that are none are replaced. */
    bool replace_uids = false;
};

struct Healed_Value {
    /** The value as it is to be written, of even length. */
    std::string bytes;
    Notes notes;
    /** Number of values; 0 for none. */
    std::size_t count = 0;
};

Healed_Value Heal_Value(const Value& value);

/** What is said of a length that no whole number of values has. */
inline constexpr char Wrong_Size_Text[] = "length that is no multiple of its VR's width";

/** What is said of texts. */
inline constexpr char Control_Characters_Text[] = "control characters";
inline constexpr char Too_Long_Text[] = "longer than its VR allows";
inline constexpr char Wrong_Padding_Text[] = "wrong padding, put right";

/** What is said of a length that is odd and nothing else. */
inline constexpr char Odd_Size_Text[] = "odd length, padded to an even one";

/** Number of bytes of one value of a binary VR; 0 for texts and for VRs that are not known. */
std::size_t Width_Of(unsigned short vr);

/** Most characters of one value of a text VR; 0 without bound, or where its form says it. */
std::size_t Longest_Of(unsigned short vr);

/** Tells whether backslashes separate values of a text VR. */
bool Is_Multiple(unsigned short vr);

}  // namespace lib_mend

#endif
