// Encodes the tree of a data set (PS3.5 section 7 and annex A).
//
//   explicit   group element V R length                value     VRs with a 2-byte length
//                2      2     2     2
//              group element V R 0 0 length            value     OB OD OF OL OV OW SQ SV UC UN UR
//                2      2     2   2    4                         UT UV
//   implicit   group element length                    value     no VR at all
//                2      2      4
//   item       FFFE  E000    length   elements ...     [ FFFE E00D 0 ]
//   sequence   header (SQ)   item ...                  [ FFFE E0DD 0 ]
//   fragments  header (OB), length FFFFFFFF   FFFE E000 length value ...  FFFE E0DD 0
//
// The delimiters stand behind items and sequences whose length is not defined, FFFFFFFF.
//
// Sequences may nest as deep as memory allows: nothing here calls itself.
#ifndef LIB_MEND_ENCODER_H
#define LIB_MEND_ENCODER_H

#include "mend/reading/data_set.h"
#include "mend/writing/output.h"

#include <map>
#include <memory>

namespace lib_mend {

struct Encoder_Options {
    Encoding encoding;
    /** Give sequences and items defined lengths, as far as 32 bits hold them. */
    bool defined_lengths = false;
    /** Put a group length in front of each group of the top level. */
    bool group_lengths = false;
};

/**
 * Encodes a list with all items below. Group lengths that stand in it get the right value. Values
 * that were left in the source are handed on as places in it. Throws std::bad_alloc.
 */
void Encode_List(const std::shared_ptr<Source>& source, const DICOM_List* list,
                 const Encoder_Options& options, Output& out);

/** Where the items of the top level's sequences come to stand, by the first records of the items. */
using Item_Places = std::map<const DICOM_List*, std::int64_t>;

/** Finds the places of items without encoding, counted from the start of the list. */
Item_Places Places_Of_Items(const DICOM_List* list, const Encoder_Options& options);

}  // namespace lib_mend

#endif
