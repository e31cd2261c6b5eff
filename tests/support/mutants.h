// Changes of a sound object that break one rule of its IOD, with what is to be said of each. What is
// expected follows from the rule's text and the data set, not from the code that verifies.
#ifndef TESTS_MUTANTS_H
#define TESTS_MUTANTS_H

#include "mend/findings/findings.h"
#include "support/plain_conditions.h"

#include <optional>
#include <string>
#include <vector>

struct Mutant {
    enum Kind { Deleted, Made_To_Hold, Other_Value, Too_Many_Items, No_Operand };
    static constexpr const char* Names[] = {"required attribute deleted", "condition made to hold",
                                            "value outside of the set", "item too many",
                                            "operand of a condition deleted"};
    Kind kind;
    /** The element that changes; nothing when it goes. */
    lib_mend::Path way;
    lib_mend::Tag tag;
    std::optional<Made_Element> now;
    /** The kind of finding and its path. */
    lib_mend::Fault fault;
    std::string path;
    /** The modules of the attribute: one is missing when the change took its last attribute. */
    std::vector<std::string> modules;

    /** Changes an object; doing it again takes the change back. */
    void Swap_With(Made_Set& object);
};

/** All mutants of an object. */
std::vector<Mutant> Mutants_Of(Made_Set& object, DICOM_List* module);

/**
 * Why a finding should not have been made: the rules that it is about do not call for it, or their
 * conditions are not decided in this object. Empty when they do, and for other kinds of findings.
 */
std::string Objection(const lib_mend::Finding& finding, Made_Set& object, DICOM_List* module);

#endif
