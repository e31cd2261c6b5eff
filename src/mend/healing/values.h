// The healing of all values of a data set.
#ifndef LIB_MEND_VALUES_H
#define LIB_MEND_VALUES_H

#include "mend/healing/character_set.h"
#include "mend/interface/options.h"
#include "mend/reading/data_set.h"

#include <vector>

namespace lib_mend {

/**
 * Looks at values while others have them at hand, and remembers those that are to be looked at again:
 * all that are not in form.
 */
class First_Look {
public:
    explicit First_Look(const Data_Set& set, const Heal_Options& options)
        : set_(set), options_(options)
    {
    }

    /** To be called for the elements of the whole tree in the order of a walk. */
    void Take(const DICOM_List& record, const Character_Set& characters);

    /** There are texts that are not plain. */
    bool Has_Letters() const
    {
        return has_letters_;
    }
    /** They are too many to be remembered: any value may be one of them. */
    bool Is_Full() const
    {
        return is_full_;
    }
    /** The others, in the order of the tree. */
    const std::vector<const DICOM_List*>& Doubtful() const
    {
        return doubtful_;
    }

private:
    bool Is_In_Form(const DICOM_List& record, const Character_Set& characters) const;

    const Data_Set& set_;
    const Heal_Options& options_;
    std::vector<const DICOM_List*> doubtful_;
    bool has_letters_ = false;
    bool is_full_ = false;
};

/** Heals the values of a list and of all items below, and reports what was wrong with them. */
void Heal_Values(Data_Set& set, Record_List& list, const Heal_Options& options, Findings& findings);

/** The same for the values that a first look left, under the same character sets. */
void Heal_Doubtful(Data_Set& set, const First_Look& look, const Heal_Options& options,
                   Findings& findings);

/** Heals the value of one element under the VR that it has. */
void Heal_Value_Of(const Data_Set& set, DICOM_List& record, const Path& way,
                   const Character_Set& characters, const Heal_Options& options,
                   Findings& findings);

}  // namespace lib_mend

#endif
