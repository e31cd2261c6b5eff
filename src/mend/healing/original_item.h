// One item of the Original Attributes Sequence: written and read.
#ifndef LIB_MEND_ORIGINAL_ITEM_H
#define LIB_MEND_ORIGINAL_ITEM_H

#include "mend/healing/original_values.h"
#include "mend/healing/record_building.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lib_mend {

inline constexpr Tag Modified_Attributes_Tag = {0x0400, 0x0550};
inline constexpr Tag Nonconforming_Attributes_Tag = {0x0400, 0x0551};
inline constexpr Tag Modifying_System_Tag = {0x0400, 0x0563};

class Original_Item {
public:
    bool Is_Empty() const
    {
        return modified_.empty() && nonconforming_.empty();
    }
    /** The former value of an element of the data set itself; an empty one for one that was added. */
    void Add_Modified(const Changed_Value& change);
    /**
     * @param path_creators  of the private sequences of its path, empty between backslashes for others
     * @param creator        of the element itself
     */
    void Add_Nonconforming(const Changed_Value& change, const std::string& path_creators,
                           const std::string& creator);
    /** The list of the item, which is the caller's. */
    DICOM_List* Finish(std::string_view date_time);

private:
    struct Former {
        unsigned short vr;
        Bytes value;
    };

    std::map<Tag, Former> modified_;
    std::vector<Record_List> nonconforming_;
};

/** Adds a list to the items of a sequence, which takes it. */
void Append_Item(DICOM_List& sequence, DICOM_List* item);

/** A value of the Nonconforming Modified Attributes Sequence. */
struct Nonconforming_Value {
    Tag tag;
    /** 0 when it is not recorded. */
    unsigned short vr = 0;
    Path path;
    Bytes value;
};

/** Reads an item; nothing when it does not say which element it is about. */
std::optional<Nonconforming_Value> Read_Nonconforming(const Data_Set& set, DICOM_List* item);

}  // namespace lib_mend

#endif
