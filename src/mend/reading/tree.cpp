#include "mend/reading/tree.h"

namespace lib_mend {

bool Tree_Walk::Enter_Item(DICOM_List* sequence, int item)
{
    DICOM_List* const list = Item_Of(*sequence, item);
    if (list == nullptr) {
        return false;
    }
    way_.push_back({Tag_Of(*sequence), item});
    levels_.push_back({list, nullptr, item});
    return true;
}

DICOM_List* Tree_Walk::Next()
{
    DICOM_List* const last = levels_.back().last;
    const bool enters = last != nullptr && !skip_;
    skip_ = false;
    if (enters) {
        Enter_Item(last, 0);
    }
    while (levels_.back().last != nullptr ? levels_.back().last->next == nullptr
                                          : levels_.back().next == nullptr) {
        if (levels_.size() == 1) {
            levels_.back() = {nullptr, nullptr, 0};
            return nullptr;
        }
        const int item = levels_.back().item;
        levels_.pop_back();
        way_.pop_back();
        Enter_Item(levels_.back().last, item + 1);
    }
    Level& level = levels_.back();
    level.last = level.last != nullptr ? level.last->next : level.next;
    return level.last;
}

}  // namespace lib_mend
