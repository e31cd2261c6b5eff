// What a line of a module definition says, taken apart, and what is kept of files whose lines are read
// again and again: many modules include the same macro.
#ifndef LIB_DICOM_SRC_DEFINITIONS_DEFINITION_LINE_H
#define LIB_DICOM_SRC_DEFINITIONS_DEFINITION_LINE_H

#include <Lib_DICOM/rules.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace lib_dicom {

struct Definition_File;

/** What the clauses of one line say. */
struct Clauses {
    DICOM_Rule::Otherwise otherwise = DICOM_Rule::Unsaid;
    DICOM_Condition required = {};
    DICOM_Condition allowed = {};
    int value_set_count = 0;
    const DICOM_Value_Set* value_sets = nullptr;
    int item_count_count = 0;
    const DICOM_Item_Count* item_counts = nullptr;
};

/** What one line says of an attribute, and the columns where it says so. */
struct Attribute_Line {
    unsigned short group = 0;
    unsigned short element = 0;
    /** None: what there is, is kept. */
    std::optional<unsigned short> type;
    std::optional<unsigned short> vr;
    unsigned short mark = 0;
    std::optional<std::string> value;
    Clauses clauses;
    /** Lines are shorter than these tell. */
    std::uint32_t tag_column = 0;
    std::uint32_t vr_column = 0;
    std::uint32_t value_column = 0;
    std::uint32_t clause_column = 0;
};

/** A line that includes a file. */
struct Include_Line {
    /** As the line writes it, and in the memory of rules. */
    std::string_view name;
    const char* kept_name = nullptr;
    /** 'M', 'C' or 'U'; 0 for none. */
    char usage = 0;
    DICOM_Condition required = {};
    const Definition_File* file = nullptr;
    /** Of the word "include". */
    std::uint32_t column = 0;
};

/** A line that was found to be right. */
struct Kept_Line {
    /** Number of ">" in front. */
    int depth = 0;
    /** The VR that the clauses of an attribute were read for. */
    unsigned short vr = 0;
    /** The last is the name of the file. */
    std::variant<Attribute_Line, Include_Line, const char*> what;
};

struct Kept_File {
    /** For messages, in the memory of rules; null until it is asked for. */
    const char* name = nullptr;
    /** By their numbers from 1; null for those that were not read, or are faulty. */
    std::vector<const Kept_Line*> lines;

    const Kept_Line* Line(int number) const
    {
        const auto index = static_cast<std::size_t>(number);
        return index < lines.size() ? lines[index] : nullptr;
    }
    void Keep(int number, const Kept_Line& line)
    {
        const auto index = static_cast<std::size_t>(number);
        lines.resize(index < lines.size() ? lines.size() : index + 1);
        lines[index] = &line;
    }
};

}  // namespace lib_dicom

#endif
