#include "mend/writing/directory_offsets.h"

#include "mend/reading/reader.h"

#include <algorithm>
#include <cstring>
#include <map>

namespace lib_mend {

namespace {

constexpr Tag Directory_Sequence_Tag = {0x0004, 0x1220};
constexpr Tag Offset_Tags[] = {
    {0x0004, 0x1200}, {0x0004, 0x1202}, {0x0004, 0x1400}, {0x0004, 0x1420}, {0x0004, 0x1504}};

bool Is_Offset(const DICOM_List& record)
{
    return std::find(std::begin(Offset_Tags), std::end(Offset_Tags), Tag_Of(record)) !=
               std::end(Offset_Tags) &&
           record.size == 4 && record.data != nullptr;
}

}  // namespace

std::vector<unsigned int> Directory_Places(const Data_Set& set)
{
    std::vector<unsigned int> places;
    const DICOM_List* const directory = Find_Record(set.records.Head(), Directory_Sequence_Tag);
    for (int i = 0; directory != nullptr && Item_Of(*directory, i) != nullptr; ++i) {
        // As long as the delimiters have not been removed, the item tag is the first record.
        places.push_back(Item_Of(*directory, i)->pos);
    }
    return places;
}

std::vector<unsigned int> Directory_Places_In(std::span<const unsigned char> file)
{
    Findings unheard;
    const Library_Session session(unheard);
    return Directory_Places(Read_Data_Set(Source::From_Image(file, "output"), unheard));
}

void Move_Directory_Offsets(Data_Set& set, const std::vector<unsigned int>& old_places,
                            const std::vector<unsigned int>& new_places, Findings& findings)
{
    std::map<unsigned int, unsigned int> moved;
    for (std::size_t i = 0; i < std::min(old_places.size(), new_places.size()); ++i) {
        moved[old_places[i]] = new_places[i];
    }
    For_Each_Record(set.records.Head(), [&](DICOM_List& record) {
        if (!Is_Offset(record)) {
            return;
        }
        const auto old_place = static_cast<unsigned int>(Get_Int(0, record.data));
        if (old_place == 0) {
            return;
        }
        const auto place = moved.find(old_place);
        unsigned int new_place = 0;
        if (place != moved.end()) {
            new_place = place->second;
            if (new_place != old_place) {
                findings.Add(Level::Change, record,
                             "offset " + std::to_string(old_place) + " follows its record to " +
                                 std::to_string(new_place));
            }
        } else {
            findings.Add(Level::Change, record,
                         "offset " + std::to_string(old_place) +
                             " names no directory record; set to 0");
        }
        std::memcpy(record.data, Put_Int(0, static_cast<int>(new_place)), 4);
    });
}

}  // namespace lib_mend
