// Verifying and completing by the code of an IOD, and lines that override its definition.
#ifndef LIB_MEND_IOD_H
#define LIB_MEND_IOD_H

#include "mend/reading/data_set.h"

namespace lib_mend {

/** Gives the library lines of definitions, or the name of a file of them, for the length of a scope. */
class Override {
public:
    /** @param rules  kept, not copied; empty for none */
    explicit Override(std::string& rules)
    {
        DICOM_Override = rules.empty() ? nullptr : rules.data();
    }
    Override(const Override&) = delete;
    Override& operator=(const Override&) = delete;
    ~Override()
    {
        DICOM_Override = nullptr;
    }
};

/** Reports what an IOD requires and is not there. @param code  "auto" for that of the SOP class */
void Verify_IOD(const Data_Set& set, const std::string& code, Findings& findings);

struct Explanation {
    std::string text;
    /** False when there was no IOD to ask; the text has what was found all the same. */
    bool has_iod = false;
};

/**
 * What an IOD says of an attribute, in one item or everywhere, what it comes to here, and all that was found that is about it: see
 * Explain.
 *
 * @param code     as above
 * @param way      to the item; empty for every place of the attribute
 * @param found    what was found in the data set without an IOD
 * @param trouble  receives what is wrong with the definitions, or that there are none
 */
Explanation Explain_IOD(const Data_Set& set, const std::string& code, const Path& way, Tag tag,
                        const Findings& found, Findings& trouble);

/**
 * Brings a healed data set into line with an IOD and the lines that override it, and reports what is
 * still missing.
 *
 * @param code  "auto" for that of the SOP class
 * @return false after an error finding
 */
bool Complete_IOD(Data_Set& set, const std::string& code, Findings& findings);

}  // namespace lib_mend

#endif
