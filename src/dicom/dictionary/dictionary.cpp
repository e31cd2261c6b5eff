#include "dictionary/dictionary.h"

#include "dictionary/parse_table.h"
#include "frame/report.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <utility>

namespace lib_dicom {

namespace {

using Slot = TAG_db_Group::Slot;

bool Is_Below(const Slot& slot, unsigned short element)
{
    return slot.element < element;
}

/** The number that a text begins with, 0 when it begins with none. */
unsigned short Leading_Number(std::string_view text)
{
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return static_cast<unsigned short>(number);
}

/** Limits of a value multiplicity: "3", "1-3", "1-n". The step of "2-2n" is not kept. */
TAG_db_VM Read_VM(std::string_view text)
{
    const std::size_t hyphen =
        text.substr(0, text.size() - std::min<std::size_t>(text.size(), 1)).find('-');
    const unsigned short vm_min = Leading_Number(text.substr(0, hyphen));
    if (hyphen == std::string_view::npos) {
        return {vm_min, vm_min};
    }
    const std::string_view upper = text.substr(hyphen + 1);
    if (upper.substr(0, 2).find('n') != std::string_view::npos) {
        return {vm_min, 0xFFFF};
    }
    return {vm_min, Leading_Number(upper)};
}

TAG_db_Elems Make_Entry(const Dictionary_Line& line)
{
    TAG_db_Elems entry = {};
    entry.group = line.group;
    entry.element = line.element;
    entry.elem_mask = line.elem_mask;
    entry.nb_vr =
        static_cast<signed char>(line.is_retired ? -line.nb_alternative : line.nb_alternative);
    line.name.copy(entry.name, sizeof entry.name - 1);
    entry.vr[0] = VR_RT;
    entry.vm[0].vm_min = 0xFFFF;
    for (int i = 0; i < line.nb_alternative; i++) {
        const Alternative& alternative = line.alternatives[line.nb_alternative - 1 - i];
        entry.vr[i] = alternative.vr;
        entry.vm[i] = Read_VM(alternative.vm);
    }
    return entry;
}

}  // namespace

TAG_db_Elems* TAG_db_Group::Find(unsigned short element) const
{
    if (slots.front().element >= element) {
        return slots.front().element == element ? slots.front().entry : nullptr;
    }
    const auto slot = std::lower_bound(slots.begin() + 1, slots.end(), element, Is_Below);
    return slot != slots.end() && slot->element == element ? slot->entry : nullptr;
}

TAG_db_Group& Dictionary::Open_Group(unsigned short group, unsigned short group_mask)
{
    const int wanted = group & group_mask;
    const auto place = std::find_if(groups_.begin(), groups_.end(), [&](const TAG_db_Group& node) {
        return (node.group & group_mask) >= wanted;
    });
    if (place != groups_.end() && (place->group & group_mask) == wanted) {
        return *place;
    }
    last_group_ = 0;
    last_place_ = 0;
    return *groups_.insert(place, TAG_db_Group{group, group_mask, {}, {}});
}

bool Dictionary::NEMA_db_Add_Entry(HWND handle, const Dictionary_Line& line)
{
    std::vector<Slot>& slots = Open_Group(line.group, line.group_mask).slots;
    // The first entry of a group is deliberately neither compared nor displaced: where it stands is
    // decided by the first line of the table alone.
    const auto behind_first = slots.empty() ? slots.begin() : slots.begin() + 1;
    const auto place = std::lower_bound(behind_first, slots.end(), line.element, Is_Below);
    if (place != slots.end() && place->element == line.element) {
        Report_Warning(handle,
                       "    \361\005WARNING:\002 duplicate tag (%04x,%04x) in definition file",
                       line.group, line.element);
        return false;
    }
    TAG_db_Elems& entry = entries_.emplace_back(Make_Entry(line));
    const auto slot = slots.insert(place, Slot{entry.element, &entry});
    if (slot != slots.begin()) {
        entry.next = std::exchange(std::prev(slot)->entry->next, &entry);
    }
    return true;
}

void Dictionary::Add_Group(const TAG_db_Group& group)
{
    groups_.push_back(group);
}

void Dictionary::Read(TAG_db_Group& group)
{
    try {
        NEMA_db_Parse_Table(hwnd, *this, group.unread);
    } catch (...) {
        group.slots.clear();
        throw;
    }
    group.unread = {};
}

const std::vector<TAG_db_Group>& Dictionary::Groups()
{
    for (TAG_db_Group& group : groups_) {
        if (!group.unread.empty()) {
            Read(group);
        }
    }
    return groups_;
}

std::size_t Dictionary::Place_Of(unsigned short group) const
{
    const auto place = std::find_if(groups_.begin(), groups_.end(), [&](const TAG_db_Group& node) {
        return (node.group & node.group_mask) >= (group & node.group_mask);
    });
    return static_cast<std::size_t>(place - groups_.begin());
}

TAG_db_Elems* Dictionary::Find(unsigned short group, unsigned short element)
{
    // Elements are mostly asked for in their order.
    if (group != last_group_) {
        last_place_ = Place_Of(group);
        last_group_ = group;
    }
    for (std::size_t i = last_place_; i < groups_.size(); ++i) {
        TAG_db_Group& node = groups_[i];
        const int wanted = group & node.group_mask;
        const int found = node.group & node.group_mask;
        if (found > wanted) {
            return nullptr;
        }
        if (found == wanted) {
            if (!node.unread.empty()) {
                Read(node);
            }
            TAG_db_Elems* const entry = node.Find(element);
            if (entry != nullptr) {
                return entry;
            }
        }
    }
    return nullptr;
}

}  // namespace lib_dicom
