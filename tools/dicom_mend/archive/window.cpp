#include "archive/window.h"

#include <algorithm>
#include <iterator>

namespace dicom_mend {

Window::Large_Key Window::Key_Of(const Work_Item& item)
{
    return {item.size, -static_cast<std::int64_t>(item.index)};
}

bool Window::Is_Done() const
{
    return std::all_of(slots_.begin(), slots_.end(),
                       [](const Slot& slot) { return slot.stage == Slot::Stage::Done; });
}

void Window::Push(Slot slot)
{
    if (slot.stage == Slot::Stage::Waiting && slot.item.size >= Large_File) {
        large_[Key_Of(slot.item)] = slot.item.index;
    }
    slots_.push_back(std::move(slot));
}

Slot* Window::First_Waiting()
{
    if (!large_.empty()) {
        return &At(std::prev(large_.end())->second);
    }
    next_waiting_ = std::max(next_waiting_, first_);
    while (next_waiting_ < Next_Index() && At(next_waiting_).stage != Slot::Stage::Waiting) {
        ++next_waiting_;
    }
    return next_waiting_ < Next_Index() ? &At(next_waiting_) : nullptr;
}

void Window::Begin(Slot& slot)
{
    large_.erase(Key_Of(slot.item));
    slot.stage = Slot::Stage::Working;
}

void Window::Pop()
{
    slots_.pop_front();
    ++first_;
}

}  // namespace dicom_mend
