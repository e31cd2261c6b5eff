// What the registry of data elements says today (PS3.6 section 6). The library's dictionary keeps the
// grammar and the wording of an older edition; people are to see the names and VRs of the standard.
#ifndef LIB_MEND_ATTRIBUTES_H
#define LIB_MEND_ATTRIBUTES_H

#include "mend/findings/findings.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lib_mend {

struct Attribute {
    static constexpr unsigned short Unbounded = 0xFFFF;

    Tag tag;
    /** Digits of the element that count; an "x" of the registry is 0 here. */
    unsigned short elem_mask = 0xFFFF;
    std::string name;
    /** One to three VRs, none where the registry has none. */
    std::vector<unsigned short> vrs;
    /** Number of values; of all VRs the first. */
    unsigned short vm_min = 1;
    unsigned short vm_max = 1;
    bool retired = false;

    bool Has_VR(unsigned short vr) const;
};

/** An entry of the library's dictionary as the standard has it. */
Attribute Attribute_Of(const TAG_db_Elems& entry);

/** Nothing for private and unknown tags. */
std::optional<Attribute> Find_Attribute(Tag tag);

/**
 * The keyword of a name: its words, each with a capital in front, without the "s" of a possessive
 * ("Patient's Name" is PatientName, "Date of Secondary Capture" DateOfSecondaryCapture).
 */
std::string Keyword_Of(std::string_view name);

/** The keywords of all attributes. */
std::vector<std::string> Keywords();

/** The tag of a keyword, letter by letter; nothing when no attribute has it. */
std::optional<Tag> Tag_Of_Keyword(std::string_view keyword);

/**
 * Attributes whose name or keyword contains a text, in which only letters and digits count; those with
 * no other name stand in front.
 */
std::vector<Attribute> Search_Attributes(const std::string& text);

}  // namespace lib_mend

#endif
