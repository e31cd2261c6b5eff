#include "mend/healing/original_values.h"

#include "mend/healing/character_set.h"
#include "mend/healing/list_index.h"
#include "mend/healing/repair.h"
#include "mend/reading/tree.h"
#include "mend/reading/vr_forms.h"

#include <algorithm>
#include <array>
#include <utility>

namespace lib_mend {

namespace {

bool Is_Made_Here(const DICOM_List& record)
{
    constexpr unsigned short Origin_Bits = 0x000F;
    return (record.flags & Origin_Bits) == DICOM_Origin_Library;
}

void Make_Little_Endian(const DICOM_List& record, Bytes& value)
{
    if ((record.byte_order & DICOM_Order_Big_Endian) == 0) {
        return;
    }
    const auto width = static_cast<std::size_t>(Swap_Width(VR_Of(record)));
    for (std::size_t at = 0; at + width <= value.size(); at += width) {
        const auto first = value.begin() + static_cast<std::ptrdiff_t>(at);
        std::reverse(first, first + static_cast<std::ptrdiff_t>(width));
    }
}

/** The value without the padding that is none of it. */
std::span<const unsigned char> Unpadded(const Bytes& value, unsigned short vr)
{
    std::span<const unsigned char> rest = value;
    while (Is_Text(vr) && !rest.empty() && (rest.back() == ' ' || rest.back() == 0)) {
        rest = rest.first(rest.size() - 1);
    }
    return rest;
}

bool Is_Same_Value(const Bytes& before, const Bytes& after, unsigned short vr)
{
    const std::span<const unsigned char> old_value = Unpadded(before, vr);
    std::span<const unsigned char> new_value = Unpadded(after, vr);
    const bool is_padded = old_value.size() % 2 != 0 && new_value.size() == old_value.size() + 1 &&
                           new_value.back() == 0;
    new_value = is_padded ? new_value.first(old_value.size()) : new_value;
    return std::equal(old_value.begin(), old_value.end(), new_value.begin(), new_value.end());
}

/** What tells of the bytes of a file: lengths, padding, offsets in a directory; other groups. */
bool Is_Of_The_Encoding(const DICOM_List& record)
{
    constexpr std::array Tags = {Tag{0xFFFC, 0xFFFC}, Tag{0x0004, 0x1200}, Tag{0x0004, 0x1202},
                                 Tag{0x0004, 0x1400}, Tag{0x0004, 0x1420}, Tag{0x0004, 0x1504}};
    return Is_Group_Length(record) || record.group == 0x0002 ||
           std::find(Tags.begin(), Tags.end(), Tag_Of(record)) != Tags.end();
}

}  // namespace

Original_Values::Original_Values(const Data_Set& set)
{
    Inherited<std::size_t> lists(0);
    For_Each_Element(set.records.Head(), [&](DICOM_List& record, const Path& path) {
        const std::size_t list = lists.At(record, path, [&](DICOM_List&, std::size_t around) {
            if (path.empty()) {
                return std::size_t{0};
            }
            lists_.push_back({around, path.back(), path.size()});
            return lists_.size() - 1;
        });
        index_.emplace(Key_Of(record), elements_.size());
        const bool is_loaded = record.data != nullptr && Has_Value(record);
        elements_.push_back({record, is_loaded, is_loaded ? set.Value(record) : Bytes(), list});
        DICOM_List& copy = elements_.back().record;
        copy.next = copy.last = nullptr;
        copy.data = nullptr;
        copy.description = nullptr;
        copy.item = nullptr;
    });
}

Path Original_Values::Path_Of(std::size_t list) const
{
    Path path;
    for (; list != 0; list = lists_[list].around) {
        path.push_back(lists_[list].step);
    }
    std::reverse(path.begin(), path.end());
    return path;
}

Bytes Original_Values::Value_Of(const Element& element, const Data_Set& set) const
{
    Bytes value = element.is_loaded ? element.value : set.Value(element.record);
    Make_Little_Endian(element.record, value);
    return value;
}

Changed_Value Original_Values::Change_Of(const Element& element, const Data_Set& set) const
{
    const bool is_too_deep = lists_[element.list].depth > Deepest_Change;
    return {.tag = Tag_Of(element.record),
            .path = is_too_deep ? Path() : Path_Of(element.list),
            .vr = VR_Of(element.record),
            .new_vr = 0,
            .kind = Changed_Value::Kind::Gone,
            .position = Position_Of(element.record),
            .is_too_deep = is_too_deep,
            .value = Value_Of(element, set)};
}

void Original_Values::For_Each_Change(const Data_Set& set,
                                      const std::function<void(const Changed_Value&)>& visit) const
{
    std::vector<bool> is_there(elements_.size(), false);
    For_Each_Element(set.records.Head(), [&](const DICOM_List& record, const Path& path) {
        if (Is_Marked_Gone(record)) {
            return;
        }
        const auto found = index_.find(Key_Of(record));
        if (Is_Made_Here(record) || found == index_.end() || is_there[found->second]) {
            if (Is_Made_Here(record) && path.empty() && Has_Value(record)) {
                visit({.tag = Tag_Of(record),
                       .path = path,
                       .vr = 0,
                       .new_vr = VR_Of(record),
                       .kind = Changed_Value::Kind::Added,
                       .position = 0,
                       .is_too_deep = false,
                       .value = {}});
            }
            return;
        }
        is_there[found->second] = true;
        const Element& element = elements_[found->second];
        const bool is_left_in_source =
            record.data == nullptr && !element.is_loaded &&
            Size_Of(record) == Size_Of(element.record) &&
            Value_Position_Of(record) == Value_Position_Of(element.record);
        if (is_left_in_source || Is_Streamed(record) || Is_Of_The_Encoding(record) ||
            !Has_Value(record) || !Has_Value(element.record)) {
            return;
        }
        Bytes after = set.Value(record);
        Make_Little_Endian(record, after);
        if (!Is_Same_Value(Value_Of(element, set), after, VR_Of(record))) {
            Changed_Value change = Change_Of(element, set);
            change.kind = Changed_Value::Kind::Changed;
            change.new_vr = VR_Of(record);
            visit(change);
        }
    });
    for (std::size_t i = 0; i < elements_.size(); ++i) {
        const DICOM_List& record = elements_[i].record;
        if (!is_there[i] && Has_Value(record) && !Is_Streamed(record) &&
            !Is_Of_The_Encoding(record)) {
            visit(Change_Of(elements_[i], set));
        }
    }
}

bool Original_Values::Pixels_Changed(const Data_Set& set) const
{
    for (const DICOM_List& record : Records(set.records.Head())) {
        const auto found = index_.find(Key_Of(record));
        if (!Is_Streamed(record) || found == index_.end()) {
            continue;
        }
        const DICOM_List& before = elements_[found->second].record;
        if (record.size != before.size || record.nb_item != before.nb_item) {
            return true;
        }
    }
    return false;
}

std::string Original_Values::Character_Terms() const
{
    for (const Element& element : elements_) {
        if (element.list == 0 && Tag_Of(element.record) == Character_Set_Tag) {
            return Trimmed(element.value);
        }
    }
    return {};
}

}  // namespace lib_mend
