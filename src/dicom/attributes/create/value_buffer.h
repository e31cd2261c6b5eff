// A value under construction.
#ifndef LIB_DICOM_SRC_ATTRIBUTES_VALUE_BUFFER_H
#define LIB_DICOM_SRC_ATTRIBUTES_VALUE_BUFFER_H

#include <Lib_DICOM/frame.h>

#include <cstddef>
#include <cstdlib>
#include <string_view>

namespace lib_dicom {

/** A block of the C heap that grows with each value, and the size of the record that it is for. */
class Value_Buffer {
public:
    /** @param size  what is stored is added to it, and stays there whatever comes of the block */
    Value_Buffer(HWND handle, int* size) : handle_(handle), size_(size)
    {
    }
    Value_Buffer(const Value_Buffer&) = delete;
    Value_Buffer& operator=(const Value_Buffer&) = delete;
    ~Value_Buffer()
    {
        std::free(data_);
    }

    HWND Handle() const
    {
        return handle_;
    }
    /** Without memory, for which a length out of range counts too, the value stays as it is. */
    void Add(std::string_view bytes);
    template <std::size_t Size>
    void Add_Number(const unsigned char* bytes)
    {
        Add({reinterpret_cast<const char*>(bytes), Size});
    }
    /** Makes the length even. */
    void Pad(char pad)
    {
        if (used_ % 2 != 0) {
            Add({&pad, 1});
        }
    }
    bool Has_Failed() const
    {
        return failed_;
    }
    /** The bytes as a block of their size, null when there are none. */
    unsigned char* Release();

private:
    bool Grow(std::size_t room);

    HWND handle_;
    int* size_;
    unsigned char* data_ = nullptr;
    std::size_t used_ = 0;
    std::size_t capacity_ = 0;
    bool failed_ = false;
};

}  // namespace lib_dicom

#endif
