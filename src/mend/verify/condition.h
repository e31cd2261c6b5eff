// Evaluates the conditions of definition files, with three values of truth.
#ifndef LIB_MEND_CONDITION_H
#define LIB_MEND_CONDITION_H

#include "mend/verify/object.h"

#include <Lib_DICOM/rules.h>

#include <string>
#include <unordered_map>
#include <vector>

namespace lib_mend {

enum class Truth : unsigned char { False, Unknown, True };

/** What a condition comes to in the item in hand. */
struct Verdict {
    Truth truth = Truth::Unknown;
    /** An attribute that it compares is absent, which may be a fault of its own. */
    bool lacks_operand = false;

    bool Holds() const
    {
        return truth == Truth::True;
    }
};

class Conditions {
public:
    explicit Conditions(Object& object) : object_(object)
    {
    }

    /** @param group  of the attribute that the rule is about */
    Verdict Evaluate(const DICOM_Condition& condition, unsigned short group);
    /**
     * Why a condition comes to what it does: "Photometric Interpretation is PALETTE COLOR". Quotes
     * what the definition names where that identifies nobody, and no other value of the data set.
     *
     * @param other  a second condition that is to tell why too, null for none; what both say is said once
     */
    std::string Reason(const DICOM_Condition& condition, unsigned short group,
                       const DICOM_Condition* other = nullptr);
    /** A condition as its line writes it, or that it is one on what may identify a person. */
    std::string Words(const DICOM_Condition& condition, unsigned short group) const;

private:
    std::vector<std::string> Reasons(const DICOM_Condition& condition, unsigned short group);
    Verdict Test(const DICOM_Step& step, unsigned short group);
    Verdict Test_Now(const DICOM_Step& step, unsigned short group);
    Verdict Compare(const DICOM_Step& step, unsigned short group);
    std::string Describe(const DICOM_Step& step, Truth truth, unsigned short group);
    std::string Describe_Comparison(const DICOM_Step& step, Truth truth, const std::string& name,
                                    unsigned short group);
    /** The sequences that lead to the operand of a step. */
    Path Way_Of(const DICOM_Step& step) const;
    bool May_Be_Quoted(const DICOM_Step& step, unsigned short group) const;
    /** The text of a comparison that an operand is equal to; empty when it is to none. */
    std::string Matched(const DICOM_Step& step, unsigned short group);

    Object& object_;
    /** Tests that come to the same everywhere, so that cost does not grow with items times frames. */
    std::unordered_map<const DICOM_Step*, Verdict> known_;
    std::unordered_map<const DICOM_Step*, std::string> described_;
    std::vector<Verdict> stack_;
};

/** A name as a message gives it: of the attribute, or its tag where there is none. */
std::string Spoken_Name(Tag tag);

/**
 * Values that a rule names: "A", "A or B", "A, B or C", of many the first ones; where they may identify
 * a person "what the rule names".
 *
 * @param way  the sequences around the attribute
 */
std::string Spoken_Choices(Tag tag, const Path& way, const char* const* texts, int count);

}  // namespace lib_mend

#endif
