// Data sets that are made and changed in the tests, value by value.
#ifndef TESTS_MADE_SET_H
#define TESTS_MADE_SET_H

#include "mend/reading/data_set.h"

#include <map>
#include <string>
#include <vector>

struct Made_Set;

struct Made_Element {
    std::string vr;
    /** Texts; numbers in decimal, AT as eight hexadecimal digits; any other VR: the bytes as one. */
    std::vector<std::string> values;
    std::vector<Made_Set> items;

    bool Is_Empty() const;
    /** Tells whether a value is a text, by the number where values are numbers. */
    bool Equals(std::size_t index, const std::string& text) const;
    bool Holds_Numbers() const;
};

struct Made_Set {
    std::map<lib_mend::Tag, Made_Element> elements;

    const Made_Element* Find(lib_mend::Tag tag) const;
    /** The bytes in explicit VR little endian. */
    std::string Bytes() const;
};

/** The elements of a list; of long values the beginning, of fragments none. */
Made_Set Made_Of(const lib_mend::Data_Set& set, DICOM_List* list);

/** An item of a made set, with those around it. */
struct Made_Place {
    std::vector<Made_Set*> levels;
    lib_mend::Path way;

    Made_Set& Here() const
    {
        return *levels.back();
    }
    /** @throws std::out_of_range  when there is no such item */
    static Made_Place At(Made_Set& top, const lib_mend::Path& way);
};

/** Takes "0040,0275[0]/0008,0100" apart. */
std::pair<lib_mend::Path, lib_mend::Tag> Path_Of(const std::string& text);

#endif
