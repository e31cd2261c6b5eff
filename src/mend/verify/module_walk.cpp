#include "mend/verify/module_walk.h"

#include "mend/reading/tree.h"

#include <utility>

namespace lib_mend {

const DICOM_List* Module_Walk::Next()
{
    while (!levels_.empty()) {
        Level& level = levels_.back();
        if (level.sequence != nullptr) {
            Next_Item();
        } else if (level.node == nullptr && !Nests(level)) {
            Leave();
        } else if (level.node != nullptr) {
            const DICOM_List* const node = level.node;
            level.node = node->next;
            return node;
        }
    }
    return nullptr;
}

bool Module_Walk::Nests(Level& level)
{
    // Content items hold content items (PS3.3 section C.17.3): their lines stand in the list once.
    constexpr Tag Content_Sequence = {0x0040, 0xA730};
    const Path& way = object_.Way();
    const bool is_content = !way.empty() && way.back().sequence == Content_Sequence;
    const DICOM_List* const record = is_content && !std::exchange(level.has_nested, true)
                                         ? object_.Find(Content_Sequence)
                                         : nullptr;
    const DICOM_List* const node = Find_Record(level.nodes, Content_Sequence);
    if (record == nullptr || !Holds_Items(*record) ||
        (node != nullptr && Item_Of(*node, 0) != nullptr)) {
        return false;
    }
    level.inner = level.nodes;
    level.sequence = record;
    level.item = 0;
    return true;
}

const DICOM_List* Module_Walk::Open(const DICOM_List& node)
{
    const DICOM_List* const record = object_.Find_Next(Tag_Of(node));
    DICOM_List* const inner = Item_Of(node, 0);
    if (record != nullptr && inner != nullptr && Holds_Items(*record)) {
        levels_.back().inner = inner;
        levels_.back().sequence = record;
        levels_.back().item = 0;
    }
    return record;
}

void Module_Walk::Next_Item()
{
    Level& level = levels_.back();
    if (Item_Of(*level.sequence, level.item) == nullptr) {
        level.sequence = nullptr;
        return;
    }
    object_.Enter(*level.sequence, level.item++);
    DICOM_List* const inner = level.inner;
    levels_.push_back({inner, inner});
}

void Module_Walk::Leave()
{
    levels_.pop_back();
    if (!levels_.empty()) {
        object_.Leave();
    }
}

}  // namespace lib_mend
