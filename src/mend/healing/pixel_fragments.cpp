#include "mend/healing/pixel_data.h"
#include "mend/healing/record_building.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>

namespace lib_mend {

namespace {

constexpr Tag Item_Tag = {0xFFFE, 0xE000};
constexpr std::int64_t Item_Header_Size = 8;

bool Is_Odd(const DICOM_List* fragment)
{
    return fragment->size > 0 && fragment->size % 2 != 0;
}

/** The offset table with the places that the fragments have after padding to even lengths. */
void Move_Offsets(const Data_Set& set, const std::vector<DICOM_List*>& fragments)
{
    std::unordered_map<unsigned int, std::int64_t> moved;
    std::int64_t offset = 0;
    for (std::size_t i = 1; i < fragments.size(); ++i) {
        moved[fragments[i]->pos - fragments[1]->pos] = offset;
        const std::int64_t size = std::max(fragments[i]->size, 0);
        offset += Item_Header_Size + size + size % 2;
    }
    constexpr std::size_t Entry_Size = 4;
    Bytes table = set.Value(*fragments.front());
    for (std::size_t at = 0; at + Entry_Size <= table.size(); at += Entry_Size) {
        const auto place = moved.find(static_cast<unsigned int>(Get_Int(0, table.data() + at)));
        if (place != moved.end()) {
            const auto entry = static_cast<std::uint32_t>(place->second);
            std::memcpy(table.data() + at, Put_Int(0, static_cast<int>(entry)), Entry_Size);
        }
    }
    Set_Bytes(*fragments.front(), table);
}

}  // namespace

std::vector<DICOM_List*> Fragments_Of(const DICOM_List& pixels)
{
    std::vector<DICOM_List*> fragments;
    for (int i = 0; Item_Of(pixels, i) != nullptr; ++i) {
        if (Tag_Of(*Item_Of(pixels, i)) == Item_Tag) {
            fragments.push_back(Item_Of(pixels, i));
        }
    }
    return fragments;
}

void Heal_Fragments(Data_Set& set, Findings& findings)
{
    const DICOM_List* const pixels = Find_Record(set.records.Head(), Pixel_Data_Tag);
    if (pixels == nullptr || pixels->size != DICOM_Undefined_Length) {
        return;
    }
    const std::vector<DICOM_List*> fragments = Fragments_Of(*pixels);
    for (std::size_t i = 0; i < fragments.size(); ++i) {
        if (Is_Odd(fragments[i])) {
            const Path path = {{Pixel_Data_Tag, static_cast<int>(i)}};
            findings.Report(Fault::Fragments, Level::Change, At(*fragments[i], path),
                            "fragment of odd length is padded to an even one");
        }
    }
    if (fragments.size() > 1 && std::any_of(fragments.begin(), fragments.end(), Is_Odd)) {
        Move_Offsets(set, fragments);
    }
}

}  // namespace lib_mend
