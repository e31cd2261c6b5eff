// Makes the smallest object that an IOD lets pass, from its definition alone.
#ifndef TESTS_OBJECT_MAKER_H
#define TESTS_OBJECT_MAKER_H

#include "support/plain_conditions.h"

#include <string>
#include <vector>

/** What `Verify` says of a made set that was written and read again, but for information. */
std::vector<lib_mend::Finding> Verified(const Made_Set& made, DICOM_List* module);

/** "kind (path) text", one a line. */
std::string Lines_Of(const std::vector<lib_mend::Finding>& findings);

class Object_Maker {
public:
    /** @param has_options  modules that need not be there are as well */
    Object_Maker(DICOM_List* module, const std::string& sop_class, bool has_options);

    /** Adds what is reported missing, until nothing is or nothing helps. */
    Made_Set Make();
    /** What is still reported, as lines. */
    const std::string& Left() const
    {
        return left_;
    }

private:
    void Answer(const lib_mend::Finding& finding);
    void Put(const DICOM_List& node, const Made_Place& place);
    void Fit_Items(const DICOM_List& node, const Made_Place& place, Made_Element& sequence) const;
    void Add_Module(const std::string& text);
    void Add_Group(lib_mend::Tag tag);

    DICOM_List* module_;
    Made_Set made_;
    std::string left_;
};

#endif
