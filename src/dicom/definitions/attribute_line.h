// One line of a module definition that is about an attribute, taken apart.
#ifndef LIB_DICOM_SRC_DEFINITIONS_ATTRIBUTE_LINE_H
#define LIB_DICOM_SRC_DEFINITIONS_ATTRIBUTE_LINE_H

#include "definitions/definition_text.h"
#include "definitions/rule_store.h"

#include <cstddef>
#include <optional>
#include <string>

namespace lib_dicom {

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
    std::size_t tag_column = 0;
    std::size_t vr_column = 0;
    std::size_t value_column = 0;
    std::size_t clause_column = 0;
};

/**
 * Reads a line behind its ">"; throws Definition_Fault.
 *
 * @param is_kept  the text stays in memory, and `store` keeps what the clauses of the line say
 */
Attribute_Line Read_Attribute_Line(Line_Cursor& cursor, Rule_Store& store, bool is_kept);

/** Refuses clauses that the type or the VR of the attribute has no place for. */
void Check_Clauses(const Attribute_Line& line, unsigned short type, unsigned short vr);

}  // namespace lib_dicom

#endif
