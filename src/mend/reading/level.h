// The open levels of nesting while a data set is read.
#ifndef LIB_MEND_LEVEL_H
#define LIB_MEND_LEVEL_H

#include "mend/reading/header.h"

#include <map>
#include <memory>

namespace lib_mend {

enum class Level_Kind : unsigned char {
    List,      ///< the data set itself, or an item: elements stand in it
    Sequence,  ///< items stand in it
    Fragments  ///< encapsulated data: items that are values stand in it
};

/** What has to be known of a level to tell whether a header makes sense in it. */
struct Level_View {
    /** Its delimiter ends the level, or what cannot belong to it. */
    static constexpr std::int64_t Open = -1;

    Level_Kind kind = Level_Kind::List;
    /** Byte-order code of what stands in it. */
    unsigned char mode = 0;
    /** Tag of the last element of a list, of the sequence for items. */
    Tag last;
    /** Position at which it ends, or Open. */
    std::int64_t end = Open;
    /** Position at which it ends at the latest, with the levels around it. */
    std::int64_t limit = 0;
    /** Form that all headers are taken to have, whatever their VRs say; Implicit for none. */
    Header_Form habit = Header_Form::Implicit;
    /** Odd lengths are taken not to count the byte of padding behind the value. */
    bool pads = false;
};

/**
 * By how much what was read so far is longer than it was: the bytes that are no elements were put in,
 * or they are a damaged element, or what is left of one whose header is missing.
 */
struct Shift {
    std::int64_t if_put_in = 0;
    std::int64_t if_damaged = 0;
    std::int64_t if_left_over = 0;
    /** Damaged headers, in which a byte or two may be too many or too few. */
    std::int64_t damaged = 0;
};

/** Private creators of a list, or of the last item of a sequence, by group and block. */
struct Creators {
    std::map<Tag, std::string> names;
    /** The block that was asked for last, and who reserved it: its elements stand together. */
    Tag asked;
    const std::string* answer = nullptr;
};

/** A sequence that was left though nothing ended it: items behind it are its own. */
struct Left_Sequence {
    DICOM_List* owner = nullptr;
    int items = 0;
    unsigned char mode = 0;
    /** By its length, or Level_View::Open. */
    std::int64_t claimed_end = Level_View::Open;
    Shift shift;
};

struct Nesting_Level : Level_View {
    /** The sequence, the encapsulated element, or the header of the item; null for the data set. */
    DICOM_List* owner = nullptr;
    /** First and last record of a list. */
    DICOM_List* head = nullptr;
    DICOM_List* tail = nullptr;
    /** Number of items. */
    int items = 0;
    /** End by the length that the header claims, though it is not believed; or Open. */
    std::int64_t claimed_end = Open;
    /** Its end lies so many bytes behind the claimed one, by what stands there. */
    std::int64_t moved = 0;
    /** Its limit is believed for the lengths inside, more than for what stands behind it. */
    bool is_weak = false;
    /** That of the reader in front of it. */
    Shift shift;
    /** Byte-order code in which its elements began. */
    unsigned char usual_mode = 0;
    /** What a straight reading found: headers in front of this place hold, and it went so far. */
    std::int64_t held_to = -1;
    std::int64_t walked_to = -1;
    /** It came to the end. */
    bool holds = false;
    /** What is wrong with its end was said. */
    bool said = false;
    /** Tag of the last element of the last item of a sequence. */
    Tag last_in_item;
    /** The last sequence of a list, if it was left. */
    Left_Sequence left;
    /** Most have none. */
    std::unique_ptr<Creators> creators;
};

}  // namespace lib_mend

#endif
