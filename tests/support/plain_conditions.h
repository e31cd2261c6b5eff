// Conditions of definition files, evaluated in made sets as plainly as the page about them describes
// it: what the evaluation of the mending layer is held against.
#ifndef TESTS_PLAIN_CONDITIONS_H
#define TESTS_PLAIN_CONDITIONS_H

#include "support/made_set.h"

#include <Lib_DICOM/rules.h>

#include <span>

enum class Plain { No, Open, Yes };

/** @param absent  what a comparison with an attribute that is absent comes to */
Plain Plain_Truth(const DICOM_Condition& condition, const Made_Place& place, Plain absent);

inline std::span<const DICOM_Rule> Rule_Lines(const DICOM_List& node)
{
    const DICOM_Rule* first = nullptr;
    const int count = DICOM_Module_Rules(&node, &first);
    return {first, static_cast<std::size_t>(count)};
}

inline std::span<const DICOM_Part> Part_Lines(const DICOM_List* module)
{
    const DICOM_Part* first = nullptr;
    const int count = DICOM_Module_Parts(module, &first);
    return {first, static_cast<std::size_t>(count)};
}

/** The record of a module list for an element at the end of a path; null when there is none. */
const DICOM_List* Node_At(DICOM_List* module, const lib_mend::Path& way, lib_mend::Tag tag);

/** Calls `visit(node, place)` for each record of a module list in each item that is there. */
template <class Visit>
void For_Each_Line(DICOM_List* nodes, Made_Place& place, const Visit& visit)
{
    for (const DICOM_List& node : lib_mend::Records(nodes)) {
        visit(node, place);
        const lib_mend::Tag tag = lib_mend::Tag_Of(node);
        const auto found = place.Here().elements.find(tag);
        if (found == place.Here().elements.end() || lib_mend::Item_Of(node, 0) == nullptr) {
            continue;
        }
        for (std::size_t i = 0; i < found->second.items.size(); ++i) {
            place.levels.push_back(&found->second.items[i]);
            place.way.push_back({tag, static_cast<int>(i)});
            For_Each_Line(lib_mend::Item_Of(node, 0), place, visit);
            place.levels.pop_back();
            place.way.pop_back();
        }
    }
    // Content items hold content items: their lines stand in the list once.
    constexpr lib_mend::Tag Content = {0x0040, 0xA730};
    const bool nests = !place.way.empty() && place.way.back().sequence == Content &&
                       lib_mend::Find_Record(nodes, Content) == nullptr;
    const auto inner = place.Here().elements.find(Content);
    for (std::size_t i = 0;
         nests && inner != place.Here().elements.end() && i < inner->second.items.size(); ++i) {
        place.levels.push_back(&inner->second.items[i]);
        place.way.push_back({Content, static_cast<int>(i)});
        For_Each_Line(nodes, place, visit);
        place.levels.pop_back();
        place.way.pop_back();
    }
}

#endif
