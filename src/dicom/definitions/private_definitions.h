// Private attributes by their creators. A file is read when a creator is first asked for.
#ifndef LIB_DICOM_SRC_DEFINITIONS_PRIVATE_DEFINITIONS_H
#define LIB_DICOM_SRC_DEFINITIONS_PRIVATE_DEFINITIONS_H

#include "definitions/definition_files.h"
#include "definitions/definition_text.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace lib_dicom {

struct Private_Element {
    unsigned short vr;
    std::string name;
};

class Private_Definitions {
public:
    /** Finds an element; null when the creator or the element is unknown. */
    const Private_Element* Find(HWND handle, Definition_Files& files, std::string_view creator,
                                unsigned short group, unsigned short element);

private:
    /** Elements by tag, those of any block under block 00. */
    using Elements = std::unordered_map<std::uint32_t, Private_Element>;

    const Elements* Find_Creator(HWND handle, Definition_Files& files, std::string_view creator);
    const Elements* Read_Creator(HWND handle, Definition_Files& files, std::string_view creator);
    void Read_Index(HWND handle, Definition_Files& files);
    void Read_Index_Line(Line_Cursor& cursor);
    void Read_Definitions(HWND handle, const std::string& name, const Definition_File& file);
    static void Read_Element(Line_Cursor& cursor, Elements& elements);

    bool has_index_ = false;
    /** Names of the files by creator. */
    Text_Map<std::string> files_;
    std::unordered_set<std::string> read_files_;
    Text_Map<Elements> creators_;
    /** The creator that was asked for last, with what is known of it. */
    std::string last_creator_;
    const Elements* last_elements_ = nullptr;
    bool has_last_ = false;
};

}  // namespace lib_dicom

#endif
