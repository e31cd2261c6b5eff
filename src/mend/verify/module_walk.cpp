#include "mend/verify/module_walk.h"

#include "mend/reading/tree.h"

namespace lib_mend {

std::vector<unsigned short> Module_Walk::Repetitions(unsigned short group) const
{
    // PS3.5 section 7.6: sixteen groups, of even number.
    constexpr unsigned short Last = 0x001E;
    std::vector<unsigned short> groups;
    for (unsigned short more = 0; more <= Last; more += 2) {
        if (object_.Has_Group(static_cast<unsigned short>(group + more))) {
            groups.push_back(static_cast<unsigned short>(group + more));
        }
    }
    if (groups.empty()) {
        groups.push_back(group);
    }
    return groups;
}

const DICOM_List* Module_Walk::Next()
{
    while (!levels_.empty()) {
        Level& level = levels_.back();
        if (level.sequence != nullptr) {
            Next_Item();
        } else if (level.node == nullptr) {
            Leave();
        } else {
            const DICOM_List* const node = level.node;
            level.node = node->next;
            return node;
        }
    }
    return nullptr;
}

const DICOM_List* Module_Walk::Open(const DICOM_List& node)
{
    const DICOM_List* const record = object_.Find(Tag_Of(node));
    DICOM_List* const inner = Inner_Nodes(node);
    if (record != nullptr && inner != nullptr && Holds_Items(*record)) {
        levels_.back().inner = inner;
        levels_.back().sequence = record;
        levels_.back().item = 0;
    }
    return record;
}

DICOM_List* Module_Walk::Inner_Nodes(const DICOM_List& node) const
{
    // Content items hold content items (PS3.3 section C.17.3): their lines stand in the list once.
    constexpr Tag Content_Sequence = {0x0040, 0xA730};
    const Path& way = object_.Way();
    const bool nests_in_itself =
        Tag_Of(node) == Content_Sequence && !way.empty() && way.back().sequence == Content_Sequence;
    return Item_Of(node, 0) == nullptr && nests_in_itself ? levels_.back().nodes : Item_Of(node, 0);
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
