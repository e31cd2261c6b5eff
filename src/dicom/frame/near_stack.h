// The stack of walks over nested lists. No depth of nesting may exhaust the stack of the thread, and
// walks over lists of a usual depth are not to depend on memory of the heap.
#ifndef LIB_DICOM_SRC_FRAME_NEAR_STACK_H
#define LIB_DICOM_SRC_FRAME_NEAR_STACK_H

#include <array>
#include <cstddef>
#include <vector>

namespace lib_dicom {

/** A stack of plain elements, of which the lowest stand in the object itself. */
template <class T>
class Near_Stack {
public:
    bool Is_Empty() const
    {
        return size_ == 0;
    }
    /** Valid until the next Push. */
    T& Top()
    {
        return size_ <= near_.size() ? near_[size_ - 1] : far_.back();
    }
    /** Throws std::bad_alloc; the stack is then as it was. */
    void Push(const T& element)
    {
        if (size_ < near_.size()) {
            near_[size_] = element;
        } else {
            far_.push_back(element);
        }
        ++size_;
    }
    void Pop()
    {
        if (size_ > near_.size()) {
            far_.pop_back();
        }
        --size_;
    }

private:
    // One more than a context can have sequences open.
    std::array<T, 11> near_ = {};
    std::vector<T> far_;
    std::size_t size_ = 0;
};

}  // namespace lib_dicom

#endif
