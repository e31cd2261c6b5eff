// Where the results of typed extraction live: rotating slots that the library owns.
#ifndef LIB_DICOM_SRC_READ_VALUE_POOLS_H
#define LIB_DICOM_SRC_READ_VALUE_POOLS_H

#include <Lib_DICOM/values.h>

#include "frame/c_memory.h"

#include <algorithm>
#include <array>
#include <span>

namespace lib_dicom {

/** An array of the C heap that keeps its memory from use to use. */
template <class T>
class Pool_Array {
public:
    Pool_Array() = default;
    Pool_Array(const Pool_Array&) = delete;
    Pool_Array& operator=(const Pool_Array&) = delete;
    ~Pool_Array()
    {
        Release();
    }

    T* Data() const
    {
        return items_;
    }
    std::span<T> Items() const
    {
        return {items_, capacity_};
    }
    /** Grows to at least `count` elements, new ones zero. False after the memory message. */
    bool Reserve(HWND handle, Place place, std::size_t count, const char* variable)
    {
        if (count <= capacity_) {
            return true;
        }
        if (!C_Resize(handle, place, items_, count, variable)) {
            return false;
        }
        std::fill(items_ + capacity_, items_ + count, T());
        capacity_ = count;
        return true;
    }
    void Release()
    {
        std::free(static_cast<void*>(items_));
        items_ = nullptr;
        capacity_ = 0;
    }

private:
    T* items_ = nullptr;
    std::size_t capacity_ = 0;
};

/** Strings, each with memory of its own that is used again. */
class Pool_Strings {
public:
    Pool_Strings() = default;
    Pool_Strings(const Pool_Strings&) = delete;
    Pool_Strings& operator=(const Pool_Strings&) = delete;
    ~Pool_Strings()
    {
        Release();
    }

    char** Data() const
    {
        return strings_.Data();
    }
    bool Reserve(HWND handle, Place place, std::size_t count, const char* variable)
    {
        return strings_.Reserve(handle, place, count, variable);
    }
    /** Sets a string below the reserved count. False after the memory message. */
    bool Set(HWND handle, Place place, std::size_t index, std::string_view text,
             const char* variable);
    void Release();

private:
    Pool_Array<char*> strings_;
};

/** The names of one value. */
class Pool_Names {
public:
    Pool_Names() = default;
    Pool_Names(const Pool_Names&) = delete;
    Pool_Names& operator=(const Pool_Names&) = delete;
    ~Pool_Names()
    {
        Release();
    }

    OrisWare_Name* Data() const
    {
        return names_.Data();
    }
    /** Empties all names and makes room for `count` of them. False after the memory message. */
    bool Reset(HWND handle, Place place, std::size_t count, const char* variable);
    void Release();

private:
    void Clear();

    Pool_Array<OrisWare_Name> names_;
    /** Number of names in use; those behind it are empty. */
    std::size_t count_ = 0;
};

/** The extractors, each with a slot counter of its own. */
enum class Extractor_Id { Str, Int, Float, Hex, Name, Date, Time, Count };

/**
 * All results of typed extraction. A slot is used again after 128 calls of the same extractor.
 * Strings and names share the strings but not the counter: a person name may overwrite a string
 * result before its time, which is kept on purpose.
 */
struct Value_Pools {
    static constexpr std::size_t Slots = 128;

    template <class T>
    using Per_Slot = std::array<T, Slots>;

    Value_Pools() = default;
    Value_Pools(const Value_Pools&) = delete;
    Value_Pools& operator=(const Value_Pools&) = delete;
    ~Value_Pools()
    {
        Release();
    }

    /** Advances the extractor's counter and returns the slot to use. */
    std::size_t Next_Slot(Extractor_Id extractor);
    /** Releases all results; the counters go on where they are. */
    void Release();

    Per_Slot<Pool_Strings> strings;
    Per_Slot<Pool_Array<int>> integers;
    Per_Slot<Pool_Array<float>> floats;
    Per_Slot<Pool_Array<unsigned char>> buffers;
    Per_Slot<Pool_Names> names;
    Per_Slot<OrisWare_Date> dates = {};
    Per_Slot<OrisWare_Time> times = {};

private:
    std::array<std::size_t, static_cast<std::size_t>(Extractor_Id::Count)> counters_ = {};
};

Value_Pools& Get_Value_Pools();

}  // namespace lib_dicom

#endif
