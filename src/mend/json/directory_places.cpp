#include "mend/json/directory_places.h"

#include "mend/healing/directory.h"
#include "mend/reading/tree.h"

#include <set>

namespace lib_mend {

namespace {

}  // namespace

void Place_Directory_Records(Data_Set& set)
{
    const DICOM_List* const directory = Find_Record(set.records.Head(), Directory_Sequence_Tag);
    if (directory == nullptr) {
        return;
    }
    constexpr int Size = 4;
    std::set<unsigned int> places;
    For_Each_Element(set.records.Head(), [&](const DICOM_List& record, const Path&) {
        const Bytes value = Is_Directory_Offset(Tag_Of(record)) ? set.Value(record) : Bytes();
        if (value.size() == Size) {
            places.insert(static_cast<unsigned int>(Get_Int(record.byte_order, value.data())));
        }
    });
    // An offset of 0 leads nowhere.
    places.erase(0);
    if (std::ssize(places) != Item_Count(*directory)) {
        return;
    }
    auto place = places.begin();
    for (int i = 0; DICOM_List* const item = Item_Of(*directory, i); ++i) {
        item->pos = *place++;
    }
}

}  // namespace lib_mend
