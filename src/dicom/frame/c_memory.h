// Memory of the C heap, which records, values and returned buffers come from.
#ifndef LIB_DICOM_SRC_FRAME_C_MEMORY_H
#define LIB_DICOM_SRC_FRAME_C_MEMORY_H

#include "frame/report.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <type_traits>

namespace lib_dicom {

struct C_Deleter {
    void operator()(void* pointer) const
    {
        std::free(pointer);
    }
};

/** An owned array of the C heap; release() hands it to a record or to the client. */
template <class T>
using C_Array = std::unique_ptr<T[], C_Deleter>;

/** Zeroed array, null after the memory message. A count of 0 gives a block of one element. */
template <class T>
C_Array<T> C_Calloc(HWND handle, Place place, std::size_t count, const char* variable)
{
    static_assert(std::is_trivial_v<T>);
    C_Array<T> block(static_cast<T*>(std::calloc(count == 0 ? 1 : count, sizeof(T))));
    if (block == nullptr) {
        Report_Memory(handle, place, "calloc", variable, static_cast<int>(count), sizeof(T));
    }
    return block;
}

/** Uninitialised array, null after the memory message. A count of 0 gives a block of one element.
 */
template <class T>
C_Array<T> C_Malloc(HWND handle, Place place, std::size_t count, const char* variable)
{
    static_assert(std::is_trivial_v<T>);
    const std::size_t size = (count == 0 ? 1 : count) * sizeof(T);
    C_Array<T> block(static_cast<T*>(std::malloc(size)));
    if (block == nullptr) {
        Report_Memory(handle, place, "malloc", variable, static_cast<int>(count), sizeof(T));
    }
    return block;
}

/** Terminated copy of a text, null after the memory message. */
inline C_Array<char> C_Strdup(HWND handle, Place place, std::string_view text, const char* variable)
{
    C_Array<char> copy(static_cast<char*>(std::malloc(text.size() + 1)));
    if (copy == nullptr) {
        Report_Text_Memory(handle, place, variable);
        return copy;
    }
    std::copy(text.begin(), text.end(), copy.get());
    copy[text.size()] = '\0';
    return copy;
}

/**
 * Changes the number of elements of an array that a plain pointer owns. A count of 0 releases it.
 *
 * @return false after the memory message: the array is then as it was
 */
template <class T>
bool C_Resize(HWND handle, Place place, T*& array, std::size_t count, const char* variable)
{
    static_assert(std::is_trivial_v<T>);
    if (count == 0) {
        std::free(array);
        array = nullptr;
        return true;
    }
    void* const block = std::realloc(static_cast<void*>(array), count * sizeof(T));
    if (block == nullptr) {
        Report_Memory(handle, place, "realloc", variable, static_cast<int>(count), sizeof(T));
        return false;
    }
    array = static_cast<T*>(block);
    return true;
}

}  // namespace lib_dicom

#endif
