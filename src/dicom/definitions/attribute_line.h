// One line of a module definition that is about an attribute, taken apart.
#ifndef LIB_DICOM_SRC_DEFINITIONS_ATTRIBUTE_LINE_H
#define LIB_DICOM_SRC_DEFINITIONS_ATTRIBUTE_LINE_H

#include "definitions/definition_text.h"
#include "definitions/rule_store.h"

namespace lib_dicom {

/** Reads a line behind its ">", up to its clauses; throws Definition_Fault. */
Attribute_Line Read_Attribute_Line(Line_Cursor& cursor);

/** Reads the clauses of a line behind the rest of it; throws Definition_Fault. */
void Read_Clauses(Line_Cursor& cursor, Rule_Arena& arena, unsigned short vr, Attribute_Line& line);

/** Refuses clauses that the type or the VR of the attribute has no place for. */
void Check_Clauses(const Attribute_Line& line, unsigned short type, unsigned short vr);

}  // namespace lib_dicom

#endif
