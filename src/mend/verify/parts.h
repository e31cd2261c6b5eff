// The modules of an IOD, and the functional groups of its frames: which are there, which have to be.
#ifndef LIB_MEND_PARTS_H
#define LIB_MEND_PARTS_H

#include "mend/verify/condition.h"

#include <Lib_DICOM/rules.h>

#include <span>
#include <string>
#include <vector>

namespace lib_mend {

/** The rules of an attribute of a module list. */
std::span<const DICOM_Rule> Rules_Of(const DICOM_List& node);

class Parts {
public:
    /** @param module  a module list; its modules are looked for at the top level of the object */
    Parts(Object& object, Conditions& conditions, DICOM_List* module);

    const DICOM_Part* Part_Of(const DICOM_Rule& rule) const
    {
        return rule.part >= 0 ? &parts_[static_cast<std::size_t>(rule.part)] : nullptr;
    }
    /** Whether what a rule asks for is asked of the item in hand. */
    Truth Applies(const DICOM_Rule& rule, unsigned short group);
    /**
     * A module or macro of usage C that is required: its own attributes of type 1 and 2 are, though the
     * list has them as 1C and 2C. Null for all others.
     */
    const DICOM_Part* Required_Part(const DICOM_Rule& rule, unsigned short group);
    /** Whether a part of usage C is required; one of a functional group by the top level. */
    Truth Required(const DICOM_Part& part, unsigned short group);
    /** What shows that a module that need not be there is. */
    struct Evidence {
        /** An attribute with a value that no other module has; null for none. */
        const DICOM_List* record = nullptr;
        const DICOM_Part* part = nullptr;
        /**
         * The module requires it in some case. One that is optional in its own module, a module whose
         * condition does not hold, or an attribute that a module has whose condition does not hold, is
         * weaker: whoever made the object may have added just that.
         */
        bool is_clear = false;

        /** "Specimen Description Sequence tells that the Specimen Module is there" */
        std::string Reason() const;
    };
    /**
     * Why the module of a rule is held to be there, which then asks for its attributes of type 1 and 2
     * though the list has them as 1C and 2C.
     *
     * @param group  of the attribute; each repeating group tells for itself
     */
    Evidence Evidence_For(const DICOM_Rule& rule, unsigned short group) const;
    /** How much of the module of a rule the top level of the object holds. */
    enum class Presence : unsigned char {
        None,    ///< none of its attributes
        Shared,  ///< only such as other modules have too
        Own
    };
    Presence Presence_Of(const DICOM_Part& part) const;
    /** The module that includes a macro, or the part itself. */
    const DICOM_Part& Outermost(const DICOM_Part& part) const
    {
        return part.outer < 0 ? part : Outermost(parts_[static_cast<std::size_t>(part.outer)]);
    }
    /** The module of a rule, or the one around its macros, has a condition that does not hold. */
    bool Is_In_Excluded_Module(const DICOM_Rule& rule) const;
    /** A module that is required and of which nothing is there is said as a whole. */
    bool Is_Missing(const DICOM_Rule& rule) const;

    void Report(Findings& findings);

private:
    /** What the top level of the object holds of a module. */
    struct State {
        /** Some attribute of it is there. */
        bool is_there = false;
        /** Some attribute that no other module has is there: the first of them. */
        const DICOM_List* own = nullptr;
        /**
         * It has attributes of type 1 or 2 that no other module has. Without one it is nothing that
         * is missing as a whole: Modality is, and not the series module that only says its value.
         * Known only of modules that are required and not there.
         */
        bool asks = false;
        Truth required = Truth::Unknown;
        /** Of a part that is judged in each item: of this one, and which it is; 0 for none. */
        Truth here = Truth::Unknown;
        unsigned long turn = 0;
        /** The best of each repeating group, and of all other groups together. */
        std::vector<Evidence> evidence;
    };

    void Look_At(const DICOM_List& node);
    void Look_At(const DICOM_List& node, const DICOM_List& record);
    /** Finds out which of the modules that are not there ask for something. */
    void Ask_Absent();
    void Add_Evidence(const DICOM_Rule& rule, const DICOM_List& record, bool is_own);
    /** The module of a rule is not required; whether it may be there is not said. */
    bool Is_Ruled_Out(const DICOM_Rule& rule) const;
    /** An attribute may be that of a rule: the shape of a shutter tells which module it is of. */
    bool Fits(const DICOM_Rule& rule, const DICOM_List& record) const;
    /** How many modules may have put an attribute there. */
    struct Owners {
        int all = 0;
        int fitting = 0;
        /** Without those that are not required. */
        int likely = 0;
    };
    Owners Owners_Of(std::span<const DICOM_Rule> rules, const DICOM_List& record) const;
    void Report_Both(const DICOM_Part& part, const std::vector<Tag>& tags, Findings& findings);
    const State& State_Of(const DICOM_Part& part) const
    {
        return states_[static_cast<std::size_t>(&part - parts_.data())];
    }
    void Report_Module(const DICOM_Part& part, const State& state, Findings& findings);
    void Report_Groups(Findings& findings);
    void Report_Group(const DICOM_Part& part, const std::vector<Tag>& tags, Findings& findings);

    Object& object_;
    Conditions& conditions_;
    DICOM_List* module_;
    std::span<const DICOM_Part> parts_;
    std::vector<State> states_;
};

}  // namespace lib_mend

#endif
