// The texts that value records own, from the C heap.
#ifndef LIB_DICOM_SRC_VALUES_OWNED_TEXT_H
#define LIB_DICOM_SRC_VALUES_OWNED_TEXT_H

#include "frame/c_memory.h"

#include <algorithm>
#include <string_view>

namespace lib_dicom {

/**
 * Makes `target`, which owns nothing yet, a copy of a text; of null when that is null.
 *
 * @return false after the memory message
 */
inline bool Copy_Text(Place place, char*& target, const char* source, const char* variable)
{
    if (source == nullptr) {
        target = nullptr;
        return true;
    }
    const std::size_t size = std::strlen(source) + 1;
    C_Array<char> copy = C_Malloc<char>(hwnd, place, size, variable);
    if (copy != nullptr) {
        std::memcpy(copy.get(), source, size);
    }
    target = copy.release();
    return target != nullptr;
}

/** A text without the blanks around it; null is an empty text. */
inline std::string_view Trimmed(const char* text)
{
    std::string_view rest = text == nullptr ? "" : text;
    rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
    return rest.substr(0, rest.find_last_not_of(' ') + 1);
}

/** Small letter of an ASCII capital, whatever the locale is; any other byte as it stands. */
constexpr char Lower(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

}  // namespace lib_dicom

#endif
