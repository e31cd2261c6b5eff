// What stands anywhere in a tree, found in one walk: what is not there needs no walks of its own, each
// of which fetches every record of a large tree from memory.
#ifndef LIB_MEND_CONTENTS_H
#define LIB_MEND_CONTENTS_H

#include <Lib_DICOM/Lib_DICOM.h>

namespace lib_mend {

/** Where this says no, there is nothing; where it says yes, there may be something. */
struct Contents {
    bool group_lengths = false;
    /** Groups below 0008: commands, file meta information, directories. */
    bool low_groups = false;
    /** Private elements whose creator does not stand in front of them, or that none can own. */
    bool unowned = false;
    /** Elements of even groups that the registry does not know. */
    bool unknown_tags = false;
    /** Pixel data, overlays, or what describes them. */
    bool images = false;
    /** Pixel Representation. */
    bool signs = false;
    /** Declarations of character sets, and those of items. */
    bool declarations = false;
    bool declarations_in_items = false;
    /** Lists whose tags do not ascend, or that hold one twice. */
    bool disorder = false;
};

Contents Contents_Of(DICOM_List* list);

}  // namespace lib_mend

#endif
