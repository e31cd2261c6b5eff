#include "definitions/rule_store.h"

#include "definitions/definitions.h"

namespace lib_dicom {

namespace {

template <class Map>
const typename Map::mapped_type* Find(const Map& map, const DICOM_List* key)
{
    const auto found = map.find(key);
    return found != map.end() ? &found->second : nullptr;
}

/** Hands out a vector of the store as an array. */
template <class T>
int Hand_Out(const std::vector<T>* values, const T** first)
{
    if (first != nullptr) {
        *first = values != nullptr ? values->data() : nullptr;
    }
    return values != nullptr ? static_cast<int>(values->size()) : 0;
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

void Rule_Store::Add(const DICOM_List* list, Parts parts,
                     std::unordered_map<const DICOM_List*, Rules> rules)
{
    parts_[list] = std::move(parts);
    rules_.merge(rules);
}

const Rule_Store::Rules* Rule_Store::Rules_Of(const DICOM_List* record) const
{
    return Find(rules_, record);
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
    return Hand_Out(Get_Definitions().rules.Parts_Of(list), parts);
}
