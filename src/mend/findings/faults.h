// What kinds of findings there are: how grave each is, and what the standard asks for instead.
#ifndef LIB_MEND_FAULTS_H
#define LIB_MEND_FAULTS_H

#include "mend/findings/findings.h"

#include <span>
#include <string_view>

namespace lib_mend {

enum class Severity {
    Info,     ///< no fault
    Warning,  ///< against the standard, but read by most programs without harm
    Error     ///< against the standard, and likely to be misread or refused
};

struct Finding_Kind {
    Fault fault;
    /** Stable name, for programs. */
    const char* name;
    Severity severity;
    /** The fault in general words. They quote no value. */
    const char* what;
    /** What the standard asks for, and where; empty when it says nothing. */
    const char* rule;
    const char* clause;
    /** The texts of this kind quote values of the file. */
    bool quotes_value;
};

const Finding_Kind& Kind_Of(const Finding& finding);

/** The fault whose kind has a stable name; Other when none has. */
Fault Fault_Of(std::string_view name);

/** The clause that a finding is about; that of its kind where it names none. */
const char* Clause_Of(const Finding& finding);

/** A part of messages of the library, and the kind of fault that these are about. */
struct Message_Pattern {
    std::string_view fragment;
    const char* kind;
};

/** What messages of the library are recognised by; the findings of this layer tell their kind. */
std::span<const Message_Pattern> Library_Messages();

/** All kinds, each at the index that its fault is as a number. */
std::span<const Finding_Kind> All_Kinds();

/** The severity of the kind; what could not be read or written is an error of whatever kind. */
Severity Severity_Of(const Finding& finding);

/** What findings come to; the exit status of the command line. */
enum class Outcome : int {
    Clean = 0,     ///< nothing against the standard
    Findings = 1,  ///< something is
    Loss = 2       ///< something was lost or could not be read or written
};

Outcome Outcome_Of(const Findings& findings);

/** "error", "warning" or "info". */
const char* Severity_Name(Severity severity);

/** The text of a finding; the words of its kind where the text quotes a value. */
const char* Text_Without_Values(const Finding& finding);

/**
 * The text of a finding with the values before and after; without those that may identify a person
 * unless they are to be shown.
 */
std::string Shown_Text(const Finding& finding, bool show_values);

/** Tells whether the values of a finding, if it has any, may be shown. */
bool Shows_Values(const Finding& finding, bool show_values);

}  // namespace lib_mend

#endif
