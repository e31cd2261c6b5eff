// Texts that are too long to be held: they are judged piece by piece where they stand in the source.
#ifndef LIB_MEND_LONG_TEXTS_H
#define LIB_MEND_LONG_TEXTS_H

#include "mend/healing/value.h"
#include "mend/reading/data_set.h"

#include <cstdint>
#include <optional>

namespace lib_mend {

/** What Heal_Value would say of a text, and how much of it would stay: only its end may go. */
struct Long_Judgement {
    Notes notes;
    /** Number of values; 0 for none. */
    std::size_t count = 0;
    /** Number of bytes that stay. When they are written, they are padded to an even one. */
    std::int64_t size = 0;
};

/** A text of one value without rules of its own that was left in the source. */
bool Is_Long_Text(const DICOM_List& record);

/** Nothing when the text cannot be read, or becomes another than a part of it. */
std::optional<Long_Judgement> Judge_Long_Text(const Data_Set& set, const DICOM_List& record,
                                              const Character_Set& characters);

/** Tells whether all of a text is in a character set; it is held only when it already is. */
bool Is_All_Valid(const Data_Set& set, const DICOM_List& record, const Character_Set& characters);

}  // namespace lib_mend

#endif
