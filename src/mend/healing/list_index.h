// Finds elements of a tree by path and tag without going through their lists again and again.
#ifndef LIB_MEND_LIST_INDEX_H
#define LIB_MEND_LIST_INDEX_H

#include "mend/reading/data_set.h"

#include <map>
#include <string>
#include <unordered_map>

namespace lib_mend {

/** Tells whether a record is only waiting to be taken out of its list. */
inline bool Is_Marked_Gone(const DICOM_List& record)
{
    return (record.flags & (DICOM_Mark_Deleted | DICOM_Mark_Invalid)) != 0;
}

/**
 * An index of the lists that were asked about. A list is named by the place where its first record
 * stands. Whoever changes a list in another way than this has to make a new index.
 */
class List_Index {
public:
    explicit List_Index(Data_Set& set) : set_(set)
    {
    }

    /** The list that a path leads to; null when there is none. */
    DICOM_List** List_At(const Path& path);
    /** The first element with a tag, null when there is none. */
    DICOM_List* Find(DICOM_List** list, Tag tag);
    /** The name of who reserved the block of a private element; empty for others. */
    std::string Creator_Of(DICOM_List** list, Tag tag);
    /** Puts the one record of `fresh` in front of the first one with a higher tag, and returns it. */
    DICOM_List* Insert(DICOM_List** list, Record_List fresh);

private:
    using Tags = std::map<Tag, DICOM_List*>;

    Tags& Tags_Of(DICOM_List** list);

    Data_Set& set_;
    std::unordered_map<DICOM_List**, Tags> lists_;
};

}  // namespace lib_mend

#endif
