// Elements named by users: tags in their usual forms, keywords, and paths of both.
#ifndef LIB_MEND_ELEMENT_PATH_H
#define LIB_MEND_ELEMENT_PATH_H

#include "mend/reading/data_set.h"

#include <optional>
#include <string_view>

namespace lib_mend {

/** "0010,0010", "(0010,0010)" or "00100010"; nothing for anything else. */
std::optional<Tag> Parse_Tag_Digits(std::string_view text);

/** The same, or "PatientName". */
std::optional<Tag> Parse_Tag(std::string_view text);

struct Element_Path {
    /** The sequences and items around the element, the outermost first. */
    Path way;
    Tag tag;
};

/** "0040,0275[0]/0008,0100" or "RequestAttributesSequence[0]/CodeValue"; nothing for anything else. */
std::optional<Element_Path> Parse_Path(std::string_view text);

/** An element of a data set, with the list that it is in. */
struct Found_Element {
    /** First record of the list of its item; null for the data set itself. */
    DICOM_List* item = nullptr;
    DICOM_List* record = nullptr;
};

/** The element that a path leads to; no record when there is none. Group 0002 is in the meta list. */
Found_Element Find_Element(const Data_Set& set, const Element_Path& path);

}  // namespace lib_mend

#endif
