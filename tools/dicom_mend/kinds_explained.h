// Where the kinds of findings come from, and what mending does about them, for `explain`.
#ifndef TOOLS_DICOM_MEND_KINDS_EXPLAINED_H
#define TOOLS_DICOM_MEND_KINDS_EXPLAINED_H

#include <string_view>

namespace dicom_mend {

struct Kind_Explained {
    std::string_view kind;
    /** What is usually behind it. */
    const char* origin;
    /** What mend does, and what it leaves. */
    const char* mending;
};

/** Null for a kind that nobody explained. */
const Kind_Explained* Find_Kind_Explained(std::string_view kind);

}  // namespace dicom_mend

#endif
