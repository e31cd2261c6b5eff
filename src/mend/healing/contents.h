// What stands anywhere in a tree, found in one walk: what is not there needs no walks of its own, each
// of which fetches every record of a large tree from memory.
#ifndef LIB_MEND_CONTENTS_H
#define LIB_MEND_CONTENTS_H

#include <Lib_DICOM/Lib_DICOM.h>

namespace lib_mend {

struct Contents {
    bool group_lengths = false;
    /** Groups below 0008: commands, file meta information, directories. */
    bool low_groups = false;
    bool private_groups = false;
    /** Elements of even groups that the registry does not know. */
    bool unknown_tags = false;
    /** Pixel data, overlays, or what describes them. */
    bool images = false;
};

Contents Contents_Of(DICOM_List* list);

}  // namespace lib_mend

#endif
