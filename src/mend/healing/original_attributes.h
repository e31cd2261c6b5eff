// Keeps what healing changes inside the file, and takes it back (PS3.3 section C.12.1.1.9).
//
//   (0400,0561) Original Attributes Sequence            one item for each mending that changed values
//     (0400,0550) Modified Attributes Sequence          one item: former values of elements of the
//                                                       data set itself that are valid under their VR;
//                                                       an empty one of an element that was not there
//     (0400,0551) Nonconforming Modified Attributes     one item for each other value:
//       (0072,0026) Selector Attribute                  its tag
//       (0072,0028) Selector Value Number               0: all values of the element
//       (0072,0052) Selector Sequence Pointer           the sequences around it, the outermost first
//       (0072,0054) ... Private Creator                 who reserved the blocks of private ones
//       (0072,0056) Selector Attribute Private Creator  who reserved that of the element
//       (0074,1057) Selector Sequence Pointer Items     the items of these sequences, from 1
//       (0400,0552) Nonconforming Data Element Value    the bytes, numbers in little endian
//     (0400,0562) Attribute Modification DateTime
//     (0400,0563) Modifying System                      "dicom-mend"
//     (0400,0564) Source of Previous Values             empty: the file that was read
//     (0400,0565) Reason for the Attribute Modification CORRECT
//
// Values inside items and values of private elements are always kept in (0400,0551), which can tell
// where they belong and which no healing looks into.
#ifndef LIB_MEND_ORIGINAL_ATTRIBUTES_H
#define LIB_MEND_ORIGINAL_ATTRIBUTES_H

#include "mend/healing/original_values.h"

namespace lib_mend {

inline constexpr std::string_view Modifying_System = "dicom-mend";

/** The present date and time with the offset from UTC, as a value of VR DT. */
std::string Date_Time_Now();

/**
 * Adds an item for the values that are not what they were; nothing when there are none. What cannot
 * be kept is said.
 */
void Record_Changes(Data_Set& set, const Original_Values& originals, std::string_view date_time,
                    Findings& findings);

/**
 * Puts the values of the last item that this system wrote back and removes that item. Order, padding
 * and lengths of before are not in it. The data set is marked as healed, so that writing it does not
 * heal the values again.
 *
 * @return false after an error finding: there is no such item
 */
bool Undo(Data_Set& set, Findings& findings);

}  // namespace lib_mend

#endif
