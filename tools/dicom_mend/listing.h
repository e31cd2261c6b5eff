// The listing of a data set for people.
//
//     tag          11  indented by two blanks a level of nesting
//     VR            2
//     length        7  as the header gave it; "-" where it is not defined
//     name             as wide as the terminal allows; 40 elsewhere, where longer ones are not cut
//     value            as it is written; on a terminal that is too narrow for it, the name of a UID first, and
//                      a UID without a name on the next line
#ifndef TOOLS_DICOM_MEND_LISTING_H
#define TOOLS_DICOM_MEND_LISTING_H

#include "mend/healing/character_set.h"
#include "output_buffer.h"
#include "selection.h"
#include "terminal.h"

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace dicom_mend {

/** What people call an element, with what is known of a private one. */
std::string Element_Name(const DICOM_List& record);

class Listing {
public:
    Listing(const lib_mend::Data_Set& set, const Selection& selection, const Terminal& terminal,
            Output_Buffer& out);

    /** Goes down without calling itself: sequences may nest as deep as memory allows. */
    void Print(DICOM_List* list);

private:
    using Shared_Set = std::shared_ptr<const lib_mend::Character_Set>;
    /** A list that is being printed: the item of a sequence, or what stands at the top. */
    struct Level {
        DICOM_List* next;
        const DICOM_List* sequence;
        int item;
        Shared_Set characters;
    };

    Shared_Set Characters_Of(DICOM_List* list, const Shared_Set& outer) const;
    /** The item, or the next one behind it that is shown; false when there is none. */
    bool Enter(const DICOM_List& sequence, int item);
    void Leave();
    void Print_Record(const DICOM_List& record, const lib_mend::Character_Set& characters);
    void Append_Name_And_Contents(const DICOM_List& record,
                                  const lib_mend::Character_Set& characters);
    std::string_view Name_Of(const DICOM_List& record);
    /** @param room  columns that a value has; the name of a UID stands first where they are too few */
    void Make_Contents(const DICOM_List& record, const lib_mend::Character_Set& characters,
                       std::size_t room);
    void Append_Colour(std::string_view colour);
    void End_Line();
    std::size_t Indent() const;

    const lib_mend::Data_Set& set_;
    const Selection& selection_;
    const Terminal& terminal_;
    Output_Buffer& out_;
    std::size_t name_width_;
    std::vector<Level> levels_;
    /** The line that is being made. */
    std::string line_;
    /** What stands behind its header. */
    std::string name_;
    std::string contents_;
    /** The names of rows, which the dictionary has in the words of an older edition. */
    std::unordered_map<const TAG_db_Elems*, std::string> names_;
};

}  // namespace dicom_mend

#endif
