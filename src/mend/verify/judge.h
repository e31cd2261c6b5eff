// What the rules of an IOD come to for one attribute of the item in hand.
#ifndef LIB_MEND_JUDGE_H
#define LIB_MEND_JUDGE_H

#include "mend/verify/parts.h"

#include <string>
#include <utility>
#include <vector>

namespace lib_mend {

class Judge {
public:
    enum class Purpose : unsigned char {
        Report,  ///< a module that is missing is said as a whole, not by its attributes
        Keep,    ///< what is to stay in the data set though it is empty
        Add      ///< what is to be added: a module whose condition does not hold asks for nothing
    };
    /** @param found  what was found without the IOD, which is not said a second time */
    Judge(Object& object, DICOM_List* module, Purpose purpose, const Findings& found);

    /** That an attribute has to be there. */
    struct Demand {
        /** "1 ", "1C", "2 " or "2C" in the coding of a VR; 0 when nothing asks for it. */
        unsigned short type = 0;
        /** "Photometric Interpretation is PALETTE COLOR"; empty where no condition asks for it. */
        std::string reason;
        const DICOM_Condition* condition = nullptr;
        /** False when the module that asks may well not be meant to be there. */
        bool is_certain = true;
    };
    /**
     * What asks for an attribute of the module list in the item in hand.
     *
     * @param group  its group, where that of the list stands for several
     */
    Demand Demand_For(const DICOM_List& node, unsigned short group);
    /**
     * The rules that say when an attribute is there: a condition outside of all modules replaces theirs,
     * and a line there without one says nothing of it.
     */
    static std::vector<const DICOM_Rule*> Deciding(std::span<const DICOM_Rule> rules);
    /**
     * Reports what is wrong with an attribute of the item in hand, but for what is nested in it.
     *
     * @param record  null when it is absent
     */
    void Check(const DICOM_List& node, const DICOM_List* record, unsigned short group,
               Findings& findings);
    /** Reports modules and functional groups that are missing, or not foreseen. */
    void Check_Parts(Findings& findings)
    {
        parts_.Report(findings);
    }

    Parts& Modules()
    {
        return parts_;
    }
    Conditions& Evaluator()
    {
        return conditions_;
    }

private:
    /** Of two attributes each of which is required when the other is absent, one is said to be missing. */
    bool Stands_In_For_Said(Tag tag, const Demand& demand);
    void Check_Absent(const DICOM_List& node, unsigned short group, Findings& findings);
    void Check_Present(const DICOM_List& node, const DICOM_List& record, Findings& findings);
    /** What a module asks for that need not be there, and is. */
    Demand Demand_Of_Present(const DICOM_Rule& rule, unsigned short group) const;
    Demand Conditional_Demand(const DICOM_Rule& rule, unsigned short group);
    /** Whether a rule asks for nothing because of its module, for the purpose at hand. */
    bool Is_Silent(const DICOM_Rule& rule) const;
    /** Whether a rule forbids an attribute that is there. */
    enum class Ban : unsigned char { None, Unsaid, Forbidden };
    Ban Ban_Of(const DICOM_Rule& rule, unsigned short group);
    void Check_Allowed(const DICOM_List& node, std::span<const DICOM_Rule> rules,
                       const DICOM_List& record, Findings& findings);
    /** What was said of one element, by kind: several modules may say the same of it. */
    using Said = std::vector<std::pair<Fault, std::string>>;
    void Check_Values(const DICOM_Rule& rule, const DICOM_List& record, Said& said,
                      Findings& findings);
    void Check_Items(const DICOM_Rule& rule, const DICOM_List& record, Said& said,
                     Findings& findings);
    void Report_Once(Fault fault, const DICOM_List& record, const std::string& text,
                     const Values& values, Said& said, Findings& findings) const;
    bool Holds(const DICOM_Condition& condition, unsigned short group);

    Conditions conditions_;
    Parts parts_;
    Object& object_;
    Purpose purpose_;
    /** What the SOP class says of the modality is known without definitions, and told before. */
    bool is_modality_said_;
    /** What was said to be missing in the item in hand, and the conditions that asked for it. */
    std::vector<std::pair<Tag, const DICOM_Condition*>> said_;
    Path said_way_;
};

}  // namespace lib_mend

#endif
