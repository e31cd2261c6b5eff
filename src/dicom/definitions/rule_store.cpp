#include "definitions/rule_store.h"

#include "definitions/definitions.h"

#include <bit>
#include <cstdint>

namespace lib_dicom {

namespace {

template <class Map>
const typename Map::mapped_type* Find(const Map& map, const DICOM_List* key)
{
    const auto found = map.find(key);
    return found != map.end() ? &found->second : nullptr;
}

/** Hands out what the store keeps as an array. */
template <class T>
int Hand_Out(std::span<const T> values, const T** first)
{
    if (first != nullptr) {
        *first = values.data();
    }
    return static_cast<int>(values.size());
}

}  // namespace

const char* Rule_Arena::Keep(std::string_view text)
{
    auto* const kept = static_cast<char*>(Room(text.size() + 1));
    std::copy(text.begin(), text.end(), kept);
    kept[text.size()] = '\0';
    return kept;
}

void* Rule_Arena::Room(std::size_t size)
{
    constexpr std::size_t Unit = sizeof(std::max_align_t);
    constexpr std::size_t Block = 1024;
    const std::size_t units = (size + Unit - 1) / Unit;
    if (size_ - used_ < units) {
        size_ = std::max(units, Block);
        blocks_.push_back(std::make_unique<std::max_align_t[]>(size_));
        used_ = 0;
    }
    return &blocks_.back()[std::exchange(used_, used_ + units)];
}

void Rule_Store::Add(const DICOM_List* list, Parts parts, std::size_t records)
{
    parts_[list] = std::move(parts);
    Make_Room(used_ + records);
}

void Rule_Store::Add(const DICOM_List* record, const Rules& rules)
{
    Entry& entry = entries_[Place_Of(record)];
    used_ += entry.record == nullptr ? 1 : 0;
    entry = {record, {arena_.Keep(rules), rules.size()}};
}

void Rule_Store::Make_Room(std::size_t count)
{
    if (count * 2 <= entries_.size()) {
        return;
    }
    const std::vector<Entry> before = std::exchange(entries_, {});
    entries_.resize(std::bit_ceil(count * 2));
    for (const Entry& entry : before) {
        if (entry.record != nullptr) {
            entries_[Place_Of(entry.record)] = entry;
        }
    }
}

std::size_t Rule_Store::Place_Of(const DICOM_List* record) const
{
    // Records lie in memory at multiples of 16.
    constexpr std::uint64_t Golden = 0x9E3779B97F4A7C15U;
    const auto address = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(record));
    const std::size_t mask = entries_.size() - 1;
    auto place = static_cast<std::size_t>((address >> 4U) * Golden >> 32U) & mask;
    while (entries_[place].record != nullptr && entries_[place].record != record) {
        place = (place + 1) & mask;
    }
    return place;
}

std::span<const DICOM_Rule> Rule_Store::Rules_Of(const DICOM_List* record) const
{
    return entries_.empty() || record == nullptr ? std::span<const DICOM_Rule>()
                                                 : entries_[Place_Of(record)].rules;
}

const Rule_Store::Parts* Rule_Store::Parts_Of(const DICOM_List* list) const
{
    return Find(parts_, list);
}

}  // namespace lib_dicom

using namespace lib_dicom;

int DICOM_Module_Rules(const DICOM_List* record, const DICOM_Rule** rules)
{
    return Hand_Out(Get_Definitions().rules.Rules_Of(record), rules);
}

int DICOM_Module_Parts(const DICOM_List* list, const DICOM_Part** parts)
{
    const Rule_Store::Parts* const kept = Get_Definitions().rules.Parts_Of(list);
    return Hand_Out(kept != nullptr ? std::span(*kept) : std::span<const DICOM_Part>(), parts);
}
