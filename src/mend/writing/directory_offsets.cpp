#include "mend/writing/directory_offsets.h"

#include "mend/healing/directory.h"
#include "mend/healing/record_building.h"
#include "mend/reading/tree.h"

#include <unordered_map>

namespace lib_mend {

namespace {

/** Old places and new ones. */
using Moves = std::unordered_map<unsigned int, std::int64_t>;

Moves Moves_Of(const DICOM_List& directory, const Item_Places& places, std::int64_t start)
{
    Moves moves;
    for (int i = 0; Item_Of(directory, i) != nullptr; ++i) {
        const DICOM_List* const item = Item_Of(directory, i);
        const auto place = places.find(item);
        if (place != places.end() && Is_Delimiter(*item)) {
            moves.emplace(item->pos, start + place->second);
        }
    }
    return moves;
}

void Move_Offset(DICOM_List& record, const Path& path, const Moves& moves, Findings& findings)
{
    constexpr std::int64_t Largest = 0xFFFFFFFF;
    if (VR_Of(record) != VR_UL || record.size != 4 || record.data == nullptr) {
        return;
    }
    const auto old_place = static_cast<unsigned int>(Get_Int(record.byte_order, record.data));
    const auto move = moves.find(old_place);
    if (old_place == 0 || move == moves.end() || move->second == old_place ||
        move->second > Largest) {
        return;
    }
    findings.Report(Fault::Directory_Moved, Level::Change, At(record, path),
                    "the offset follows its directory record",
                    {std::to_string(old_place), std::to_string(move->second)});
    const auto new_place = static_cast<std::uint32_t>(move->second);
    Set_Bytes(record, {Put_Int(0, static_cast<int>(new_place)), 4});
}

}  // namespace

void Move_Directory_Offsets(Data_Set& set, const Encoder_Options& options, std::int64_t start,
                            Findings& findings)
{
    const DICOM_List* directory = set.records.Head();
    // What is written is in order.
    while (directory != nullptr && Tag_Of(*directory) < Directory_Sequence_Tag) {
        directory = directory->next;
    }
    if (directory == nullptr || Tag_Of(*directory) != Directory_Sequence_Tag) {
        return;
    }
    const Moves moves = Moves_Of(*directory, Places_Of_Items(set.records.Head(), options), start);
    For_Each_Element(set.records.Head(), [&](DICOM_List& record, const Path& path) {
        if (Is_Directory_Offset(Tag_Of(record))) {
            Move_Offset(record, path, moves, findings);
        }
    });
}

}  // namespace lib_mend
