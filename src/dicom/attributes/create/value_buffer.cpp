#include "attributes/create/value_buffer.h"

#include "frame/c_memory.h"

#include <algorithm>
#include <climits>
#include <utility>

namespace lib_dicom {

namespace {

constexpr Unit This_Unit = "NEMA_Tag_Add";

}  // namespace

void Value_Buffer::Add(std::string_view bytes)
{
    failed_ = failed_ || !Grow(bytes.size());
    if (!failed_) {
        std::copy(bytes.begin(), bytes.end(), data_ + used_);
        used_ += bytes.size();
        *size_ += static_cast<int>(bytes.size());
    }
}

unsigned char* Value_Buffer::Release()
{
    // A block that cannot shrink is as good.
    void* const block = used_ != 0 ? std::realloc(data_, used_) : nullptr;
    unsigned char* const data = std::exchange(data_, nullptr);
    return block != nullptr ? static_cast<unsigned char*>(block) : data;
}

bool Value_Buffer::Grow(std::size_t room)
{
    constexpr std::size_t Largest = INT_MAX;
    if (room > Largest - used_) {
        Report_Memory(handle_, This_Unit, "realloc", "data", INT_MAX);
        return false;
    }
    if (used_ + room <= capacity_) {
        return true;
    }
    // By more than is asked for, so that many values take time in proportion to their number.
    const std::size_t capacity = std::min(std::max(used_ + room, 2 * capacity_), Largest);
    if (!C_Resize(handle_, This_Unit, data_, capacity, "data")) {
        return false;
    }
    capacity_ = capacity;
    return true;
}

}  // namespace lib_dicom
