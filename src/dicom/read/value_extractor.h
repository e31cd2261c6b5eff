// What the extractors of typed values share: the frame in which they run, and the split of values.
#ifndef LIB_DICOM_SRC_READ_VALUE_EXTRACTOR_H
#define LIB_DICOM_SRC_READ_VALUE_EXTRACTOR_H

#include <Lib_DICOM/read.h>

#include "frame/vr_rules.h"
#include "read/deferred_value.h"
#include "read/value_pools.h"

#include <optional>

namespace lib_dicom {

inline constexpr char Separator = '\\';

struct Extractor {
    Extractor_Id id;
    const char* call;
    /** Fetches a value that was left in the source. */
    bool fetches;
    /** The VRs in these texts are not quite those that are accepted, which is kept on purpose. */
    const char* bad_vr;
};

/** A value on its way into a slot. */
struct Value {
    HWND handle;
    DICOM_List& tag;
    unsigned short vr;
    std::size_t slot;
    std::string_view bytes;
    const char* bad_vr;
};

void Report_Bad_VR(const Value& value, Place place);

/** Number of values between backslashes. */
inline std::size_t Count_Values(std::string_view text)
{
    return 1 + static_cast<std::size_t>(std::count(text.begin(), text.end(), Separator));
}

/**
 * Splits the value at its backslashes into the strings of its slot and counts it in `vm`.
 *
 * @return false after the memory message
 */
bool Split(const Value& value);

/** What an extractor hands to its caller, and the reason of leaving for the trace. */
template <class Result>
struct Outcome {
    Result* result = nullptr;
    const char* reason = "";
};

/** The start of every extractor: none after the reason of leaving was traced. */
std::optional<Value> Begin_Extraction(HWND handle, DICOM_List& tag, unsigned short vr,
                                      const Extractor& extractor, Trace_Scope& trace);

/** The frame of every extractor, whose `body` makes the outcome of a value. */
template <class Result, class Body>
Result* Extract(HWND handle, DICOM_List* tag, unsigned short vr, const Extractor& extractor,
                Body body)
{
    Trace_Scope trace(handle, Trace_Entry, extractor.call);
    const std::optional<Value> value = Begin_Extraction(handle, *tag, vr, extractor, trace);
    if (!value) {
        return nullptr;
    }
    const Outcome<Result> outcome = body(*value);
    return trace.Leave(outcome.result, outcome.reason);
}

/** Says that a VR is none of the extractor's. */
template <class Result>
Outcome<Result> Refuse_VR(const Value& value, Place place)
{
    Report_Bad_VR(value, place);
    return {nullptr, "default"};
}

/** The rule for the value's VR in an extractor's table, or null. */
template <class Rule, std::size_t Size>
const Rule* Find_Rule(const Rule (&rules)[Size], unsigned short vr)
{
    const Rule* const rule = std::find_if(std::begin(rules), std::end(rules),
                                          [&](const Rule& entry) { return entry.vr == vr; });
    const bool is_known =
        rule != std::end(rules) && (!rule->current_only || DICOM_Flag_Current_Standard != 0);
    return is_known ? rule : nullptr;
}

}  // namespace lib_dicom

#endif
