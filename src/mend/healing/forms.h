// The forms of the VRs: each function looks at one value without the blanks around it, brings it into
// form where that keeps its meaning, and notes what was wrong.
#ifndef LIB_MEND_FORMS_H
#define LIB_MEND_FORMS_H

#include "mend/healing/value.h"

namespace lib_mend {

void Heal_Age(Piece& piece);
void Heal_Application_Entity(Piece& piece);
void Heal_Code_String(Piece& piece);
void Heal_Date(Piece& piece);
void Heal_Date_Time(Piece& piece);
void Heal_Decimal_String(Piece& piece);
void Heal_Integer_String(Piece& piece);
void Heal_Name(Piece& piece);
void Heal_Time(Piece& piece);
void Heal_UID(Piece& piece);
void Heal_URI(Piece& piece);

/** Tells whether a text is a UID (PS3.5 section 9.1), without padding. */
bool Is_Fit_UID(std::string_view text);

/** Tells whether a text has only the characters of a CS. */
bool Is_Code(std::string_view text);

/** Digits with a sign and a point at the most, as nearly all values of DS are. */
bool Is_Short_Decimal(std::string_view text);

/** A UID made from a hash of one that is none: the same in every file (PS3.5 section B.2). */
std::string Replacement_UID(std::string_view unfit);

/** Control characters that a VR does not allow (PS3.5 section 6.1.3); true when there are any. */
bool Has_Control_Characters(std::string_view text, unsigned short vr);

/** Digits, one at least. */
bool Is_Number(std::string_view text);

/** The number that some digits, nine at the most, stand for. */
int Number_In(std::string_view digits);

/**
 * The digits of a fraction rounded to a number of digits; false when the carry runs over the point,
 * in which case the digits are all zero.
 */
bool Round_Fraction(std::string& digits, std::size_t count);

}  // namespace lib_mend

#endif
