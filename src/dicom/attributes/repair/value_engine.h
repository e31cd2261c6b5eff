// The engine that applies the table of VR rules to a value. Repair and check are two policies of it.
#ifndef LIB_DICOM_SRC_ATTRIBUTES_VALUE_ENGINE_H
#define LIB_DICOM_SRC_ATTRIBUTES_VALUE_ENGINE_H

#include "frame/report.h"
#include "frame/vr_rules.h"

#include <string>

namespace lib_dicom {

/**
 * Where repair and check differ. What becomes of the findings, whether they are stored in the record
 * or dropped, is up to the caller.
 */
struct Value_Policy {
    /** Formats of what begins each note and each warning: group, element, the letters of the VR. */
    const char* note_label;
    const char* warning_label;
    /** Traces of two steps: group, element. */
    const char* multiple_trace;
    const char* integer_trace;
    /** The note on a backslash at the end of a value of a standard group. */
    const char* last_backslash;
    /** Decimals in an IS value become integers; otherwise they make it unusable. */
    bool converts_decimals;
    bool pads_to_even;
};

struct Value_Findings {
    /** Number of values, 0 when the value is unusable. */
    int count = 0;
    /** DICOM_Mark_... that the findings call for. */
    unsigned short marks = 0;
    /** The repaired value differs from the record's; only then is `value` set. */
    bool changed = false;
    std::string value;
    /** What begins a warning on this record. */
    std::string warning_label;
};

/**
 * Applies the rule of a VR to the value of a record and reports what it finds. The record stays as
 * it is. Takes time in proportion to the size of the value; throws std::bad_alloc.
 */
Value_Findings Examine_Value(HWND handle, const DICOM_List& record, const VR_Rule& rule,
                             const Value_Policy& policy);

/**
 * Brings a big-endian value into little-endian order and clears the record's mark of it.
 *
 * @param trace  receives the reason of leaving
 * @return 1; 0 when the size is not a multiple of the VR's width
 */
int Swab_Value(DICOM_List& record, Trace_Scope& trace);

}  // namespace lib_dicom

#endif
