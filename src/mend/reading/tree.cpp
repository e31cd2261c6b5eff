#include "mend/reading/tree.h"

#include <algorithm>

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

DICOM_List* Tree_Walk::Next_Elsewhere()
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

std::vector<DICOM_List*> Sorted_Elements(DICOM_List* list)
{
    std::vector<DICOM_List*> elements;
    for (DICOM_List& record : Records(list)) {
        if (!Is_Delimiter(record)) {
            elements.push_back(&record);
        }
    }
    std::stable_sort(elements.begin(), elements.end(),
                     [](const DICOM_List* left, const DICOM_List* right) {
                         return Tag_Of(*left) < Tag_Of(*right);
                     });
    return elements;
}

bool Holds_Fragments(const DICOM_List& record)
{
    const DICOM_List* const first = Item_Of(record, 0);
    const unsigned short vr = VR_Of(record);
    if (first != nullptr && Tag_Of(*first) == Item_Tag) {
        return VR_Of(*first) == VR_OB;
    }
    return record.size < 0 && (vr == VR_OB || vr == VR_OW);
}

bool Holds_Items(const DICOM_List& record)
{
    const bool is_sequence = VR_Of(record) == VR_SQ && record.data == nullptr;
    return Item_Of(record, 0) != nullptr || record.size < 0 || is_sequence;
}

DICOM_List* Item_At(DICOM_List* list, const Path& way)
{
    DICOM_List* item = nullptr;
    for (const Path_Step& step : way) {
        const DICOM_List* const sequence =
            Find_Record(item != nullptr ? item : list, step.sequence);
        if (sequence == nullptr || Holds_Fragments(*sequence) ||
            step.item >= Item_Count(*sequence)) {
            return nullptr;
        }
        item = Item_Of(*sequence, step.item);
    }
    return item;
}

bool Is_Group_Length(const DICOM_List& record)
{
    constexpr int Size = 4;
    const unsigned short vr = VR_Of(record);
    return record.element == 0x0000 && !Holds_Items(record) &&
           (record.size == 0 || (record.size == Size && (vr == VR_UL || vr == VR_UN || vr == 0)));
}

}  // namespace lib_mend
