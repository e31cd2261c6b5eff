#include "support/plain_conditions.h"

#include <algorithm>
#include <cstdlib>

using namespace lib_mend;

namespace {

using Elements = std::vector<const Made_Element*>;

constexpr Tag Shared_Groups = {0x5200, 0x9229};
constexpr Tag Frame_Groups = {0x5200, 0x9230};

Tag Tag_Of(unsigned int number)
{
    const unsigned int group = number >> 16U;
    // Made sets hold the first of the groups that repeat.
    const bool repeats = group == 0x60FF || group == 0x50FF;
    return {static_cast<unsigned short>(repeats ? group & 0xFF00U : group),
            static_cast<unsigned short>(number & 0xFFFFU)};
}

/** The functional group items that `@` looks into, and the items of the groups in them. */
std::vector<const Made_Set*> Frame_Items(const Made_Place& place)
{
    std::vector<const Made_Set*> items;
    const auto add = [&](const Made_Set& item) {
        items.push_back(&item);
        for (const auto& [tag, element] : item.elements) {
            for (const Made_Set& inner : element.items) {
                items.push_back(&inner);
            }
        }
    };
    const bool is_in_frame = !place.way.empty() && place.way.front().sequence == Frame_Groups;
    for (const Tag sequence : {Shared_Groups, Frame_Groups}) {
        const Made_Element* const groups = place.levels.front()->Find(sequence);
        for (std::size_t i = 0; groups != nullptr && i < groups->items.size(); ++i) {
            if (sequence == Shared_Groups ? i == 0
                                          : !is_in_frame || &groups->items[i] == place.levels[1]) {
                add(groups->items[i]);
            }
        }
    }
    return items;
}

Elements Operands(const DICOM_Step& step, const Made_Place& place)
{
    std::vector<const Made_Set*> sets;
    if (step.origin == DICOM_Step::Frame) {
        sets = Frame_Items(place);
    } else if (step.origin == DICOM_Step::Top) {
        sets = {place.levels.front()};
    } else if (step.up < place.levels.size()) {
        sets = {place.levels[place.levels.size() - 1 - step.up]};
    }
    Elements found;
    for (int i = 0; i < step.tag_count; ++i) {
        found.clear();
        for (const Made_Set* const set : sets) {
            if (const Made_Element* const element = set->Find(Tag_Of(step.tags[i]))) {
                found.push_back(element);
            }
        }
        sets.clear();
        for (const Made_Element* const element : found) {
            for (const Made_Set& item : element->items) {
                sets.push_back(&item);
            }
        }
    }
    return found;
}

bool Compares(double value, const DICOM_Step& step)
{
    const auto with = static_cast<double>(step.number);
    switch (step.relation) {
    case DICOM_Step::Equal:
        return value == with;
    case DICOM_Step::Unequal:
        return value != with;
    case DICOM_Step::Greater:
        return value > with;
    case DICOM_Step::At_Least:
        return value >= with;
    case DICOM_Step::Less:
        return value < with;
    case DICOM_Step::At_Most:
        return value <= with;
    }
    return false;
}

Plain Count_Truth(const DICOM_Step& step, const Elements& elements)
{
    const auto fits = [&](std::size_t count) {
        return Compares(static_cast<double>(count), step);
    };
    const bool is_true = elements.empty()
                             ? fits(0)
                             : std::any_of(elements.begin(), elements.end(), [&](auto* element) {
                                   return fits(element->values.size() + element->items.size());
                               });
    return is_true ? Plain::Yes : Plain::No;
}

Plain Comparison(const DICOM_Step& step, const Elements& elements, Plain absent)
{
    const bool turns = step.kind == DICOM_Step::Text && step.relation == DICOM_Step::Unequal;
    bool is_any = false;
    bool holds = false;
    for (const Made_Element* const element : elements) {
        const std::size_t count = element->values.size();
        const std::size_t first = step.value_number != 0 ? step.value_number - 1U : 0;
        const std::size_t end = step.value_number != 0 ? std::min(first + 1, count) : count;
        bool fits = false;
        for (std::size_t i = first; i < end; ++i) {
            is_any = true;
            fits =
                fits || (step.kind == DICOM_Step::Number
                             ? element->Holds_Numbers() && !element->values[i].empty() &&
                                   Compares(std::strtod(element->values[i].c_str(), nullptr), step)
                             : std::any_of(step.texts, step.texts + step.text_count,
                                           [&](auto* text) { return element->Equals(i, text); }));
        }
        // One element is enough; of its values none may be what is named.
        holds = holds || (first < end && fits != turns);
    }
    return !is_any ? absent : holds ? Plain::Yes : Plain::No;
}

Plain Test(const DICOM_Step& step, const Made_Place& place, Plain absent)
{
    const bool is_meta = step.tag_count != 0 && step.tags[0] >> 16U == 0x0002;
    const Elements elements = Operands(step, place);
    switch (step.kind) {
    case DICOM_Step::Always:
        return Plain::Yes;
    case DICOM_Step::Class: {
        const Made_Element* const uid = place.levels.front()->Find({0x0008, 0x0016});
        return uid == nullptr || uid->Is_Empty() ? Plain::Open
               : std::any_of(step.texts, step.texts + step.text_count,
                             [&](auto* text) { return uid->Equals(0, text); })
                   ? Plain::Yes
                   : Plain::No;
    }
    case DICOM_Step::Present:
        return is_meta ? Plain::Open : elements.empty() ? Plain::No : Plain::Yes;
    case DICOM_Step::Valued:
        return std::any_of(elements.begin(), elements.end(), [](auto* e) { return !e->Is_Empty(); })
                   ? Plain::Yes
                   : Plain::No;
    case DICOM_Step::Count:
        return Count_Truth(step, elements);
    case DICOM_Step::Text:
    case DICOM_Step::Number:
        return is_meta ? Plain::Open : Comparison(step, elements, absent);
    default:
        return Plain::Open;
    }
}

}  // namespace

Plain Plain_Truth(const DICOM_Condition& condition, const Made_Place& place, Plain absent)
{
    std::vector<Plain> stack;
    for (int i = 0; i < condition.step_count; ++i) {
        const DICOM_Step& step = condition.steps[i];
        if (step.kind == DICOM_Step::Not) {
            stack.back() = static_cast<Plain>(2 - static_cast<int>(stack.back()));
        } else if (step.kind == DICOM_Step::And || step.kind == DICOM_Step::Or) {
            const Plain right = stack.back();
            stack.pop_back();
            stack.back() = step.kind == DICOM_Step::And ? std::min(stack.back(), right)
                                                        : std::max(stack.back(), right);
        } else {
            stack.push_back(Test(step, place, absent));
        }
    }
    return stack.empty() ? Plain::Open : stack.back();
}

const DICOM_List* Node_At(DICOM_List* module, const Path& way, Tag tag)
{
    DICOM_List* nodes = module;
    for (const Path_Step& step : way) {
        const DICOM_List* const node = Find_Record(nodes, step.sequence);
        // Content items hold content items: their lines stand in the list once.
        const bool nests = step.sequence == Tag{0x0040, 0xA730} && &step != way.data() &&
                           (node == nullptr || Item_Of(*node, 0) == nullptr);
        nodes = nests ? nodes : node != nullptr ? Item_Of(*node, 0) : nullptr;
    }
    return Find_Record(nodes, tag);
}
