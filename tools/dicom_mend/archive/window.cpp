#include "archive/window.h"

#include <algorithm>
#include <iterator>

namespace dicom_mend {

void Window::Push(Slot slot)
{
    if (slot.stage == Slot::Stage::Waiting && slot.item.size >= Large_File) {
        large_[{slot.item.size, -static_cast<std::int64_t>(slot.item.index)}] = slot.item.index;
    }
    slots_.push_back(std::move(slot));
}

Slot* Window::Take_Waiting()
{
    if (!large_.empty()) {
        const std::uint64_t index = std::prev(large_.end())->second;
        large_.erase(std::prev(large_.end()));
        At(index).stage = Slot::Stage::Working;
        return &At(index);
    }
    next_waiting_ = std::max(next_waiting_, first_);
    while (next_waiting_ < Next_Index() && At(next_waiting_).stage != Slot::Stage::Waiting) {
        ++next_waiting_;
    }
    if (next_waiting_ == Next_Index()) {
        return nullptr;
    }
    At(next_waiting_).stage = Slot::Stage::Working;
    return &At(next_waiting_);
}

void Window::Pop()
{
    slots_.pop_front();
    ++first_;
}

}  // namespace dicom_mend
