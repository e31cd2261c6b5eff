// Private creators: which element names the owner of a private element, and its text (PS3.5
// section 7.8.1).
#ifndef LIB_DICOM_SRC_ATTRIBUTES_PRIVATE_CREATORS_H
#define LIB_DICOM_SRC_ATTRIBUTES_PRIVATE_CREATORS_H

#include <Lib_DICOM/frame.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <unordered_map>

namespace lib_dicom {

/** First element that belongs to a private creator, and the creators themselves. */
inline constexpr unsigned short First_Private_Element = 0x1000;
inline constexpr unsigned short First_Creator = 0x0010;
inline constexpr unsigned short Last_Creator = 0x00FF;

inline bool Is_Creator(const DICOM_List& record)
{
    return record.group % 2 != 0 && record.element >= First_Creator &&
           record.element <= Last_Creator;
}

/** Element of the creator that owns a private element. */
inline unsigned short Creator_Of(const DICOM_List& record)
{
    return static_cast<unsigned short>(record.element >> 8);
}

/** The text of a creator without blanks around it; empty when there is none. */
inline std::string Creator_Text(const DICOM_List* creator)
{
    // The longest creator that a value of VR LO can hold.
    constexpr std::size_t Max_Size = 64;
    if (creator == nullptr || creator->data == nullptr || creator->size <= 0) {
        return {};
    }
    char text[Max_Size + 1];
    const std::size_t size = std::min(static_cast<std::size_t>(creator->size), Max_Size);
    std::memcpy(text, creator->data, size);
    text[size] = '\0';
    return Str_Strip_Spaces(text);
}

/** The creators of one list by group and block; looking each up in the list would be quadratic. */
class Creators {
public:
    explicit Creators(const DICOM_List* list)
    {
        for (; list != nullptr; list = list->next) {
            if (Is_Creator(*list)) {
                by_block_.emplace(Key(list->group, list->element), list);
            }
        }
    }
    const DICOM_List* Find(unsigned short group, unsigned short block) const
    {
        const auto found = by_block_.find(Key(group, block));
        return found == by_block_.end() ? nullptr : found->second;
    }

private:
    static unsigned int Key(unsigned short group, unsigned short block)
    {
        return static_cast<unsigned int>(group) << 16 | block;
    }

    std::unordered_map<unsigned int, const DICOM_List*> by_block_;
};

}  // namespace lib_dicom

#endif
