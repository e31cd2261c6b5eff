// Private creators: which element names the owner of a private element, and its text (PS3.5
// section 7.8.1).
#ifndef LIB_DICOM_SRC_ATTRIBUTES_PRIVATE_CREATORS_H
#define LIB_DICOM_SRC_ATTRIBUTES_PRIVATE_CREATORS_H

#include "attributes/list/attribute_lists.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <utility>

namespace lib_dicom {

/** First element that belongs to a private creator, and the creators themselves. */
inline constexpr unsigned short First_Private_Element = 0x1000;
inline constexpr unsigned short First_Creator = 0x0010;
inline constexpr unsigned short Last_Creator = 0x00FF;

inline bool Is_Creator_Element(unsigned short element)
{
    return element >= First_Creator && element <= Last_Creator;
}

/** Element of the creator that owns a private element. */
inline unsigned short Creator_Of(const DICOM_List& record)
{
    return static_cast<unsigned short>(record.element >> 8);
}

/** Tells whether a creator that was looked up has a value, were it of blanks only. */
inline bool Has_Text(const DICOM_List* creator)
{
    return creator != nullptr && creator->data != nullptr && creator->size > 0;
}

/** The text of a creator without blanks around it. */
inline std::string Creator_Text(const DICOM_List& creator)
{
    // The longest creator that a value of VR LO can hold.
    constexpr std::size_t Max_Size = 64;
    if (!Has_Text(&creator)) {
        return {};
    }
    char text[Max_Size + 1];
    const std::size_t size = std::min(static_cast<std::size_t>(creator.size), Max_Size);
    std::memcpy(text, creator.data, size);
    text[size] = '\0';
    return Str_Strip_Spaces(text);
}

/** Looks creators up with Get, in lists that nobody else changes in the meantime. */
class Creators {
public:
    Creators(HWND handle, DICOM_Root* root) : handle_(handle), root_(root)
    {
    }

    /** The creator of a private record in its list; null when there is none. */
    const DICOM_List* Get(DICOM_List* list, const DICOM_List& record)
    {
        const unsigned short block = Creator_Of(record);
        if (record.group != Any_Number) {
            return Get_Record(handle_, root_, list, record.group, block, search_);
        }
        // A kept quirk: for Get, FFFF is any group. There are few blocks to look for, in lists that
        // may be long.
        if (Error_Wanted(Trace_Entry) != 0 || list->depth < root_->Sequence_Depth) {
            return DICOM_Attribute_Get(handle_, root_, list, Any_Number, block, 0);
        }
        const auto [found, is_new] = any_group_.try_emplace({list, block}, nullptr);
        if (is_new) {
            found->second = DICOM_Attribute_Get(handle_, root_, list, Any_Number, block, 0);
        }
        return found->second;
    }
    /** Forgets what was found: a list may have changed. */
    void Forget()
    {
        search_.Clear();
        any_group_.clear();
    }

private:
    HWND handle_;
    DICOM_Root* root_;
    Indexed_Search search_;
    std::map<std::pair<const DICOM_List*, unsigned short>, const DICOM_List*> any_group_;
};

}  // namespace lib_dicom

#endif
