#include "mend/healing/directory.h"

#include "mend/healing/record_building.h"
#include "mend/reading/tree.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <unordered_set>

namespace lib_mend {

namespace {

constexpr Tag Offset_Tags[] = {
    {0x0004, 0x1200}, {0x0004, 0x1202}, {0x0004, 0x1400}, {0x0004, 0x1420}, {0x0004, 0x1504}};

std::optional<unsigned int> Number_Of_Text(const std::string& text)
{
    unsigned int number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

/** The number that an offset of whatever VR stands for. */
std::optional<unsigned int> Offset_In(const Data_Set& set, const DICOM_List& record)
{
    constexpr std::size_t Longest = 16;
    const Bytes value = set.Value(record, Longest);
    const unsigned short vr = VR_Of(record);
    if (vr == VR_IS || vr == VR_DS) {
        return Number_Of_Text(Trimmed(value));
    }
    if (record.size == 4) {
        return static_cast<unsigned int>(Get_Int(record.byte_order, value.data()));
    }
    if (record.size == 2 && vr == VR_US) {
        return Get_UShort(record.byte_order, value.data());
    }
    return std::nullopt;
}

void Make_UL(DICOM_List& record, unsigned int offset)
{
    Set_Bytes(record, {Put_Int(0, static_cast<int>(offset)), 4});
    record.vr = VR_UL;
}

}  // namespace

bool Is_Directory_Offset(Tag tag)
{
    return std::find(std::begin(Offset_Tags), std::end(Offset_Tags), tag) != std::end(Offset_Tags);
}

void Heal_Directory(Data_Set& set, const DICOM_List& directory, Findings& findings)
{
    std::unordered_set<unsigned int> places = {0};
    for (int i = 0; Item_Of(directory, i) != nullptr; ++i) {
        places.insert(Item_Of(directory, i)->pos);
    }
    For_Each_Element(set.records.Head(), [&](DICOM_List& record, const Path& path) {
        if (!Is_Directory_Offset(Tag_Of(record)) || record.size <= 0) {
            return;
        }
        const std::optional<unsigned int> offset = Offset_In(set, record);
        const unsigned short vr = VR_Of(record);
        if (offset.has_value() && (vr != VR_UL || record.size != 4)) {
            findings.Report(Fault::Directory, Level::Change, At(record, path),
                            "the VR of an offset is put right");
            Make_UL(record, *offset);
        }
        if (!offset.has_value() || places.count(*offset) == 0) {
            findings.Report(Fault::Directory, Level::Kept, At(record, path),
                            offset.has_value() ? "the offset leads to no directory record"
                                               : "the offset is no number");
        }
    });
}

}  // namespace lib_mend
