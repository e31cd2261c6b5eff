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

/** Reads a line behind its ">", up to its clauses; throws Definition_Fault. */
Attribute_Line Read_Attribute_Line(Line_Cursor& cursor);

/**
 * Reads the clauses of a line behind the rest of it; throws Definition_Fault, also for clauses that the
 * type or the VR of the attribute has no place for.
 *
 * @param is_kept  the text stays in memory, and `store` keeps what the clauses of the line say
 */
void Read_Clauses(Line_Cursor& cursor, Rule_Store& store, bool is_kept, unsigned short type,
                  unsigned short vr, Attribute_Line& line);

}  // namespace lib_dicom

#endif
